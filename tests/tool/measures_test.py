#!/usr/bin/env python3
"""quillon eval and compare give the figures of a script of their own, which computes with fractions.

measures_test.py TOOL. With QUILLON_REAL_DATA set, also on ibm01.hgr and its partition into 8 parts in that folder.
"""

import collections
import fractions
import itertools
import json
import math
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

Fraction = fractions.Fraction


def read_hgr(path):
    lines = [line for line in path.read_text().splitlines() if not line.startswith("%")]
    nnets, ncells, *rest = map(int, lines[0].split())
    fmt = rest[0] if rest else 0
    nets, weights = [], []
    for line in lines[1 : nnets + 1]:
        numbers = list(map(int, line.split()))
        weights.append(numbers.pop(0) if fmt in (1, 11) else 1)
        nets.append([i - 1 for i in numbers])
    cells = [int(line) for line in lines[nnets + 1 : nnets + 1 + ncells]] if fmt >= 10 else [1] * ncells
    return nets, weights, cells


def floor(value):
    return value.numerator // value.denominator


def ceil(value):
    return -(-value.numerator // value.denominator)


class Measured:
    """All measures of a partition, from their definitions."""

    def __init__(self, hypergraph, parts, nparts):
        nets, net_weights, cells = hypergraph
        self.weights = [0] * nparts
        self.counts = [0] * nparts
        for part, weight in zip(parts, cells):
            self.weights[part] += weight
            self.counts[part] += 1
        self.sums = collections.Counter()
        self.absorption = Fraction(0)
        self.matrix = collections.Counter()
        self.costs = []
        self.rows = [[0, 0, 0, 0] for _ in range(nparts)]  # boundary cells, internal nets, sent, received
        self.is_cut = []
        boundary = set()
        for number, (pins, w) in enumerate(zip(nets, net_weights), 1):
            npins = collections.Counter(parts[i] for i in pins)
            touched = len(npins)
            self.is_cut.append(touched > 1)
            if len(pins) > 1:
                self.absorption += sum(Fraction(w * (n - 1), len(pins) - 1) for n in npins.values())
            for p, q in itertools.product(npins, repeat=2):
                if p <= q:
                    self.matrix[p, q] += w
            if touched == 1:
                self.rows[parts[pins[0]]][1] += 1
            if touched < 2:
                continue
            boundary.update(pins)
            self.costs.append((-w * (touched - 1), number, touched))
            self.sums["cut_nets"] += 1
            self.sums["cut"] += w
            self.sums["connectivity_minus_one"] += w * (touched - 1)
            self.sums["sum_of_external_degrees"] += w * touched
            self.sums["connectivity_pairs"] += w * touched * (touched - 1)
            for part in npins:
                if part == parts[pins[0]]:
                    self.rows[part][2] += w * (touched - 1)
                else:
                    self.rows[part][3] += w
        for i in boundary:
            self.rows[parts[i]][0] += 1

    def balance(self):
        total, k = sum(self.weights), len(self.weights)
        if total == 0:
            return dict.fromkeys(("epsilon", "ufactor", "ubfactor", "share", "mondriaan"), 0)
        average = Fraction(total, k)
        excess = Fraction(max(self.weights)) / average - 1
        side = [(w / total) ** (1 / math.log2(k)) if k > 1 else 0.5 for w in (min(self.weights), max(self.weights))]
        return {
            "epsilon": Fraction(max(self.weights), ceil(average)) - 1,
            "ufactor": 1000 * excess,
            "ubfactor": 100 * max(abs(s - 0.5) for s in side),
            "share": 100 * max(abs(Fraction(w) - average) for w in self.weights) / total,
            "mondriaan": excess,
        }

    def outside(self, rule, text):
        """The parts that break a limit."""
        total, k, x = sum(self.weights), len(self.weights), Fraction(text)
        average = Fraction(total, k)
        least, most = 0, None
        if rule == "epsilon":
            most = floor((1 + x) * ceil(average))
        elif rule == "ufactor":
            most = (1 + x / 1000) * average
        elif rule == "mondriaan":
            most = (1 + x) * average
        elif rule == "share":
            least, most = average - total * x / 100, average + total * x / 100
        elif rule == "ubfactor":  # of 2^l parts
            levels = k.bit_length() - 1
            least, most = total * (Fraction(1, 2) - x / 100) ** levels, total * (Fraction(1, 2) + x / 100) ** levels
        return [part for part, w in enumerate(self.weights) if not least <= w <= most]


def agreement(first, second):
    """Cells moved under the best matching, by trying all; mutual information; Rand index."""
    overlaps = collections.Counter(zip(first, second))
    a, b, n = collections.Counter(first), collections.Counter(second), len(first)
    k = max(max(first, default=0), max(second, default=0)) + 1
    kept = max(sum(overlaps[p, q] for p, q in enumerate(names)) for names in itertools.permutations(range(k)))
    entropies = [math.fsum(-c / n * math.log(c / n) for c in counts.values()) for counts in (a, b)]
    information = math.fsum(c / n * math.log(c * n / (a[p] * b[q])) for (p, q), c in overlaps.items())
    nmi = 2 * information / sum(entropies) if sum(entropies) > 0 else 1
    pairs = [Fraction(sum(c * (c - 1) // 2 for c in counts.values())) for counts in (overlaps, a, b)]
    together, in_a, in_b = pairs
    expected = in_a * in_b / Fraction(n * (n - 1) // 2) if n > 1 else 0
    denominator = (in_a + in_b) / 2 - expected
    return n - kept, nmi, (together - expected) / denominator if denominator else 1


class Measures(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_tool(self, *arguments, statuses=(0,)):
        run = subprocess.run([TOOL, *map(str, arguments)], cwd=self.folder, capture_output=True, text=True)
        self.assertIn(run.returncode, statuses, run.stderr)
        return run.stdout

    def generated(self, seed):
        rng = random.Random(seed)
        ncells, nnets, k = rng.randint(2, 60), rng.randint(0, 60), rng.choice((1, 2, 3, 4, 5))
        largest = rng.choice((1, 9, 2**31 - 1))
        lines = [f"{nnets} {ncells} 11"]
        for _ in range(nnets):
            pins = [rng.randint(1, ncells) for _ in range(rng.randint(1, 9))]
            lines.append(" ".join(map(str, [rng.randint(1, largest), *dict.fromkeys(pins)])))
        lines += [str(rng.randint(0, largest)) for _ in range(ncells)]
        (self.folder / "h.hgr").write_text("\n".join(lines) + "\n")
        for name in ("a.part", "b.part"):
            (self.folder / name).write_text("".join(f"{rng.randrange(k)}\n" for _ in range(ncells)))
        return self.folder / "h.hgr", [self.folder / "a.part", self.folder / "b.part"], k

    def check_evaluation(self, hypergraph, part_file, k):
        parts = list(map(int, part_file.read_text().split()))
        expected = Measured(read_hgr(hypergraph), parts, k)
        limits = [("epsilon", "0.03"), ("epsilon", "0.15"), ("ufactor", "30"), ("mondriaan", "0.15"), ("share", "2")]
        if k & (k - 1) == 0:
            limits.append(("ubfactor", "5"))
        arguments = [word for rule, x in limits for word in ("--limit", f"{rule}={x}")]
        common = ("-k", k, "--allow-empty-parts", "--json", "--parts", "--matrix", "--nets", 10, *arguments)
        given = json.loads(self.run_tool("eval", hypergraph, part_file, *common, statuses=(0, 1)))
        for name in ("cut_nets", "cut", "connectivity_minus_one", "sum_of_external_degrees", "connectivity_pairs"):
            self.assertEqual(given[name], expected.sums[name], name)
        self.assertEqual(given["absorption"], float(expected.absorption))
        for rule, figure in expected.balance().items():
            if rule == "ubfactor":
                self.assertAlmostEqual(given["balance"][rule], figure, 11)
            else:
                self.assertEqual(given["balance"][rule], float(figure), rule)
        self.assertEqual(given["imbalance"], given["balance"]["mondriaan"])
        self.assertEqual([list(row.values()) for row in given["parts"]], [
            [part, expected.counts[part], expected.weights[part], *expected.rows[part]] for part in range(k)])
        self.assertEqual(given["matrix"], [[p, q, w] for (p, q), w in sorted(expected.matrix.items()) if w])
        self.assertEqual([list(net.values()) for net in given["costliest_nets"]],
                         [[net, touched, -cost] for cost, net, touched in sorted(expected.costs)[:10]])
        for (rule, x), limit in zip(limits, given["limits"]):
            self.assertEqual([broken["part"] for broken in limit["broken_by"]], expected.outside(rule, x), limit)
        return expected

    def check_comparison(self, hypergraph, files, k):
        first, second = (list(map(int, file.read_text().split())) for file in files)
        given = json.loads(self.run_tool("compare", hypergraph, *files, "-k", k, "--allow-empty-parts", "--nets", "--json",
                                         "--relabel", "new"))
        moved, nmi, rand = agreement(first, second)
        self.assertEqual(given["cells_moved"], moved)
        self.assertAlmostEqual(given["normalised_mutual_information"], nmi, 12)
        self.assertEqual(given["adjusted_rand_index"], float(rand))
        relabelled = list(map(int, (self.folder / "new").read_text().split()))
        cells = read_hgr(hypergraph)[2]
        self.assertEqual(sum(p != q for p, q in zip(first, relabelled)), moved)
        self.assertEqual(sum(w for p, q, w in zip(first, relabelled, cells) if p != q), given["weight_moved"])
        self.assertEqual(len(set(zip(second, relabelled))), len(set(second)))
        was, now = (Measured(read_hgr(hypergraph), parts, k).is_cut for parts in (first, second))
        self.assertEqual(given["newly_cut"], [j for j, (a, b) in enumerate(zip(was, now), 1) if b and not a])
        self.assertEqual(given["no_longer_cut"], [j for j, (a, b) in enumerate(zip(was, now), 1) if a and not b])
        self.assertEqual(given["nets_newly_cut"], len(given["newly_cut"]))

    def test_generated_hypergraphs(self):
        for seed in range(40):
            with self.subTest(seed=seed):
                hypergraph, files, k = self.generated(seed)
                for file in files:
                    self.check_evaluation(hypergraph, file, k)
                self.check_comparison(hypergraph, files, k)

    def test_ibm01(self):
        data = os.environ.get("QUILLON_REAL_DATA")
        hypergraph = data and pathlib.Path(data) / "ibm01.hgr"
        if not hypergraph or not hypergraph.exists():
            self.skipTest("QUILLON_REAL_DATA names no folder with ibm01.hgr")
        part_file = hypergraph.with_name("ibm01.hgr.part8")
        expected = self.check_evaluation(hypergraph, part_file, 8)
        self.assertEqual([expected.sums[name] for name in ("cut", "connectivity_minus_one", "sum_of_external_degrees")],
                         [870, 921, 1791])
        self.assertEqual(f"{float(expected.balance()['mondriaan']):.6f}", "0.024467")
        shuffled = random.Random(1).sample(range(8), 8)
        other = self.folder / "other.part"
        other.write_text("".join(f"{shuffled[int(p)] if n % 50 else 0}\n"
                                 for n, p in enumerate(part_file.read_text().split())))
        self.check_comparison(hypergraph, [part_file, other], 8)


if __name__ == "__main__":
    TOOL = os.path.abspath(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
