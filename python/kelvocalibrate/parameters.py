"""Single settings of an object read and written by numeric ID."""

from __future__ import annotations

import ctypes
import enum

from ._base import Base


class Param(enum.IntEnum):
    """Parameter IDs (the header's ``CalibParam...`` values)."""

    AUTOMATIC = 1
    OBJECT_NAME = 2
    DETECTOR_NAME = 11
    REGION_COUNTER = 12
    SCAN_STATE = 13
    PIXEL_SIZE = 14
    SECONDARY_SIZE = 15
    NUM_PIXELS = 16
    SECONDARY_COUNT = 17
    POINT_CURSOR = 18
    POINT_POSITION = 19
    POINT_VALUE = 20
    UNIT_LABEL = 21
    CALIB_LABEL = 22
    INPUT_UNIT = 23
    DISPLAY_UNIT = 24
    POLY_ORDER = 26
    POINT_COUNT = 27
    LASER_LINE = 28
    POINT_COUNT_ALSO = 29
    COEFFICIENT_CURSOR = 30
    COEFFICIENT = 31
    PEAK_THRESHOLD = 33
    SPECTROGRAPH_INDEX = 35
    SPECTROGRAPH_NAME = 36
    NUM_TURRETS = 37
    TURRET_NUMBER = 38
    TURRET_NAME = 39
    NUM_GRATINGS = 40
    GRATING_NUMBER = 41
    GRATING_NAME = 42
    GROOVE_DENSITY = 43
    CENTER_PIXEL_OFFSET = 44
    SLOPE_ADJUST = 45
    FOCAL_LENGTH = 46
    INCLUSION_ANGLE = 47
    DETECTOR_ANGLE = 48
    SCALE_FACTOR = 49
    SPEC_FOCAL_LENGTH = 50
    SPEC_INCLUSION_ANGLE = 51
    SPEC_DETECTOR_ANGLE = 52
    SPEC_SCALE_FACTOR = 53
    TARGETS_12 = 54
    TARGETS_34 = 55
    TARGET_CENTER_2 = 56
    TARGET_CENTER_1 = 57
    TARGET_CENTER_4 = 58
    TARGET_CENTER_3 = 59
    REF_CURSOR_2 = 60
    REF_CURSOR_1 = 61
    REF_CURSOR_4 = 62
    REF_CURSOR_3 = 63
    INITIAL_OBJECTIVE = 64
    BEST_OBJECTIVE = 65
    CURRENT_OBJECTIVE = 66
    MODEL_DISPLAY_UNIT = 67
    RANGE_START = 68
    RANGE_END = 69
    GLUE_STEP = 70
    OVERLAP = 71
    NUM_STEPS = 72
    MODEL_FLAG = 73
    AUX_FLAG = 74
    DATA_POINT_COUNT = 76


_STRING = {2, 11, 21, 22, 36, 39, 42}
_DOUBLE = {14, 15, 19, 20, 28, 31, 33} | set(range(43, 67)) | {68, 69, 70, 71}


def param_type(param: int) -> type:
    """``int``, ``float`` or ``str``: the type of a parameter's value."""
    p = int(param)
    if p in _STRING:
        return str
    if p in _DOUBLE:
        return float
    return int


def _param(name: str | int) -> int:
    if isinstance(name, str):
        try:
            return int(Param[name.upper()])
        except KeyError:
            raise ValueError(f"unknown parameter name {name!r}") from None
    return int(name)


class ParametersMixin(Base):
    """Parameter calls of :class:`~kelvocalibrate.Calibration`. Parameters
    are named by :class:`Param`, their name (``"glue_step"``) or number."""

    def get_param(self, param: Param | str | int) -> int | float | str:
        """Reads a parameter."""
        p = _param(param)
        kind = param_type(p)
        if kind is str:
            buf = ctypes.create_string_buffer(128)
            self._call("CalibGetStrParam", p, buf, -1)
            return buf.value.decode("latin-1")
        if kind is float:
            out = ctypes.c_double()
            self._call("CalibGetDoubleParam", p, ctypes.byref(out))
            return out.value
        iout = ctypes.c_int32()
        self._call("CalibGetIntParam", p, ctypes.byref(iout))
        return iout.value

    def set_param(self, param: Param | str | int, value: int | float | str) -> None:
        """Writes a parameter."""
        p = _param(param)
        kind = param_type(p)
        if kind is str:
            raw = str(value).encode("latin-1", errors="replace")
            self._call("CalibSetStrParam", p, raw, len(raw))
        elif kind is float:
            self._call("CalibSetDoubleParam", p, float(value))
        else:
            self._call("CalibSetIntParam", p, int(value))

    def set_point_values(self, param: Param | str | int, values: list[float]) -> None:
        """The module's array write: copies ``values`` into the active
        calibration's point values (for IDs 19, 20 and 31 alike)."""
        arr = (ctypes.c_double * len(values))(*values)
        self._call("CalibSetDoubleArray", _param(param), arr, len(values))
