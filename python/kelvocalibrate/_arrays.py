"""Arrays in and out: NumPy when it is installed, plain lists otherwise."""

from __future__ import annotations

import ctypes
from typing import Any, Iterable, Sequence

Vector = Any  # numpy.ndarray, or a list of floats without NumPy


def numpy() -> Any | None:
    """NumPy, imported on first use; None when it is not installed."""
    try:
        import numpy as np  # noqa: PLC0415
    except ImportError:  # pragma: no cover - NumPy is present in the tests
        return None
    return np


def is_scalar(value: Any) -> bool:
    """True for a plain number (also a NumPy scalar or 0-d array)."""
    if isinstance(value, (int, float)):
        return True
    np = numpy()
    return np is not None and np.ndim(value) == 0


def doubles(values: Iterable[float] | Any) -> "ctypes.Array[ctypes.c_double]":
    """A C array of doubles holding the values (a copy)."""
    np = numpy()
    if np is not None and isinstance(values, np.ndarray):
        flat = np.ascontiguousarray(values, dtype=np.float64).ravel()
        buf = (ctypes.c_double * flat.size)()
        ctypes.memmove(buf, flat.ctypes.data, flat.nbytes)
        return buf
    seq = [float(v) for v in values]
    return (ctypes.c_double * len(seq))(*seq)


def output(buf: Sequence[float] | "ctypes.Array[ctypes.c_double]", shape: tuple[int, ...] | None = None) -> Vector:
    """The values of a C array as a NumPy array (a list without NumPy)."""
    np = numpy()
    if np is None:
        return list(buf)
    arr = np.array(buf, dtype=np.float64)
    return arr.reshape(shape) if shape is not None else arr


def as_list(values: Any) -> list[float]:
    """Any 1-d sequence or array as a list of floats."""
    np = numpy()
    if np is not None and isinstance(values, np.ndarray):
        return [float(v) for v in values.ravel()]
    return [float(v) for v in values]
