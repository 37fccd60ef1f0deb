"""Small inputs, commands for them, and the rules for their behaviour on a failing machine."""

import gzip
import os
import shutil
import subprocess
import tempfile
from dataclasses import dataclass, field
from pathlib import Path

# Nets of every size that a command treats differently, weights of both kinds, and as many nets as cells.
QUILLON = """% six cells
1 6 6 13 3
4 1 2 3
2 3 4
1 4 5 6 1
7 2 6 5
5 6
0
3 1 2 3
1 2
"""
MATRIX = "%%MatrixMarket matrix coordinate pattern general\n4 4 6\n1 1\n1 2\n2 3\n3 4\n4 1\n4 4\n"
GRAPH = "4 4 1\n2 5 3 6\n1 5 4 7\n1 6 4 8\n2 7 3 8\n"
HIF = """{"network-type":"undirected","incidences":[{"edge":"a","node":"x"},{"edge":"a","node":"y"},
{"edge":"b","node":"y"},{"edge":"b","node":"z"}],"nodes":[{"node":"x","weight":2},{"node":"y"},{"node":"z"}],
"edges":[{"edge":"a","weight":3},{"edge":"b"}]}
"""
OLD = b"what was there before\n"


@dataclass
class Command:
    """A command line and the files that it writes."""

    line: str
    outputs: list = field(default_factory=list)
    stdin: str = "/dev/null"
    reports_on: bool = False  # continues after a failure and reports it on standard output


READERS = [
    Command("stats in.qhg"),
    Command("stats --table --header in.qhg in.qhg.gz", reports_on=True),
    Command("stats --summary - --from quillon", stdin="in.qhg"),
    Command("stats --json in.qhg", reports_on=True),
    Command("stats --quantiles --components in.qhg"),
    Command("stats --quantiles --components --json in.qhg", reports_on=True),
    Command("eval in.qhg in.part --parts --matrix --nets 3 --limit epsilon=9"),
    Command("compare in.qhg in.part in.part --nets"),
    Command("check --json in.qhg", reports_on=True),
    Command("partition-info --json in.qhg in.part", reports_on=True),
    Command("check in.qhg in.qhg.gz", reports_on=True),
    Command("diff in.qhg in.hgr --any-pin-order --any-net-order"),
    Command("diff in.qhg in.qhg.gz --json", reports_on=True),
    Command("explain in.qhg in.hgr --json", reports_on=True),
    Command("check --symmetric symmetric.qhg", reports_on=True),
    Command("dump in.qhg"),
    Command("dump in.qhg --keep-small-nets --net 5 --cell 2"),
    Command("partition-info in.qhg in.part"),
]
WRITERS = [
    Command("prune in.qhg -o out.qhg --max-size 4 --set-aside aside.qhg --map map", ["out.qhg", "aside.qhg", "map"]),
    Command("prune in.qhg -o out.qhg --max-size 4 --shuffle --seed 3", ["out.qhg"]),
    Command("reorder in.qhg -o out.qhg --random --write-perm perm --write-inverse inv", ["out.qhg", "perm", "inv"]),
    Command("reorder in.qhg -o out.qhg --perm in.perm", ["out.qhg"]),
    Command("reorder in.qhg -o out.qhg --by-part in.part", ["out.qhg"]),
    Command("simplify in.qhg -o out.qhg --all --new-cells cells --new-nets nets", ["out.qhg", "cells", "nets"]),
    Command("merge in.qhg in.hgr -o out.qhg --distinct --net-map nets", ["out.qhg", "nets"]),
    Command("merge in.qhg in.qhg.gz -o out.qhg --disjoint --cell-map cells", ["out.qhg", "cells"]),
    Command("convert in.json out.qhg --labels names", ["out.qhg", "names"]),
    Command("convert hif.qhg out.json --labels in.names", ["out.json"]),
    Command("report in.qhg in.part -o out.html", ["out.html"]),
    Command("partition-info in.qhg in.part --write out.part", ["out.part"]),
    Command("partition-info in.qhg in.part --write out.part --one-per-line", ["out.part"]),
    Command("generate netlist -o out.json --cells 50 --nets 40 --size 2..5", ["out.json"]),
    Command(
        "generate planted -o out.hgr --cells 30 --nets 20 --size 2..4 --parts-count 3 --cut-nets 2 --parts out.part",
        ["out.hgr", "out.part"],
    ),
    Command("compare in.qhg in.part in.part --relabel out.part", ["out.part"]),
    Command("lint in.qhg --fix -o out.qhg", ["out.qhg"]),
    Command(
        "extract in.qhg -o out.qhg --part 1 --parts in.part --cell-map map",
        ["out.qhg", "map"],
    ),
    Command("expand in.qhg -o out.graph --to clique --clique-weight size", ["out.graph"]),
    Command("expand in.qhg -o out.json --to dual", ["out.json"]),
    *(Command(f"convert in.{form} out.qhg", ["out.qhg"]) for form in ("hgr", "kub", "mtx", "graph", "qhg.gz")),
    *(Command(f"convert in.qhg out.{form}", ["out." + form]) for form in ("qhg", "hgr", "kub", "mtx", "json")),
]
TO_STANDARD_OUTPUT = [
    Command("prune in.qhg -o - --max-size 4"),
    Command("reorder in.qhg -o - --random"),
    Command("report in.qhg -o -"),
    Command("expand in.qhg -o - --to star --matrix"),
    *(Command(f"convert in.qhg - --to {form}") for form in ("quillon", "hmetis", "kub", "mtx", "hif")),
    Command("convert - - --from quillon --to hmetis", stdin="in.qhg"),
]
COMMANDS = READERS + WRITERS + TO_STANDARD_OUTPUT


