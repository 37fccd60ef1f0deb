"""Hypergraphs to and from scipy, networkx, HIF and pickle."""

import copy
import json
import pickle

import networkx
import numpy as np
import pytest
import scipy.sparse
from hypothesis import given
from hypothesis import strategies as st

import quillon
from support import built, nets_of, shapes


@st.composite
def matrices(draw, square=False):
    nrows = draw(st.integers(0, 7))
    ncolumns = nrows if square else draw(st.integers(0, 7))
    entry = st.tuples(st.integers(0, max(nrows - 1, 0)), st.integers(0, max(ncolumns - 1, 0)))
    entries = sorted(draw(st.sets(entry, max_size=20))) if nrows and ncolumns else []
    rows, columns = [entry[0] for entry in entries], [entry[1] for entry in entries]
    return scipy.sparse.coo_array((np.ones(len(entries)), (rows, columns)), shape=(nrows, ncolumns))


@given(matrices(), st.sampled_from(["csr", "csc", "coo", "lil"]))
def test_rows_are_nets(matrix, format):
    h = quillon.from_scipy(matrix.asformat(format))
    assert (h.num_nets, h.num_cells) == matrix.shape
    assert not h.cell_side_is_built
    assert (h.to_scipy().toarray() == matrix.toarray()).all()
    transposed = quillon.from_scipy(matrix, model="column-net")
    assert (transposed.to_scipy().toarray() == matrix.toarray().T).all()


@given(matrices(square=True), st.sampled_from(["row-net", "column-net"]))
def test_adds_the_diagonal(matrix, model):
    h = quillon.from_scipy(matrix, model=model, diagonal=True)
    expected = (matrix.toarray() + np.eye(matrix.shape[0])).clip(max=1)
    assert (h.to_scipy().toarray() == (expected if model == "row-net" else expected.T)).all()


@given(matrices())
def test_entries_are_cells(matrix):
    h = quillon.from_scipy(matrix, model="fine-grain")
    rows, columns = matrix.toarray().nonzero()
    assert h.num_cells == len(rows)
    expected = [np.flatnonzero(rows == row).tolist() for row in range(matrix.shape[0])]
    expected += [np.flatnonzero(columns == column).tolist() for column in range(matrix.shape[1])]
    assert nets_of(h) == expected


@given(shapes(weights=st.just(1)))
def test_matrices_go_back_and_forth(shape):
    h = built(shape)
    matrix = h.to_scipy()
    assert quillon.from_scipy(matrix) == h
    matrix.data[:] = 7  # a copy of its own
    matrix.sort_indices()
    assert h == built(shape)


def test_products_count_shared_nets():
    matrix = quillon.from_nets([[0, 1], [1, 2], [0, 1, 2]]).to_scipy()
    assert (matrix.T @ matrix).toarray().tolist() == [[2, 2, 1], [2, 3, 2], [1, 2, 2]]


def test_refuses_matrices_that_do_not_fit():
    with pytest.raises(ValueError, match="expected a square one"):
        quillon.from_scipy(scipy.sparse.csr_array((2, 3)), diagonal=True)
    with pytest.raises(ValueError, match="model is 'x'"):
        quillon.from_scipy(scipy.sparse.csr_array((2, 3)), model="x")
    wide = scipy.sparse.coo_array(([1.0], ([0], [2**40])), shape=(1, 2**40 + 1))
    with pytest.raises(ValueError, match="too many"):
        quillon.from_scipy(wide)


@given(shapes())
def test_graphs_go_back_and_forth(shape):
    h = built(shape)
    graph = h.to_networkx()
    assert networkx.is_bipartite(graph)
    again = quillon.from_networkx(graph)
    assert [set(net) for net in nets_of(again)] == [set(net) for net in nets_of(h)]
    assert again.cell_weights.tolist() == h.cell_weights.tolist()
    assert again.net_weights.tolist() == h.net_weights.tolist()
    assert again.cell_names is None


def test_names_survive():
    graph = networkx.Graph()
    graph.add_nodes_from(["ann", "bob", 7], bipartite=0)
    graph.add_nodes_from(["tea", ("a", 1)], bipartite=1, weight=3)
    graph.add_edges_from([("ann", "tea"), ("tea", 7), ("bob", ("a", 1))])
    h = quillon.from_networkx(graph)
    assert h.cell_names == ["ann", "bob", "7"]
    assert h.net_names == ["tea", "('a', 1)"]
    assert h.net_weights.tolist() == [3, 3]
    assert set(h.to_networkx()) == {"ann", "bob", 7, "tea", "('a', 1)"}
    again = quillon.from_hif(h.to_hif())
    assert again == h
    assert quillon.from_networkx(again.to_networkx()) == h
    order = h.permute([2, 0, 1], [1, 0]).hypergraph
    assert (order.cell_names, order.net_names) == (["7", "ann", "bob"], ["('a', 1)", "tea"])


def test_cells_may_be_named():
    graph = networkx.path_graph(4)
    assert nets_of(quillon.from_networkx(graph, cells=[2, 0])) == [[1, 0], [0]]
    for cells, message in [([0, 1, 3], "joins two cells"), ([0], "joins two nets"), ([9], "is no node of the graph")]:
        with pytest.raises(ValueError, match=message):
            quillon.from_networkx(graph, cells=cells)
    with pytest.raises(ValueError, match="the attribute 'bipartite' of 0 is None, expected 0 or 1"):
        quillon.from_networkx(graph)


def test_nodes_without_names_of_their_own_are_numbered():
    h = quillon.from_hif({"incidences": [{"edge": "a", "node": "a"}]})
    assert set(h.to_networkx()) == {0, 1}


def test_hif_from_a_dict_and_a_file(tmp_path):
    members = {"incidences": [{"edge": 1, "node": "é"}, {"edge": 1, "node": "b"}], "network-type": "undirected"}
    h = quillon.from_hif(members)
    assert (h.cell_names, h.net_names) == (["é", "b"], ["1"])
    path = tmp_path / "a.json"
    path.write_text(json.dumps(members), encoding="utf-8")
    assert quillon.from_hif(path) == h
    with pytest.raises(quillon.BadFile) as info:
        quillon.from_hif({"nodes": []})
    assert info.value.rule == "missing-incidences"


@given(shapes())
def test_pickle_and_copy_keep_everything(shape):
    h = built(shape)
    assert pickle.loads(pickle.dumps(h)) == h
    assert copy.copy(h) == h
    assert copy.deepcopy([h])[0] == h


def test_pickle_keeps_names_and_folded_nets():
    named = quillon.from_hif({"incidences": [{"edge": "e", "node": 1}, {"edge": "e", "node": "1"}]})
    assert pickle.loads(pickle.dumps(named)) == named
    folded = quillon.read(b"1 3 4 4 2\n5 1 2\n3 3\n1\n2 1\n", small_nets="fold")
    again = pickle.loads(pickle.dumps(folded))
    assert again == folded
    assert again.stats() == folded.stats()
    assert again.stats()["folded"] == {"nets": 3, "one_pin_weight": 5, "pinless_weight": 1}
