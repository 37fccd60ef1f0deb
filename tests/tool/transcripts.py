#!/usr/bin/env python3
"""Runs the transcripts in Markdown files and compares what the commands print, byte for byte.

    transcripts.py [--update] [--filter TEXT] [--except TEXT] [--jobs N] TOOL FILE.md...
    transcripts.py [--update] --document TOOL FILE.md...

Each "## Heading" begins a case, which runs in an empty folder of its own:

    ```text file=NAME         a file of that name; every line has a line end. Files before the first case belong to
                              every case.
    ```console                commands and their output:
    $ COMMAND                 run by bash; continues on the next line after a backslash
    TEXT                      a line on standard output
    1> TEXT                   the same, for text that would look like one of the other lines
    2> TEXT                   a line on standard error; these follow those of standard output
    1| TEXT    2| TEXT        text on standard output or standard error without a line end
    [STATUS]                  the exit status; not shown when it is 0
    Needs THING: `COMMAND`    skips the case when the command fails in its folder. COMMAND may prepare THING.

There are no patterns. Names that change from run to run are replaced by sed in the command; bytes that are not
printable are shown by od or cat -v.

Commands find TOOL as "quillon", the programs in tests/tool/bin, the folder data/ as $DATA and their folder as $PWD.
Commands of a case run one after another, each in a shell of its own. Cases run in parallel.

With --document, a file is one case in a folder that resembles the root of the repository, as its readers have it.
Standard error is shown with standard output, and every command has to succeed.

--update replaces the text below the commands by their present output, for a review with git diff. --filter runs the
cases whose name contains TEXT, --except all others. Skipped cases are listed, with their reason. Exits with 1 when
something differs.
"""

import argparse
import concurrent.futures
import dataclasses
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
FILE = re.compile(r"```\w+ file=(.+)")
NEEDS = re.compile(r"Needs (.+): `(.+)`")
AMBIGUOUS = re.compile(r"\$ |[12][>|]|\[-?\d+\]$|```")
UNPRINTABLE = re.compile(r"[\x00-\x08\x0b-\x1f\x7f]")
INHERITED = re.compile(r"(ASAN|LSAN|UBSAN)_OPTIONS|QUILLON_REAL_DATA|TMPDIR|GCOV_\w+|LLVM_PROFILE_FILE")


class Malformed(Exception):
    """(line, problem)"""


@dataclasses.dataclass
class File:
    line: int
    name: str
    text: str


@dataclasses.dataclass
class Command:
    line: int  # of "$ COMMAND", from 1
    text: str
    begin: int  # expected lines: from this index of the document's lines
    end: int  # up to before this one
    printed: list = None


@dataclasses.dataclass
class Case:
    name: str
    needs: list = dataclasses.field(default_factory=list)  # (thing, command)
    files: list = dataclasses.field(default_factory=list)
    commands: list = dataclasses.field(default_factory=list)
    failures: list = dataclasses.field(default_factory=list)  # (line, text)
    skipped: str = ""


def closing_fence(lines, at):
    for k in range(at + 1, len(lines)):
        if lines[k] == "```":
            return k
    raise Malformed(at + 1, "the block has no end")


def commands_of(lines, begin, end):
    if begin == end or not lines[begin].startswith("$ "):
        raise Malformed(begin + 1, "a console block begins with a command")
    at = begin
    while at < end:
        start = at
        text = lines[at][2:]
        while lines[at].endswith("\\"):
            at += 1
            text += "\n" + lines[at]
        at += 1
        first = at
        while at < end and not lines[at].startswith("$ "):
            at += 1
        yield Command(start + 1, text, first, at)


class Document:
    def __init__(self, name, one_case):
        self.name = name
        self.lines = pathlib.Path(name).read_text(encoding="utf-8").split("\n")
        self.shared = Case("")
        self.cases = []
        self.parse(one_case)
        self.check(one_case)

    def parse(self, one_case):
        case = Case(self.name) if one_case else self.shared
        if one_case:
            self.cases.append(case)
        at = 0
        while at < len(self.lines):
            line = self.lines[at]
            if line.startswith("```"):
                end = closing_fence(self.lines, at)
                self.parse_block(case, line, at + 1, end)
                at = end
            elif not one_case:
                if line.startswith("## "):
                    case = Case(line[3:])
                    self.cases.append(case)
                if need := NEEDS.fullmatch(line):
                    case.needs.append(need.groups())
            at += 1

    def parse_block(self, case, opening, begin, end):
        if found := FILE.fullmatch(opening):
            text = "".join(line + "\n" for line in self.lines[begin:end])
            case.files.append(File(begin, found[1], text))
        elif opening == "```console":
            case.commands += commands_of(self.lines, begin, end)

    def check(self, one_case):
        if not self.cases or (one_case and not self.cases[0].commands):
            raise Malformed(1, "there is no transcript")
        if self.shared.commands:
            raise Malformed(self.shared.commands[0].line, "a command before the first case")
        names = [case.name for case in self.cases]
        for case in self.cases:
            if names.count(case.name) > 1:
                raise Malformed(1, f"two cases are called '{case.name}'")
            if not case.commands:
                raise Malformed(1, f"'{case.name}' has no command")
            self.check_files(case.files, case.commands)
        self.check_files(self.shared.files, [command for case in self.cases for command in case.commands])

    @staticmethod
    def check_files(files, commands):
        for file in files:
            if not any(file.name in command.text for command in commands):
                raise Malformed(file.line, f"no command uses '{file.name}'")

    def updated(self):
        lines = []
        done = 0
        for command in (command for case in self.cases for command in case.commands):
            if command.printed is not None:
                lines += self.lines[done:command.begin] + command.printed
                done = command.end
        return "\n".join(lines + self.lines[done:])


