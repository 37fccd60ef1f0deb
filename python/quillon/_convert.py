"""Hypergraphs to and from data of other packages, which are imported when they are used."""

from __future__ import annotations

import json
from typing import Any, Dict, Hashable, Iterable, List, Optional, Tuple, Union

import numpy as np

from . import _core
from ._arrays import INT_MAX, INT_MIN, integers
from ._build import Readable, read
from ._hypergraph import Hypergraph


def from_scipy(matrix: Any, model: str = "row-net", diagonal: bool = False) -> Hypergraph:
    """Builds a hypergraph from a sparse matrix.

    Parameters
    ----------
    matrix : sparse array or matrix of scipy
        Every entry that is stored counts, whatever its value; one that is stored twice is two pins.
    model : {"row-net", "column-net", "fine-grain"}
        Rows are nets and columns are cells; or the other way round; or entries, row by row, are cells, and rows,
        then columns, are nets.
    diagonal : bool
        Whether the missing diagonal entries of a square matrix are added.

    Returns
    -------
    Hypergraph
    """
    if not hasattr(matrix, "tocsr"):
        raise TypeError(f"matrix is {type(matrix).__name__}, expected a sparse array of scipy")
    if diagonal and matrix.shape[0] != matrix.shape[1]:
        raise ValueError(f"the matrix has the shape {matrix.shape}, expected a square one to add the diagonal")
    if model == "fine-grain":
        return _fine_grain(_with_diagonal(matrix) if diagonal else matrix.tocsr())
    if model not in ("row-net", "column-net"):
        raise ValueError(f"model is {model!r}, expected 'row-net', 'column-net' or 'fine-grain'")
    rows = matrix.tocsr() if model == "row-net" else matrix.tocsc()
    ncells = matrix.shape[1 if model == "row-net" else 0]
    return _from_rows(rows.indptr, rows.indices, ncells, diagonal)


def _from_rows(offsets: Any, pins: Any, ncells: int, diagonal: bool = False) -> Hypergraph:
    if ncells > INT_MAX - 2:
        raise ValueError(f"there are {ncells} cells, too many")
    offsets = integers(offsets, "indptr", 0, INT_MAX)
    pins = integers(pins, "indices", 0, ncells - 1)
    return Hypergraph._of(_core.from_csr(offsets, pins, ncells, None, None, [], [], diagonal, None))


def _with_diagonal(matrix: Any) -> Any:
    from scipy.sparse import csr_array, identity

    rows = matrix.tocsr()
    pattern = csr_array((np.ones(rows.indices.size), rows.indices, rows.indptr), shape=rows.shape)
    return (pattern + csr_array(identity(rows.shape[0], format="csr"))).tocsr()


def _fine_grain(rows: Any) -> Hypergraph:
    npins = rows.indices.size
    columns = np.argsort(rows.indices, kind="stable")
    column_ends = np.cumsum(np.bincount(rows.indices, minlength=rows.shape[1])) + npins
    return _from_rows(np.concatenate((rows.indptr, column_ends)), np.concatenate((np.arange(npins), columns)), npins)


def to_scipy(h: Hypergraph) -> Any:
    from scipy.sparse import csr_array

    offsets, pins = h._graph.net_rows()
    return csr_array((np.ones(pins.size, np.int32), pins, offsets), shape=(h.num_nets, h.num_cells))


def from_networkx(bipartite: Any, cells: Optional[Iterable[Hashable]] = None) -> Hypergraph:
    """Builds a hypergraph from a bipartite graph.

    Parameters
    ----------
    bipartite : networkx.Graph
        An edge between a cell and a net is a pin. The attribute ``weight`` of a node is its weight.
    cells : iterable of nodes, optional
        The nodes that are cells; by default those with the attribute ``bipartite`` of 0. All others are nets.

    Returns
    -------
    Hypergraph
        Cells and nets have the names of the nodes, unless these are the numbers that `to_networkx` gives.

    Raises
    ------
    ValueError
        If a node has no attribute ``bipartite``, or an edge does not join a cell and a net.
    """
    if not hasattr(bipartite, "nodes"):
        raise TypeError(f"bipartite is {type(bipartite).__name__}, expected a graph of networkx")
    cell_nodes, net_nodes = _sides(bipartite, cells)
    number_of = {node: number for number, node in enumerate(cell_nodes)}
    pins: List[int] = []
    offsets = [0]
    for net in net_nodes:
        for neighbour in bipartite[net]:
            if neighbour not in number_of:
                raise ValueError(f"the edge of {net!r} and {neighbour!r} joins two nets")
            pins.append(number_of[neighbour])
        offsets.append(len(pins))
    if len(pins) != bipartite.number_of_edges():
        first, second = next((a, b) for a, b in bipartite.edges() if a in number_of and b in number_of)
        raise ValueError(f"the edge of {first!r} and {second!r} joins two cells")
    nodes = cell_nodes + net_nodes
    is_numbered = all(type(node) is int and node == number for number, node in enumerate(nodes))
    graph = _core.from_csr(
        np.array(offsets, np.int32),
        np.array(pins, np.int32),
        len(cell_nodes),
        _weights(bipartite, cell_nodes, "cells"),
        _weights(bipartite, net_nodes, "nets"),
        [] if is_numbered else _names(cell_nodes),
        [] if is_numbered else _names(net_nodes),
        False,
        None,
    )
    return Hypergraph._of(graph)


