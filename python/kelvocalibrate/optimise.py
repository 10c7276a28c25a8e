"""Automatic mode: dispersion target data and the optimisation of focal
length, inclusion angle and detector angle."""

from __future__ import annotations

import ctypes
from dataclasses import asdict, dataclass

from ._base import Base


@dataclass
class DispersionParameters:
    """A parameter set with its objective (nm) and pixel error (px)."""

    focal_length_mm: float
    inclusion_angle_deg: float
    detector_angle_deg: float
    objective_nm: float
    pixel_error_px: float

    def as_dict(self) -> dict[str, float]:
        return asdict(self)


class OptimiseMixin(Base):
    """Optimisation calls of :class:`~kelvocalibrate.Calibration`."""

    def calc_dispersion_targets(self, first_line_nm: float, second_line_nm: float) -> None:
        """Proposes the four measurements of two lines near both detector
        edges (target slots 1-2: the first line, 3-4: the second)."""
        self._call("CalibCalcDispersionTargetData", first_line_nm, second_line_nm)

    def target_center(self, slot: int) -> float:
        """The center wavelength to set for a target slot (1-4)."""
        return self._out_double("CalibGetTargetWaveLength", slot)

    def set_target_center(self, slot: int, wavelength_nm: float) -> None:
        self._call("CalibSetTargetWaveLength", slot, wavelength_nm)

    def ref_cursor(self, slot: int) -> float:
        """The pixel stored for a target slot (the expected one until a
        measurement is stored)."""
        return self._out_double("CalibGetRefCursorPosition", slot)

    def set_ref_cursor(self, slot: int, pixel: float) -> None:
        """Stores where the line of a target slot was measured."""
        self._call("CalibSetRefCursorPosition", slot, pixel)

    def validate_targets(self) -> None:
        self._call("CalibValidateTargetData")

    def validate_optimisation(self) -> None:
        self._call("CalibValidateSpecOptStruct")

    def _five(self, name: str) -> DispersionParameters:
        outs = [ctypes.c_double() for _ in range(5)]
        self._call(name, *(ctypes.byref(o) for o in outs))
        return DispersionParameters(*(o.value for o in outs))

    def optimise(self) -> DispersionParameters:
        """Runs the optimisation against the target slots; the best set."""
        return self._five("CalibOptimizeSpectrograph")

    def original_parameters(self) -> DispersionParameters:
        """The initial set of the last optimisation."""
        return self._five("CalibGetOrigDispParams")

    def optimised_parameters(self) -> DispersionParameters:
        """What the module reports as the optimised set: where the scans
        ended, with the best objective (use :meth:`optimise`'s result for
        the best set)."""
        return self._five("CalibGetOptimDispParams")

    def _install(self, name: str) -> tuple[float, float]:
        obj, err = ctypes.c_double(), ctypes.c_double()
        self._call(name, ctypes.byref(obj), ctypes.byref(err))
        return obj.value, err.value

    def install_original(self) -> tuple[float, float]:
        """Installs the initial set; returns (objective, pixel error)."""
        return self._install("CalibInstallOrigDispParams")

    def install_optimised(self) -> tuple[float, float]:
        """Installs the best set; returns (objective, pixel error)."""
        return self._install("CalibInstallOptimDispParams")
