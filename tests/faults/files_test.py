#!/usr/bin/env python3
"""Outputs that cannot be written and inputs that cannot be read, for each command.

files_test.py TOOL [--long]; skips tests that need root, another user or /proc where these are missing.
"""

import gzip
import os
import re
import signal
import stat
import struct
import subprocess
import sys
import unittest
from dataclasses import replace

from workplace import COMMANDS, QUILLON, READERS, TO_STANDARD_OUTPUT, WRITERS, Command, Workplace

NOBODY = 65534
FULL = "No space left on device"


def with_word(command, old, new):
    """The command with another file in place of `old`."""
    words = [new if word == old else word for word in command.line.split()]
    outputs = [name for name in command.outputs if name != old]
    return replace(command, line=" ".join(words), outputs=outputs, stdin=new if command.stdin == old else command.stdin)


def inputs_of(command):
    """The files that a command reads by name."""
    return [word for word in dict.fromkeys(command.line.split()) if re.fullmatch(r"(in|hif|symmetric)\..*", word)]


def make_full_device(path):
    try:
        os.mknod(path, stat.S_IFCHR | 0o666, os.makedev(1, 7))
        os.close(os.open(path, os.O_WRONLY))
    except PermissionError:
        return False
    return True


class Files(unittest.TestCase):
    long = False

    def setUp(self):
        self.place = Workplace(TOOL)
        self.addCleanup(self.place.close)

    def refuse(self, command, says, before=None, stdout=subprocess.PIPE, allowed_statuses=(1,)):
        """Runs a command that must fail without creating or changing a file."""
        self.place.restore()
        outcome = self.place.run(command, before=before, stdout=stdout)
        with self.subTest(command=command.line):
            self.assertIn(outcome.status, allowed_statuses, outcome.err)
            self.assertEqual(outcome.files, {})
            if outcome.status == 1:
                self.assertRegex(outcome.err, r"(?m)^quillon: ")
                self.assertIn(says, outcome.err)
        return outcome

    def for_each_output(self):
        for command in WRITERS:
            for name in command.outputs:
                yield command, name

    def test_a_full_device_as_target(self):
        for command, name in self.for_each_output():
            full = "full-" + name
            if not make_full_device(self.place.folder / full):
                self.skipTest("no device can be made here")
            self.refuse(with_word(command, name, full), FULL)
            self.assertTrue(stat.S_ISCHR(os.stat(self.place.folder / full).st_mode))
            os.unlink(self.place.folder / full)

    def test_a_folder_as_target(self):
        for command, name in self.for_each_output():
            (self.place.folder / ("folder-" + name)).mkdir()
            self.refuse(with_word(command, name, "folder-" + name), "Is a directory")
            (self.place.folder / ("folder-" + name)).rmdir()

    def test_a_target_in_no_folder(self):
        for command, name in self.for_each_output():
            self.refuse(with_word(command, name, "missing/" + name), "No such file or directory")
            self.refuse(with_word(command, name, "in.qhg/" + name), "Not a directory")

    def test_a_target_where_nobody_may_write(self):
        for command, name in self.for_each_output():
            self.refuse(with_word(command, name, "/proc/self/" + name), f"/proc/self/{name}")

    def as_nobody(self):
        """Returns a function that makes a process run as a user who may only read the workplace."""
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        os.chmod(self.place.folder, 0o755)

        def become():
            os.setgroups([])
            os.setgid(NOBODY)
            os.setuid(NOBODY)

        try:
            if self.place.run(Command("--version"), before=become).status == 0:
                return become
        except PermissionError:
            pass
        self.skipTest("the tool is not for everybody")

    def test_a_folder_without_permission(self):
        become = self.as_nobody()
        for command in WRITERS:
            self.refuse(command, "Permission denied", before=become)

    def test_an_unreadable_input(self):
        become = self.as_nobody()
        for command in COMMANDS:
            for name in inputs_of(command):
                self.place.restore()
                os.chmod(self.place.folder / name, 0o200)
                self.refuse(command, "Permission denied", before=become)
                os.chmod(self.place.folder / name, 0o644)

    def test_standard_output_on_a_full_device(self):
        for command in READERS + TO_STANDARD_OUTPUT:
            with open("/dev/full", "wb", buffering=0) as full:
                self.refuse(command, FULL, stdout=full)

    def test_standard_output_closed(self):
        for command in READERS + TO_STANDARD_OUTPUT:
            self.refuse(command, "standard output", before=lambda: os.close(1))

    def refuse_without_reader(self, commands, before, status, says):
        for command in commands:
            reads, writes = os.pipe()
            os.close(reads)
            self.refuse(command, says, before=before, stdout=writes, allowed_statuses=(status,))
            os.close(writes)

    def test_standard_output_without_a_reader(self):
        """By default, the signal ends the program without a message."""
        one_process = [command for command in READERS + TO_STANDARD_OUTPUT if not forks(command)]
        self.refuse_without_reader(
            one_process, lambda: signal.signal(signal.SIGPIPE, signal.SIG_DFL), -signal.SIGPIPE, ""
        )

    def test_standard_output_without_a_reader_of_several_files(self):
        for command in (command for command in READERS if forks(command)):
            reads, writes = os.pipe()
            os.close(reads)
            self.place.restore()
            outcome = self.place.run(
                command, before=lambda: signal.signal(signal.SIGPIPE, signal.SIG_DFL), stdout=writes
            )
            os.close(writes)
            with self.subTest(command=command.line):
                self.assertIn(outcome.status, (-signal.SIGPIPE, 128 + signal.SIGPIPE))
                self.assertEqual(outcome.err, "")

    def test_standard_output_without_a_reader_and_without_the_signal(self):
        self.refuse_without_reader(
            READERS + TO_STANDARD_OUTPUT, lambda: signal.signal(signal.SIGPIPE, signal.SIG_IGN), 1, "Broken pipe"
        )

    def test_no_second_output_is_made_when_the_first_has_no_reader(self):
        for line in (
            "prune in.qhg -o - --max-size 4 --map map --set-aside aside.qhg",
            "reorder in.qhg -o - --random --write-perm perm --write-inverse inv",
            "convert in.json - --to quillon --labels names",
        ):
            for how, status in ((signal.SIG_DFL, -signal.SIGPIPE), (signal.SIG_IGN, 1)):
                self.refuse_without_reader(
                    [Command(line)], lambda how=how: signal.signal(signal.SIGPIPE, how), status, "Broken pipe"
                )

    def test_standard_error_closed_or_full(self):
        """No message can be written, but the status reports the failure."""
        for command in COMMANDS:
            for name in inputs_of(command)[:1]:
                bad = with_word(command, name, "missing-" + name)
                self.place.restore()
                outcome = self.place.run(bad, before=lambda: os.close(2))
                self.assertEqual((outcome.status, outcome.files), (1, {}), bad.line)
                outcome = self.place.run(bad, before=lambda: os.dup2(os.open("/dev/full", os.O_WRONLY), 2))
                self.assertEqual((outcome.status, outcome.files), (1, {}), bad.line)

    def for_each_input(self, make, says, is_named=True, part=slice(None)):
        """Replaces each input of each command, or of part of them, by a file that `make` creates at a path."""
        for command in COMMANDS[part]:
            for name in inputs_of(command):
                path = self.place.folder / ("bad-" + name)
                make(path)
                kept = path.read_bytes() if path.is_file() else None
                self.place.inputs.pop(path.name, None)
                if kept is not None:
                    self.place.inputs[path.name] = kept
                outcome = self.refuse(with_word(command, name, path.name), says)
                if is_named:
                    with self.subTest(command=command.line, name=name):
                        self.assertIn(path.name, outcome.err)
                self.place.inputs.pop(path.name, None)
                if path.is_dir():
                    path.rmdir()

    def test_a_missing_input(self):
        self.for_each_input(lambda path: None, "No such file or directory")

    def test_a_folder_as_input(self):
        self.for_each_input(lambda path: path.mkdir(), "Is a directory")

    def test_an_empty_input(self):
        self.for_each_input(lambda path: path.write_bytes(b""), "quillon: ", is_named=False)

    def packed(self, name):
        text = self.place.inputs[name.removeprefix("bad-")]
        return text if text[:2] == b"\x1f\x8b" else gzip.compress(text, mtime=0)

    def test_packed_inputs_that_are_cut_off(self):
        """The short form cuts the inputs of every third command, of others at each place."""
        for k, kept in enumerate((2, 9, 15, -9, -4, -1)):
            self.for_each_input(
                lambda path, kept=kept: path.write_bytes(self.packed(path.name)[:kept]),
                "its compressed data is ",
                part=slice(None) if self.long else slice(k % 3, None, 3),
            )

    def test_packed_inputs_with_a_wrong_sum_or_length(self):
        for end, of_what in ((struct.pack("<I", 12345), "sum"), (None, "length")):

            def damage(path, end=end, of_what=of_what):
                good = self.packed(path.name)
                bad = good[:-8] + end + good[-4:] if of_what == "sum" else good[:-4] + struct.pack("<I", 7)
                path.write_bytes(bad)

            self.for_each_input(damage, "its compressed data is damaged")

    def test_a_wrong_sum_after_the_data_that_a_reader_needs(self):
        """The readers stop after the last net, here at the end of one block of the tool. The short form tries every
        other command."""
        text = QUILLON.encode()
        text += b"%" + b" " * ((1 << 18) - len(text) - 2) + b"\n"
        for more in (b"", b"% more\n" * 200000):
            packed = gzip.compress(text + more, mtime=0)
            for bad in (packed[:-8] + struct.pack("<I", 1) + packed[-4:], packed[:-9]):
                self.place.inputs["in.qhg"] = bad
                for command in COMMANDS if self.long else COMMANDS[::2]:
                    if "in.qhg" in inputs_of(command) or command.stdin == "in.qhg":
                        self.refuse(command, "its compressed data is ")


def forks(command):
    return command.line.split()[0] in ("stats", "check")


if __name__ == "__main__":
    TOOL = sys.argv.pop(1)
    if "--long" in sys.argv:
        sys.argv.remove("--long")
        Files.long = True
    unittest.main()
