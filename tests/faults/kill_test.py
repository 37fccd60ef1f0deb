#!/usr/bin/env python3
"""Kills programs at random times: each target must be complete or unchanged.

kill_test.py TOOL [--runs N]
"""

import argparse
import os
import random
import re
import signal
import subprocess
import sys
import time

from workplace import OLD, Command, Workplace

# The temporary files that a killed program may leave, next to the target.
LEFT_BEHIND = re.compile(r"(.+)\.quillon-[0-9]+-[0-9]+")
COMMANDS = [
    Command("convert large.qhg out.hgr", ["out.hgr"]),
    Command("convert large.qhg out.json", ["out.json"]),
    Command("convert large.qhg out.hgr.zst", ["out.hgr.zst"]),
    Command("prune large.qhg -o out.qhg --max-size 7 --set-aside aside.qhg --map map", ["out.qhg", "aside.qhg", "map"]),
    Command("reorder large.qhg -o out.qhg --random --write-perm perm", ["out.qhg", "perm"]),
]
SEED = 20


def kill_later(place, command, delay, how):
    """Returns the status of a program that gets a signal after `delay` seconds."""
    process = subprocess.Popen(
        [place.tool, *command.line.split()],
        cwd=place.folder,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE,
        start_new_session=True,
    )
    time.sleep(delay)
    process.send_signal(how)
    process.communicate()
    if group_is_alive(process.pid):
        raise RuntimeError(f"a process of '{command.line}' goes on")
    return process.returncode


def group_is_alive(group):
    try:
        os.killpg(group, 0)
    except ProcessLookupError:
        return False
    return True


def faults_after(place, command, good, status, how, olds):
    faults = []
    if status not in (0, -how):
        faults.append(f"status {status}")
    files = place.outcome(status, b"", b"").files
    whole = 0
    for name in command.outputs:
        if files.get(name) == good.files[name]:
            whole += 1
        elif files.pop(name, None) != (OLD if name in olds else None):
            faults.append(f"'{name}' is neither whole nor as it was")
        files.pop(name, None)
    if status == 0 and whole != len(command.outputs):
        faults.append("status 0, but not all is written")
    if how != signal.SIGKILL and 0 < whole < len(command.outputs):
        faults.append("some outputs are new and others old")
    for name in files:
        left = LEFT_BEHIND.fullmatch(name)
        if how != signal.SIGKILL or left is None or left.group(1) not in command.outputs:
            faults.append(f"'{name}' lies there")
    return faults, len(files)


def measure(place, command):
    begin = time.monotonic()
    good = place.undisturbed(command)
    return good, time.monotonic() - begin


def kill_at_random_times(place, command, how, nruns, draw):
    """Returns the faults, the numbers of runs by outcome, and the duration of an undisturbed run."""
    good, seconds = measure(place, command)
    found = []
    counts = {"ended": 0, "finished": 0, "left": 0}
    for run in range(nruns):
        olds = command.outputs if run % 2 == 1 else []
        place.restore(olds)
        status = kill_later(place, command, draw.uniform(0, 1.1 * seconds), how)
        counts["finished" if status == 0 else "ended"] += 1
        faults, nleft = faults_after(place, command, good, status, how, olds)
        counts["left"] += nleft
        found += faults

        # Leftover files do not disturb the next run, which replaces only its targets.
        if run % 10 == 9:
            before = set(place.outcome(0, b"", b"").files) - set(command.outputs)
            after = place.run(command)
            if after.status != 0 or set(after.files) != before | set(command.outputs):
                found.append(f"the run after is disturbed: {after.err}")
    return found, counts, seconds


def run_among_leftovers(place, command):
    """An earlier program with the same process number has left its temporary files."""
    good = place.undisturbed(command)
    place.restore()

    def leave_files():
        for name in command.outputs:
            for number in range(len(command.outputs) + 1):
                with open(f"{name}.quillon-{os.getpid()}-{number}", "wb") as file:
                    file.write(OLD)

    outcome = place.run(command, before=leave_files)
    found = []
    if outcome.status != 0 or any(outcome.files.get(name) != text for name, text in good.files.items()):
        found.append(f"status {outcome.status} among files left by an earlier process of its number: {outcome.err}")
    left = [text for name, text in outcome.files.items() if name not in command.outputs]
    if left != [OLD] * (len(command.outputs) * (len(command.outputs) + 1)):
        found.append("files of others are touched")
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool")
    parser.add_argument("--runs", type=int, default=12, help="for each command and signal")
    options = parser.parse_args()

    place = Workplace(options.tool)
    make_large = "generate random -o large.qhg --cells 20000 --nets 40000 --size 2..8"
    subprocess.run([place.tool, *make_large.split()], cwd=place.folder, check=True)
    place.inputs["large.qhg"] = (place.folder / "large.qhg").read_bytes()
    draw = random.Random(SEED)
    nfailed = 0
    for command in COMMANDS:
        for how in (signal.SIGKILL, signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            nruns = options.runs if how == signal.SIGKILL else (options.runs + 1) // 2
            found, counts, seconds = kill_at_random_times(place, command, how, nruns, draw)
            nfailed += bool(found)
            print(f"{how.name:8} {nruns:4} runs of {1000 * seconds:.0f} ms, {counts}: {command.line}")
            for fault in sorted(set(found)):
                print(f"    FAILED {found.count(fault)} times: {fault}")
        for fault in run_among_leftovers(place, command):
            nfailed += 1
            print(f"    FAILED: {fault}")
    place.close()
    return 1 if nfailed > 0 else 0


if __name__ == "__main__":
    sys.exit(main())
