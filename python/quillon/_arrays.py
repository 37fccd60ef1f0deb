"""Integers of any type as arrays for the extension."""

from __future__ import annotations

import operator
from typing import Any, Optional

import numpy as np
import numpy.typing as npt

Integers = npt.NDArray[Any]  # of 32 or 64 bits

INT_MIN = -(2**31)
INT_MAX = 2**31 - 1


def out_of_range(name: str, position: int, value: object, least: int, most: int) -> ValueError:
    expected = f"{least} to {most}" if least <= most else "none, as there are no cells"
    return ValueError(f"{name}[{position}] is {value}, expected {expected}")


def integers(values: Any, name: str, least: int, most: int) -> Integers:
    """Converts a sequence of whole numbers to a contiguous array of 32 or 64 bits, without a copy if it is one.

    The extension checks the range; here only what 64 bits cannot hold is refused.
    """
    array = np.asarray(values)
    if array.ndim != 1:
        raise ValueError(f"{name} has {array.ndim} dimensions, expected 1")
    if array.size == 0:
        return np.empty(0, np.int32)
    kind = array.dtype.kind
    if kind == "i":
        wide = array.dtype.itemsize == 8
        return np.ascontiguousarray(array, np.int64 if wide else np.int32)
    if kind == "u":
        _check(array, array <= INT_MAX, name, least, most)
        return np.ascontiguousarray(array, np.int32)
    if kind == "f":
        _check_whole(array, name)
        _check(array, (array >= INT_MIN) & (array <= INT_MAX), name, least, most)
        return np.ascontiguousarray(array, np.int32)
    if kind == "O":
        return _from_objects(array, name, least, most)
    raise TypeError(f"{name} holds {array.dtype}, expected integers")


def optional_integers(values: Optional[Any], name: str) -> Optional[Integers]:
    return None if values is None else integers(values, name, INT_MIN, INT_MAX)


def _check(array: npt.NDArray[Any], is_fine: npt.NDArray[Any], name: str, least: int, most: int) -> None:
    if not is_fine.all():
        position = int(np.argmin(is_fine))
        raise out_of_range(name, position, int(array[position]), least, most)


def _check_whole(array: npt.NDArray[Any], name: str) -> None:
    is_whole = np.isfinite(array) & (array == np.floor(array))
    if not is_whole.all():
        position = int(np.argmin(is_whole))
        raise ValueError(f"{name}[{position}] is {array[position]}, expected an integer")


def _from_objects(array: npt.NDArray[Any], name: str, least: int, most: int) -> Integers:
    result = np.empty(array.size, np.int32)
    for position, value in enumerate(array):
        if isinstance(value, float) and value.is_integer():
            value = int(value)
        try:
            number = operator.index(value)
        except TypeError:
            raise TypeError(f"{name}[{position}] is {value!r}, expected an integer") from None
        if not INT_MIN <= number <= INT_MAX:
            raise out_of_range(name, position, number, least, most)
        result[position] = number
    return result


def integer(value: Any, name: str, least: int = 0, most: int = INT_MAX) -> int:
    """An argument that is one integer, of any type."""
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{name} is {value!r}, expected an integer") from None
    if not least <= number <= most:
        raise ValueError(f"{name} is {number}, expected {least} to {most}")
    return number


def count(value: Any, name: str) -> int:
    """A number of cells or nets, which leaves room for entries 0 and after the last."""
    return integer(value, name, 0, INT_MAX - 2)
