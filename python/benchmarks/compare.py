#!/usr/bin/env python3
"""Times the package against the tool, copies of arrays, and other ways to the same data, in one run.

compare.py TOOL [PINS [ROUNDS [ROW...]]]

TOOL is the command quillon; PINS defaults to 16 million, ROUNDS to 5. ROW chooses rows of the table by their names.
Both sides of a row must give the same data; they alternate, and the least time of each counts. A row ends with the
ratio of the two. PYTHONPATH must lead to the package.
"""

import os
import subprocess
import sys
import tempfile
import time
import warnings

import numpy as np
import scipy.io
import scipy.sparse

import quillon

SHARE_OF_PEERS = 16  # rows against slow peers have this part of the pins


def random_matrix(npins):
    """Rows of 1 to 15 entries in increasing order, none twice, scattered over as many columns as rows."""
    rng = np.random.default_rng(1)
    nnets = max(npins // 8, 16)
    offsets = np.zeros(nnets + 1, np.int32)
    np.cumsum(rng.integers(1, 16, nnets, dtype=np.int32), out=offsets[1:])
    gap = nnets // 16
    steps = rng.integers(1, gap + 1, offsets[-1], dtype=np.int64)
    steps[offsets[1:-1]] -= np.add.reduceat(steps, offsets[:-1])[:-1]  # each row begins at its first step
    pins = np.cumsum(steps).astype(np.int32) - 1
    return scipy.sparse.csr_array((np.ones(pins.size), pins, offsets), shape=(nnets, nnets))


def copied(matrix):
    return matrix.indptr.copy(), matrix.indices.copy(), matrix.data.copy()


def read_in_python(path):
    """The nets of an hMETIS file as lists."""
    with open(path, encoding="ascii") as file:
        nnets, _, fmt = next(file).split()
        nweights = 1 if fmt.endswith("1") else 0
        return [[int(word) - 1 for word in next(file).split()[nweights:]] for _ in range(int(nnets))]


def count_with_tool(tool, path):
    """What the tool prints after it has read a file."""
    command = [tool, "stats", "--keep-small-nets", "--summary", path]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


class Benchmark:
    """The rows of the table, by name: heading, and a function that makes both sides and a check of their results."""

    def __init__(self, tool, npins, folder):
        self.tool = tool
        self.matrix = random_matrix(npins)
        self.folder = folder

    def file(self, name, share=1):
        path = os.path.join(self.folder, name)
        if not os.path.exists(path):
            quillon.from_scipy(self.matrix[: self.matrix.shape[0] // share]).write(path)
        return path

    def read(self):
        path = self.file("a.qhg")

        def have_equal_counts(h, text):
            return f"H({h.num_cells}, {h.num_nets}, {h.num_pins})" in text

        return (lambda: quillon.read(path)), (lambda: count_with_tool(self.tool, path)), have_equal_counts

    def from_scipy(self):
        def hold_the_same(h, arrays):
            return np.array_equal(h.net_offsets, arrays[0]) and np.array_equal(h.net_pins, arrays[1])

        return (lambda: quillon.from_scipy(self.matrix)), (lambda: copied(self.matrix)), hold_the_same

    def to_scipy(self):
        h = quillon.from_scipy(self.matrix)

        def hold_the_same(matrix, arrays):
            return np.array_equal(matrix.indptr, arrays[0]) and np.array_equal(matrix.indices, arrays[1])

        return h.to_scipy, (lambda: copied(self.matrix)), hold_the_same

    def mtx(self):
        path = self.file("a.mtx", SHARE_OF_PEERS)

        def hold_the_same(h, matrix):
            return (h.to_scipy() != matrix.tocsr()).nnz == 0

        return (lambda: quillon.read(path)), (lambda: scipy.io.mmread(path)), hold_the_same

    def hgr(self):
        path = self.file("a.hgr", SHARE_OF_PEERS)

        def hold_the_same(h, nets):
            return [h.net_pins[a:b].tolist() for a, b in zip(h.net_offsets, h.net_offsets[1:])] == nets

        return (lambda: quillon.read(path)), (lambda: read_in_python(path)), hold_the_same


ROWS = {
    "read": "read | quillon stats",
    "from_scipy": "from_scipy | copy of the arrays",
    "to_scipy": "to_scipy | copy of the arrays",
    "mtx": f"read .mtx, 1/{SHARE_OF_PEERS} | scipy.io.mmread",
    "hgr": f"read .hgr, 1/{SHARE_OF_PEERS} | pure Python",
}


def seconds(work):
    begin = time.perf_counter()
    result = work()
    elapsed = time.perf_counter() - begin
    del result
    return elapsed


def print_row(heading, sides, rounds):
    ours, theirs, are_equal = sides
    if not are_equal(ours(), theirs()):
        sys.exit(f"{heading}: the results differ")
    times = [(seconds(ours), seconds(theirs)) for _ in range(rounds)]
    mine, other = min(a for a, _ in times), min(b for _, b in times)
    print(f"{heading:44} {mine:8.3f} s {other:8.3f} s {mine / other:7.3f}", flush=True)


def main():
    npins = int(sys.argv[2]) if len(sys.argv) > 2 else 16_000_000
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    warnings.simplefilter("ignore")  # of nets of one pin, which some readers drop
    with tempfile.TemporaryDirectory() as folder:
        benchmark = Benchmark(sys.argv[1], npins, folder)
        print(f"{benchmark.matrix.nnz} pins, least of {rounds}\n{'':44} {'package':>10} {'other':>10} {'ratio':>7}")
        for name in sys.argv[4:] or ROWS:
            print_row(ROWS[name], getattr(benchmark, name)(), rounds)


if __name__ == "__main__":
    main()
