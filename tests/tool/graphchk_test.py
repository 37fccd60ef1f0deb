#!/usr/bin/env python3
"""lint says of METIS graphs what graphchk says.

graphchk_test.py TOOL; exits with 77 (skipped) if graphchk is missing.
"""

import json
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import unittest

SKIPPED = 77


def graph(dice):
    """Lines of a sound graph: the header, then the neighbours of each vertex with weights. A few have no edges, which
    graphchk refuses."""
    nvertices = dice.randint(2, 9)
    density = dice.choice([0, 0.5, 0.5, 0.5, 0.5])
    edges = {pair: dice.randint(1, 9) for u in range(1, nvertices + 1) for v in range(u + 1, nvertices + 1)
             if density > 0 and ((u, v) == (1, 2) or dice.random() < density) for pair in [(u, v)]}
    lines = [[nvertices, len(edges), "1"]]
    for u in range(1, nvertices + 1):
        lines.append([number for (a, b), w in edges.items() if u in (a, b) for number in (b if a == u else a, w)])
    return lines


def planted(dice, lines):
    """The lines with one mistake, if there is room for it."""
    kind = dice.choice(["none", "edges", "neighbour", "weight", "half", "loop", "word", "last"])
    longest = max(range(1, len(lines)), key=lambda k: len(lines[k]))
    line = lines[longest]
    if kind == "edges":
        lines[0][1] += 1
    elif kind == "neighbour" and line:
        line[0] = dice.choice([0, lines[0][0] + 1])
    elif kind == "weight" and line:
        line[1] = dice.choice([0, -1, line[1] + 1])
    elif kind == "half" and line:
        del line[:2]
    elif kind == "loop" and line:
        line[0] = longest
    elif kind == "word":
        line.append("x")
    elif kind == "last":
        lines.append([1, 1])
    return lines


class Graphchk(unittest.TestCase):
    def test_agrees(self):
        verdicts = {"takes": 0, "refuses": 0}
        with tempfile.TemporaryDirectory() as folder:
            files = []
            for seed in range(120):
                dice = random.Random(seed)
                files.append(pathlib.Path(folder) / f"{seed}.graph")
                lines = planted(dice, graph(dice))
                files[-1].write_text("".join(" ".join(map(str, line)) + "\n" for line in lines))
            run = subprocess.run([TOOL, "lint", "--json", "--from", "metis", "--for", "graphchk", *files],
                                 capture_output=True, text=True)
            for file, line in zip(files, run.stdout.splitlines(), strict=True):
                verdict = json.loads(line)["programs"][0]["verdict"]
                said = subprocess.run(["graphchk", file], capture_output=True, text=True, errors="replace").stdout
                with self.subTest(text=file.read_text(), said=said):
                    self.assertEqual(verdict == "takes", "graph is correct" in said)
                verdicts[verdict] += 1
        self.assertGreater(min(verdicts.values()), 20)


if __name__ == "__main__":
    if shutil.which("graphchk") is None:
        print("skipped: there is no graphchk; install metis")
        sys.exit(SKIPPED)
    TOOL = sys.argv[1]
    unittest.main(argv=sys.argv[:1])
