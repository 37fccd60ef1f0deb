#!/usr/bin/python3
"""Prints the summary that `quillon stats --summary` has to print of a large file, counted independently.

    count_large.py FILE

FILE is in the text format, with cells from 1 and without weights. Memory for its cells and a few pieces of it.
"""

import sys

import numpy

PIECE = 1 << 24


def pieces_of(file):
    """Texts of whole lines."""
    rest = b""
    while piece := file.read(PIECE):
        end = piece.rfind(b"\n") + 1
        if end == 0:
            rest += piece
            continue
        yield rest + piece[:end]
        rest = piece[end:]
    assert rest == b"", "the last line has no end"


def main():
    with open(sys.argv[1], "rb") as file:
        header = file.readline()
        while header.startswith(b"%"):
            header = file.readline()
        first, ncells, nnets, npins, *weights = map(int, header.split())
        assert first == 1 and not any(weights)
        degrees = numpy.zeros(ncells + 1, dtype=numpy.int64)
        nlines = nnumbers = 0
        for piece in pieces_of(file):
            cells = numpy.fromstring(piece, dtype=numpy.int32, sep=" ")
            degrees += numpy.bincount(cells, minlength=ncells + 1)
            nlines += piece.count(b"\n")
            nnumbers += len(cells)
    assert degrees[0] == 0 and nlines == nnets and nnumbers == npins
    print(f"\nH({ncells}, {nnets}, {npins}) MWCD={degrees[1:].max()} MINCD={degrees[1:].min()} TOTCW={ncells}")
    print(f"TOTNW={nnets} TOTINW=0 VN=0")


if __name__ == "__main__":
    main()
