"""The files of corpus/, read and linted as its index says."""

import json
import pathlib

import pytest
from support import nets_of

import quillon

CORPUS = pathlib.Path(__file__).parents[2] / "corpus"
FILES = json.loads((CORPUS / "index.json").read_text(encoding="utf-8"))["files"]
GOOD = [file for file in FILES if "error" not in file]
BAD = [file for file in FILES if "error" in file]


def name_of(file):
    return file["file"]


def arguments_of(file):
    return {"format": file["format"], **({"model": file["model"]} if "model" in file else {})}


def test_the_index_has_good_and_bad_files():
    assert len(GOOD) > 50
    assert len(BAD) > 50


@pytest.mark.filterwarnings("ignore")  # of what a hypergraph does not hold
@pytest.mark.parametrize("file", GOOD, ids=name_of)
def test_good_files_are_read(file):
    h = quillon.read(CORPUS / file["file"], **arguments_of(file))
    assert h.num_cells == file["cells"]
    assert nets_of(h) == [[cell - 1 for cell in net] for net in file["nets"]]
    assert h.cell_weights.tolist() == file.get("cell_weights", [1] * file["cells"])
    assert h.net_weights.tolist() == file.get("net_weights", [1] * len(file["nets"]))
    assert [error for error in quillon.lint(CORPUS / file["file"], **arguments_of(file)) if error.severity == "error"] == []


@pytest.mark.parametrize("file", BAD, ids=name_of)
def test_bad_files_are_refused_at_their_place(file):
    with pytest.raises(quillon.BadFile) as refused:
        quillon.read(CORPUS / file["file"], **arguments_of(file))
    error = refused.value
    assert {"rule": error.rule, "line": error.line, "column": error.column} == file["error"]
    found = quillon.lint(CORPUS / file["file"], **arguments_of(file))
    rules = [finding.rule for finding in found if (finding.line, finding.column) == (error.line, error.column)]
    # Where all cells fit if they count from another number, lint says so.
    assert error.rule in rules or any(rule.startswith("counts-from-") for rule in rules)
