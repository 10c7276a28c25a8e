"""Automatic mode: the center wavelength, the drive value, stepping across
a range wider than the detector, and a calibration from the model."""

from __future__ import annotations

import ctypes
from typing import Any

from . import _arrays
from ._base import Base


class CenterMixin(Base):
    """Center-wavelength calls of :class:`~kelvocalibrate.Calibration`."""

    def set_center(self, wavelength_nm: float) -> None:
        """Sets the spectrograph's center wavelength (nm)."""
        self._call("CalibSetCenterWavelength", wavelength_nm)

    def set_center_value(self, value: float) -> None:
        """Sets the center as a value in the active calibration's display
        unit."""
        self._call("CalibSetCenterCalibValue", value)

    def drive_value(self, wavelength_nm: float) -> float:
        """The drive value for a center wavelength ((1 + slope adjustment) x
        effective center)."""
        return self._out_double("CalibConvertCenterWavelength", wavelength_nm)

    def calc_center_offset(self, data_point: float) -> None:
        """Moves the grating's center pixel offset so that the center
        wavelength falls on ``data_point``."""
        self._call("CalibCalcCenterOffset", data_point)

    def calc_slope_adjust(self, reading: float, true_value: float) -> None:
        """Scales the slope adjustment by true_value / reading."""
        self._call("CalibCalcSlopeAdjust", reading, true_value)

    def number_of_steps(self, start: float, end: float, overlap: float) -> int:
        """Center settings needed to cover start..end with ``overlap``; stores
        the range (also the glue range)."""
        out = ctypes.c_int32(0)
        self._call("CalibGetNumberSteps", start, end, overlap, ctypes.byref(out))
        return out.value

    def step_centers(self, start: float, end: float, overlap: float) -> Any:
        """The center of every step that covers start..end."""
        count = self.number_of_steps(start, end, overlap)
        buf = (ctypes.c_double * max(count, 1))()
        self._call("CalibGetStepCenterValues", count, buf)
        return _arrays.output(buf[:count])

    def calibration_from_model(self) -> None:
        """Replaces the active calibration by a fourth-order fit to the
        model's wavelengths at the effective center."""
        self._call("CalibSetupSpecCalArray")
