#!/usr/bin/env python3
"""Runs the real engines, and compares what the tool reports of their partitions with a count of its own.

engines_test.py TOOL ENGINES_FOLDER DATA_FOLDER

Exits with 77 (skipped) if no engine is built.
"""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

TOOL = sys.argv[1]
ENGINES = pathlib.Path(sys.argv[2])
DATA = pathlib.Path(sys.argv[3])
HYPERGRAPHS = [("davis", 2), ("lesmis", 3), ("mesh24", 4)]


def read_hypergraph(file):
    """The weights of the cells, and the nets as (weight, cells from 0)."""
    lines = [line for line in file.read_text().splitlines() if not line.startswith("%")]
    first, ncells, nnets, _, fmt = [*map(int, lines[0].split()), 0][:5]
    nets = []
    for line in lines[1 : 1 + nnets]:
        numbers = list(map(int, line.split()))
        weight = numbers.pop(0) if fmt & 2 else 1
        nets.append((weight, [cell - first for cell in numbers]))
    weights = list(map(int, " ".join(lines[1 + nnets :]).split())) if fmt & 1 else [1] * ncells
    return weights, nets


def partition(*arguments, **options):
    return subprocess.run([TOOL, "partition", *map(str, arguments)], capture_output=True, text=True, **options)


