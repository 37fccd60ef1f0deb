"""Pruning, renumbering, figures, checks and partitions."""

import dataclasses
import json
import math
import os
import pathlib
import subprocess
import threading

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import quillon
from support import built, nets_of, shapes

DATA = pathlib.Path(__file__).parents[2] / "data"


@st.composite
def partitioned(draw, most_parts=4):
    shape = draw(shapes())
    nparts = draw(st.integers(1, most_parts))
    parts = draw(st.lists(st.integers(0, nparts - 1), min_size=shape[1], max_size=shape[1]))
    return shape, parts, nparts


@settings(max_examples=15)
@given(shapes(), st.integers(0, 7))
def test_prune_keeps_nets_of_middle_size(shape, max_size):
    nets, ncells, _, _ = shape
    h = built(shape)
    pruned = h.prune(max_size)
    kept = [j for j, net in enumerate(nets) if 2 <= len(net) < max_size]
    aside = [j for j, net in enumerate(nets) if len(net) >= max(2, max_size)]
    assert sorted(pruned.nets.tolist()) == kept
    assert sorted(pruned.nets_set_aside.tolist()) == aside
    assert pruned.cells.tolist() == list(range(ncells))
    for part, origin in ((pruned.hypergraph, pruned.nets), (pruned.set_aside, pruned.nets_set_aside)):
        assert nets_of(part) == [nets[j] for j in origin]
        assert part.cell_weights.tolist() == h.cell_weights.tolist()
        assert part.net_weights.tolist() == h.net_weights[origin].tolist()
    assert h == built(shape)


@settings(max_examples=15)
@given(shapes(), st.integers(3, 7), st.integers(0, 2**64 - 1))
def test_shuffled_pruning_keeps_the_same_nets(shape, max_size, seed):
    h = built(shape)
    pruned = h.prune(max_size, shuffle=True, seed=seed)
    again = h.prune(max_size, shuffle=True, seed=seed)
    assert pruned.hypergraph == again.hypergraph
    assert sorted(pruned.nets.tolist()) == sorted(h.prune(max_size).nets.tolist())
    for net, origin in zip(nets_of(pruned.hypergraph), pruned.nets):
        assert sorted(pruned.cells[net].tolist()) == sorted(shape[0][origin])
    assert pruned.hypergraph.cell_weights.tolist() == h.cell_weights[pruned.cells].tolist()
    assert h == built(shape)  # whose pins keep their order


@given(shapes(), st.randoms(use_true_random=False))
def test_permute_and_its_inverse(shape, random):
    h = built(shape)
    cell_order, net_order = list(range(h.num_cells)), list(range(h.num_nets))
    random.shuffle(cell_order)
    random.shuffle(net_order)
    there = h.permute(cell_order, net_order)
    assert there.cell_order.tolist() == cell_order
    assert nets_of(there.hypergraph) == [[cell_order.index(i) for i in shape[0][j]] for j in net_order]
    assert there.hypergraph.cell_weights.tolist() == h.cell_weights[cell_order].tolist()
    back = there.hypergraph.permute(there.cell_inverse, there.net_inverse)
    assert back.hypergraph == h
    assert h.permute().hypergraph == h


def test_permute_refuses_what_is_no_order(small):
    for arguments, message in [
        (([0, 1, 2, 3, 5], None), "cell_order[4] is 5, expected 0 to 4"),
        (([0, 1, 2], None), "cell_order has 3 entries, expected 5"),
        ((None, [0, 1, 2, 1, 4]), "net_order[3] is 1, and so is net_order[1]"),
    ]:
        with pytest.raises(ValueError) as info:
            small.permute(*arguments)
        assert str(info.value) == message


@given(partitioned())
def test_reorder_by_part_sorts_cells_and_nets(case):
    shape, parts, _ = case
    h = built(shape)
    sorted_ = h.reorder_by_part(parts)
    order = sorted_.cell_order
    assert order.tolist() == sorted(range(h.num_cells), key=lambda i: parts[i])
    assert sorted_.hypergraph == h.permute(order, sorted_.net_order).hypergraph
    if h.num_cells != h.num_nets:
        touched = [sorted({parts[i] for i in net}) for net in shape[0]]
        keys = [(t[0], len(t) > 1) if t else (math.inf, False) for t in touched]
        assert sorted_.net_order.tolist() == sorted(range(h.num_nets), key=lambda j: keys[j])


def test_a_symmetric_hypergraph_stays_symmetric():
    h = quillon.from_nets([[0, 2], [1], [0, 2]])
    reordered = h.reorder_by_part([1, 0, 1])
    assert reordered.net_order.tolist() == reordered.cell_order.tolist() == [1, 0, 2]
    matrix = reordered.hypergraph.to_scipy().toarray()
    assert (matrix == matrix.T).all()


