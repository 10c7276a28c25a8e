"""Calibrations: records, fits to points, calibration point files and the
conversions between positions and calibrated values."""

from __future__ import annotations

import ctypes
import os
from dataclasses import dataclass, field
from typing import Any, Sequence

from . import _arrays
from . import _records as R
from ._base import Base
from .units import TABLE_FLAG, Unit

UNUSED = -1.0  # position and value of an unused point slot
MAX_POINTS = 10


@dataclass
class CalibrationData:
    """The contents of a calibration record, in Python terms.

    ``points`` holds (data point, value) pairs, values in ``input_unit``;
    ``coefficients`` give nanometres from a pixel (c0 + c1 p + ...).
    A ``table`` (one value per data point) makes a table calibration.
    """

    input_unit: Unit = Unit.NANOMETERS
    display_unit: Unit = Unit.NANOMETERS
    order: int = 1
    points: list[tuple[float, float]] = field(default_factory=list)
    coefficients: list[float] = field(default_factory=lambda: [0.0] * 6)
    laser_nm: float = 0.0
    offset: float = 0.0
    factor: float = 0.0
    table: list[float] | None = None
    unit_label: str = "Wavelength, nm"
    label: str = ""
    valid: bool = False
    enabled: bool = True
    point_count: int = 0

    def to_record(self) -> tuple[R.CalibrationRecord, Any]:
        """The record and the table array it points to (keep both alive)."""
        if len(self.points) > MAX_POINTS:
            raise ValueError(f"at most {MAX_POINTS} calibration points, got {len(self.points)}")
        rec = R.CalibrationRecord()
        table = None
        rec.inputUnit = int(self.input_unit)
        rec.displayUnit = int(self.display_unit)
        if self.table is not None:
            rec.inputUnit = _signed(int(self.input_unit) | TABLE_FLAG)
            table = _arrays.doubles(self.table)
            rec.table = ctypes.cast(table, ctypes.POINTER(ctypes.c_double))
            rec.tableLength = len(table)
        rec.polyOrder = self.order
        for i in range(MAX_POINTS):
            pos, val = self.points[i] if i < len(self.points) else (UNUSED, UNUSED)
            rec.pointPosition[i] = pos
            rec.pointValue[i] = val
        for i, c in enumerate(list(self.coefficients)[:6]):
            rec.coefficients[i] = c
        rec.laserLine = self.laser_nm
        rec.pointCount = self.point_count
        rec.unitLabel = R.encode(self.unit_label)
        rec.calibLabel = R.encode(self.label)
        rec.offset = self.offset
        rec.factor = self.factor
        rec.valid = 1 if self.valid else 0
        rec.enabled = 1 if self.enabled else 0
        return rec, table

    @classmethod
    def from_record(cls, rec: R.CalibrationRecord) -> "CalibrationData":
        points = [
            (rec.pointPosition[i], rec.pointValue[i])
            for i in range(MAX_POINTS)
            if not (rec.pointPosition[i] == UNUSED and rec.pointValue[i] == UNUSED)
        ]
        table = None
        if rec.table and rec.tableLength > 0:
            table = [rec.table[i] for i in range(rec.tableLength)]
        return cls(
            input_unit=_unit(rec.inputUnit & ~TABLE_FLAG),
            display_unit=_unit(rec.displayUnit & ~TABLE_FLAG),
            order=rec.polyOrder,
            points=points,
            coefficients=list(rec.coefficients),
            laser_nm=rec.laserLine,
            offset=rec.offset,
            factor=rec.factor,
            table=table,
            unit_label=R.text(rec.unitLabel),
            label=R.text(rec.calibLabel),
            valid=bool(rec.valid),
            enabled=bool(rec.enabled),
            point_count=rec.pointCount,
        )

    def update(self, rec: R.CalibrationRecord) -> None:
        """Takes over what validation wrote back into the record."""
        self.coefficients = list(rec.coefficients)
        self.point_count = rec.pointCount
        self.valid = bool(rec.valid)
        self.order = rec.polyOrder


def _signed(value: int) -> int:
    return value - (1 << 32) if value >= 1 << 31 else value


def _unit(code: int) -> Unit | Any:
    try:
        return Unit(code)
    except ValueError:
        return code


def points_calibration(
    positions: Sequence[float] | Any,
    values: Sequence[float] | Any,
    order: int | None = None,
    unit: Unit = Unit.NANOMETERS,
    display_unit: Unit | None = None,
    laser_nm: float = 0.0,
    label: str = "",
) -> CalibrationData:
    """A polynomial calibration through points (order: points - 1, at most 2,
    unless given)."""
    pos = _arrays.as_list(positions)
    val = _arrays.as_list(values)
    if len(pos) != len(val):
        raise ValueError(f"{len(pos)} positions but {len(val)} values")
    if order is None:
        order = max(1, min(len(pos) - 1, 2))
    data = CalibrationData(
        input_unit=unit,
        display_unit=display_unit if display_unit is not None else unit,
        order=order,
        points=list(zip(pos, val)),
        laser_nm=laser_nm,
        label=label,
    )
    return data