def decoded(output):
    text = output.decode("utf-8")  # may raise UnicodeDecodeError, a ValueError
    if UNPRINTABLE.search(text):
        raise ValueError
    return text


def shown(stream, output):
    """The lines of a transcript for the text of standard output, 1, or standard error, 2."""
    *lines, rest = decoded(output).split("\n")
    result = []
    for line in lines:
        plain = stream == 1 and not AMBIGUOUS.match(line)
        result.append(line if plain else f"{stream}> {line}".rstrip(" ") if not line else f"{stream}> {line}")
    return result + ([f"{stream}| {rest}"] if rest else [])


class Runner:
    def __init__(self, tool, document):
        self.tool = tool
        self.document = document  # runs files as documents

    def environment(self, place):
        path = [str(place / "bin")] + ([] if self.document else [str(ROOT / "tests/tool/bin")]) + [os.defpath]
        inherited = {name: value for name, value in os.environ.items() if INHERITED.fullmatch(name)}
        return inherited | {"PATH": ":".join(path), "LC_ALL": "C", "HOME": str(place / "work"),
                            "DATA": str(ROOT / "data")}

    def shell(self, command, place, stderr=subprocess.PIPE):
        return subprocess.run(["bash", "-c", command], cwd=place / "work", env=self.environment(place),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=stderr, check=False)

    def printed(self, command, place, case):
        """The expected transcript of a command."""
        if self.document:
            done = self.shell(command.text, place, subprocess.STDOUT)
            if done.returncode != 0:
                case.failures.append((command.line, f"$ {command.text}: exits with {done.returncode}"))
            lines = decoded(done.stdout).split("\n")
            return lines[:-1] if lines[-1] == "" else lines
        done = self.shell(command.text, place)
        status = [f"[{done.returncode}]"] if done.returncode != 0 else []
        return shown(1, done.stdout) + shown(2, done.stderr) + status

    def prepare(self, shared, case, place):
        (place / "bin").mkdir()
        (place / "work").mkdir()
        (place / "bin" / "quillon").symlink_to(self.tool)
        if self.document:
            for entry in ROOT.iterdir():
                (place / "work" / entry.name).symlink_to(entry)
        for file in shared.files + case.files:
            path = place / "work" / file.name
            if "/" in file.name or path.exists() and self.document:
                raise Malformed(file.line, f"there is a '{file.name}' already")
            path.write_text(file.text, encoding="utf-8")

    def run(self, document, case):
        with tempfile.TemporaryDirectory(prefix="quillon-") as folder:
            place = pathlib.Path(folder)
            try:
                self.prepare(document.shared, case, place)
            except Malformed as flaw:
                case.failures.append(flaw.args)
                return
            for thing, command in case.needs:
                if self.shell(command, place).returncode != 0:
                    case.skipped = f"there is no {thing}"
                    return
            for command in case.commands:
                self.compare(document, case, command, place)

    def compare(self, document, case, command, place):
        expected = document.lines[command.begin:command.end]
        try:
            printed = self.printed(command, place, case)
        except ValueError:
            case.failures.append((command.line, f"$ {command.text}: prints bytes that only od or cat -v can show"))
            return
        command.printed = printed
        if printed != expected:
            difference = difflib.unified_diff(expected, printed, "expected", "printed", lineterm="", n=2)
            case.failures.append((command.line, f"$ {command.text}\n" + "\n".join(difference)))


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--document", action="store_true")
    parser.add_argument("--filter", default="", metavar="TEXT")
    parser.add_argument("--except", dest="left_out", metavar="TEXT")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N")
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("files", nargs="+")
    return parser.parse_args()


def report(document, chosen, update):
    """Prints the outcomes of the cases of a document; returns the number of failed cases."""
    for case in chosen:
        if case.skipped:
            print(f"SKIPPED {document.name}: {case.name}: {case.skipped}")
    failed = [case for case in chosen if case.failures]
    if update and any(case.failures or case.commands for case in chosen):
        pathlib.Path(document.name).write_text(document.updated(), encoding="utf-8")
    for case in failed:
        for line, text in case.failures:
            print(f"{'UPDATED' if update else 'FAILED'} {document.name}:{line}: {case.name}\n{text}")
    print(f"{document.name}: {len(chosen)} cases, {len(failed)} failed, {sum(bool(c.skipped) for c in chosen)} skipped")
    return len(failed)


def main():
    options = arguments()
    if not options.tool.exists():
        sys.exit(f"there is no tool '{options.tool}'")
    runner = Runner(options.tool.resolve(), options.document)
    nfailed = 0
    nchosen = 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for name in options.files:
            try:
                document = Document(name, options.document)
            except Malformed as flaw:
                print(f"FAILED {name}:{flaw.args[0]}: {flaw.args[1]}")
                nfailed += 1
                continue
            chosen = [case for case in document.cases
                      if options.filter in case.name and not (options.left_out and options.left_out in case.name)]
            list(pool.map(lambda case, document=document: runner.run(document, case), chosen))
            nchosen += len(chosen)
            nfailed += report(document, chosen, options.update)
    if nchosen == 0 and nfailed == 0:
        sys.exit("no case is called so")
    return 1 if nfailed > 0 and not options.update else 0


if __name__ == "__main__":
    sys.exit(main())
