"""Pages, findings of files, and partitions made by the engines."""

import os
import shutil
import xml.etree.ElementTree

import numpy as np
import pytest

import quillon


def test_report_is_a_page(small, tmp_path):
    path = tmp_path / "a.html"
    small.report(path, parts=[0, 1, 0, 1, 1], title="A <title>")
    root = xml.etree.ElementTree.parse(path).getroot()
    assert root.find(".//{*}h1").text == "A <title>"
    small.report(path, parts={"first": [0] * 5, "second": [0, 1, 1, 0, 2]})
    text = path.read_text(encoding="utf-8")
    assert "first" in text and "second" in text
    with pytest.raises(ValueError, match="parts has 2 entries, expected 5"):
        small.report(path, parts=[0, 1])
    with pytest.raises(quillon.Error, match="cannot write '/no/such/folder/a.html': No such file or directory"):
        small.report("/no/such/folder/a.html")
    assert path.read_text(encoding="utf-8") == text
    assert os.listdir(tmp_path) == ["a.html"]


def test_notebooks_show_the_page(small):
    text = small._repr_html_()
    assert text.startswith("<iframe srcdoc=")
    assert "&lt;svg" in text and "<svg" not in text


def test_lint_lists_errors_warnings_and_notes(tmp_path):
    path = tmp_path / "a.hgr"
    path.write_text("2 3\n1 9\n2 x\n")
    found = [(finding.rule, finding.severity, finding.line, finding.column) for finding in quillon.lint(path)]
    assert found == [("cell-out-of-range", "error", 2, 3), ("not-a-number", "error", 3, 3)]
    path.write_text("3 3\n1 2 1\n3\n2\n")
    found = {(finding.rule, finding.severity, finding.line): finding for finding in quillon.lint(path)}
    assert {("duplicate-pin", "warning", 2), ("one-pin-net", "note", 3), ("one-pin-net", "note", 4)} <= set(found)
    assert found["duplicate-pin", "warning", 2].column == 5
    assert len(quillon.lint(path, max_per_rule=1)) == len(found) - 1
    assert quillon.lint(path, max_per_rule=0) == []


def test_lint_finds_nothing_wrong_with_good_files(tmp_path):
    path = tmp_path / "a.hgr"
    path.write_text("1 2\n1 2\n")
    assert quillon.lint(path) == []


def test_lint_says_why_a_file_cannot_be_read(tmp_path):
    assert [finding.rule for finding in quillon.lint(tmp_path / "missing")] == ["cannot-open"]
    path = tmp_path / "text"
    path.write_text("what is this")
    (unknown,) = quillon.lint(path)
    assert (unknown.rule, unknown.hint) == ("unknown-format", "name the format by the argument format")
    for arguments in ({"format": "x"}, {"model": "x"}, {"max_per_rule": -1}):
        with pytest.raises(ValueError):
            quillon.lint(path, **arguments)


def engine_is_there(name):
    tool = os.environ.get("QUILLON") or shutil.which("quillon")
    folders = os.environ.get("QUILLON_ENGINES", "").split(":")
    return tool is not None and any(os.path.exists(os.path.join(folder, f"quillon-{name}")) for folder in folders)


@pytest.mark.parametrize("engine", ["metis", "ptscotch"])
def test_partition_balances_a_grid(engine):
    if not engine_is_there(engine):
        pytest.skip(f"the engine {engine} is not built")
    side = 16
    nets = [[r * side + c, r * side + c + 1] for r in range(side) for c in range(side - 1)]
    nets += [[r * side + c, (r + 1) * side + c] for r in range(side - 1) for c in range(side)]
    h = quillon.from_nets(nets)
    parts = h.partition(4, engine=engine, seed=3, epsilon=0.1)
    assert parts.dtype == np.int32
    assert h.evaluate(parts, k=4, limits={"epsilon": 0.1}).within_limits
    assert h.evaluate(parts, k=4).cut < 64
    assert h.partition(4, engine=engine, seed=3, epsilon=0.1).tolist() == parts.tolist()


def test_partition_says_what_is_missing(small, monkeypatch, tmp_path):
    monkeypatch.delenv("QUILLON", raising=False)
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(quillon.Error, match="there is no command quillon"):
        small.partition(2)
    tool = tmp_path / "tool"
    tool.touch(0o755)
    monkeypatch.setenv("QUILLON", str(tool))
    for messages, cause in [
        ("engine at work\nquillon: error: it broke\nquillon: error: no file, because of the error above\n", "it broke"),
        ("engine: out of memory\n", "engine: out of memory"),
        ("", "quillon partition exited with status 1"),
    ]:
        tool.write_text(f"#!/bin/sh\nprintf '{messages}' >&2\nexit 1\n")
        with pytest.raises(quillon.Error) as info:
            small.partition(2)
        assert str(info.value) == cause
    for arguments in ({"k": 0}, {"k": 2, "engine": "x"}, {"k": 2, "seed": -1}, {"k": 2, "epsilon": -1}):
        with pytest.raises(ValueError):
            small.partition(**arguments)