class CalibrationsMixin(Base):
    """Calibration calls of :class:`~kelvocalibrate.Calibration`."""

    def default_calibration(self) -> CalibrationData:
        """The module's default record (nm, no points, not yet valid)."""
        rec = R.CalibrationRecord()
        self._call("CalibInitializeCalibration", ctypes.byref(rec), ctypes.sizeof(rec))
        return CalibrationData.from_record(rec)

    def _with_record(self, name: str, data: CalibrationData, *extra: Any) -> None:
        rec, _keep = data.to_record()
        try:
            self._call(name, ctypes.byref(rec), ctypes.sizeof(rec), *extra)
        finally:
            data.update(rec)

    def validate_calibration(self, data: CalibrationData) -> CalibrationData:
        """Checks and fits a calibration (positions taken as pixels) without
        keeping it; the fitted coefficients are written into ``data``."""
        self._with_record("CalibValidateCalibration", data)
        return data

    def load_calibration(self, data: CalibrationData) -> CalibrationData:
        """Fits (positions as data points) and installs a calibration as the
        active one; the fit is written into ``data``."""
        self._with_record("CalibLoadCalibration", data)
        return data

    def add_calibration(self, data: CalibrationData) -> int:
        """Adds a calibration beside the active one; returns its ID."""
        new_id = ctypes.c_uint32(0)
        self._with_record("CalibAddCalibration", data, ctypes.byref(new_id))
        return new_id.value

    def fit_points(
        self,
        positions: Sequence[float] | Any,
        values: Sequence[float] | Any,
        order: int | None = None,
        unit: Unit = Unit.NANOMETERS,
        display_unit: Unit | None = None,
        laser_nm: float = 0.0,
    ) -> CalibrationData:
        """Fits a polynomial to (data point, value) pairs and installs it."""
        data = points_calibration(positions, values, order, unit, display_unit, laser_nm)
        return self.load_calibration(data)

    @property
    def calibration(self) -> CalibrationData:
        """The active calibration."""
        rec = R.CalibrationRecord()
        self._call("CalibDumpCalibration", ctypes.byref(rec), ctypes.sizeof(rec))
        return CalibrationData.from_record(rec)

    @property
    def active_calibration_id(self) -> int:
        """ID of the active calibration (settable)."""
        out = ctypes.c_uint32(0)
        self._call("CalibGetActiveCalibrationID", ctypes.byref(out))
        return out.value

    @active_calibration_id.setter
    def active_calibration_id(self, calibration_id: int) -> None:
        self._call("CalibSetActiveCalibrationID", calibration_id)

    def remove_calibration(self, calibration_id: int) -> None:
        """Removes a calibration.

        The module answers :class:`CalibrationNotFound` when it removed any
        calibration but the last of the list; that answer is passed on.
        """
        self._call("CalibRemoveCalibrationID", calibration_id)

    def load_calib_file(
        self,
        path: str | os.PathLike[str],
        segment: int = 1,
        wavelength_offset: float = 0.0,
        laser_nm: float = 0.0,
    ) -> CalibrationData:
        """Installs a segment of a calibration point file as the active
        calibration (order: points - 1, at most 2) and returns it."""
        self._call(
            "CalibLoadCalibFile",
            os.fsencode(path),
            1,
            segment,
            wavelength_offset,
            laser_nm,
        )
        return self.calibration

    def test_point(self, number: int) -> tuple[float, float, float]:
        """(reference, fitted, relative error) of calibration point 1-10."""
        ref, fit, rel = ctypes.c_double(), ctypes.c_double(), ctypes.c_double()
        self._call(
            "CalibTestCalibPointFit", number, ctypes.byref(ref), ctypes.byref(fit), ctypes.byref(rel)
        )
        return ref.value, fit.value, rel.value

    def fit_error(self) -> float:
        """Root of the summed squared relative errors of the points."""
        return self._out_double("CalibTestCalibrationFit")

    # --- conversions ---------------------------------------------------------

    def pixel_to_value(self, pixel: Any) -> Any:
        """Calibrated value of a pixel (a number or an array of them)."""
        return self._map("CalibPixelToCalibValue", pixel)

    def value_to_pixel(self, value: Any) -> Any:
        """Pixel of a calibrated value, clamped to the detector."""
        return self._map("CalibCalibValueToPixel", value)

    def data_point_to_value(self, data_point: Any) -> Any:
        """Calibrated value of a data point (a number or an array of them)."""
        return self._map("CalibDataPointToCalibValue", data_point)

    def value_to_data_point(self, value: Any) -> Any:
        """Data point of a calibrated value."""
        return self._map("CalibCalibValueToDataPoint", value)

    def pixel_axis(self, count: int | None = None) -> Any:
        """Calibrated value of every pixel 1..count (default: the detector's)."""
        if count is None:
            count = self.detector.pixels
        buf = (ctypes.c_double * max(count, 1))()
        self._call("CalibCalibratedPixelArray", count, buf)
        return _arrays.output(buf[:count])

    def data_point_axis(self, count: int) -> Any:
        """Calibrated value of every data point 1..count."""
        buf = (ctypes.c_double * max(count, 1))()
        self._call("CalibCalibratedDataPointArray", count, buf)
        return _arrays.output(buf[:count])
