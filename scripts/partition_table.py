#!/usr/bin/env python3
"""Prints the table of docs/partition.md: partitions of real hypergraphs by both engines.

partition_table.py TOOL DATA_FOLDER [--expand star|clique] [--parts K...] [FILE...]

Every row is one run of `quillon partition` with seed 0 and epsilon 0.03. The seconds are those of the whole command, and
the memory is the peak of the rank that needs most, as the engine reports it.
"""

import argparse
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time

FILES = ["ibm01.hgr", "powersim.mtx.hgr", "sat14_atco.qhg"]
RUNS = [("metis", 1), ("ptscotch", 1), ("ptscotch", 2), ("ptscotch", 4)]
PEAK = re.compile(r"at most ([0-9.]+) MB")


def partition(tool, file, nparts, engine, ranks, expansion):
    with tempfile.TemporaryDirectory() as place:
        command = [tool, "partition", file, "-k", str(nparts), "-o", f"{place}/parts", "--json", "--engine", engine]
        command += ["--ranks", str(ranks), "--expand", expansion]
        begin = time.monotonic()
        done = subprocess.run(command, capture_output=True, text=True)
        seconds = time.monotonic() - begin
    if not done.stdout:
        sys.exit(f"partition_table: {' '.join(map(str, command))}: {done.stderr}")
    return json.loads(done.stdout), done.returncode == 0, seconds, float(PEAK.search(done.stderr)[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool")
    parser.add_argument("data", type=pathlib.Path)
    parser.add_argument("files", nargs="*", default=FILES)
    parser.add_argument("--expand", default="star")
    parser.add_argument("--parts", type=int, nargs="+", default=[2, 8, 32])
    options = parser.parse_args()
    print("| hypergraph | k | engine | ranks | cut nets | cut | connectivity minus one | imbalance | within 0.03 | seconds "
          "| MB a rank |")
    print("|---|---|---|---|---|---|---|---|---|---|---|")
    for file in options.files:
        for nparts in options.parts:
            for engine, ranks in RUNS:
                found, holds, seconds, peak = partition(
                    options.tool, options.data / file, nparts, engine, ranks, options.expand)
                print(f"| {file.split('.')[0]} | {nparts} | {engine} | {ranks} | {found['cut_nets']} | {found['cut']} "
                      f"| {found['connectivity_minus_one']} | {found['imbalance']:.4f} | {'yes' if holds else 'no'} "
                      f"| {seconds:.1f} | {peak:.0f} |", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
