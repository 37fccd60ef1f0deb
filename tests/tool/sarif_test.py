#!/usr/bin/env python3
"""What lint prints with --sarif has the members and types that SARIF 2.1.0 requires.

sarif_test.py TOOL. The tables below hold what the standard says of the objects that the tool uses.
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest
import urllib.parse

LEVELS = {"none", "note", "warning", "error"}


def is_text(value):
    return isinstance(value, str) and value != ""


def is_index(value):
    return isinstance(value, int) and value >= -1


def is_from_1(value):
    return isinstance(value, int) and value >= 1


def is_level(value):
    return value in LEVELS


def is_reference(value):
    """A reference of RFC 3986: no blanks, no colon in the first part of a relative path."""
    parts = urllib.parse.urlsplit(value)
    return value != "" and value == urllib.parse.quote(value, safe="/:%-._~") and parts.scheme in ("", "file")


# Objects: the members allowed here, with their kinds. Those with a star are required. A list stands for an array.
OBJECTS = {
    "log": {"$schema": lambda v: v.startswith("https://") and v.endswith("sarif-2.1.0.json"), "version*": lambda v: v == "2.1.0", "runs*": ["run"]},
    "run": {"tool*": "tool", "columnKind": lambda v: v in ("utf16CodeUnits", "unicodeCodePoints"),
            "results": ["result"]},
    "tool": {"driver*": "driver"},
    "driver": {"name*": is_text, "version": is_text, "rules": ["rule"]},
    "rule": {"id*": is_text, "shortDescription": "text", "fullDescription": "text", "help": "text",
             "defaultConfiguration": "configuration"},
    "configuration": {"level": is_level},
    "text": {"text*": is_text},
    "result": {"message*": "text", "ruleId": is_text, "ruleIndex": is_index, "level": is_level,
               "locations": ["location"]},
    "location": {"physicalLocation": "physical"},
    "physical": {"artifactLocation*": "artifact", "region": "region"},
    "artifact": {"uri": is_reference},
    "region": {"startLine": is_from_1, "startColumn": is_from_1},
}


class Sarif(unittest.TestCase):
    def check(self, value, kind, path):
        if isinstance(kind, list):
            self.assertIsInstance(value, list, path)
            for k, entry in enumerate(value):
                self.check(entry, kind[0], f"{path}[{k}]")
        elif callable(kind):
            self.assertTrue(kind(value), f"{path}: {value!r}")
        else:
            self.assertIsInstance(value, dict, path)
            members = OBJECTS[kind]
            required = {name[:-1] for name in members if name.endswith("*")}
            self.assertLessEqual(required, set(value), path)
            for name, member in value.items():
                self.check(member, members.get(name) or members[name + "*"], f"{path}.{name}")

    def log_of(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                (pathlib.Path(folder) / name).write_bytes(text)
            run = subprocess.run([TOOL, "lint", "--sarif", *files], cwd=folder, capture_output=True)
        return json.loads(run.stdout)

    def test_has_what_the_standard_requires(self):
        log = self.log_of({"a b%c:d.hgr": b"2 3\n1 x\n4 1\n", "good.hgr": b"1 2\n1 2\n", "none.hgr": b"",
                           "odd.qhg": b"1 2 1 2\n1 2 \0\n", "net.json": b"{\"incidences\": [}"})
        self.check(log, "log", "log")
        [run] = log["runs"]
        self.assertGreater(len(run["results"]), 5)
        rules = run["tool"]["driver"]["rules"]
        self.assertEqual(len({rule["id"] for rule in rules}), len(rules))
        for result in run["results"]:
            self.assertEqual(rules[result["ruleIndex"]]["id"], result["ruleId"])
            self.assertEqual(rules[result["ruleIndex"]]["defaultConfiguration"]["level"], result["level"])
        uris = {result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"] for result in run["results"]}
        self.assertIn("a b%c:d.hgr", {urllib.parse.unquote(uri) for uri in uris})

    def test_counts_columns_in_characters(self):
        text = '{"incidences": [{"edge": "\u00e4\u20ac\U0001d11e", "node": 1.5}]}\n'
        log = self.log_of({"names.json": text.encode()})
        [run] = log["runs"]
        self.assertEqual(run["columnKind"], "unicodeCodePoints")
        [region] = [result["locations"][0]["physicalLocation"]["region"] for result in run["results"]
                    if result["ruleId"] == "bad-json-value"]
        self.assertEqual(region["startColumn"], text.index("1.5") + 1)

    def test_refuses_what_is_not_allowed(self):
        for broken in ({"version": "2.1.0"}, {"version": "2.0.0", "runs": []},
                       {"version": "2.1.0", "runs": [{"tool": {"driver": {}}}]},
                       {"version": "2.1.0", "runs": [], "extra": 1}):
            with self.assertRaises((AssertionError, KeyError)):
                self.check(broken, "log", "log")


if __name__ == "__main__":
    TOOL = sys.argv[1]
    unittest.main(argv=sys.argv[:1])
