"""Partitions made by the command quillon, which runs the engines."""

from __future__ import annotations

import os
import shutil
import subprocess
import tempfile
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from ._arrays import integer
from ._errors import Error

if TYPE_CHECKING:
    from ._hypergraph import Hypergraph

ENGINES = ("ptscotch", "metis")

_ERROR = "quillon: error: "


def partition(h: Hypergraph, k: int, engine: str, seed: int, epsilon: float) -> npt.NDArray[np.int32]:
    if engine not in ENGINES:
        raise ValueError(f"engine is {engine!r}, expected 'ptscotch' or 'metis'")
    k, seed = integer(k, "k", 1), integer(seed, "seed")
    if not 0 <= epsilon < float("inf"):
        raise ValueError(f"epsilon is {epsilon}, expected a number from 0")
    with tempfile.TemporaryDirectory(prefix="quillon-") as folder:
        source, target = os.path.join(folder, "h.qhg"), os.path.join(folder, "parts")
        h.write(source, format="quillon")
        limit = f"epsilon={np.format_float_positional(epsilon, trim='-')}"
        _run([_tool(), "partition", source, "-k", str(k), "-o", target, "--no-eval", "--engine", engine]
             + ["--seed", str(seed), "--limit", limit])  # fmt: skip
        with open(target, encoding="ascii") as file:
            return np.array(file.read().split(), np.int32)


def _tool() -> str:
    """The command of QUILLON, or the one that is installed."""
    tool = os.environ.get("QUILLON") or shutil.which("quillon")
    if tool is None:
        raise Error("there is no command quillon; install the package quillon, or name its path in QUILLON")
    return tool


def _run(command: Any) -> None:
    result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, errors="replace", check=False)
    if result.returncode != 0:
        raise Error(_cause(result.stderr) or f"quillon partition exited with status {result.returncode}")


def _cause(messages: str) -> str:
    """The first error of the tool, since later ones follow from it; else the last line of the engine."""
    lines = [line for line in messages.splitlines() if line.strip()]
    errors = [line[len(_ERROR) :] for line in lines if line.startswith(_ERROR)]
    return errors[0] if errors else lines[-1] if lines else ""
