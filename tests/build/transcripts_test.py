#!/usr/bin/env python3
"""Runs what documents show: transcripts_test.py [--update] TOOL DOCUMENT.md...

A block fenced as ```text file=NAME is a file of that name, with a line end behind its last line. In a block fenced
as ```console, a line that begins with "$ " is a command, which goes on on the next line when it ends in a backslash;
the lines up to the next command are what it prints, on standard output and standard error. Both have to agree byte for
byte. A command that ends with a status other than 0 has to show it, as in "quillon check bad.qhg; echo $?".

The commands of a document run one after another with bash in a folder that has what the root of the repository has,
and in which the document's files and those that the commands write stay until its end. TOOL is what they call
"quillon". --update writes into the documents what the commands printed.
"""

import difflib
import os
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
FILE = "```text file="


class Malformed(Exception):
    """(line, what is wrong there)"""


def blocks(lines):
    """(opening line, first line inside, line of the closing fence) of every fenced block."""
    at = 0
    while at < len(lines):
        if not lines[at].startswith("```"):
            at += 1
            continue
        end = next((k for k in range(at + 1, len(lines)) if lines[k] == "```"), None)
        if end is None:
            raise Malformed(at + 1, "the block has no end")
        yield lines[at], at + 1, end
        at = end + 1


def commands(lines, begin, end):
    """(number of the line, command, what it should print) of a console block."""
    if begin == end or not lines[begin].startswith("$ "):
        raise Malformed(begin + 1, "a console block begins with a command")
    at = begin
    while at < end:
        start = at
        command = lines[at][2:]
        while lines[at].endswith("\\"):
            at += 1
            command += "\n" + lines[at]
        at += 1
        first = at
        while at < end and not lines[at].startswith("$ "):
            at += 1
        yield start + 1, command, lines[first:at]


def run(command, folder, path):
    # Neither a terminal nor the user's language have a say.
    environment = {"PATH": path, "LC_ALL": "C", "HOME": str(folder)}
    done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return done.returncode, done.stdout.decode("utf-8", "backslashreplace")


def as_lines(output):
    lines = output.split("\n")
    return lines[:-1] if lines[-1] == "" else lines


class Document:
    def __init__(self, name):
        self.name = name
        self.lines = pathlib.Path(name).read_text(encoding="utf-8").split("\n")
        self.shown = []  # the lines, with what the commands print now
        self.failures = []
        self.ncommands = 0
        self.complete = False  # all commands have run

    def fail(self, line, what):
        self.failures.append(f"{self.name}:{line}: {what}")

    def make_file(self, name, begin, end, folder):
        if "/" in name or (folder / name).exists():
            self.fail(begin, f"there is a '{name}' already")
        else:
            (folder / name).write_text("".join(line + "\n" for line in self.lines[begin:end]), encoding="utf-8")

    def try_command(self, line, command, expected, folder, path):
        self.ncommands += 1
        status, output = run(command, folder, path)
        printed = as_lines(output)
        if status != 0:
            self.fail(line, f"$ {command}: ends with status {status}, and does not say so")
        if printed != expected:
            difference = difflib.unified_diff(expected, printed, "in the document", "printed", lineterm="", n=1)
            self.fail(line, f"$ {command}: prints something else\n" + "\n".join(difference))
        self.shown += [f"$ {command}"] + printed

    def run(self, folder, path):
        done = 0
        files = {}
        for opening, begin, end in blocks(self.lines):
            self.shown += self.lines[done:begin]
            done = begin
            if opening.startswith(FILE):
                name = opening[len(FILE):]
                files[name] = begin
                self.make_file(name, begin, end, folder)
            elif opening == "```console":
                for line, command, expected in commands(self.lines, begin, end):
                    for name in [name for name in files if name in command]:
                        del files[name]
                    self.try_command(line, command, expected, folder, path)
                done = end
        self.shown += self.lines[done:]
        self.complete = True
        for name, line in files.items():
            self.fail(line, f"no command uses '{name}'")
        if self.ncommands == 0:
            self.fail(1, "there is no transcript")


def main():
    arguments = sys.argv[1:]
    update = arguments[:1] == ["--update"]
    if update:
        del arguments[0]
    if len(arguments) < 2:
        sys.exit(__doc__)
    tool = pathlib.Path(arguments[0]).resolve()

    failures = []
    for name in arguments[1:]:
        document = Document(name)
        with tempfile.TemporaryDirectory() as place:
            programs = pathlib.Path(place) / "bin"
            folder = pathlib.Path(place) / "root"
            programs.mkdir()
            folder.mkdir()
            (programs / "quillon").symlink_to(tool)
            for entry in ROOT.iterdir():
                (folder / entry.name).symlink_to(entry)
            try:
                document.run(folder, f"{programs}:{os.defpath}")
            except Malformed as flaw:
                document.fail(*flaw.args)
        print(f"{name}: {document.ncommands} commands, {len(document.failures)} failures")
        if update and document.complete:
            pathlib.Path(name).write_text("\n".join(document.shown), encoding="utf-8")
        else:
            failures += document.failures
    print("\n".join(failures), end="\n" if failures else "")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
