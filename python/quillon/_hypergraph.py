"""The hypergraph class."""

from __future__ import annotations

import html
import json
import math
import os
import tempfile
from typing import TYPE_CHECKING, Any, Dict, List, Mapping, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _core
from ._arrays import INT_MAX, INT_MIN, Integers, count, integer, integers
from ._errors import Finding
from ._results import Comparison, Evaluation, Pruned, Reordered

if TYPE_CHECKING:
    import io

Ints = npt.NDArray[np.int32]

_WEIGHTS = {"none": 0, "cells": 1, "nets": 2, "both": 3}


class Hypergraph:
    """Cells and nets, each net a list of cells: its pins.

    Made by `read` and the ``from_`` functions of the package. A hypergraph does not change, so its arrays are
    read-only. They are views that keep its memory alive.
    """

    __slots__ = ("_graph", "_file", "_cell_names", "_net_names", "__weakref__")
    __hash__ = None  # type: ignore[assignment]

    _graph: _core.Graph
    _file: str
    _cell_names: Optional[List[str]]
    _net_names: Optional[List[str]]

    def __init__(self) -> None:
        raise TypeError("use quillon.read or one of the quillon.from_ functions")

    @classmethod
    def _of(cls, graph: _core.Graph, file: str = "") -> Hypergraph:
        self = object.__new__(cls)
        self._graph = graph
        self._file = file
        self._cell_names = None
        self._net_names = None
        return self

    @property
    def num_cells(self) -> int:
        """Number of cells."""
        return self._graph.num_cells

    @property
    def num_nets(self) -> int:
        """Number of nets."""
        return self._graph.num_nets

    @property
    def num_pins(self) -> int:
        """Number of pins: the sizes of all nets together."""
        return self._graph.num_pins

    @property
    def cell_weights(self) -> Ints:
        """Weight of each cell."""
        return self._graph.cell_weights

    @property
    def net_weights(self) -> Ints:
        """Weight of each net."""
        return self._graph.net_weights

    @property
    def net_offsets(self) -> Ints:
        """Where the pins of each net begin in `net_pins`, and their number at the end."""
        return self._graph.net_offsets

    @property
    def net_pins(self) -> Ints:
        """The cells of net j are ``net_pins[net_offsets[j]:net_offsets[j + 1]]``."""
        return self._graph.net_pins

    @property
    def cell_offsets(self) -> Ints:
        """Where the nets of each cell begin in `cell_nets`, and the number of pins at the end."""
        return self._graph.cell_offsets

    @property
    def cell_nets(self) -> Ints:
        """The nets of cell i are ``cell_nets[cell_offsets[i]:cell_offsets[i + 1]]``."""
        return self._graph.cell_nets

    @property
    def cell_side_is_built(self) -> bool:
        """Whether the nets of the cells are known already. They are found when they are first needed."""
        return self._graph.has_cell_side

    @property
    def cell_names(self) -> Optional[List[str]]:
        """Name of each cell; None if cells have no names."""
        if self._cell_names is None:
            self._cell_names = _texts(self._graph.cell_names)
        return list(self._cell_names) or None

    @property
    def net_names(self) -> Optional[List[str]]:
        """Name of each net; None if nets have no names."""
        if self._net_names is None:
            self._net_names = _texts(self._graph.net_names)
        return list(self._net_names) or None

    def write(
        self,
        target: Union[str, "os.PathLike[str]", io.IOBase],
        format: Optional[str] = None,
        *,
        weights: Optional[str] = None,
        numbering: int = 1,
        model: str = "row-net",
        force: bool = False,
    ) -> None:
        """Writes the hypergraph to a file, which appears whole or not at all.

        Parameters
        ----------
        target : path or binary file object
            A path that ends in ``.gz`` or ``.zst`` is compressed.
        format : str, optional
            Name of the format; by default that of the suffix, or else ``"quillon"``.
        weights : {"none", "cells", "nets", "both"}, optional
            Weights to write, where the format has a choice; by default those that are not all 1.
        numbering : {0, 1}
            Number of the first cell, where the format has a choice.
        model : str
            What the entries of a matrix are: see `read`.
        force : bool
            Whether a file without write permission is replaced too.

        Raises
        ------
        Error
            If the file cannot be written.
        ValueError
            If the format is unknown, only read, or not written with these options.

        Warns
        -----
        UserWarning
            Of what the file does not hold, or some of its readers refuse.
        """
        if weights is not None and weights not in _WEIGHTS:
            raise ValueError(f"weights is {weights!r}, expected one of {', '.join(_WEIGHTS)}")
        number = None if weights is None else _WEIGHTS[weights]
        if hasattr(target, "write"):
            file: Any = target
            file.write(self._written(format or "quillon", number, numbering, model))
            return
        self._graph.write(path_of(target), format or "", number, integer(numbering, "numbering", 0, 1), model, force)

    def report(
        self,
        path: Union[str, "os.PathLike[str]"],
        parts: Union[None, Any, Mapping[str, Any]] = None,
        title: Optional[str] = None,
    ) -> None:
        """Writes an HTML page with charts, which needs no network.

        Parameters
        ----------
        path : path
            The file, which appears whole or not at all.
        parts : array_like of int, or dict of them, optional
            Part of each cell; a dict has several partitions by their headings.
        title : str, optional
            Heading of the page; by default the name of the file that was read.

        Raises
        ------
        Error
            If the file cannot be written.
        """
        target = path_of(path)
        _core.write_page(target, self._page(parts, title or os.path.basename(self._file) or "hypergraph"))

    def _page(self, parts: Union[None, Any, Mapping[str, Any]], title: str) -> bytes:
        named = parts if isinstance(parts, Mapping) else {} if parts is None else {"partition": parts}
        shown = []
        for heading, numbers in named.items():
            array = integers(numbers, "parts", 0, INT_MAX)
            shown.append((str(heading), array, int(array.max()) + 1 if array.size else 1))
        return self._graph.html_page(title, shown)

    def _repr_html_(self) -> str:
        """The page of `report`, for notebooks."""
        page = html.escape(self._page(None, repr(self).strip("<>")).decode())
        return f'<iframe srcdoc="{page}" style="width: 100%; height: 40em; border: 0"></iframe>'

    def partition(
        self, k: int, engine: str = "ptscotch", seed: int = 0, epsilon: float = 0.03
    ) -> "npt.NDArray[np.int32]":
        """Makes a partition with a partitioner that is installed separately.

        Parameters
        ----------
        k : int
            Number of parts.
        engine : {"ptscotch", "metis"}
            Which one: the Debian packages ``quillon-ptscotch`` and ``quillon-metis``.
        seed : int
            The same seed gives the same partition.
        epsilon : float
            A part may weigh (1 + epsilon) times the average. The engine may exceed it: see `evaluate`.

        Returns
        -------
        numpy.ndarray
            Part of each cell, from 0.

        Raises
        ------
        Error
            If the command ``quillon`` or the engine is not installed, or fails.
        """
        from ._partition import partition

        return partition(self, k, engine, seed, epsilon)

    def to_scipy(self) -> Any:
        """The matrix of nets by cells.

        Returns
        -------
        scipy.sparse.csr_array
            Ones, one for each pin.
        """
        from ._convert import to_scipy

        return to_scipy(self)

    def to_networkx(self) -> Any:
        """The graph with a node for each cell and net, and an edge for each pin.

        Returns
        -------
        networkx.Graph
            Nodes have the attributes ``bipartite``, 0 for cells and 1 for nets, and ``weight``. They are names, if
            all are different; else numbers from 0, those of nets after those of cells.
        """
        from ._convert import to_networkx

        return to_networkx(self)

    def to_hif(self) -> Dict[str, Any]:
        """The object of the Hypergraph Interchange Format.

        Returns
        -------
        dict
            With names of cells and nets, or else their numbers from 1.
        """
        from ._convert import to_hif

        return to_hif(self)

    def _written(self, format: str, weights: Optional[int] = None, numbering: int = 1, model: str = "row-net") -> bytes:
        """The bytes of a file."""
        with tempfile.TemporaryFile() as file:
            name = f"/dev/fd/{file.fileno()}".encode()
            self._graph.write(name, format, weights, numbering, model, False)
            file.seek(0)
            return file.read()

    def prune(self, max_size: int, shuffle: bool = False, seed: int = 0) -> Pruned:
        """Drops nets of fewer than two pins, and sets large ones aside.

        Parameters
        ----------
        max_size : int
            Nets of so many pins or more are set aside.
        shuffle : bool
            Whether nets, cells and the pins of each net are put in random order.
        seed : int
            Of the random order. The same seed always gives the same order.

        Returns
        -------
        Pruned
        """
        max_size = count(max_size, "max_size")
        number = integer(seed, "seed", 0, 2**64 - 1)
        kept, set_aside, cells, nets, nets_set_aside = self._graph.prune(max_size, bool(shuffle), number)
        return Pruned(Hypergraph._of(kept), cells, nets, Hypergraph._of(set_aside), nets_set_aside)

    def permute(self, cell_order: Optional[Any] = None, net_order: Optional[Any] = None) -> Reordered:
        """Renumbers cells and nets.

        Parameters
        ----------
        cell_order, net_order : array_like of int, optional
            The old number of each new cell or net; by default they keep their numbers.

        Returns
        -------
        Reordered

        Raises
        ------
        ValueError
            If an order does not name each cell or net once; the message names the position.
        """
        cells = _order(cell_order, "cell_order", self.num_cells)
        nets = _order(net_order, "net_order", self.num_nets)
        return _reordered(self._graph.permute(cells, nets))

    def reorder_by_part(self, parts: Any) -> Reordered:
        """Sorts cells by part, and nets by the lowest part that they touch.

        Nets of one part come before those that touch others too, nets without pins last. If the hypergraph
        is symmetric, nets are renumbered like the cells instead.

        Parameters
        ----------
        parts : array_like of int
            Part of each cell.

        Returns
        -------
        Reordered
        """
        return _reordered(self._graph.reorder_by_part(integers(parts, "parts", INT_MIN, INT_MAX)))

    def stats(self) -> Dict[str, Any]:
        """Counts, degrees, net sizes and weights: the object of ``quillon stats --json``."""
        members: Dict[str, Any] = json.loads(self._graph.stats_json(self._file))
        return members

    def check(self) -> List[Finding]:
        """Verifies the hypergraph, and looks for what other programs refuse or treat differently.

        Returns
        -------
        list of Finding
            Without errors; warnings and notes are allowed in every hypergraph.
        """
        repeated = self._graph.num_repeated_pins()  # at which the checks of the module would stop
        broken = None if repeated else self._graph.broken_rule()
        if broken is not None:
            return [Finding("broken-record", "error", self._file, None, None, broken.strip())]
        sizes = np.diff(self.net_offsets)
        degrees = np.diff(self.cell_offsets)
        found = []
        for rule, severity, number, what in (
            ("repeated-pin", "warning", repeated, "pin that repeats a cell of its net"),
            ("negative-weight", "warning", _negative(self.cell_weights, self.net_weights), "weight below 0"),
            ("pinless-net", "note", int((sizes == 0).sum()), "net without pins"),
            ("one-pin-net", "note", int((sizes == 1).sum()), "net with one pin"),
            ("isolated-cell", "note", int((degrees == 0).sum()), "cell on no net"),
        ):
            if number > 0:
                message = f"{number} {what if number == 1 else _plural(what)}"
                found.append(Finding(rule, severity, self._file, None, None, message))
        return found

    def evaluate(
        self,
        parts: Any,
        k: Optional[int] = None,
        limits: Union[None, str, Sequence[str], Mapping[str, float]] = None,
        fixed: Union[None, Any, Mapping[int, int]] = None,
        targets: Optional[Sequence[float]] = None,
        details: bool = False,
        matrix: bool = False,
        nets: int = 0,
    ) -> Evaluation:
        """Measures a partition.

        Parameters
        ----------
        parts : array_like of int
            Part of each cell, from 0.
        k : int, optional
            Number of parts; by default one more than the largest in `parts`.
        limits : dict, str or list of str, optional
            Limits on the balance, such as ``{"epsilon": 0.03}`` or ``"epsilon=0.03"``. Their names are
            ``epsilon``, ``ufactor``, ``ubfactor``, ``share`` and ``mondriaan``.
        fixed : array_like of int or dict, optional
            The part that each cell is fixed to, or -1; or a dict of the parts of the fixed cells.
        targets : sequence of float, optional
            What each part should weigh, as weights, or as shares if they add up to at most 1.
        details : bool
            Whether boundary cells, internal nets and volumes of each part are found.
        matrix : bool
            Whether the nets between each two parts are weighed.
        nets : int
            How many of the nets that cost most are listed.

        Returns
        -------
        Evaluation
        """
        part_array = integers(parts, "parts", 0, INT_MAX)
        if k is None:
            k = int(part_array.max()) + 1 if part_array.size else 1
        k = integer(k, "k", 1)
        if targets is not None and len(targets) != k:
            raise ValueError(f"targets has {len(targets)} entries, expected {k}")
        target_list = [] if targets is None else [float(target) for target in targets]
        text = self._graph.evaluation_json(
            part_array,
            k,
            _limits(limits),
            self._fixed(fixed, k),
            [_decimal(target) for target in target_list],
            math.fsum(target_list) <= 1 + 1e-9,
            details,
            matrix,
            count(nets, "nets"),
        )
        return Evaluation._of(json.loads(text))

    def _fixed(self, fixed: Any, k: int) -> Optional[Integers]:
        if fixed is None:
            return None
        if not isinstance(fixed, Mapping):
            return integers(fixed, "fixed", -1, k - 1)
        array = np.full(self.num_cells, -1, np.int32)
        for cell, part in fixed.items():
            number = integer(cell, "a cell of fixed", 0, self.num_cells - 1)
            array[number] = integer(part, f"fixed[{number}]", 0, k - 1)
        return array

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Hypergraph):
            return NotImplemented
        return self._graph is other._graph or self._graph.equals(other._graph)

    def __repr__(self) -> str:
        return f"<Hypergraph: {self.num_cells} cells, {self.num_nets} nets, {self.num_pins} pins>"

    def __copy__(self) -> Hypergraph:
        return self

    def __deepcopy__(self, memo: Any) -> Hypergraph:
        return self

    def __reduce__(self) -> "tuple[Any, ...]":
        graph = self._graph
        folded = None
        if graph.num_folded > 0:
            folded = (np.array(graph.folded_weights), graph.num_folded, graph.pinless_weight)
        arrays = (self.net_offsets, self.net_pins, self.num_cells, np.array(self.cell_weights), np.array(self.net_weights))
        return _restored, (self._file, *arrays, graph.cell_names, graph.net_names, False, folded)


