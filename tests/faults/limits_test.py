#!/usr/bin/env python3
"""Low resource limits, and files that require too many resources, for each command.

limits_test.py TOOL [--long]
"""

import gzip
import re
import resource
import shutil
import sys
import tempfile
import unittest

from workplace import COMMANDS, MATRIX, OLD, TO_STANDARD_OUTPUT, WRITERS, Command, Workplace, faults_of

MEMORY = re.compile(r"memory|cannot allocate|cannot provide", re.IGNORECASE)
MIB = 1 << 20
NEVER_ENOUGH = 512 * MIB  # for the largest counts; plenty for all other files here

EXTREMES = [
    2**31 - 3,
    2**31 - 2,
    2**31 - 1,
    2**31,
    2**32 - 1,
    2**32 + 1,
    2**63 - 1,
    2**64 + 1,
    10**40,
    -1,
    -(2**31),
    -(2**31) - 1,
    0,
]

# A file of each format; each of its numbers in turn is replaced by an extreme one.
FILES = {
    "qhg": "1 3 2 5 3 1\n4 1 2\n5 1 2 3\n6 7 8\n",
    "hgr": "2 3 11\n4 1 2\n5 1 2 3\n6\n7\n8\n",
    "kub": "3\n2\n4 2 0 1\n5 3 0 1 2\n6\n7\n8\n",
    "mtx": MATRIX,
    "graph": "3 2 11\n4 2 5\n6 1 5 3 7\n8 2 7\n",
    "json": '{"incidences":[{"edge":1,"node":2,"weight":1},{"edge":1,"node":3}],'
    '"nodes":[{"node":2,"weight":4}],"edges":[{"edge":1,"weight":5}]}\n',
}
NUMBER = re.compile(r"(?<![\w.])\d+(?![\w.])")


def limit(what, amount):
    return lambda: resource.setrlimit(what, (amount, amount))


