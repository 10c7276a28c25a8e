"""Automatic mode: the spectrograph model (spectrographs, turrets, gratings,
exit mirror) and the wavelengths the grating equation gives."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass, field
from typing import Any, Sequence

from . import _arrays
from . import _records as R
from ._base import Base


@dataclass
class Grating:
    """A grating. Optics left at 0.0 take the spectrograph's (pixel width:
    the detector's pixel size)."""

    grooves_per_mm: float
    name: str = ""
    id: int = 0
    center_pixel_offset: float = 0.0
    slope_adjust: float = 0.0
    focal_length_mm: float = 0.0
    inclusion_angle_deg: float = 0.0
    detector_angle_deg: float = 0.0
    scale_factor: float = 0.0
    pixel_width_um: float = 0.0

    def to_record(self) -> R.GratingRecord:
        rec = R.GratingRecord()
        rec.gratingId = self.id
        rec.name = R.encode(self.name or f"{self.grooves_per_mm:g} g/mm")
        rec.grooveDensity = self.grooves_per_mm
        rec.centerPixelOffset = self.center_pixel_offset
        rec.slopeAdjust = self.slope_adjust
        rec.focalLength = self.focal_length_mm
        rec.inclusionAngle = self.inclusion_angle_deg
        rec.detectorAngle = self.detector_angle_deg
        rec.scaleFactor = self.scale_factor
        rec.pixelWidth = self.pixel_width_um
        return rec


@dataclass
class Turret:
    """A turret with its gratings."""

    gratings: list[Grating] = field(default_factory=list)
    name: str = ""
    id: int = 0

    def to_record(self) -> R.TurretRecord:
        rec = R.TurretRecord()
        rec.turretId = self.id
        rec.name = R.encode(self.name)
        rec.numGratings = len(self.gratings)
        return rec


@dataclass
class Spectrograph:
    """A spectrograph's default optics and its turrets."""

    focal_length_mm: float
    inclusion_angle_deg: float
    detector_angle_deg: float = 0.0
    scale_factor: float = 1.0
    turrets: list[Turret] = field(default_factory=list)
    name: str = ""
    id: int = 0

    def to_record(self) -> R.SpectrographRecord:
        rec = R.SpectrographRecord()
        rec.spectrographId = self.id
        rec.numTurrets = max(len(self.turrets), 1)
        rec.numGratings = max((len(t.gratings) for t in self.turrets), default=1)
        rec.name = R.encode(self.name)
        rec.focalLength = self.focal_length_mm
        rec.inclusionAngle = self.inclusion_angle_deg
        rec.detectorAngle = self.detector_angle_deg
        rec.scaleFactor = self.scale_factor
        return rec


