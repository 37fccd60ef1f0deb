#!/usr/bin/env python3
"""The output of the tool with --json conforms to docs/json.schema.json.

json_schema_test.py TOOL SCHEMA DATA; exits with 77 (skipped) if jsonschema is missing.
"""

import copy
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SKIPPED = 77

FILES = {
    "none.qhg": "1 0 0 0\n",
    "nets.qhg": "1 0 2 0\n\n\n",
    "cells.qhg": "1 3 0 0\n",
    "small.qhg": "1 3 3 3 3\n5 1 2\n4 2\n1\n7 8 9\n",
    "square.qhg": "1 2 2 4\n1 2\n1 2\n",
    "changed.qhg": "1 4 4 8 3\n1 1 4 2\n4 2\n7 3 4\n5 1 2\n7 8 10 1\n",
    "bad.qhg": "1 2 1 2\n1 3\n",
    "square.part": "0 1\n",
    "other.part": "0 0\n",
    "square.fix": "1 -1\n",
    "none.part": "",
}


def objects_in(value):
    """Every object in a value, the value itself first."""
    if isinstance(value, dict):
        yield value
        for member in value.values():
            yield from objects_in(member)
    elif isinstance(value, list):
        for member in value:
            yield from objects_in(member)


class JsonOutput(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name, text in FILES.items():
            (self.folder / name).write_text(text)

    def lines(self, *arguments):
        run = subprocess.run([TOOL, *arguments], cwd=self.folder, capture_output=True, text=True)
        return [json.loads(line) for line in run.stdout.splitlines()]

    def all_lines(self):
        files = sorted(name for name in FILES if name.endswith(".qhg")) + sorted(map(str, DATA.glob("*.qhg")))
        lines = self.lines("stats", "--json", *files) + self.lines("stats", "--json", "--keep-small-nets", *files)
        lines += self.lines("check", "--json", *files) + self.lines("check", "--json", "--symmetric", *files)
        lines += self.lines("partition-info", "--json", "square.qhg", "square.part")
        lines += self.lines("eval", "--json", "none.qhg", "none.part", "-k", "1", "--limit", "share=2")
        lines += self.lines("eval", "--json", "square.qhg", "square.part", "other.part", "--limit", "epsilon=0")
        lines += self.lines("eval", "--feasible", "--json", "square.qhg", "-k", "2", "--limit", "epsilon=0")
        lines += self.lines("eval", "--feasible", "--json", "small.qhg", "-k", "3", "--limit", "epsilon=0")
        lines += self.lines("compare", "--json", "square.qhg", "square.part", "other.part")
        lines += self.lines("diff", "--json", "small.qhg", "changed.qhg")
        lines += self.lines("diff", "--json", "square.qhg", "bad.qhg")
        lines += self.lines("explain", "--json", *files)
        self.assertEqual(len(lines), 5 * len(files) + 9)
        return lines

    def test_every_line_is_valid(self):
        for line in self.all_lines():
            with self.subTest(line=line):
                VALIDATOR.validate(line)

    def test_members_that_have_to_be_asked_for_are_valid(self):
        wishes = ["--parts", "--matrix", "--nets", "3", "--fixed", "square.fix"]
        line = self.lines("eval", "--json", "square.qhg", "square.part", *wishes)[0]
        VALIDATOR.validate(line)
        for member in ("matrix", "costliest_nets", "moved_fixed_cells"):
            self.assertTrue(line[member])
            self.assertFalse(VALIDATOR.is_valid({**line, member: ["x"]}), member)
        for line in self.lines("eval", "--json", "square.qhg", "none.part", "square.part"):
            VALIDATOR.validate(line)
            self.assertEqual(line["status"] == "failed", line["partition"] == "none.part")
        VALIDATOR.validate(self.lines("compare", "--json", "square.qhg", "none.part", "square.part")[0])
        line = self.lines("compare", "--json", "--nets", "square.qhg", "square.part", "other.part")[0]
        VALIDATOR.validate(line)
        self.assertEqual(line["no_longer_cut"], [1, 2])

    def test_findings_of_lint_are_valid(self):
        for line in self.lines("lint", "--json", "--for", "graphchk", "bad.qhg", "small.qhg", "square.part"):
            VALIDATOR.validate(line)
            for path in range(len(list(objects_in(line)))):
                if list(objects_in(line))[path] is line["counts"]:
                    continue
                for member in list(list(objects_in(line))[path]):
                    broken = copy.deepcopy(line)
                    del list(objects_in(broken))[path][member]
                    self.assertFalse(VALIDATOR.is_valid(broken), member)

    def test_quantiles_and_components_are_valid(self):
        files = sorted(name for name in FILES if name.endswith(".qhg") and name != "bad.qhg")
        lines = self.lines("stats", "--json", "--quantiles", "--components", *files)
        self.assertEqual(len(lines), len(files))
        for line in lines:
            VALIDATOR.validate(line)
            for place in (line["components"], line["cell_degree"]["quantiles"], line["net_weight"]["quantiles"]):
                for member in list(place):
                    value = place.pop(member)
                    self.assertFalse(VALIDATOR.is_valid(line), member)
                    place[member] = value

    def test_every_member_is_in_the_schema_and_required(self):
        checked = set()
        for line in self.all_lines():
            for path in range(len(list(objects_in(line)))):
                members = list(list(objects_in(line))[path])
                for member in members:
                    broken = copy.deepcopy(line)
                    del list(objects_in(broken))[path][member]
                    self.assertFalse(VALIDATOR.is_valid(broken), f"{line['command']} without {member}")
                    checked.add(member)
        self.assertIn("imbalance", checked)
        self.assertIn("broken_by", checked)
        self.assertIn("feasible", checked)
        self.assertIn("cells_moved", checked)
        self.assertLess({"line", "nets_moved", "same_up_to_order"}, checked)
        self.assertIn("minimum_above_zero", checked)

    def test_wrong_types_and_values_are_not_valid(self):
        stats = self.lines("stats", "--json", "square.qhg")[0]
        for change in (
            {"schema_version": 2},
            {"command": "dump"},
            {"status": "fine"},
            {"cells": -1},
            {"cells": "2"},
            {"cell_weight": []},
            {"net_size": {**stats["net_size"], "distribution": [[1]]}},
            {"net_size": {**stats["net_size"], "distribution": [[1, 2, 3]]}},
        ):
            with self.subTest(change=change):
                self.assertFalse(VALIDATOR.is_valid({**stats, **change}))


if __name__ == "__main__":
    try:
        import jsonschema
    except ImportError:
        print("skipped: there is no jsonschema; install python3-jsonschema")
        sys.exit(SKIPPED)
    TOOL, SCHEMA, DATA = sys.argv[1], json.loads(pathlib.Path(sys.argv[2]).read_text()), pathlib.Path(sys.argv[3])
    jsonschema.Draft202012Validator.check_schema(SCHEMA)
    VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)
    unittest.main(argv=sys.argv[:1])