def check_partition(name, nparts, arguments, place):
    """Runs an engine; returns its parts and their cut."""
    file = DATA / f"{name}.qhg"
    done = partition(file, "-k", nparts, "-o", place / "parts", "--json", *arguments)
    found = json.loads(done.stdout)
    weights, nets = read_hypergraph(file)
    parts = [int(line) for line in (place / "parts").read_text().splitlines()]
    assert len(parts) == len(weights), len(parts)
    assert set(parts) <= set(range(nparts)), set(parts)

    part_weights = [0] * nparts
    for part, weight in zip(parts, weights):
        part_weights[part] += weight
    assert [part["weight"] for part in found["parts"]] == part_weights, part_weights
    touched = [(weight, len({parts[cell] for cell in cells})) for weight, cells in nets]
    cut = sum(weight for weight, count in touched if count > 1)
    assert found["cut"] == cut, cut
    assert found["connectivity_minus_one"] == sum(weight * (count - 1) for weight, count in touched if count > 1)

    average = -(-sum(weights) // nparts)
    holds = max(part_weights) <= average * 103 // 100
    assert done.returncode == (0 if holds else 1), (done.returncode, part_weights, done.stderr)
    assert holds or "more than the limit of" in done.stderr, done.stderr
    return parts, cut


def check_engine(engine, ranks, place):
    for expand in ("star", "clique"):
        arguments = ["--engine", engine, "--ranks", ranks, "--expand", expand]
        for name, nparts in HYPERGRAPHS:
            parts, cut = check_partition(name, nparts, arguments, place)
            again, _ = check_partition(name, nparts, arguments, place)
            assert again == parts, "the same seed gave another partition"
            print(f"{name} in {nparts} parts by {engine} on {ranks}, {expand}: cut {cut}")
            # Four strips of six rows each cut 6 x 24 nets: any real partitioner cuts fewer.
            assert name != "mesh24" or cut < 144, cut
        _, cut = check_partition("lesmis", 1, arguments, place)
        assert cut == 0, cut
    parts, _ = check_partition("davis", 18, ["--engine", engine, "--ranks", ranks], place)
    assert len(set(parts)) == 18, parts
    others = {tuple(check_partition("lesmis", 8, [*arguments, "--seed", seed], place)[0]) for seed in range(4)}
    assert len(others) > 1, "the seed has no effect"


def check_bad_file(engine, ranks, place):
    (place / "bad.qhg").write_text("1 3 2 5\n1 2\n2 3 9\n")
    done = partition(place / "bad.qhg", "-k", 2, "-o", place / "none", "--engine", engine, "--ranks", ranks)
    assert done.returncode == 1 and not (place / "none").exists(), done
    assert "bad.qhg: byte 17: net 2 names cell 9, expected 1 to 3" in done.stderr, done.stderr


def check_wide_numbers(place):
    (place / "heavy.qhg").write_text("1 4 2 4 2\n2000000000 1 2\n2000000000 3 4\n")
    done = partition(place / "heavy.qhg", "-k", 2, "-o", place / "parts", "--json")
    assert done.returncode == 0 and json.loads(done.stdout)["cut"] == 0, done
    assert "quillon-ptscotch64: 1 rank" in done.stderr, done.stderr


def check_fixed_cells(place):
    # The two outermost columns of the mesh change sides.
    fixed = [{0: 1, 23: 0}.get(cell % 24, -1) for cell in range(576)]
    (place / "fix").write_text("".join(f"{part}\n" for part in fixed))
    parts, _ = check_partition("mesh24", 2, ["--fixed", place / "fix"], place)
    assert all(want in (-1, part) for want, part in zip(fixed, parts))
    (place / "fix").write_text("0\n")
    done = partition(DATA / "mesh24.qhg", "-k", 2, "-o", place / "none", "--fixed", place / "fix")
    assert done.returncode == 1 and "expected 576 numbers, found 1" in done.stderr, done.stderr


def descendants(process):
    """The processes below one, as (number, name of the program)."""
    listed = subprocess.run(["ps", "-eo", "pid=,ppid=,comm="], capture_output=True, text=True, check=True).stdout
    rows = [line.split(None, 2) for line in listed.splitlines()]
    found, known = [], {process}
    for pid, parent, name in rows:
        if int(parent) in known:
            known.add(int(pid))
            found.append((int(pid), name))
    return found


def start_and_kill(whom, how, place):
    """Kills the tool, or one rank, during a long run; returns the status and the messages of the tool."""
    # A random hypergraph of many cells takes PT-Scotch far longer than this test.
    command = [TOOL, "partition", str(place / "large.qhg"), "-k", "64", "-o", str(place / "none"), "--ranks", "2"]
    with (place / "messages").open("w") as messages:
        process = subprocess.Popen(command, stderr=messages)
    while len(ranks := [pid for pid, name in descendants(process.pid) if name.startswith("quillon-ptscot")]) < 2:
        assert process.poll() is None, (place / "messages").read_text()
        time.sleep(0.05)
    os.kill(process.pid if whom == "tool" else ranks[-1], how)
    process.wait()
    for _ in range(400):
        if not any(pathlib.Path(f"/proc/{rank}").exists() for rank in ranks):
            break
        time.sleep(0.05)
    assert not any(pathlib.Path(f"/proc/{rank}").exists() for rank in ranks), "a rank goes on"
    assert not (place / "none").exists()
    return process.returncode, (place / "messages").read_text()


def check_killed(place):
    ncells = 40000
    nets = [f"{i + 1} {i * 7919 % ncells + 1} {i * 104729 % ncells + 1}" for i in range(ncells)]
    (place / "large.qhg").write_text("\n".join([f"1 {ncells} {ncells} {3 * ncells}", *nets]) + "\n")
    status, messages = start_and_kill("rank", signal.SIGKILL, place)
    assert status == 1 and "quillon: error: quillon-ptscotch " in messages, (status, messages)
    for how in (signal.SIGTERM, signal.SIGKILL):
        status, _ = start_and_kill("tool", how, place)
        assert status == -how, status
    print("killed ranks and tools leave nothing")


def main():
    has_metis = (ENGINES / "quillon-metis").exists()
    has_ptscotch = (ENGINES / "quillon-ptscotch").exists() and shutil.which("mpirun") is not None
    if not has_metis and not has_ptscotch:
        print("skipped: built without METIS (libmetis-dev), and without PT-Scotch (libptscotch-dev) or mpirun")
        return 77
    os.environ["QUILLON_ENGINES"] = str(ENGINES)
    with tempfile.TemporaryDirectory() as folder:
        place = pathlib.Path(folder)
        runs = [("metis", 1)] * has_metis + [("ptscotch", ranks) for ranks in (1, 2, 4)] * has_ptscotch
        for engine, ranks in runs:
            check_engine(engine, ranks, place)
            check_bad_file(engine, ranks, place)
        if has_ptscotch:
            check_fixed_cells(place)
            check_killed(place)
        if has_ptscotch and (ENGINES / "quillon-ptscotch64").exists():
            check_wide_numbers(place)
    for name, is_there in (("METIS", has_metis), ("PT-Scotch", has_ptscotch)):
        if not is_there:
            print(f"without {name}, which is not installed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