class SpectrographMixin(Base):
    """Spectrograph-model calls of :class:`~kelvocalibrate.Calibration`
    (automatic objects; a manual one raises :class:`NoSpectrographModel`)."""

    def load_spectrograph(self, spectrograph: Spectrograph) -> None:
        """Replaces the active spectrograph and loads its turrets and
        gratings; turret 1 and its grating 1 are selected."""
        rec = spectrograph.to_record()
        self._call("CalibLoadSpectrograph", ctypes.byref(rec), ctypes.sizeof(rec))
        if spectrograph.turrets:
            self.load_turrets(spectrograph.turrets)
            for number, turret in enumerate(spectrograph.turrets, start=1):
                self.select_turret(number)
                self.load_gratings(turret.gratings)
            self.set_grating(1, 1)

    def add_spectrograph(self, spectrograph: Spectrograph) -> int:
        """Adds a spectrograph (without turrets); returns the ID the module
        reports."""
        rec = spectrograph.to_record()
        new_id = ctypes.c_uint32(0)
        self._call("CalibAddSpectrograph", ctypes.byref(rec), ctypes.sizeof(rec), ctypes.byref(new_id))
        return new_id.value

    def remove_spectrograph(self, spectrograph_id: int) -> None:
        """Removes a spectrograph with its turrets and gratings."""
        self._call("CalibRemoveSpectrographID", spectrograph_id)

    @property
    def active_spectrograph_id(self) -> int:
        """ID of the active spectrograph (settable)."""
        out = ctypes.c_uint32(0)
        self._call("CalibGetActiveSpectrographID", ctypes.byref(out))
        return out.value

    @active_spectrograph_id.setter
    def active_spectrograph_id(self, spectrograph_id: int) -> None:
        self._call("CalibSetActiveSpectrographID", spectrograph_id)

    def load_turrets(self, turrets: Sequence[Turret]) -> None:
        """Replaces the active spectrograph's turrets (the first becomes
        active)."""
        arr = (R.TurretRecord * len(turrets))(*(t.to_record() for t in turrets))
        self._call("CalibLoadTurrets", ctypes.cast(arr, ctypes.c_void_p), ctypes.sizeof(arr), len(turrets))

    def select_turret(self, number: int) -> None:
        """Makes turret ``number`` (1-based) active."""
        self._call("CalibSelectTurret", number)

    def load_gratings(self, gratings: Sequence[Grating]) -> None:
        """Replaces the active turret's gratings (the first becomes active)."""
        arr = (R.GratingRecord * len(gratings))(*(g.to_record() for g in gratings))
        self._call("CalibLoadGratings", ctypes.cast(arr, ctypes.c_void_p), ctypes.sizeof(arr), len(gratings))

    def select_grating(self, number: int) -> None:
        """Makes grating ``number`` (1-based) of the active turret active and
        installs its optics."""
        self._call("CalibSelectGrating", number)

    def set_grating(self, turret: int, grating: int) -> None:
        """Selects a turret, then one of its gratings."""
        self._call("CalibSetGratingByIndexNum", turret, grating)

    def add_exit_mirror(self) -> None:
        """Gives the active spectrograph a side exit."""
        self._call("CalibAddExitMirror")

    def remove_exit_mirror(self) -> None:
        """Does nothing: the module keeps an exit mirror once added."""
        self._call("CalibRemoveExitMirror")

    def set_exit_port(self, position: int) -> None:
        """0: the main exit; any other value: the side exit."""
        self._call("CalibSetExitMirrorPosition", position)

    # --- the grating model ---------------------------------------------------

    def wavelength_at(self, data_point: Any) -> Any:
        """Wavelength (nm) of a data point for the center last set through
        this handle."""
        return self._map("CalibCalcDataPointWaveLength", data_point)

    def model_value_at(self, data_point: Any) -> Any:
        """As :meth:`wavelength_at`, in the active calibration's display unit."""
        return self._map("CalibCalcDataPointCalibValue", data_point)

    def pixel_wavelength(self, pixel: Any) -> Any:
        """Wavelength (nm) of a pixel for the center last set."""
        return self._map("CalibCalcPxlWavLngth", pixel)

    def model_pixel_axis(self, count: int | None = None) -> Any:
        """Value (display unit) of every pixel at the effective center."""
        if count is None:
            count = self.detector.pixels  # type: ignore[attr-defined]
        buf = (ctypes.c_double * max(count, 1))()
        self._call("CalibCalcCalibPixelArray", count, buf)
        return _arrays.output(buf[:count])

    def model_data_point_axis(self, count: int) -> Any:
        """Value (display unit) of every data point at the effective center."""
        buf = (ctypes.c_double * max(count, 1))()
        self._call("CalibCalcDataPointCalibArray", count, buf)
        return _arrays.output(buf[:count])

    def wavelength_limit(self, wavelength: float = 0.0) -> float:
        """Longest wavelength the grating reaches (raises
        :class:`WavelengthUnreachable` when ``wavelength`` is beyond it)."""
        return self._out_double("CalibTestWavelength", wavelength)

    def center_resolution(self) -> float:
        """Dispersion at the detector center, nm per pixel."""
        return self._out_double("CalibGetCenterResolution")

    def grating_rotation_angle(self, wavelength: float) -> float:
        """The module's grating rotation angle (radians) for a wavelength."""
        return self._out_double("CalibGratingRotationAngle", wavelength)