@dataclass
class Outcome:
    status: int  # negative: number of the signal that ended it
    out: bytes
    err: str
    files: dict  # all new and changed files of the folder


class Workplace:
    """A folder with the inputs, which `restore` resets."""

    _made = {}  # the inputs by tool, which makes some of them: once for all folders

    def __init__(self, tool):
        self.tool = os.path.abspath(tool)
        self.folder = Path(tempfile.mkdtemp(prefix="quillon-faults-"))
        self.inputs = {}
        if self.tool not in self._made:
            self._make_inputs()
            self._made[self.tool] = self._contents()
        self.inputs = dict(self._made[self.tool])
        self.restore()

    def close(self):
        shutil.rmtree(self.folder)

    def _make_inputs(self):
        self.write("in.qhg", QUILLON.encode())
        self.write("symmetric.qhg", b"1 3 3 7 0\n1 2\n1 2 3\n2 3\n")
        self.write("in.qhg.gz", gzip.compress(QUILLON.encode(), mtime=0))
        self.write("in.mtx", MATRIX.encode())
        self.write("in.graph", GRAPH.encode())
        self.write("in.json", HIF.encode())
        self.write("in.part", b"0 1 1 0 2 1\n")
        self.write("in.perm", b"3 1 2 6 5 4\n")
        for line in (
            "convert in.qhg in.hgr",
            "convert in.qhg in.kub",
            "convert in.json hif.qhg --labels in.names",
        ):
            outcome = self.run(Command(line))
            if outcome.status != 0:
                raise RuntimeError(f"{line}: {outcome.err}")

    def write(self, name, text):
        (self.folder / name).write_bytes(text)

    def _contents(self):
        contents = {}
        for path in self.folder.iterdir():
            if path.is_file():
                contents[path.name] = path.read_bytes()
        return contents

    def restore(self, olds=()):
        """Restores the initial state, with old contents in the files named by `olds`."""
        wanted = {**self.inputs, **{name: OLD for name in olds}}
        contents = self._contents()
        for name in contents.keys() - wanted.keys():
            (self.folder / name).unlink()
        for name, text in wanted.items():
            if contents.get(name) != text:
                self.write(name, text)

    def run(self, command, environment=None, stdout=subprocess.PIPE, before=None, timeout=120):
        with open(os.path.join(self.folder, command.stdin), "rb") as stdin:
            done = subprocess.run(
                [self.tool, *command.line.split()],
                cwd=self.folder,
                env={**os.environ, **(environment or {})},
                stdin=stdin,
                stdout=stdout,
                stderr=subprocess.PIPE,
                preexec_fn=before,
                timeout=timeout,
                check=False,
            )
        return self.outcome(done.returncode, done.stdout or b"", done.stderr)

    def outcome(self, status, out, err):
        contents = self._contents()
        changed = {name: text for name, text in contents.items() if self.inputs.get(name) != text}
        return Outcome(status, out, err.decode("utf-8", "replace"), changed)

    def undisturbed(self, command):
        """The outcome of a command on a sound machine."""
        self.restore()
        outcome = self.run(command)
        if outcome.status != 0 or sorted(outcome.files) != sorted(command.outputs):
            raise RuntimeError(f"{command.line}: status {outcome.status}, {sorted(outcome.files)}\n{outcome.err}")
        return outcome


def faults_of(command, good, bad, olds=()):
    """The faults of a disturbed outcome, as sentences; `good` is the undisturbed outcome.

    Either the status is 0 and all output is correct, or the status is 1 and standard error reports the reason. In
    both cases each target is complete or unchanged, and there are no other files.
    """
    faults = []
    if bad.status < 0:
        faults.append(f"ended by signal {-bad.status}")
    elif bad.status not in (0, 1):
        faults.append(f"status {bad.status}")
    if bad.status == 0 and (bad.out != good.out or any(bad.files.get(n) != t for n, t in good.files.items())):
        faults.append("status 0, but what it wrote is not what it should be")
    if bad.status == 1 and not any(line.startswith("quillon: ") for line in bad.err.splitlines()):
        faults.append("no message on standard error")
    if not command.reports_on and not good.out.startswith(bad.out):
        faults.append("what went to standard output is no beginning of what should")
    for name, text in bad.files.items():
        if name not in command.outputs:
            faults.append(f"'{name}' lies there")
        elif text != good.files[name] and not (name in olds and text == OLD):
            faults.append(f"'{name}' is neither whole nor as it was")
    for name in olds:
        if name not in bad.files:
            faults.append(f"'{name}' is gone")
    return faults
