#!/usr/bin/env python3
"""Runs the tests of the package: run.py FOLDER [ARGUMENT...]

FOLDER holds the package quillon; arguments are passed on to pytest. Exits with status 77 if a package that the tests
need is not installed.
"""

import importlib.util
import os
import subprocess
import sys

NEEDED = ["numpy", "scipy", "networkx", "pytest", "hypothesis"]


def main():
    missing = [name for name in NEEDED if importlib.util.find_spec(name) is None]
    if missing:
        print("skipped: install", " ".join(f"python3-{name}" for name in missing))
        return 77
    tests = os.path.dirname(os.path.abspath(__file__))
    environment = dict(os.environ, PYTHONPATH=os.path.abspath(sys.argv[1]), PYTHONDONTWRITEBYTECODE="1")
    command = [sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", *sys.argv[2:], tests]
    return subprocess.run(command, env=environment, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
