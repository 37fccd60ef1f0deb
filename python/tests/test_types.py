"""The types that the package declares, and the names that it exports."""

import importlib.util
import inspect
import pathlib
import re
import subprocess
import sys

import pytest

import quillon

PACKAGE = pathlib.Path(__file__).parents[1] / "quillon"


def is_public(name):
    return not name.startswith("_") or name == "__version__"


def test_exports_what_it_lists():
    names = {}
    exec("from quillon import *", names)
    exported = {name for name in names if is_public(name)}
    assert exported == set(quillon.__all__)


def test_classes_go_by_the_name_of_the_package():
    for name in quillon.__all__:
        if inspect.isclass(getattr(quillon, name)):
            assert getattr(quillon, name).__module__ == "quillon", name


def test_the_document_lists_all_names():
    text = (PACKAGE.parents[1] / "docs" / "python.md").read_text(encoding="utf-8").split("## All names")[1]
    rows = [line.split("|")[1] for line in text.splitlines() if line.startswith("| `")]
    listed = set(re.findall(r"`(\w+)`", " ".join(rows)))
    members = {name for name in vars(quillon.Hypergraph) if is_public(name)}
    assert listed == set(quillon.__all__) | members


def test_everything_public_has_a_docstring():
    for name in quillon.__all__:
        item = getattr(quillon, name)
        if not callable(item):
            continue
        assert inspect.getdoc(item), name
        if inspect.isclass(item):
            for member, value in vars(item).items():
                if is_public(member) and (callable(value) or isinstance(value, property)):
                    assert inspect.getdoc(value), f"{name}.{member}"


@pytest.mark.skipif(importlib.util.find_spec("mypy") is None, reason="mypy is not installed")
def test_types_are_right(tmp_path):
    use = tmp_path / "use.py"
    use.write_text(
        "import numpy as np\n"
        "import quillon\n"
        "h = quillon.read('a.hgr', threads=2)\n"
        "weights: np.ndarray[int, np.dtype[np.int32]] = h.cell_weights\n"
        "cut: int = h.evaluate([0, 1], limits={'epsilon': 0.1}).cut\n"
        "same: quillon.Hypergraph = h.permute([0, 1]).hypergraph\n"
        "h.prune('x')\n"
    )
    command = [sys.executable, "-m", "mypy", "--strict", "--cache-dir", str(tmp_path / "cache")]
    options = ["--config-file", str(PACKAGE.parents[1] / "pyproject.toml")]
    result = subprocess.run([*command, *options, str(PACKAGE), str(use)], capture_output=True, text=True, check=False)
    lines = [line for line in result.stdout.splitlines() if ": error:" in line]
    assert len(lines) == 1, result.stdout + result.stderr
    assert 'Argument 1 to "prune" of "Hypergraph" has incompatible type "str"' in lines[0]