@given(shapes())
def test_stats_are_those_of_the_arrays(shape):
    h = built(shape)
    stats = h.stats()
    sizes, degrees = np.diff(h.net_offsets), np.diff(h.cell_offsets)
    assert (stats["cells"], stats["nets"], stats["pins"]) == (h.num_cells, h.num_nets, h.num_pins)
    assert stats["cell_weight"]["total"] == h.cell_weights.sum()
    for member, lengths in (("net_size", sizes), ("cell_degree", degrees)):
        if lengths.size:
            assert stats[member]["maximum"] == lengths.max()
            assert stats[member]["average"] == pytest.approx(lengths.mean())
        assert sum(number for _, number in stats[member]["distribution"]) == lengths.size


@pytest.mark.skipif("QUILLON" not in os.environ, reason="QUILLON does not name the tool")
@pytest.mark.parametrize("name", ["davis", "lesmis", "mesh24"])
def test_figures_are_those_of_the_tool(name, tmp_path):
    def printed(*arguments):
        command = [os.environ["QUILLON"], *map(str, arguments), "--json"]
        return json.loads(subprocess.run(command, capture_output=True, text=True, check=True).stdout)

    path = DATA / f"{name}.qhg"
    h = quillon.read(path)
    stats = printed("stats", "--keep-small-nets", path)
    assert h.stats() == stats
    parts = [7 * i % 3 for i in range(h.num_cells)]
    (tmp_path / "parts").write_text("\n".join(map(str, parts)))
    evaluation = dataclasses.asdict(h.evaluate(parts, limits={"epsilon": 0.9}))
    tool = printed("eval", path, tmp_path / "parts", "--limit", "epsilon=0.9")
    assert {member: value for member, value in evaluation.items() if member in tool} == {
        member: value for member, value in tool.items() if member in evaluation
    }
    assert evaluation.keys() - tool.keys() == {"moved_fixed_cells", "matrix", "costliest_nets"}


def test_stats_of_a_folded_hypergraph():
    h = quillon.read(b"1 3 4 4 2\n5 1 2\n3 3\n1\n2 1\n", small_nets="fold")
    assert h.stats()["folded"] == {"nets": 3, "one_pin_weight": 5, "pinless_weight": 1}


def test_check_finds_oddities(small):
    found = {(finding.rule, finding.severity): finding.message for finding in small.check()}
    assert found == {
        ("repeated-pin", "warning"): "1 pin that repeats a cell of its net",
        ("pinless-net", "note"): "1 net without pins",
        ("one-pin-net", "note"): "1 net with one pin",
        ("isolated-cell", "note"): "1 cell on no net",
    }
    assert quillon.from_nets([[0, 1], [1, 2]]).check() == []
    odd = quillon.from_nets([[0, 0], [1, 1, 1]], cell_weights=[-1, -2])
    assert [str(finding) for finding in odd.check()] == [
        "warning: 3 pins that repeat cells of their nets",
        "warning: 2 weights below 0",
    ]


@given(partitioned())
def test_evaluate_as_the_definitions_say(case):
    shape, parts, nparts = case
    h = built(shape)
    got = h.evaluate(parts, k=nparts, details=True, matrix=True, nets=3)
    weights = h.net_weights.tolist()
    touched = [{parts[i] for i in net} for net in shape[0]]
    cut = [j for j, t in enumerate(touched) if len(t) > 1]
    assert got.cut_nets == len(cut)
    assert got.cut == sum(weights[j] for j in cut)
    assert got.connectivity_minus_one == sum(weights[j] * (len(touched[j]) - 1) for j in cut)
    assert got.sum_of_external_degrees == sum(weights[j] * len(touched[j]) for j in cut)
    assert [part["cells"] for part in got.parts] == [parts.count(part) for part in range(nparts)]
    assert got.matrix == [
        (p, q, weight)
        for p in range(nparts)
        for q in range(p, nparts)
        for weight in [sum(w for w, t in zip(weights, touched) if {p, q} <= t)]
        if weight
    ]
    costs = sorted(((-weights[j] * (len(touched[j]) - 1), j) for j in cut))[:3]
    assert [(-net["cost"], net["net"]) for net in got.costliest_nets] == costs


def test_evaluate_checks_limits_and_fixed_cells():
    h = quillon.read(DATA / "davis.qhg")
    parts = [i % 2 for i in range(h.num_cells)]
    parts[0] = 1
    got = h.evaluate(parts, limits={"epsilon": 0.03}, fixed={0: 0, 3: 1})
    assert not got.within_limits
    assert got.limits[0]["limit"] == "epsilon=0.03"
    assert not got.limits[0]["holds"]
    assert got.moved_fixed_cells == [{"cell": 0, "part": 1, "fixed_to": 0}]
    fixed = [-1] * h.num_cells
    fixed[0] = 0
    assert h.evaluate(parts, fixed=fixed).moved_fixed_cells == got.moved_fixed_cells
    assert h.evaluate(parts, limits=["epsilon=0.5", "share=20"]).within_limits
    assert h.evaluate(parts, limits="ufactor=500").within_limits
    assert h.evaluate(parts).moved_fixed_cells is None
    by_share = h.evaluate(parts, targets=[0.4, 0.6], limits={"epsilon": 0.1})
    by_weight = h.evaluate(parts, targets=[0.4 * h.num_cells, 0.6 * h.num_cells], limits={"epsilon": 0.1})
    assert by_share.balance["mondriaan"] == pytest.approx(by_weight.balance["mondriaan"])


