from typing import Any, List, Optional, Tuple

import numpy as np
import numpy.typing as npt

from ._errors import Finding

__version__: str

class Graph:
    @property
    def num_cells(self) -> int: ...
    @property
    def num_nets(self) -> int: ...
    @property
    def num_pins(self) -> int: ...
    @property
    def num_folded(self) -> int: ...
    @property
    def weights(self) -> int: ...
    @property
    def has_cell_side(self) -> bool: ...
    @property
    def cell_names(self) -> List[str]: ...
    @property
    def net_names(self) -> List[str]: ...
    @property
    def cell_weights(self) -> npt.NDArray[np.int32]: ...
    @property
    def net_weights(self) -> npt.NDArray[np.int32]: ...
    @property
    def net_offsets(self) -> npt.NDArray[np.int32]: ...
    @property
    def net_pins(self) -> npt.NDArray[np.int32]: ...
    def net_rows(self) -> Tuple[npt.NDArray[np.int32], npt.NDArray[np.int32]]: ...
    @property
    def cell_offsets(self) -> npt.NDArray[np.int32]: ...
    @property
    def cell_nets(self) -> npt.NDArray[np.int32]: ...
    @property
    def folded_weights(self) -> npt.NDArray[np.int32]: ...
    @property
    def pinless_weight(self) -> int: ...
    def num_repeated_pins(self) -> int: ...
    def html_page(self, title: str, partitions: List[Tuple[str, npt.NDArray[Any], int]]) -> bytes: ...
    def broken_rule(self) -> Optional[str]: ...
    def prune(
        self, max_size: int, shuffle: bool, seed: int
    ) -> Tuple[Graph, Graph, npt.NDArray[np.int32], npt.NDArray[np.int32], npt.NDArray[np.int32]]: ...
    def permute(
        self, cells: npt.NDArray[Any], nets: npt.NDArray[Any]
    ) -> Tuple[Graph, npt.NDArray[np.int32], npt.NDArray[np.int32]]: ...
    def reorder_by_part(
        self, parts: npt.NDArray[Any]
    ) -> Tuple[Graph, npt.NDArray[np.int32], npt.NDArray[np.int32]]: ...
    def stats_json(self, file: str) -> str: ...
    def evaluation_json(
        self,
        parts: npt.NDArray[Any],
        nparts: int,
        limits: List[Tuple[str, str]],
        fixed: Optional[npt.NDArray[Any]],
        targets: List[str],
        are_shares: bool,
        details: bool,
        matrix: bool,
        nnets: int,
    ) -> str: ...
    def comparison_json(
        self, first: npt.NDArray[Any], second: npt.NDArray[Any], nparts_first: int, nparts_second: int
    ) -> str: ...
    def equals(self, other: Graph) -> bool: ...
    def write(
        self,
        path: bytes,
        format: str,
        weights: Optional[int],
        numbering: int,
        model: str,
        replace_protected: bool,
    ) -> None: ...

def read(
    path: bytes,
    descriptor: int,
    format: str,
    model: str,
    pairs: str,
    fold_small_nets: bool,
    add_diagonal: bool,
    nthreads: int,
) -> Graph: ...
def from_csr(
    offsets: npt.NDArray[Any],
    pins: npt.NDArray[Any],
    num_cells: int,
    cell_weights: Optional[npt.NDArray[Any]],
    net_weights: Optional[npt.NDArray[Any]],
    cell_names: List[str],
    net_names: List[str],
    add_diagonal: bool,
    folded: Optional[Tuple[npt.NDArray[Any], int, int]],
) -> Graph: ...
def lint(path: bytes, format: str, model: str, most_kept: int) -> List[Finding]: ...
