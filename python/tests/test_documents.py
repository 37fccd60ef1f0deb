"""The snippets of docs/python.md and of the docstrings."""

import doctest
import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).parents[2]


def test_the_document_is_true(tmp_path, monkeypatch):
    shutil.copytree(ROOT / "data", tmp_path / "data")
    monkeypatch.chdir(tmp_path)
    result = doctest.testfile(str(ROOT / "docs" / "python.md"), module_relative=False)
    assert result.attempted > 30
    assert result.failed == 0


def test_the_examples_of_docstrings_are_true():
    attempted = 0
    for name in ("__init__", "_build", "_convert", "_hypergraph"):
        module = importlib.import_module("quillon" if name == "__init__" else f"quillon.{name}")
        result = doctest.testmod(module)
        assert result.failed == 0
        attempted += result.attempted
    assert attempted >= 5


def test_the_example_runs(tmp_path):
    environment = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path))
    command = [sys.executable, str(ROOT / "python" / "examples" / "blocks.py")]
    if importlib.util.find_spec("matplotlib") is not None:
        command.append(str(tmp_path / "blocks.png"))
    result = subprocess.run(command, env=environment, capture_output=True, text=True, check=False)
    assert result.returncode == 0, result.stderr
    assert "rows and columns sorted by part: <Hypergraph: 576 cells, 576 nets, 2784 pins>" in result.stdout
    assert len(command) == 2 or (tmp_path / "blocks.png").read_bytes().startswith(b"\x89PNG")


@pytest.mark.skipif("QUILLON" not in os.environ, reason="QUILLON does not name the tool")
def test_the_benchmarks_run():
    environment = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path))
    benchmarks = ROOT / "python" / "benchmarks" / "compare.py"
    command = [sys.executable, str(benchmarks), os.environ["QUILLON"], "4000", "1"]
    result = subprocess.run(command, env=environment, capture_output=True, text=True, check=False)
    assert result.returncode == 0, result.stderr
    assert result.stdout.count(" s ") == 10
