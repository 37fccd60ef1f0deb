#!/usr/bin/env python3
"""The number of threads changes neither what is written nor what is found.

threads_test.py TOOL FOLDER...: every file in the folders, and larger ones with mistakes, on 1, 2 and 7 threads.
"""

import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

TOOL = ""
FOLDERS = []
MOST_BYTES = 100000  # of a file: the larger ones would take too long


def run(threads, *words):
    """Status, standard output and standard error."""
    done = subprocess.run([TOOL, *words], stdin=subprocess.DEVNULL, capture_output=True, check=False,
                          env={**os.environ, "QUILLON_THREADS": str(threads)})
    return done.returncode, done.stdout, done.stderr


def large_files(folder):
    """Files of many blocks, some lines of which are wrong or odd."""
    dice = random.Random(1)
    ncells = 30000

    def line(plain, k):
        return dice.choice(["x", "0 1", "% comment", "", "1 1"]) if k % 4999 == 4998 else plain

    cells = [" ".join(str(dice.randint(1, ncells)) for _ in range(8)) for _ in range(ncells)]
    entries = [f"{k % ncells + 1} {dice.randint(1, ncells)} {dice.randint(-9, 99)}" for k in range(3 * ncells)]
    for name, head, lines in [("large.hgr", f"{ncells} {ncells}", cells),
                              ("large.mtx", "%%MatrixMarket matrix coordinate integer general\n"
                               f"{ncells} {ncells} {len(entries)}", entries)]:
        for planted in [False, True]:
            path = folder / (f"planted.{name}" if planted else name)
            body = [line(plain, k) if planted else plain for k, plain in enumerate(lines)]
            path.write_text("\n".join([head, *body, ""]))
            yield path


class Threads(unittest.TestCase):
    """Each test compares whole processes."""

    def expect_same(self, *words):
        """Returns the status."""
        expected = run(1, *words)
        for threads in [2, 7]:
            with self.subTest(words=words, threads=threads):
                self.assertEqual(run(threads, *words), expected)
        return expected[0]

    def test_of_all_files(self):
        """Those that are refused too."""
        statuses = []
        for folder in FOLDERS:
            for path in sorted(pathlib.Path(folder).rglob("*")):
                if path.is_file() and path.stat().st_size <= MOST_BYTES:
                    statuses.append(self.expect_same("convert", str(path), "-", "--to", "quillon"))
        self.assertGreater(statuses.count(0), 50)
        self.assertGreater(statuses.count(1), 50)

    def test_of_large_files(self):
        """Blocks are then read by different threads."""
        with tempfile.TemporaryDirectory() as folder:
            for path in large_files(pathlib.Path(folder)):
                is_planted = path.name.startswith("planted")
                self.assertEqual(self.expect_same("convert", str(path), "-", "--to", "hmetis"), int(is_planted))
                self.expect_same("lint", "--json", str(path))

    def test_option(self):
        """It counts more than the environment."""
        file = min(pathlib.Path(FOLDERS[0]).glob("hmetis/good/*.hgr"))
        words = ["convert", str(file), "-", "--to", "quillon", "--threads"]
        self.assertEqual(run(7, *words, "2"), run(1, *words, "1"))
        status, output, error = run(1, *words, "0")
        self.assertEqual((status, output), (2, b""))
        self.assertTrue(error.startswith(b"quillon: error: --threads: '0' is not a whole number from 1 to "))


if __name__ == "__main__":
    TOOL, *FOLDERS = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
