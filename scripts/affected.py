#!/usr/bin/env python3
"""Prints the C++ sources that a change affects, one per line: affected.py

These are the sources that changed since the base, and those that include a changed header, directly or through other
headers; the changed ones come first. A change of .clang-tidy affects all.

The base is the first of these:
    $QUILLON_BASE         any commit name
    origin/main           if it is an ancestor of the current commit and not that commit itself
    the newest commit more than 24 hours older than the current commit
    the oldest commit there is
Uncommitted changes count.
"""

import collections
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DAY = 24 * 60 * 60
INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)


def git(*arguments):
    return subprocess.run(["git", *arguments], cwd=ROOT, capture_output=True, text=True, check=False)


def base():
    if name := os.environ.get("QUILLON_BASE"):
        found = git("rev-parse", "--verify", "--quiet", name + "^{commit}").stdout.strip()
        return found or sys.exit(f"affected.py: QUILLON_BASE={name} is no commit")
    head = git("rev-parse", "HEAD").stdout.strip()
    main = git("rev-parse", "--verify", "--quiet", "origin/main").stdout.strip()
    if main and main != head and git("merge-base", "--is-ancestor", main, head).returncode == 0:
        return main
    before = int(git("show", "--no-patch", "--format=%ct", "HEAD").stdout) - DAY
    history = git("rev-list", "HEAD").stdout.split()
    return git("rev-list", "-1", f"--before={before}", "HEAD").stdout.strip() or history[-1]


def main():
    since = base()
    changed = git("diff", "--name-only", since).stdout.split()
    files = [name for name in git("ls-files", "*.cpp", "*.h").stdout.split() if (ROOT / name).is_file()]
    print(f"affected.py: {len(changed)} files differ from {since[:12]}", file=sys.stderr)
    if ".clang-tidy" in changed:
        changed += files

    includers = collections.defaultdict(list)
    for name in files:
        for included in INCLUDE.findall((ROOT / name).read_text()):
            beside = os.path.normpath(os.path.join(os.path.dirname(name), included))
            includers[included if (ROOT / included).exists() else beside].append(name)

    affected = dict.fromkeys(name for name in changed if name in files)  # a set in order
    waiting = collections.deque(affected)
    while waiting:
        for name in includers[waiting.popleft()]:
            if name not in affected:
                affected[name] = None
                waiting.append(name)
    print(*[name for name in affected if name.endswith(".cpp")], sep="\n")


main()
