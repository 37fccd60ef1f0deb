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


def test_notebooks_show_the_page(small):
    text = small._repr_html_()
    assert text.startswith("<iframe srcdoc=")
    assert "&lt;svg" in text and "<svg" not in text


def test_lint_lists_all_errors(tmp_path):
    path = tmp_path / "a.hgr"
    path.write_text("2 3\n1 9\n2 x\n")
    found = [(finding.rule, finding.severity, finding.line) for finding in quillon.lint(path)]
    assert [item[1:] for item in found] == [("error", 2), ("error", 3)]
    assert found[0][0] == "cell-out-of-range"
    path.write_text("1 2\n1 2\n")
    assert [finding for finding in quillon.lint(path) if finding.severity == "error"] == []
    assert [finding.rule for finding in quillon.lint(tmp_path / "missing")] == ["cannot-open"]
    with pytest.raises(ValueError):
        quillon.lint(path, format="x")


def engine_is_there(name):
    tool = os.environ.get("QUILLON") or shutil.which("quillon")
    folders = os.environ.get("QUILLON_ENGINES", "").split(":")
    return tool is not None and any(os.path.exists(os.path.join(folder, f"quillon-{name}")) for folder in folders)


@pytest.mark.skipif(not engine_is_there("metis"), reason="the engine metis is not built")
def test_partition_balances_a_grid():
    side = 16
    nets = [[r * side + c, r * side + c + 1] for r in range(side) for c in range(side - 1)]
    nets += [[r * side + c, (r + 1) * side + c] for r in range(side - 1) for c in range(side)]
    h = quillon.from_nets(nets)
    parts = h.partition(4, engine="metis", seed=3)
    assert parts.dtype == np.int32
    assert h.evaluate(parts, k=4, limits={"epsilon": 0.1}).within_limits
    assert h.evaluate(parts, k=4).cut < 64
    assert h.partition(4, engine="metis", seed=3).tolist() == parts.tolist()


def test_partition_says_what_is_missing(small, monkeypatch, tmp_path):
    monkeypatch.delenv("QUILLON", raising=False)
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(quillon.Error, match="there is no command quillon"):
        small.partition(2)
    tool = tmp_path / "tool"
    tool.write_text("#!/bin/sh\necho 'quillon: error: it broke' >&2\nexit 1\n")
    tool.chmod(0o755)
    monkeypatch.setenv("QUILLON", str(tool))
    with pytest.raises(quillon.Error, match="it broke"):
        small.partition(2)
    for arguments in ({"k": 0}, {"k": 2, "engine": "x"}, {"k": 2, "seed": -1}, {"k": 2, "epsilon": -1}):
        with pytest.raises(ValueError):
            small.partition(**arguments)