def test_evaluate_refuses_arguments_out_of_range(small):
    parts = [0, 1, 0, 1, 0]
    for arguments, message in [
        ({"parts": [0, 1]}, "parts has 2 entries, expected 5"),
        ({"parts": [0, 1, 0, 9, 0], "k": 2}, "parts[3] is 9, expected 0 to 1"),
        ({"parts": [0, 1, 0, -1, 0]}, "parts[3] is -1, expected 0 to 1"),
        ({"parts": parts, "k": 0}, "k is 0, expected 1 to 2147483647"),
        ({"parts": parts, "limits": {"x": 1}}, "limit 'x', expected epsilon, ufactor, ubfactor, share or mondriaan"),
        ({"parts": parts, "limits": "epsilon"}, "limit 'epsilon' is not NAME=VALUE"),
        ({"parts": parts, "limits": "epsilon=-1"}, "limit epsilon is -1, expected a number from 0"),
        ({"parts": parts, "fixed": [0, 1, 2, 0, 0]}, "fixed[2] is 2, expected -1 to 1"),
        ({"parts": parts, "fixed": {7: 0}}, "a cell of fixed is 7, expected 0 to 4"),
        ({"parts": parts, "targets": [1]}, "targets has 1 entries, expected 2"),
        ({"parts": parts, "targets": [1, -1]}, "target is -1.0, expected a number from 0"),
    ]:
        with pytest.raises(ValueError) as info:
            small.evaluate(**arguments)
        assert str(info.value) == message


def test_arguments_that_are_no_integers_are_named(small):
    parts = [0, 1, 0, 1, 0]
    for call, message in [
        (lambda: small.evaluate(parts, k=2.5), "k is 2.5, expected an integer"),
        (lambda: small.evaluate(parts, nets="x"), "nets is 'x', expected an integer"),
        (lambda: small.evaluate(parts, fixed={0: None}), "fixed[0] is None, expected an integer"),
        (lambda: small.prune(2.5), "max_size is 2.5, expected an integer"),
        (lambda: small.prune(3, seed="x"), "seed is 'x', expected an integer"),
        (lambda: small.partition("x"), "k is 'x', expected an integer"),
        (lambda: quillon.read(b"", threads="x"), "threads is 'x', expected an integer"),
        (lambda: quillon.from_csr([0], [], None), "num_cells is None, expected an integer"),
        (lambda: quillon.from_nets([[0], 7]), "nets[1] is 7, expected a sequence of cells"),
        (lambda: quillon.from_scipy([[1]]), "matrix is list, expected a sparse array of scipy"),
        (lambda: quillon.from_networkx({}), "bipartite is dict, expected a graph of networkx"),
    ]:
        with pytest.raises(TypeError) as info:
            call()
        assert str(info.value) == message
    assert small.evaluate(parts, k=np.uint8(2)).cut == small.evaluate(parts).cut


@given(partitioned(), st.randoms(use_true_random=False))
def test_compare_ignores_names_of_parts(case, random):
    shape, parts, nparts = case
    names = list(range(nparts))
    random.shuffle(names)
    same = quillon.compare(built(shape), parts, [names[part] for part in parts])
    assert same.cells_moved == 0
    assert same.normalised_mutual_information == pytest.approx(1)
    assert same.newly_cut == same.no_longer_cut == []


def test_compare_finds_what_moved():
    h = quillon.from_nets([[0, 1], [2, 3], [0, 3]])
    got = quillon.compare(h, [0, 0, 1, 1], [1, 1, 1, 0])
    assert (got.cells_moved, got.newly_cut, got.no_longer_cut) == (1, [1], [])
    assert got.first["cut"] == 1
    assert got.difference["cut"] == 1


def test_threads_may_hammer_it(small):
    failures = []

    def work(number):
        try:
            for turn in range(60):
                h = quillon.from_nets([[i, (i + number) % 50] for i in range(50)])
                parts = [i % 3 for i in range(50)]
                assert h.evaluate(parts).parts[0]["cells"] == 17
                assert h.permute(list(range(49, -1, -1))).hypergraph.num_pins == 100
                assert h.prune(3, shuffle=True, seed=turn).hypergraph.num_cells == 50
                assert small.cell_nets.tolist()[:2] == [0, 1]
                with pytest.raises(quillon.BadFile):
                    quillon.read(b"1 2\n1 3\n", format="hmetis")
        except BaseException as error:  # in a thread, pytest would not see it
            failures.append(error)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(1, 5)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []
