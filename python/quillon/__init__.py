"""Hypergraphs of cells and nets: read, build, prune, renumber, measure and write them.

A net is a set of cells, its pins. Cells and nets are counted from 0, in arrays of compressed rows as in
scipy.sparse. A hypergraph does not change once it is made.

>>> import quillon
>>> h = quillon.from_nets([[0, 1], [1, 2, 0]], num_cells=3)
>>> h.num_pins
5
"""

from ._build import from_csr, from_nets, lint, read
from ._convert import from_hif, from_networkx, from_scipy
from ._core import __version__
from ._errors import BadFile, Error, Finding
from ._hypergraph import Hypergraph, compare
from ._results import Comparison, Evaluation, Pruned, Reordered

__all__ = [
    "BadFile",
    "Comparison",
    "Error",
    "Evaluation",
    "Finding",
    "Hypergraph",
    "Pruned",
    "Reordered",
    "__version__",
    "compare",
    "from_csr",
    "from_hif",
    "from_networkx",
    "from_nets",
    "from_scipy",
    "lint",
    "read",
]

for _name in __all__:  # as messages and pickles name them
    if isinstance(globals()[_name], type):
        globals()[_name].__module__ = __name__
