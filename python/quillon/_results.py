"""What functions on hypergraphs return."""

from __future__ import annotations

from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Dict, List, Optional

import numpy as np
import numpy.typing as npt

if TYPE_CHECKING:
    from ._hypergraph import Hypergraph

Ints = npt.NDArray[np.int32]


@dataclass(frozen=True, eq=False)
class Pruned:
    """The result of `Hypergraph.prune`.

    Attributes
    ----------
    hypergraph : Hypergraph
        All cells, and the nets that are kept.
    cells, nets : numpy.ndarray
        For each of its cells and nets, the number that it had before.
    set_aside : Hypergraph
        The same cells, and the nets that are set aside.
    nets_set_aside : numpy.ndarray
        For each net set aside, the number that it had before.
    """

    hypergraph: Hypergraph
    cells: Ints
    nets: Ints
    set_aside: Hypergraph
    nets_set_aside: Ints


@dataclass(frozen=True, eq=False)
class Reordered:
    """The result of `Hypergraph.permute` and `Hypergraph.reorder_by_part`.

    Attributes
    ----------
    hypergraph : Hypergraph
        The renumbered hypergraph.
    cell_order, net_order : numpy.ndarray
        The old number of each new cell and net.
    cell_inverse, net_inverse : numpy.ndarray
        The new number of each old cell and net.
    """

    hypergraph: Hypergraph
    cell_order: Ints
    net_order: Ints

    @property
    def cell_inverse(self) -> Ints:
        """The new number of each old cell."""
        return _inverse(self.cell_order)

    @property
    def net_inverse(self) -> Ints:
        """The new number of each old net."""
        return _inverse(self.net_order)


def _inverse(order: Ints) -> Ints:
    inverse = np.empty_like(order)
    inverse[order] = np.arange(order.size, dtype=order.dtype)
    return inverse


@dataclass(frozen=True)
class Evaluation:
    """A partition in numbers: the members of ``quillon eval --json``, with cells and nets counted from 0.

    Let w be the weight of a net, and L the number of parts with pins of it. A net is cut if L is above 1.

    Attributes
    ----------
    cut_nets : int
        Number of cut nets.
    cut : int
        Total weight of the cut nets.
    connectivity_minus_one : int
        Sum of w (L - 1).
    sum_of_external_degrees : int
        Sum of w L over the cut nets.
    imbalance : float
        Weight of the heaviest part divided by the average, minus 1.
    absorption : float
        Sum over nets and parts of w (pins in the part - 1) / (pins - 1).
    connectivity_pairs : int or None
        Sum of w L (L - 1); None if it exceeds 64 bits.
    balance : dict
        By name of a limit, the smallest value that holds; None where a part with the target 0 has cells.
    parts : list of dict
        By part: ``part``, ``cells`` and ``weight``; with `details` also ``boundary_cells``, ``internal_nets``,
        ``volume_sent`` and ``volume_received``.
    heaviest_part, lightest_part : dict
        Of `parts`, the first of equal ones.
    empty_parts : int
        Number of parts without cells.
    limits : list of dict
        By limit: ``limit``, ``holds`` and ``broken_by``, a list of parts.
    within_limits : bool
        Whether all limits hold, and no fixed cell is in another part.
    moved_fixed_cells : list of dict or None
        Cells that are not in the part they are fixed to; None if no cell is fixed.
    matrix : list of tuple or None
        Two parts p <= q and the weight of the nets that touch both, without zeros; if asked for.
    costliest_nets : list of dict or None
        Cut nets with the largest w (L - 1): ``net``, ``parts``, ``cost``; if asked for.
    """

    cut_nets: int
    cut: int
    connectivity_minus_one: int
    sum_of_external_degrees: int
    imbalance: float
    absorption: float
    connectivity_pairs: Optional[int]
    balance: Dict[str, Optional[float]]
    parts: List[Dict[str, int]]
    heaviest_part: Dict[str, int]
    lightest_part: Dict[str, int]
    empty_parts: int
    limits: List[Dict[str, Any]]
    within_limits: bool
    moved_fixed_cells: Optional[List[Dict[str, Any]]] = None
    matrix: Optional[List["tuple[int, int, int]"]] = None
    costliest_nets: Optional[List[Dict[str, Any]]] = None

    @classmethod
    def _of(cls, json: Dict[str, Any]) -> Evaluation:
        members = {name: value for name, value in json.items() if name in cls.__dataclass_fields__}
        for list_name, number in (("moved_fixed_cells", "cell"), ("costliest_nets", "net")):
            for item in members.get(list_name, []):
                item[number] -= 1
        if "matrix" in members:
            members["matrix"] = [tuple(entry) for entry in members["matrix"]]
        return cls(**members)


@dataclass(frozen=True)
class Comparison:
    """What distinguishes two partitions: the members of ``quillon compare --json``, with nets counted from 0.

    Attributes
    ----------
    cells_moved, weight_moved : int
        Cells that are not in the part matched to their first part, and their weight.
    normalised_mutual_information : float
        Divided by the mean of both entropies.
    adjusted_rand_index : float
        Share of pairs of cells on which they agree, adjusted for chance.
    names : list of int
        For each part of the second partition, its name in the first.
    newly_cut, no_longer_cut : list of int
        Nets that only the second, or only the first, partition cuts.
    first, second : dict
        Measures of each partition.
    difference : dict
        Second minus first.
    """

    cells_moved: int
    weight_moved: int
    normalised_mutual_information: float
    adjusted_rand_index: float
    names: List[int]
    newly_cut: List[int]
    no_longer_cut: List[int]
    first: Dict[str, Any]
    second: Dict[str, Any]
    difference: Dict[str, Any]

    @classmethod
    def _of(cls, json: Dict[str, Any]) -> Comparison:
        members = {name: value for name, value in json.items() if name in cls.__dataclass_fields__}
        for name in ("newly_cut", "no_longer_cut"):
            members[name] = [net - 1 for net in members[name]]
        for name in ("first", "second"):
            del members[name]["partition"]  # a file name
        return cls(**members)
