"""Peaks of spectra."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any

from . import _arrays
from . import _records as R
from ._base import Base
from .units import DataType

_CTYPES = {
    DataType.INT8: ctypes.c_int8,
    DataType.INT16: ctypes.c_int16,
    DataType.INT32: ctypes.c_int32,
    DataType.FLOAT: ctypes.c_float,
    DataType.DOUBLE: ctypes.c_double,
    DataType.UINT8: ctypes.c_uint8,
    DataType.UINT16: ctypes.c_uint16,
    DataType.UINT32: ctypes.c_uint32,
}
_NUMPY_TYPES = {
    "int8": DataType.INT8,
    "int16": DataType.INT16,
    "int32": DataType.INT32,
    "float32": DataType.FLOAT,
    "float64": DataType.DOUBLE,
    "uint8": DataType.UINT8,
    "uint16": DataType.UINT16,
    "uint32": DataType.UINT32,
}


def sample_buffer(samples: Any, data_type: DataType | None = None) -> tuple[Any, DataType]:
    """A C array of the samples and its type. NumPy arrays keep their type
    when the module knows it; everything else becomes doubles."""
    np = _arrays.numpy()
    if data_type is None:
        data_type = DataType.DOUBLE
        if np is not None and isinstance(samples, np.ndarray):
            data_type = _NUMPY_TYPES.get(str(samples.dtype), DataType.DOUBLE)
    ctype = _CTYPES[DataType(data_type)]
    if np is not None and isinstance(samples, np.ndarray):
        flat = np.ascontiguousarray(samples.ravel(), dtype=np.dtype(ctype))
        buf = (ctype * max(flat.size, 1))()
        ctypes.memmove(buf, flat.ctypes.data, flat.nbytes)
        return buf, DataType(data_type)
    values = list(samples)
    if data_type not in (DataType.FLOAT, DataType.DOUBLE):
        values = [int(v) for v in values]
    return (ctype * max(len(values), 1))(*values), DataType(data_type)


def _spectrum(samples: Any, data_type: DataType | None) -> tuple[R.SpectrumData, Any]:
    buf, dt = sample_buffer(samples, data_type)
    count = len(samples) if not hasattr(samples, "size") else int(samples.size)
    spec = R.SpectrumData()
    spec.data = ctypes.cast(buf, ctypes.c_void_p)
    spec.count = count
    spec.dataType = int(dt)
    return spec, buf


@dataclass
class Peaks:
    """The strongest peaks of a spectrum, in order of position.

    ``positions`` are data points (1-based, fractional); ``values`` their
    calibrated values; ``found`` counts every peak, also those not kept.
    """

    positions: Any
    values: Any
    found: int


class PeaksMixin(Base):
    """Peak calls of :class:`~kelvocalibrate.Calibration`."""

    def find_peaks(self, samples: Any, max_peaks: int = 16, data_type: DataType | None = None) -> Peaks:
        """The ``max_peaks`` strongest peaks of a spectrum (slots the module
        leaves empty are dropped)."""
        spec, _keep = _spectrum(samples, data_type)
        n = max(int(max_peaks), 0)
        pos = (ctypes.c_double * max(n, 1))()
        val = (ctypes.c_double * max(n, 1))()
        found = ctypes.c_int32(0)
        self._call("CalibFindPeaks", ctypes.byref(spec), pos, val, n, ctypes.byref(found))
        kept = [i for i in range(n) if pos[i] != 0.0]
        return Peaks(
            _arrays.output([pos[i] for i in kept]),
            _arrays.output([val[i] for i in kept]),
            found.value,
        )

    def nearest_peak(self, samples: Any, start: float, data_type: DataType | None = None) -> float:
        """Position of the peak nearest to data point ``start``."""
        spec, _keep = _spectrum(samples, data_type)
        return self._out_double("CalibFindNearestPeak", ctypes.byref(spec), start)