def compare(h: Hypergraph, parts1: Any, parts2: Any) -> Comparison:
    """Compares two partitions of the same cells, whatever their parts are called.

    Parameters
    ----------
    h : Hypergraph
    parts1, parts2 : array_like of int
        Part of each cell, from 0.

    Returns
    -------
    Comparison
    """
    first = integers(parts1, "parts1", 0, INT_MAX)
    second = integers(parts2, "parts2", 0, INT_MAX)
    counts = [int(parts.max()) + 1 if parts.size else 1 for parts in (first, second)]
    return Comparison._of(json.loads(h._graph.comparison_json(first, second, *counts)))


def _restored(file: str, *arguments: Any) -> Hypergraph:
    """What pickle calls."""
    return Hypergraph._of(_core.from_csr(*arguments), file)


def _order(order: Optional[Any], name: str, number: int) -> Integers:
    return np.arange(number, dtype=np.int32) if order is None else integers(order, name, 0, number - 1)


def _reordered(made: Tuple[_core.Graph, Ints, Ints]) -> Reordered:
    graph, cells, nets = made
    return Reordered(Hypergraph._of(graph), cells, nets)


def path_of(path: Any) -> bytes:
    """A path for the extension, to which - would be standard input or output."""
    name = os.fsencode(os.fspath(path))
    if b"\0" in name:
        raise ValueError("the path has a null character")
    return name if name != b"-" else b"./-"


def _decimal(value: float) -> str:
    """The shortest text of a number, without an exponent if it can be."""
    return np.format_float_positional(value, trim="-") if 1e-12 < value < 1e15 else repr(value)


def _limits(limits: Union[None, str, Sequence[str], Mapping[str, float]]) -> List[Tuple[str, str]]:
    if limits is None:
        return []
    if isinstance(limits, Mapping):
        return [(name, _decimal(float(value))) for name, value in limits.items()]
    pairs = []
    for limit in [limits] if isinstance(limits, str) else limits:
        name, sign, value = limit.partition("=")
        if not sign:
            raise ValueError(f"limit '{limit}' is not NAME=VALUE")
        pairs.append((name, value))
    return pairs


def _negative(*arrays: Ints) -> int:
    return sum(int((array < 0).sum()) for array in arrays)


def _plural(what: str) -> str:
    first, rest = what.split(" ", 1)
    return f"{first}s {rest}".replace("that repeats a cell of its net", "that repeat cells of their nets")


def _texts(names: List[str]) -> List[str]:
    """Names as texts: strings without quotes, integers in digits."""
    return [str(json.loads(name)) for name in names]