def _sides(graph: Any, cells: Optional[Iterable[Hashable]]) -> Tuple[List[Hashable], List[Hashable]]:
    if cells is not None:
        chosen = dict.fromkeys(cells)
        for node in chosen:
            if node not in graph:
                raise ValueError(f"{node!r} is no node of the graph")
        return list(chosen), [node for node in graph if node not in chosen]
    sides: Tuple[List[Hashable], List[Hashable]] = ([], [])
    for node, side in graph.nodes(data="bipartite"):
        if side not in (0, 1):
            raise ValueError(f"the attribute 'bipartite' of {node!r} is {side!r}, expected 0 or 1")
        sides[side].append(node)
    return sides


def _weights(graph: Any, nodes: List[Hashable], name: str) -> Any:
    return integers([graph.nodes[node].get("weight", 1) for node in nodes], f"weights of {name}", INT_MIN, INT_MAX)


def _names(nodes: List[Hashable]) -> List[str]:
    """As JSON texts: integers as such, all others as strings."""
    names = [json.dumps(node if type(node) in (int, str) else str(node), ensure_ascii=False) for node in nodes]
    if len(set(names)) < len(names):
        raise ValueError("two nodes have the same name as text")
    return names


def to_networkx(h: Hypergraph) -> Any:
    from networkx import Graph

    cells, nets = _nodes(h)
    graph = Graph()
    graph.add_nodes_from(_described(cells, h.cell_weights, 0))
    graph.add_nodes_from(_described(nets, h.net_weights, 1))
    owners = np.repeat(np.arange(h.num_nets), np.diff(h.net_offsets)).tolist()
    graph.add_edges_from((nets[j], cells[i]) for j, i in zip(owners, h.net_pins.tolist()))
    return graph


def _nodes(h: Hypergraph) -> Tuple[List[Any], List[Any]]:
    """Names, if all are different; else numbers, those of nets after those of cells."""
    cells = [json.loads(name) for name in h._graph.cell_names] or list(range(h.num_cells))
    nets = [json.loads(name) for name in h._graph.net_names] or list(range(h.num_cells, h.num_cells + h.num_nets))
    if len(set(cells) | set(nets)) == len(cells) + len(nets):
        return cells, nets
    return list(range(h.num_cells)), list(range(h.num_cells, h.num_cells + h.num_nets))


def _described(nodes: List[Any], weights: Any, side: int) -> Iterable[Tuple[Any, Dict[str, int]]]:
    return ((node, {"bipartite": side, "weight": weight}) for node, weight in zip(nodes, weights.tolist()))


def from_hif(source: Union[Dict[str, Any], Readable]) -> Hypergraph:
    """Builds a hypergraph from the Hypergraph Interchange Format.

    Parameters
    ----------
    source : dict, path, file object or bytes
        The object itself, or a file that holds it as JSON.

    Returns
    -------
    Hypergraph
        Cells and nets have the names of nodes and edges.

    Raises
    ------
    BadFile
        If a rule of the format is broken.

    Warns
    -----
    UserWarning
        Of what a hypergraph cannot hold.
    """
    if isinstance(source, dict):
        return read(json.dumps(source, ensure_ascii=False).encode("utf-8", "surrogatepass"), format="hif")
    return read(source, format="hif")


def to_hif(h: Hypergraph) -> Dict[str, Any]:
    members: Dict[str, Any] = json.loads(h._written("hif"))
    return members
