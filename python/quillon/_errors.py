"""Exceptions, findings and warnings of the package."""

from __future__ import annotations

import os
import sys
import warnings
from dataclasses import dataclass
from typing import Optional

_PACKAGE = os.path.dirname(os.path.abspath(__file__)) + os.sep


class Error(Exception):
    """A failure of the hypergraph module: a broken rule, or a resource that ran out."""


class BadFile(Error, ValueError):
    """A file that cannot be read, or breaks a rule of its format.

    Attributes
    ----------
    rule : str
        Stable name of the kind of error, such as ``"cell-out-of-range"``.
    file : str
        Name of the file.
    line, column : int or None
        Place of the error, counted from 1, the column in bytes; None if it concerns the file as a whole.
    message : str
        What is wrong.
    hint : str
        What may be the cause, or empty.
    """

    def __init__(self, rule: str, file: str, line: Optional[int], column: Optional[int], message: str, hint: str = ""):
        super().__init__(rule, file, line, column, message, hint)
        self.rule = rule
        self.file = file
        self.line = line
        self.column = column
        self.message = message
        self.hint = hint

    def __str__(self) -> str:
        return _text_of(self.file, self.line, self.column, self.message, self.hint)


@dataclass(frozen=True)
class Finding:
    """One thing that is wrong with a file or a hypergraph, or odd about it.

    Attributes
    ----------
    rule : str
        Stable name of the kind of finding, such as ``"cell-out-of-range"``.
    severity : str
        ``"error"``, ``"warning"`` or ``"note"``.
    file : str
        Name of the file; empty for a hypergraph.
    line, column : int or None
        Place, counted from 1, the column in bytes; None if the finding concerns all of it.
    message : str
        One sentence without a full stop.
    hint : str
        What may be the cause, or empty.
    """

    rule: str
    severity: str
    file: str
    line: Optional[int]
    column: Optional[int]
    message: str
    hint: str = ""

    def __str__(self) -> str:
        return _text_of(self.file, self.line, self.column, f"{self.severity}: {self.message}", self.hint)


def _text_of(file: str, line: Optional[int], column: Optional[int], message: str, hint: str) -> str:
    place = f"{file}:{line}:{column}: " if line is not None else ""
    return place + message + (f" ({hint})" if hint else "")


def warn(text: str) -> None:
    """Issues a warning for the first caller outside the package."""
    level = 2
    frame = sys._getframe(1)
    while frame.f_back is not None and os.path.abspath(frame.f_code.co_filename).startswith(_PACKAGE):
        frame = frame.f_back
        level += 1
    warnings.warn(text, UserWarning, stacklevel=level)
