#!/usr/bin/env python3
"""Runs a program's reader over the corpus: run.py --command 'PROGRAM {}'. README.md explains the options."""

import argparse
import json
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent
PATIENCE = 10  # seconds
USUAL_MODELS = {"mtx": "row-net", "cnf": "primal"}


def parse_kub(text):
    """Cells, nets, weights of cells and of nets in a text in the format kub."""
    numbers = iter(int(word) for word in text.split())
    ncells, nnets = next(numbers), next(numbers)
    nets, net_weights = [], []
    for _ in range(nnets):
        net_weights.append(next(numbers))
        size = next(numbers)
        nets.append([next(numbers) + 1 for _ in range(size)])
    cell_weights = [next(numbers) for _ in range(ncells)]
    if next(numbers, None) is not None:
        raise ValueError("it prints too much")
    return ncells, nets, cell_weights, net_weights


def fault_of_kub(file, text):
    try:
        ncells, nets, cell_weights, net_weights = parse_kub(text)
    except (RuntimeError, StopIteration, ValueError) as error:
        return f"its output is not in the format kub: {error or 'it ends too soon'}"
    for what, found, expected in (
        ("number of cells", ncells, file["cells"]),
        ("nets", nets, file["nets"]),
        ("weights of cells", cell_weights, file.get("cell_weights", [1] * file["cells"])),
        ("weights of nets", net_weights, file.get("net_weights", [1] * len(file["nets"]))),
    ):
        if found != expected:
            return f"the {what}: found {found}, expected {expected}"
    return None


def fault_of_counts(file, text):
    found = [int(number) for number in re.findall(r"\d+", text)[:3]]
    expected = [file["cells"], len(file["nets"]), sum(map(len, file["nets"]))]
    return None if found == expected else f"cells, nets and pins: found {found}, expected {expected}"


def fault_of(file, done, options):
    """What is wrong with the outcome of a command, or None."""
    if done.returncode < 0:
        return f"ended by signal {-done.returncode}"
    if "error" not in file:
        if done.returncode != 0:
            return f"refused with status {done.returncode}: {done.stderr.strip()[-200:]}"
        return {"kub": fault_of_kub, "counts": fault_of_counts, None: lambda *_: None}[options.output](file, done.stdout)
    error = file["error"]
    if done.returncode == 0:
        return f"read, though it breaks a rule: {error['rule']}"
    place = f"{error['line']}:{error['column']}"
    if options.places and not re.search(rf"\b{place}\b", done.stdout + done.stderr):
        return f"no place {place} in: {done.stderr.strip()[-200:]}"
    return None


def model_of(file):
    return file.get("model", USUAL_MODELS.get(file["format"], ""))


def outcome(file, options):
    words = {"{}": str(ROOT / file["file"]), "FORMAT": file["format"], "MODEL": model_of(file)}
    command = [re.sub(r"\{\}|FORMAT|MODEL", lambda found: words[found[0]], word) for word in shlex.split(options.command)]
    try:
        done = subprocess.run(command, capture_output=True, text=True, errors="replace", timeout=PATIENCE, check=False)
    except subprocess.TimeoutExpired:
        return f"no end after {PATIENCE} seconds"
    return fault_of(file, done, options)


def is_chosen(file, options):
    if options.format and file["format"] not in options.format:
        return False
    if any(name in file["file"] for name in options.left_out):
        return False
    if not model_of(file) if "MODEL" in options.command else "model" in file:
        return False
    return "error" in file if options.bad else "error" not in file if options.good else True


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--command", required=True, metavar="'PROGRAM {}'", help="the reader; {} stands for the file")
    parser.add_argument("--format", action="append", help="only files of this format; may be repeated")
    parser.add_argument("--output", choices=["kub", "counts"], help="what the command prints of good files")
    parser.add_argument("--places", action="store_true", help="errors have to name LINE:COLUMN")
    parser.add_argument("--except", action="append", default=[], dest="left_out", metavar="NAME",
                        help="leave out files whose path contains NAME; may be repeated")
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--good", action="store_true", help="only good files")
    which.add_argument("--bad", action="store_true", help="only bad files")
    return parser.parse_args()


def main():
    options = arguments()
    files = [file for file in json.loads((ROOT / "index.json").read_text())["files"] if is_chosen(file, options)]
    if not files:
        sys.exit("no file is chosen")
    faults = [(file, fault) for file in files if (fault := outcome(file, options))]
    for file, fault in faults:
        print(f"FAILED {file['file']}: {file['shows']}\n    {fault}")
    print(f"{len(files)} files, {len(faults)} failed")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
