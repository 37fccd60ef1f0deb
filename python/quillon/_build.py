"""Hypergraphs from files and from data of other packages."""

from __future__ import annotations

import io
import itertools
import os
from typing import Any, Iterable, List, Optional, Sequence, Union

import numpy as np

from . import _core
from ._arrays import INT_MAX, count, integer, integers, optional_integers, out_of_range
from ._errors import Finding
from ._hypergraph import Hypergraph, path_of

Readable = Union[str, "os.PathLike[str]", bytes, bytearray, memoryview, io.IOBase]


def read(
    source: Readable,
    format: Optional[str] = None,
    small_nets: str = "keep",
    model: str = "row-net",
    diagonal: bool = False,
    threads: Optional[int] = None,
    pairs: Optional[str] = None,
) -> Hypergraph:
    """Reads a hypergraph from a file.

    Parameters
    ----------
    source : path, file object or bytes
        A file by name, an open one, or its contents. Data in gzip or zstd is decompressed.
    format : str, optional
        Name of the format, such as ``"hmetis"``; by default that of the file's suffix, or else of its content.
    small_nets : {"keep", "fold"}
        Whether nets of one pin or none stay nets. Folded ones are removed and count only in ``stats``.
    model : str
        How a matrix becomes a hypergraph: ``"row-net"``, ``"column-net"`` or ``"fine-grain"``; or a formula:
        ``"primal"`` (its default), ``"dual"`` or ``"literal"``. Other formats ignore it.
    diagonal : bool
        Whether the missing diagonal entries of a square matrix are added.
    threads : int, optional
        Number of threads that scan text; by default one for each processor. The result does not depend on it.
    pairs : {"net-cell", "cell-net"}, optional
        Of lists: each line is a pin, the names of a net and its cell, or of a cell and its net.

    Returns
    -------
    Hypergraph

    Raises
    ------
    BadFile
        If the file cannot be read, or breaks a rule of its format.

    Warns
    -----
    UserWarning
        Of what is odd about the file, or cannot be held by a hypergraph.
    """
    if small_nets not in ("keep", "fold"):
        raise ValueError(f"small_nets is {small_nets!r}, expected 'keep' or 'fold'")
    nthreads = 0 if threads is None else integer(threads, "threads", 1)
    name, descriptor = _opened(source)
    graph = _core.read(
        os.fsencode(name),
        descriptor,
        format or "",
        model,
        pairs or "",
        small_nets == "fold",
        bool(diagonal),
        nthreads,
    )
    if isinstance(source, (io.BufferedReader, io.FileIO)) and source.seekable():
        source.seek(0, os.SEEK_END)
    return Hypergraph._of(graph, name)


def _opened(source: Any) -> "tuple[str, int]":
    """The name that messages show, and a descriptor for what is no file by name."""
    if isinstance(source, (bytes, bytearray, memoryview)):
        return "<bytes>", _descriptor_of([source])
    if hasattr(source, "read"):
        name = getattr(source, "name", None)
        name = name if isinstance(name, str) else f"<{type(source).__name__}>"
        if isinstance(source, (io.BufferedReader, io.FileIO)) and source.seekable():
            descriptor = os.dup(source.fileno())
            os.lseek(descriptor, source.tell(), os.SEEK_SET)
            return name, descriptor
        return name, _descriptor_of(iter(lambda: source.read(1 << 20), source.read(0)))
    return os.fsdecode(path_of(source)), -1


def _descriptor_of(pieces: Iterable[Any]) -> int:
    """A file in memory with these contents, at its start."""
    descriptor = os.memfd_create("quillon")
    try:
        with open(descriptor, "wb", closefd=False) as file:
            for piece in pieces:
                file.write(piece.encode() if isinstance(piece, str) else piece)
        os.lseek(descriptor, 0, os.SEEK_SET)
    except BaseException:
        os.close(descriptor)
        raise
    return descriptor


