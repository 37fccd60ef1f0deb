#!/usr/bin/env python3
"""From a sparse matrix to a partition, and to the matrix in block form.

blocks.py [PICTURE]

Partitions the columns of a matrix so that few rows are split, sorts rows and columns by part, and draws both matrices
to PICTURE if matplotlib is installed. Without an engine, the columns are split into runs.
"""

import sys

import numpy as np
import scipy.sparse

import quillon

NPARTS = 4


def scrambled_grid(side):
    """The five-point stencil of a grid, rows and columns in random order."""
    line = scipy.sparse.diags([1, 1, 1], [-1, 0, 1], shape=(side, side))
    one = scipy.sparse.identity(side)
    matrix = scipy.sparse.csr_array(scipy.sparse.kron(line, one) + scipy.sparse.kron(one, line))
    order = np.random.default_rng(1).permutation(side * side)
    return scipy.sparse.csr_array(matrix[order][:, order])


def partition(h):
    try:
        return h.partition(NPARTS, engine="metis")
    except quillon.Error as error:
        print(f"{error}: columns are split into runs")
        return np.arange(h.num_cells) * NPARTS // h.num_cells


def draw(path, matrices):
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(1, len(matrices), figsize=(5 * len(matrices), 5))
    for axis, (title, matrix) in zip(axes, matrices.items()):
        axis.spy(matrix, markersize=1)
        axis.set_title(title)
    figure.savefig(path)


def main():
    matrix = scrambled_grid(24)
    h = quillon.from_scipy(matrix)  # rows are nets, columns are cells
    parts = partition(h)
    result = h.evaluate(parts, k=NPARTS)
    print(f"{h.num_nets} rows, {result.cut_nets} of them split; imbalance {result.imbalance:.3f}")

    blocks = h.reorder_by_part(parts)
    permuted = matrix[blocks.net_order][:, blocks.cell_order]
    assert (blocks.hypergraph.to_scipy() != (permuted != 0)).nnz == 0
    print(f"rows and columns sorted by part: {blocks.hypergraph}")
    if len(sys.argv) > 1:
        draw(sys.argv[1], {"before": matrix, "after": permuted})


if __name__ == "__main__":
    main()
