from typing import Any, List, Optional

import numpy as np
import numpy.typing as npt

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
    @property
    def cell_offsets(self) -> npt.NDArray[np.int32]: ...
    @property
    def cell_nets(self) -> npt.NDArray[np.int32]: ...
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
) -> Graph: ...