def from_csr(
    offsets: Any,
    pins: Any,
    num_cells: int,
    cell_weights: Optional[Any] = None,
    net_weights: Optional[Any] = None,
) -> Hypergraph:
    """Builds a hypergraph from nets in compressed rows.

    Parameters
    ----------
    offsets : array_like of int
        Where each net begins in `pins`, and the number of pins at the end: one entry more than nets.
    pins : array_like of int
        The cells of the nets one after another, from 0.
    num_cells : int
        Number of cells.
    cell_weights, net_weights : array_like of int, optional
        Weights of all cells or nets; by default 1.

    Returns
    -------
    Hypergraph

    Raises
    ------
    ValueError
        If an entry is no integer or out of range; the message names its position.
    """
    num_cells = count(num_cells, "num_cells")
    pin_array = integers(pins, "pins", 0, num_cells - 1)
    graph = _core.from_csr(
        integers(offsets, "offsets", 0, pin_array.size),
        pin_array,
        num_cells,
        optional_integers(cell_weights, "cell_weights"),
        optional_integers(net_weights, "net_weights"),
        [],
        [],
        False,
        None,
    )
    return Hypergraph._of(graph)


def from_nets(
    nets: Iterable[Sequence[int]],
    num_cells: Optional[int] = None,
    cell_weights: Optional[Any] = None,
    net_weights: Optional[Any] = None,
) -> Hypergraph:
    """Builds a hypergraph from the cells of each net.

    Parameters
    ----------
    nets : iterable of sequences of int
        For each net its cells, from 0.
    num_cells : int, optional
        Number of cells; by default one more than the largest in `nets`.
    cell_weights, net_weights : array_like of int, optional
        Weights of all cells or nets; by default 1.

    Returns
    -------
    Hypergraph

    Raises
    ------
    ValueError
        If an entry is no integer or out of range; the message names its position.

    Examples
    --------
    >>> h = from_nets([[0, 1], [1, 2, 0]])
    >>> h.num_cells, h.num_nets, h.num_pins
    (3, 2, 5)
    """
    lists = [_listed(net, number) for number, net in enumerate(nets)]
    sizes = np.fromiter(map(len, lists), np.int64, len(lists))
    offsets = np.zeros(len(lists) + 1, np.int64)
    np.cumsum(sizes, out=offsets[1:])
    most = INT_MAX - 3 if num_cells is None else count(num_cells, "num_cells") - 1
    if lists and all(isinstance(net, np.ndarray) for net in lists):
        values: Any = np.concatenate(lists)
    else:
        values = list(itertools.chain.from_iterable(lists))
    try:
        pins = integers(values, "nets", 0, most)
        _check_pins(pins, most)
    except (TypeError, ValueError) as error:
        raise type(error)(_placed(str(error), offsets)) from None
    if num_cells is None:
        num_cells = int(pins.max()) + 1 if pins.size else 0
    return from_csr(offsets, pins, num_cells, cell_weights, net_weights)


def _listed(net: Any, number: int) -> Any:
    if isinstance(net, (list, tuple)) or (isinstance(net, np.ndarray) and net.ndim == 1):
        return net
    try:
        return list(net)
    except TypeError:
        raise TypeError(f"nets[{number}] is {net!r}, expected a sequence of cells") from None


def _check_pins(pins: Any, most: int) -> None:
    if pins.size and (pins.min() < 0 or pins.max() > most):
        position = int(np.flatnonzero((pins < 0) | (pins > most))[0])
        raise out_of_range("nets", position, pins[position], 0, most)


def _placed(message: str, offsets: Any) -> str:
    """Replaces the position among all pins by net and position in the net."""
    if not message.startswith("nets["):
        return message
    position, rest = message[len("nets[") :].split("]", 1)
    net = int(np.searchsorted(offsets, int(position), side="right")) - 1
    return f"nets[{net}][{int(position) - offsets[net]}]{rest}"


def lint(
    path: Union[str, "os.PathLike[str]"],
    format: Optional[str] = None,
    model: str = "row-net",
    max_per_rule: Optional[int] = None,
) -> List[Finding]:
    """Finds all that is wrong with a file, or odd about it: what ``quillon lint`` prints.

    Parameters
    ----------
    path : path
        The file, compressed or not.
    format, model : str, optional
        As for `read`.
    max_per_rule : int, optional
        How many findings of each rule are listed, the first ones; by default all.

    Returns
    -------
    list of Finding
        By line and column; those of the whole file come last. A file with a finding of the severity ``"error"``
        cannot be read.
    """
    most = INT_MAX if max_per_rule is None else integer(max_per_rule, "max_per_rule")
    return _core.lint(path_of(path), format or "", model, most)
