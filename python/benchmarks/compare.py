#!/usr/bin/env python3
"""Times the package against the tool, copies of arrays, and other ways to the same data, in one run.

compare.py TOOL [PINS [ROUNDS]]

TOOL is the command quillon; PINS defaults to 16 million, ROUNDS to 5. Both sides of a row alternate; the least time of
each counts. A row ends with the ratio of the two. PYTHONPATH must lead to the package.
"""

import os
import subprocess
import sys
import tempfile
import time

import numpy as np
import scipy.io
import scipy.sparse

import quillon


def seconds(work):
    begin = time.perf_counter()
    result = work()
    elapsed = time.perf_counter() - begin
    del result
    return elapsed


def compare(name, ours, theirs, rounds):
    times = [(seconds(ours), seconds(theirs)) for _ in range(rounds)]
    mine, other = min(a for a, _ in times), min(b for _, b in times)
    print(f"{name:44} {mine:8.3f} s {other:8.3f} s {mine / other:7.3f}", flush=True)


def random_matrix(npins):
    """Rows of 1 to 15 entries in increasing order, as many columns as rows."""
    rng = np.random.default_rng(1)
    nnets = npins // 8
    sizes = rng.integers(1, 16, nnets)
    offsets = np.concatenate(([0], np.cumsum(sizes))).astype(np.int32)
    pins = rng.integers(0, nnets, offsets[-1], dtype=np.int32)
    matrix = scipy.sparse.csr_array((np.ones(pins.size), pins, offsets), shape=(nnets, nnets))
    matrix.sum_duplicates()
    return matrix


def copied(matrix):
    return matrix.indptr.copy(), matrix.indices.copy(), matrix.data.copy()


def read_in_python(path):
    """The nets of an hMETIS file as lists."""
    with open(path, encoding="ascii") as file:
        nnets = int(next(file).split()[0])
        return [[int(word) - 1 for word in next(file).split()] for _ in range(nnets)]


def main():
    tool = sys.argv[1]
    npins = int(sys.argv[2]) if len(sys.argv) > 2 else 16_000_000
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    matrix = random_matrix(npins)
    h = quillon.from_scipy(matrix)
    small = quillon.from_scipy(matrix[: matrix.shape[0] // 16])
    with tempfile.TemporaryDirectory() as folder:
        own, mtx, hgr = (os.path.join(folder, name) for name in ("a.qhg", "a.mtx", "a.hgr"))
        h.write(own)
        small.write(mtx)
        small.write(hgr)
        print(f"{h}, least of {rounds}\n{'':44} {'package':>10} {'other':>10} {'ratio':>7}")
        check = [tool, "stats", "--keep-small-nets", "--summary", own]
        compare("read | quillon stats", lambda: quillon.read(own), lambda: run(check), rounds)
        compare("from_scipy | copy of the arrays", lambda: quillon.from_scipy(matrix), lambda: copied(matrix), rounds)
        compare("to_scipy | copy of the arrays", h.to_scipy, lambda: copied(matrix), rounds)
        print(small)
        compare("read .mtx | scipy.io.mmread", lambda: quillon.read(mtx), lambda: scipy.io.mmread(mtx), min(rounds, 2))
        compare("read .hgr | pure Python", lambda: quillon.read(hgr), lambda: read_in_python(hgr), min(rounds, 2))


def run(command):
    subprocess.run(command, stdout=subprocess.DEVNULL, check=True)


if __name__ == "__main__":
    main()
