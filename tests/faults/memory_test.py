#!/usr/bin/env python3
"""Each memory request of each command fails, alone and together with all later ones.

memory_test.py TOOL FAULTS_LIBRARY LIBRARY_CALLS [--long]

LIBRARY_CALLS is the program that calls functions of the module; each of these is a command too. The short form tests
every request of the module's functions, and every twentieth of the tool's commands, from another one on for each
command, fewer after 250 of a command. All commands make the same requests before they read the command line: the short
form tests these with one command only.
"""

import argparse
import collections
import concurrent.futures
import os
import re
import select
import struct
import subprocess
import sys
from dataclasses import replace

from workplace import COMMANDS, WRITERS, Command, Workplace, faults_of

SHORT_STEP = 20
FEWER_AFTER = 250
MEMORY = re.compile(r"memory|cannot allocate|cannot provide", re.IGNORECASE)


class Runner:
    """A process that runs one command line repeatedly, with failing requests."""

    ORDER = struct.Struct("ii")
    PATIENCE = 60  # seconds

    def __init__(self, place, command, library, environment):
        self.place = place
        self.out, self.err = (open(f"{place.folder}.{name}", "w+b", buffering=0) for name in ("out", "err"))
        orders, self.orders = os.pipe()
        self.answers, answers = os.pipe()
        with open(place.folder / command.stdin, "rb") as stdin:
            self.process = subprocess.Popen(
                [place.tool, *command.line.split()],
                cwd=place.folder,
                env={**os.environ, "LD_PRELOAD": library, "FAULTS_PIPES": f"{orders} {answers}", **environment},
                stdin=stdin,
                stdout=self.out,
                stderr=self.err,
                pass_fds=(orders, answers),
            )
        os.close(orders)
        os.close(answers)

    def run(self, n, goes_on):
        """Makes request n fail; returns the outcome and whether a request failed."""
        os.write(self.orders, self.ORDER.pack(n, goes_on))
        if not select.select([self.answers], [], [], self.PATIENCE)[0]:
            raise RuntimeError(f"no end when request {n} fails: {self.process.args}")
        status, failed = self.ORDER.unpack(os.read(self.answers, self.ORDER.size))
        texts = [os.pread(stream.fileno(), os.fstat(stream.fileno()).st_size, 0) for stream in (self.out, self.err)]
        return self.place.outcome(os.waitstatus_to_exitcode(status), *texts), bool(failed)

    def close(self):
        os.close(self.orders)
        self.process.wait()
        os.close(self.answers)
        for stream in (self.out, self.err):
            stream.close()
            os.unlink(stream.name)


class Sweep:
    """Makes the requests of one command fail, one after another."""

    def __init__(self, tool, library, command, goes_on=False, unnamed_files=True, program=None, first=1):
        self.place = Workplace(tool)
        self.place.tool = os.path.abspath(program or tool)
        self.command = command
        self.goes_on = goes_on
        self.unnamed_files = unnamed_files
        self.olds = command.outputs[:1] if goes_on else []
        self.good = self.place.undisturbed(command)
        environment = {"FAULTS_FIRST": str(first)}
        if not unnamed_files:
            environment["FAULTS_NO_UNNAMED_FILES"] = "1"
        self.runner = Runner(self.place, command, library, environment)
        self.nfaults = 0
        self.found = collections.Counter()
        self.example = {}

    def close(self):
        self.runner.close()
        self.place.close()

    def run(self, n):
        """Makes request n fail; returns the outcome, or None if there is no such request."""
        self.place.restore(self.olds)
        outcome, failed = self.runner.run(n, self.goes_on)
        return outcome if failed else None

    def note(self, n, fault, outcome):
        fault = re.sub(r"[0-9]+-[0-9]+", "N", fault)  # from the name of a leftover file
        self.found[fault] += 1
        self.example.setdefault(fault, f"request {n}: status {outcome.status}, {outcome.err[-200:]!r}")

    def faults_of(self, outcome):
        return faults_of(self.command, self.good, outcome, self.olds)

    def sweep(self, first, step=1):
        n = first
        while (outcome := self.run(n)) is not None:
            self.nfaults += 1
            faults = self.faults_of(outcome)
            if outcome.status == 1 and not MEMORY.search(outcome.err):
                faults.append("no word of memory in its message")
            for fault in faults:
                self.note(n, fault, outcome)
            n += step if step == 1 or self.nfaults < FEWER_AFTER else 10 * step
        if n == first:
            raise RuntimeError(f"no request failed from {first} on: {self.command.line}")
        self.close()
        return self


class CallSweep(Sweep):
    """The same for a function of the module, which writes its output files in place."""

    def faults_of(self, outcome):
        files = {name: self.good.files[name] for name in outcome.files if name in self.good.files}
        whole = outcome if outcome.status == 0 else replace(outcome, files=files)
        return faults_of(self.command, self.good, whole)


def calls_of(program):
    names = subprocess.run([program], capture_output=True, text=True, check=True).stdout.split()
    writers = [name for name in names if name.startswith("write_")]
    return [Command(name, ["out"] if name in writers else []) for name in names]


def count_requests(tool, library, command):
    """The number of requests of an undisturbed command."""
    sweep = Sweep(tool, library, command)
    low, high = 0, 1
    while sweep.run(high) is not None:
        low, high = high, 2 * high
    while high - low > 1:
        middle = (low + high) // 2
        low, high = (middle, high) if sweep.run(middle) is not None else (low, middle)
    sweep.close()
    return low


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool")
    parser.add_argument("library")
    parser.add_argument("calls")
    parser.add_argument("--long", action="store_true")
    options = parser.parse_args()
    library = os.path.abspath(options.library)

    common = count_requests(options.tool, library, Command("--version"))
    goes_on_too = COMMANDS if options.long else COMMANDS[:2] + WRITERS[:3]
    jobs = [(command, False, True) for command in COMMANDS] + [(command, True, True) for command in goes_on_too]
    jobs += [(command, goes_on, False) for command in WRITERS[:3] for goes_on in (False, True)]
    step = 1 if options.long else SHORT_STEP

    def sweep(k, job):
        first = 1 if options.long or job[0] is COMMANDS[0] else common
        return Sweep(options.tool, library, *job, first=first).sweep(first + k % step, step)

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        sweeps = [pool.submit(sweep, k, job) for k, job in enumerate(jobs)]
        sweeps += [
            pool.submit(lambda *job: CallSweep(options.tool, library, *job, program=options.calls).sweep(1), call, goes_on)
            for call in calls_of(options.calls)
            for goes_on in (False, True)
        ]
        done = [sweep.result() for sweep in sweeps]

    for sweep in done:
        how = ("from the n-th on" if sweep.goes_on else "the n-th") + ("" if sweep.unnamed_files else ", all files named")
        print(f"{sweep.nfaults:6} faults, {how:33} {'FAILED' if sweep.found else 'ok':6}  {sweep.command.line}")
        for fault, count in sweep.found.items():
            print(f"       {count} times: {fault}")
        for fault, example in sweep.example.items():
            print(f"       {fault}: {example}")
    print(f"{sum(sweep.nfaults for sweep in done)} faults, {sum(bool(sweep.found) for sweep in done)} sweeps failed")
    return 1 if any(sweep.found for sweep in done) else 0


if __name__ == "__main__":
    sys.exit(main())
