"""Hypergraphs from arrays, and the arrays that they show."""

import gc
import threading

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st

import quillon
from support import built, nets_of, nets_of_cells, shapes


@given(shapes())
def test_shows_what_it_was_built_from(shape):
    nets, ncells, cell_weights, net_weights = shape
    h = built(shape)
    assert (h.num_cells, h.num_nets, h.num_pins) == (ncells, len(nets), sum(map(len, nets)))
    assert nets_of(h) == nets
    assert not h.cell_side_is_built
    cell_offsets = h.cell_offsets
    assert h.cell_side_is_built
    of_cells = [h.cell_nets[cell_offsets[i] : cell_offsets[i + 1]].tolist() for i in range(ncells)]
    assert of_cells == nets_of_cells(nets, ncells)
    assert h.cell_weights.tolist() == (cell_weights or [1] * ncells)
    assert h.net_weights.tolist() == (net_weights or [1] * len(nets))


@given(shapes(), st.sampled_from(["i1", "u1", "i4", "u4", "i8", "u8", "f4", "f8", "O", ">i4"]))
def test_accepts_integers_of_every_width(shape, dtype):
    nets, ncells, cell_weights, net_weights = shape
    offsets = np.cumsum([0] + [len(net) for net in nets])
    pins = [i for net in nets for i in net]

    def converted(values):
        return None if values is None else np.array(values, dtype)

    h = quillon.from_csr(converted(offsets), converted(pins), ncells, converted(cell_weights), converted(net_weights))
    assert h == built(shape)


def test_accepts_views_that_are_not_contiguous():
    pins = np.arange(10, dtype=np.int32)[::-2]
    assert nets_of(quillon.from_csr([0, 3, 5], pins, 10)) == [[9, 7, 5], [3, 1]]
    assert nets_of(quillon.from_nets([pins[:2], pins[2:]])) == [[9, 7], [5, 3, 1]]


@pytest.mark.parametrize(
    ("arguments", "message"),
    [
        (([0, 2], [0, 9], 9), "pins[1] is 9, expected 0 to 8"),
        (([0, 2], [0, -1], 9), "pins[1] is -1, expected 0 to 8"),
        (([0, 2], np.array([0, 2**40]), 9), f"pins[1] is {2**40}, expected 0 to 8"),
        (([0, 2], np.array([0, 2**63], np.uint64), 9), f"pins[1] is {2**63}, expected 0 to 8"),
        (([0, 2], [0, 2**70], 9), f"pins[1] is {2**70}, expected 0 to 8"),
        (([0, 2], [0, 1e30], 9), f"pins[1] is {int(1e30)}, expected 0 to 8"),
        (([0, 1], [0], 0), "pins[0] is 0, expected none, as there are no cells"),
        (([0, 2], [0, 1.5], 9), "pins[1] is 1.5, expected an integer"),
        (([0, 2], [0, float("nan")], 9), "pins[1] is nan, expected an integer"),
        (([0, 3, 2], [0, 1, 2], 9), "offsets[2] is 2, expected 3 to 3"),
        (([0, 2, 1, 3], [0, 1, 2], 9), "offsets[2] is 1, expected 2 to 3"),
        (([1, 3], [0, 1, 2], 9), "offsets[0] is 1, expected 0 to 0"),
        (([0, 2], [0, 1, 2], 9), "offsets[1] is 2, expected 3 to 3"),
        (([], [], 9), "offsets is empty, expected one more than nets"),
        (([0, 1], [[0]], 9), "pins has 2 dimensions, expected 1"),
        (([0, 1], [0], -1), "num_cells is -1, expected 0 to 2147483645"),
        (([0, 1], [0], 1, [2, 3]), "cell_weights has 2 entries, expected 1"),
        (([0, 1], [0], 1, None, [2**31]), "net_weights[0] is 2147483648, expected -2147483648 to 2147483647"),
    ],
)
def test_names_the_position_of_what_is_wrong(arguments, message):
    with pytest.raises(ValueError) as info:
        quillon.from_csr(*arguments)
    assert str(info.value) == message


def test_names_net_and_position_of_a_wrong_cell():
    for nets, message in [
        ([[0], [], [1, 9]], "nets[2][1] is 9, expected 0 to 8"),
        ([[], [-1]], "nets[1][0] is -1, expected 0 to 8"),
        ([[0, 0.5]], "nets[0][1] is 0.5, expected an integer"),
    ]:
        with pytest.raises(ValueError) as info:
            quillon.from_nets(nets, num_cells=9)
        assert str(info.value) == message


@pytest.mark.parametrize("pins", [["a"], [None], [True], [1 + 2j], [b"1"]])
def test_refuses_what_are_no_numbers(pins):
    with pytest.raises(TypeError):
        quillon.from_csr([0, 1], pins, 9)


def test_arrays_are_views_that_cannot_be_written(small):
    arrays = [small.cell_weights, small.net_weights, small.net_offsets, small.net_pins, small.cell_offsets]
    arrays.append(small.cell_nets)
    for array in arrays:
        assert array.dtype == np.int32
        with pytest.raises(ValueError):
            array[0] = 1
        with pytest.raises(ValueError):
            array.flags.writeable = True
    assert np.shares_memory(small.net_pins, small.net_pins)
    assert np.shares_memory(small.cell_weights, small.cell_weights)


def test_views_outlive_the_hypergraph():
    h = quillon.from_nets([list(range(1000))] * 100)
    pins, weights, nets = h.net_pins, h.cell_weights, h.cell_nets
    del h
    gc.collect()
    others = [quillon.from_nets([[0] * 1000] * 100) for _ in range(20)]  # would reuse freed memory
    assert pins.tolist() == list(range(1000)) * 100
    assert weights.tolist() == [1] * 1000
    assert nets.tolist() == list(range(100)) * 1000
    del others


def test_the_last_owner_may_be_any_thread():
    stop = threading.Event()

    def build():
        while not stop.is_set():
            quillon.from_nets([[0, 1, 2]] * 50)

    builders = [threading.Thread(target=build) for _ in range(3)]
    for builder in builders:
        builder.start()
    for _ in range(300):
        view = quillon.from_nets([[0, 1]] * 50).net_pins
        assert view.sum() == 50
    stop.set()
    for builder in builders:
        builder.join()


@given(shapes(), shapes())
def test_equal_hypergraphs_have_equal_arrays(one, other):
    a, b = built(one), built(other)
    assert a == built(one)
    same = (
        nets_of(a) == nets_of(b)
        and a.cell_weights.tolist() == b.cell_weights.tolist()
        and a.net_weights.tolist() == b.net_weights.tolist()
    )
    assert (a == b) == same


def test_compares_with_nothing_else(small):
    assert small != 1
    assert small != [[0, 1]]
    with pytest.raises(TypeError):
        hash(small)
    with pytest.raises(TypeError):
        len(small)
    with pytest.raises(TypeError):
        quillon.Hypergraph()


def test_repr_says_the_counts(small):
    assert repr(small) == "<Hypergraph: 5 cells, 5 nets, 8 pins>"
