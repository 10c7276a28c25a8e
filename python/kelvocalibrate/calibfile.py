"""Calibration point files (initialisation-style text: a ``[CCD_Info]``
section with ``Num_Segments`` and ``[Seg<n>_Pixel_Calib]`` sections of
``Point<k>_Pixel`` / ``Point<k>_Wave`` entries), read by the module."""

from __future__ import annotations

import ctypes
import os
from typing import NamedTuple

from . import _records as R
from ._native import native
from .errors import check

PathLike = str | os.PathLike[str]


class CalibPoint(NamedTuple):
    """A point of a calibration point file."""

    pixel: float
    wavelength: float


def _name(path: PathLike) -> bytes:
    return os.fsencode(path)


def num_segments(path: PathLike) -> int:
    """The file's ``Num_Segments`` (0 when the entry is missing)."""
    out = ctypes.c_int32(0)
    check(native().CalibGetNumSegments(_name(path), 1, ctypes.byref(out)), "CalibGetNumSegments", os.fspath(path))
    return out.value


def num_points(path: PathLike, segment: int = 1) -> int:
    """``Number_Points`` of a segment."""
    out = ctypes.c_int32(0)
    check(
        native().CalibGetNumPoints(_name(path), 1, segment, ctypes.byref(out)),
        "CalibGetNumPoints",
        f"{os.fspath(path)}, segment {segment}",
    )
    return out.value


def load_points(path: PathLike, segment: int = 1) -> list[CalibPoint]:
    """The points of a segment, in file order."""
    count = num_points(path, segment)
    buf = (R.CalibPoint * max(count, 1))()
    check(
        native().CalibLoadCalibPoints(_name(path), 1, segment, buf, count),
        "CalibLoadCalibPoints",
        f"{os.fspath(path)}, segment {segment}",
    )
    return [CalibPoint(buf[i].pixel, buf[i].wavelength) for i in range(count)]