class Limits(unittest.TestCase):
    long = False

    def setUp(self):
        self.place = Workplace(TOOL)
        self.addCleanup(self.place.close)

    def expect_sound(self, command, good, outcome, olds=(), says=None):
        faults = faults_of(command, good, outcome, olds)
        if outcome.status == 1 and says is not None and not says.search(outcome.err):
            faults.append(f"says nothing like {says.pattern}")
        self.assertEqual(faults, [], f"{command.line}: {outcome.err[-300:]}")

    def test_little_address_space(self):
        """From the least address space in which the tool starts to enough; the short form tries every other size, and
        enough, with a command, the rest with the next command."""
        steps = range(4 * MIB, 160 * MIB, (MIB if self.long else 20 * MIB))
        sizes = [size for size in steps if self.starts_in(size)]
        self.assertGreater(len(sizes), 5)
        for k, command in enumerate(COMMANDS):
            good = self.place.undisturbed(command)
            olds = command.outputs
            statuses = []
            for size in sizes if self.long else sizes[k % 2 : -1 : 2] + sizes[-1:]:
                self.place.restore(olds)
                outcome = self.place.run(command, before=limit(resource.RLIMIT_AS, size))
                self.expect_sound(command, good, outcome, olds, MEMORY)
                statuses.append(outcome.status)
            self.assertEqual(statuses[-1], 0, command.line)

    def starts_in(self, size):
        outcome = self.place.run(Command("--version"), before=limit(resource.RLIMIT_AS, size))
        return outcome.status == 0

    def test_short_files(self):
        """A limit on the size of files simulates a disk that becomes full anywhere in a file."""
        cannot = re.compile("File too large|is not whole")
        for command in WRITERS + TO_STANDARD_OUTPUT:
            good = self.place.undisturbed(command)
            most = max(map(len, good.files.values() or [good.out]))
            # Standard output may also hold a short report, to which the limit does not apply: only half is surely too short.
            too_short = most if good.files else most // 2
            sizes = range(too_short) if self.long else sorted({0, 1, too_short // 2, too_short - 1})
            for size in sizes:
                self.place.restore(command.outputs)
                outcome = self.place.run(command, before=limit(resource.RLIMIT_FSIZE, size))
                self.assertEqual(outcome.status, 1, f"{command.line} in {size} bytes")
                self.expect_sound(command, good, outcome, command.outputs, cannot)
                self.assertEqual(outcome.files, {name: OLD for name in command.outputs}, command.line)
            self.place.restore()
            outcome = self.place.run(command, before=limit(resource.RLIMIT_FSIZE, most))
            self.assertEqual((outcome.status, outcome.files), (0, good.files), command.line)

    def test_few_open_files(self):
        for command in COMMANDS:
            good = self.place.undisturbed(command)
            statuses = []
            for count in range(3, 12, 1 if self.long else 2):
                self.place.restore(command.outputs)
                outcome = self.place.run(command, before=limit(resource.RLIMIT_NOFILE, count))
                # Below this the system cannot even load the libraries.
                if outcome.status == 127:
                    continue
                self.expect_sound(command, good, outcome, command.outputs, re.compile("Too many open files"))
                statuses.append(outcome.status)
            self.assertEqual(statuses[-1], 0, command.line)

    def test_extreme_numbers(self):
        """Succeeds or reports an error, in too little memory for extreme numbers, and leaves no extra file."""
        for suffix, text in FILES.items():
            commands = [Command(f"convert x.{suffix} out.qhg", ["out.qhg"])]
            if suffix == "qhg":
                commands += [
                    Command("stats x.qhg"),
                    Command("stats --keep-small-nets x.qhg"),
                    Command("check x.qhg"),
                    Command("dump x.qhg"),
                    Command("prune x.qhg -o out.qhg --max-size 3", ["out.qhg"]),
                    Command("reorder x.qhg -o out.qhg --random", ["out.qhg"]),
                    Command("partition-info x.qhg three.part"),
                    Command("report x.qhg -o out.html", ["out.html"]),
                ]
            self.place.inputs["three.part"] = b"0 1 0\n"
            for k, number in enumerate(NUMBER.finditer(text)):
                for extreme in EXTREMES if self.long else EXTREMES[k % 6 :: 6]:
                    changed = text[: number.start()] + str(extreme) + text[number.end() :]
                    for command in commands if self.long else commands[:5]:
                        self.run_on(command, suffix, changed)

    def run_on(self, command, suffix, text):
        self.place.inputs["x." + suffix] = text.encode()
        self.place.restore()
        outcome = self.place.run(command, before=limit(resource.RLIMIT_AS, NEVER_ENOUGH))
        with self.subTest(command=command.line, text=text):
            self.assertIn(outcome.status, (0, 1), outcome.err)
            if outcome.status == 0:
                self.assertEqual(sorted(outcome.files), command.outputs)
            else:
                self.assertEqual(outcome.files, {})
                self.assertRegex(outcome.err, "(?m)^quillon: ")
        return outcome

    def test_extreme_parts_and_orders(self):
        for line, name, text, outputs in (
            ("partition-info in.qhg x.part --write out.part", "part", "0 1 1 0 {} 1\n", ["out.part"]),
            ("partition-info in.qhg in.part -k {}", None, "", []),
            ("reorder in.qhg -o out.qhg --by-part x.part", "part", "0 1 1 0 {} 1\n", ["out.qhg"]),
            ("reorder in.qhg -o out.qhg --perm x.perm", "perm", "3 1 2 {} 6 5\n", ["out.qhg"]),
            ("prune in.qhg -o out.qhg --max-size {}", None, "", ["out.qhg"]),
            ("dump in.qhg --cell {}", None, "", []),
            ("dump in.qhg --net {}", None, "", []),
            ("reorder in.qhg -o out.qhg --random --seed {}", None, "", ["out.qhg"]),
        ):
            for extreme in EXTREMES:
                command = Command(line.format(extreme), outputs)
                if name is not None:
                    self.run_on(command, name, text.format(extreme))
                    continue
                self.place.restore()
                outcome = self.place.run(command, before=limit(resource.RLIMIT_AS, NEVER_ENOUGH))
                with self.subTest(command=command.line):
                    # An invalid number on the command line is wrong usage.
                    self.assertIn(outcome.status, (0, 1, 2), outcome.err)
                    self.assertEqual(sorted(outcome.files), outputs if outcome.status == 0 else [])
                    if outcome.status != 0:
                        self.assertRegex(outcome.err, "(?m)^quillon: ")

    def test_totals_that_wrap(self):
        """Weights are read and written unchanged even if their sum exceeds 32 bits."""
        most = 2**31 - 1
        text = f"1 3 3 7 3\n{most} 1 2\n{most} 1 2 3\n{-most - 1} 2 3\n{most} {most} {-most - 1}\n"
        self.place.inputs["x.qhg"] = text.encode()
        lines = [line.encode() for line in text.splitlines()]
        for command in (
            Command("convert x.qhg out.qhg", ["out.qhg"]),
            Command("prune x.qhg -o out.qhg --max-size 9", ["out.qhg"]),
            Command("reorder x.qhg -o out.qhg --perm same", ["out.qhg"]),
        ):
            self.place.inputs["same"] = b"1 2 3\n"
            self.place.restore()
            outcome = self.place.run(command)
            self.assertEqual(outcome.status, 0, outcome.err)
            written = [line.strip() for line in outcome.files["out.qhg"].splitlines()]
            for line in lines[1:4]:
                self.assertIn(line, written)
            self.assertEqual(b" ".join(written).count(lines[4]), 1)
        self.place.restore()
        for line in ("stats x.qhg", "stats --table x.qhg", "check x.qhg", "dump x.qhg"):
            outcome = self.place.run(Command(line))
            self.assertEqual((outcome.status, outcome.files), (0, {}), f"{line}: {outcome.err}")

    def test_files_that_are_no_text(self):
        """Large files of zeros, or without an end, are refused at their first block: in little memory."""
        folder = tempfile.mkdtemp(prefix="quillon-faults-")
        self.addCleanup(shutil.rmtree, folder)
        with open(f"{folder}/zeros.gz", "wb") as file:
            file.write(64 * gzip.compress(bytes(16 * MIB), 1))
        with open(f"{folder}/sparse", "wb") as file:
            file.truncate(3 << 30)
        self.place.restore()
        for name in ("quillon", "hmetis", "kub", "mtx", "metis", "hif", "edges", "cnf"):
            for file in (f"{folder}/zeros.gz", f"{folder}/sparse", "/dev/zero"):
                space = limit(resource.RLIMIT_AS, 4 << 30)  # room for the size of the sparse file
                outcome = self.place.run(Command(f"stats --from {name} {file}"), before=space)
                self.assertEqual((outcome.status, outcome.out), (1, b""), f"{name}, {file}: {outcome.err}")
                self.assertRegex(outcome.err, f"{file}:1:1: error: found ", f"{name}, {file}")

    def test_lines_at_the_limit(self):
        """The line buffer of the module's own readers, of 16 MiB, does not limit the tool."""
        most = 16 * MIB - 6
        for length in (most, most + 1, 16 * MIB):
            line = "1 2".ljust(length - 1) + "\n"
            for suffix in ("qhg", "hgr"):
                header = "1 2 1 2\n" if suffix == "qhg" else "1 2\n"
                self.place.inputs["x." + suffix] = (header + line).encode()
            self.place.restore()
            for command in (
                Command("stats --summary x.qhg"),
                Command("check x.qhg"),
                Command("prune x.qhg -o - --max-size 3"),
                Command("convert x.qhg - --to kub"),
                Command("convert x.hgr - --to kub"),
            ):
                outcome = self.place.run(command)
                self.assertEqual(outcome.status, 0, f"{length} bytes, {command.line}: {outcome.err}")


if __name__ == "__main__":
    TOOL = sys.argv.pop(1)
    if "--long" in sys.argv:
        sys.argv.remove("--long")
        Limits.long = True
    unittest.main()
