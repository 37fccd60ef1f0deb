"""The hypergraph class."""

from __future__ import annotations

import json
import os
import tempfile
from typing import TYPE_CHECKING, Any, List, Optional, Union

import numpy as np
import numpy.typing as npt

from . import _core

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
        path = os.fsencode(os.fspath(target))
        if b"\0" in path:
            raise ValueError("the path has a null character")
        path = path if path != b"-" else b"./-"  # to the extension, - is standard output
        self._graph.write(path, format or "", number, numbering, model, force)

    def _written(self, format: str, weights: Optional[int] = None, numbering: int = 1, model: str = "row-net") -> bytes:
        """The bytes of a file."""
        with tempfile.TemporaryFile() as file:
            name = f"/dev/fd/{file.fileno()}".encode()
            self._graph.write(name, format, weights, numbering, model, False)
            file.seek(0)
            return file.read()

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


def _texts(names: List[str]) -> List[str]:
    """Names as texts: strings without quotes, integers in digits."""
    return [str(json.loads(name)) for name in names]
