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


def _fill(rec: R.GlueSpectrum, block: Any, axis: Any, what: str) -> tuple[Any, Any]:
    """Points a glue record at a copy of a block and its X values; returns
    the copies, which must outlive the call."""
    frames, points = _frames(block)
    flat: Any = block
    np = _arrays.numpy()
    if np is not None:
        flat = np.asarray(block, dtype=np.float64).ravel()
    elif frames > 1:
        flat = [v for row in block for v in row]
    data, dt = sample_buffer(flat)
    xs = _arrays.doubles(axis)
    if len(xs) != points:
        raise ValueError(f"{what}: {points} points but {len(xs)} X values")
    rec.data = ctypes.cast(data, ctypes.c_void_p)
    rec.numPoints = points
    rec.numFrames = frames
    rec.dataType = int(dt)
    rec.layout = 1
    rec.xValues = ctypes.cast(xs, ctypes.POINTER(ctypes.c_double))
    return data, xs


class IncrementalGlue:
    """A glue that takes blocks one by one as they arrive (see
    :meth:`GlueMixin.incremental_glue`); a context manager that ends it."""

    def __init__(self, owner: "GlueMixin", frames: int) -> None:
        self._owner = owner
        self.frames = frames
        self._out = R.GlueSpectrum()
        self._out.numFrames = frames
        owner._call("CalibInitIncStepAndGlue", ctypes.byref(self._out), frames)
        n = self._out.numPoints
        self._data = (ctypes.c_double * max(n * frames, 1))()
        self._x = (ctypes.c_double * max(n, 1))()
        self._out.data = ctypes.cast(self._data, ctypes.c_void_p)
        self._out.xValues = ctypes.cast(self._x, ctypes.POINTER(ctypes.c_double))
        get = getattr(owner, "get_param")
        start, step, end = (float(get(p)) for p in (Param.RANGE_START, Param.GLUE_STEP, Param.RANGE_END))
        sign = -1.0 if start > end else 1.0
        # The incremental glue does not write the axis: the range at the step.
        self.axis = _arrays.output([start + sign * step * k for k in range(n)])
        self._open = True

    def add(self, block: Any, axis: Any) -> None:
        """Merges one block (1-d, or frames x points) with its X values."""
        rec = R.GlueSpectrum()
        _keep = _fill(rec, block, axis, "block")
        self._owner._call("CalibGlueIncInput", ctypes.byref(self._out), ctypes.byref(rec))

    @property
    def data(self) -> Any:
        """The glued data so far (frames x points, or points for one frame)."""
        n = self._out.numPoints
        shape = (n,) if self.frames == 1 else (self.frames, n)
        return _arrays.output(self._data[: n * self.frames], shape)

    def close(self) -> None:
        if self._open:
            self._open = False
            self._owner._call("CalibCleanupIncGlue")

    def __enter__(self) -> "IncrementalGlue":
        return self

    def __exit__(self, *exc: object) -> None:
        self.close()


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
            single = single and _frames(block)[0] == 1 and getattr(block, "ndim", 1) == 1
            keep.append(_fill(inputs[i], block, axis, f"input {i + 1}"))
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

    def incremental_glue(
        self,
        frames: int = 1,
        step: float | None = None,
        start: float | None = None,
        end: float | None = None,
    ) -> IncrementalGlue:
        """Starts a glue that takes blocks one at a time::

            with cal.incremental_glue(step=0.125, start=540, end=760) as inc:
                for counts, axis in steps:
                    inc.add(counts, axis)
                glued = inc.data
        """
        set_double = getattr(self, "set_param")
        for param, value in ((Param.RANGE_START, start), (Param.RANGE_END, end), (Param.GLUE_STEP, step)):
            if value is not None:
                set_double(param, value)
        return IncrementalGlue(self, frames)
