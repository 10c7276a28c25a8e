"""Automatic mode: spectra taken at several center wavelengths glued onto
one axis."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, Sequence

from . import _arrays
from . import _records as R
from ._base import Base
from .parameters import Param
from .peaks import sample_buffer


@dataclass
class Glued:
    """A glued spectrum: ``axis`` (points) and ``data`` (frames x points, or
    points when the inputs were single spectra)."""

    axis: Any
    data: Any


def _frames(block: Any) -> tuple[int, int]:
    """(frames, points) of one input block."""
    np = _arrays.numpy()
    if np is not None and isinstance(block, np.ndarray):
        if block.ndim == 1:
            return 1, int(block.shape[0])
        if block.ndim == 2:
            return int(block.shape[0]), int(block.shape[1])
        raise ValueError("a glue input must have one or two dimensions")
    rows = list(block)
    if rows and not _arrays.is_scalar(rows[0]):
        return len(rows), len(rows[0])
    return 1, len(rows)


class GlueMixin(Base):
    """Glue calls of :class:`~kelvocalibrate.Calibration`."""

    def glue(
        self,
        spectra: Sequence[Any],
        axes: Sequence[Any],
        step: float | None = None,
        start: float | None = None,
        end: float | None = None,
    ) -> Glued:
        """Glues blocks of spectra (each 1-d, or frames x points) with their
        X axes (in the active calibration's display unit) onto the axis
        start..end at ``step`` (defaults: the stored stepping range and glue
        step)."""
        if len(spectra) != len(axes):
            raise ValueError(f"{len(spectra)} spectra but {len(axes)} axes")
        if not spectra:
            raise ValueError("nothing to glue")
        set_double = getattr(self, "set_param")
        if start is not None:
            set_double(Param.RANGE_START, start)
        if end is not None:
            set_double(Param.RANGE_END, end)
        if step is not None:
            set_double(Param.GLUE_STEP, step)
        keep: list[Any] = []
        inputs = (R.GlueSpectrum * len(spectra))()
        single = True
        for i, (block, axis) in enumerate(zip(spectra, axes)):
            frames, points = _frames(block)
            single = single and _arrays.numpy() is not None and getattr(block, "ndim", 1) == 1
            flat: Any = block
            np = _arrays.numpy()
            if np is not None:
                flat = np.asarray(block, dtype=np.float64).ravel()
            elif frames > 1:
                flat = [v for row in block for v in row]
            data, dt = sample_buffer(flat)
            xs = _arrays.doubles(axis)
            if len(xs) != points:
                raise ValueError(f"input {i + 1}: {points} points but {len(xs)} X values")
            keep += [data, xs]
            rec = inputs[i]
            rec.data = ctypes.cast(data, ctypes.c_void_p)
            rec.numPoints = points
            rec.numFrames = frames
            rec.dataType = int(dt)
            rec.layout = 1
            rec.xValues = ctypes.cast(xs, ctypes.POINTER(ctypes.c_double))
        out = R.GlueSpectrum()
        self._call("CalibValidateGlue", inputs, len(spectra), ctypes.byref(out))
        n, frames = out.numPoints, out.numFrames
        data_out = (ctypes.c_double * max(n * frames, 1))()
        x_out = (ctypes.c_double * max(n, 1))()
        out.data = ctypes.cast(data_out, ctypes.c_void_p)
        out.xValues = ctypes.cast(x_out, ctypes.POINTER(ctypes.c_double))
        self._call("CalibGlueInput", inputs, len(spectra), ctypes.byref(out))
        shape = (n,) if (single and frames == 1) else (frames, n)
        return Glued(_arrays.output(x_out[:n]), _arrays.output(data_out[: n * frames], shape))
