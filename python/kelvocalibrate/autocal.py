"""Automatic calibration from lamp spectra: the lines of a lamp found and
named in one or more spectra, and the grating model fitted to them."""

from __future__ import annotations

import ctypes
import os
from ctypes import Structure, c_char, c_double, c_int32, c_uint32, c_void_p
from dataclasses import dataclass, field
from typing import Any, Sequence

from . import _arrays
from ._base import Base
from ._native import native
from .errors import check

__all__ = ["LampLine", "NamedLine", "AutocalResult", "lamp_lines", "AutocalMixin"]


class KvxLampLine(Structure):
    _fields_ = [("wavelength", c_double), ("intensity", c_double), ("element", c_char * 8)]


class KvxAutocalOptions(Structure):
    _fields_ = [
        ("searchPixels", c_double),
        ("dispersionTolerance", c_double),
        ("blendPixels", c_double),
        ("thresholdPercent", c_double),
        ("matchPixels", c_double),
        ("minLines", c_int32),
        ("fixedMask", c_uint32),
    ]


class KvxAutocalSpectrum(Structure):
    # The pointer takes 8 bytes on every platform (4 and 4 reserved in
    # 32-bit processes).
    _fields_ = [
        ("counts", c_void_p),
        *([] if ctypes.sizeof(c_void_p) == 8 else [("reserved4", c_int32)]),
        ("count", c_int32),
        ("peaks", c_int32),
        ("center", c_double),
        ("fittedCenter", c_double),
        ("fittedCenterSigma", c_double),
        ("linesUsed", c_int32),
        ("reserved44", c_int32),
    ]


class KvxAutocalResult(Structure):
    _fields_ = [
        ("focalLength", c_double),
        ("focalLengthSigma", c_double),
        ("inclusionAngle", c_double),
        ("inclusionAngleSigma", c_double),
        ("detectorAngle", c_double),
        ("detectorAngleSigma", c_double),
        ("rmsNm", c_double),
        ("rmsPixels", c_double),
        ("lineCount", c_int32),
        ("rejectedCount", c_int32),
        ("failedSpectrum", c_int32),
        ("fixedMask", c_uint32),
    ]


class KvxIdentifiedLine(Structure):
    _fields_ = [
        ("pixel", c_double),
        ("wavelength", c_double),
        ("intensity", c_double),
        ("residualNm", c_double),
        ("residualPixels", c_double),
        ("spectrum", c_int32),
        ("element", c_char * 8),
        ("reserved52", c_int32),
    ]


# Parameters that can be held at their nominal values.
FIXABLE = {"focal_length": 1, "inclusion_angle": 2, "detector_angle": 4}


@dataclass(frozen=True)
class LampLine:
    """A line of a lamp's list: air wavelength (nm), element, intensity."""

    wavelength_nm: float
    element: str
    intensity: float


@dataclass(frozen=True)
class NamedLine:
    """A peak named with a lamp line; residuals against the fitted model."""

    pixel: float
    wavelength_nm: float
    element: str
    spectrum: int
    center_nm: float  # the requested center of its spectrum
    residual_nm: float
    residual_px: float


@dataclass
class AutocalResult:
    """The fitted grating model and the named lines.

    ``centers_nm`` are, per spectrum in the order given, the fitted
    wavelengths at the center of the active pixel range: set one with
    ``set_center_wavelength`` after :meth:`AutocalMixin.install_autocal` to
    reproduce that spectrum's axis. Sigmas are standard uncertainties (0.0
    for a parameter held at its nominal value).
    """

    focal_length_mm: float
    focal_length_mm_sigma: float
    inclusion_angle_deg: float
    inclusion_angle_deg_sigma: float
    detector_angle_deg: float
    detector_angle_deg_sigma: float
    centers_nm: list[float]
    centers_nm_sigma: list[float]
    requested_centers_nm: list[float]
    lines: list[NamedLine]
    peaks: list[int]
    rms_nm: float
    rms_px: float
    rejected: int
    held: list[str] = field(default_factory=list)
    _record: Any = field(default=None, repr=False, compare=False)

    def model(self) -> dict[str, Any]:
        """The fitted model as the ``kelvo autocal`` JSON writes it."""
        return {
            "focal_length_mm": self.focal_length_mm,
            "focal_length_mm_sigma": self.focal_length_mm_sigma,
            "inclusion_angle_deg": self.inclusion_angle_deg,
            "inclusion_angle_deg_sigma": self.inclusion_angle_deg_sigma,
            "detector_angle_deg": self.detector_angle_deg,
            "detector_angle_deg_sigma": self.detector_angle_deg_sigma,
            "centers_nm": list(self.centers_nm),
            "centers_nm_sigma": list(self.centers_nm_sigma),
            "held": list(self.held),
        }


def _lamp_records(path: str | os.PathLike[str] | None, elements: str) -> "ctypes.Array[KvxLampLine]":
    lib = native()
    encoded = None if path is None else os.fsencode(path)
    count = c_int32(0)
    check(int(lib.KvxGetLampLines(encoded, elements.encode(), None, 0, ctypes.byref(count))), "KvxGetLampLines")
    records = (KvxLampLine * max(count.value, 1))()
    check(
        int(lib.KvxGetLampLines(encoded, elements.encode(), records, count.value, ctypes.byref(count))),
        "KvxGetLampLines",
    )
    return records[: count.value]  # type: ignore[return-value]


def lamp_lines(elements: str | Sequence[str] = "", path: str | os.PathLike[str] | None = None) -> list[LampLine]:
    """The lines of a lamp's elements (``"Ne"``, ``"Hg,Ar"``, ``["Hg",
    "Ar"]``; all when empty) from the module's built-in list, or from a CSV
    file ``element,air_wavelength_nm,relative_intensity``."""
    names = elements if isinstance(elements, str) else ",".join(elements)
    return [LampLine(r.wavelength, r.element.decode(), r.intensity) for r in _lamp_records(path, names)]


class AutocalMixin(Base):
    """Automatic calibration calls of :class:`~kelvocalibrate.Calibration`
    (automatic objects set up with an instrument)."""

    def autocalibrate(
        self,
        spectra: Sequence[Any],
        centers_nm: Sequence[float],
        elements: str | Sequence[str] = "Ne",
        *,
        lines_file: str | os.PathLike[str] | None = None,
        search_px: float | None = None,
        dispersion_tolerance: float | None = None,
        match_px: float | None = None,
        min_lines: int | None = None,
        hold: Sequence[str] | None = None,
    ) -> AutocalResult:
        """Names the lamp lines in the spectra (counts of pixels 1..N, one
        spectrum per requested center) and fits the grating model to them;
        the object is not changed. ``hold`` names the parameters kept at
        their nominal values (default: the inclusion angle). Raises
        ``AutocalTooFewPeaks`` or ``AutocalNoMatch`` when the lines cannot
        be named; ``exc.detail`` says which spectrum."""
        if len(spectra) != len(centers_nm) or not spectra:
            raise ValueError("give one requested center per spectrum")
        names = elements if isinstance(elements, str) else ",".join(elements)
        lamp = _lamp_records(lines_file, names)
        lamp_array = (KvxLampLine * len(lamp))(*lamp)
        buffers = [_arrays.doubles(s) for s in spectra]
        records = (KvxAutocalSpectrum * len(spectra))()
        for record, buf, center in zip(records, buffers, centers_nm):
            record.counts = ctypes.cast(buf, c_void_p)
            record.count = len(buf)
            record.center = float(center)
        options = KvxAutocalOptions()
        check(int(self._lib.KvxInitAutocalOptions(ctypes.byref(options))), "KvxInitAutocalOptions")
        for name, value in (
            ("searchPixels", search_px),
            ("dispersionTolerance", dispersion_tolerance),
            ("matchPixels", match_px),
            ("minLines", min_lines),
        ):
            if value is not None:
                setattr(options, name, value)
        if hold is not None:
            unknown = set(hold) - set(FIXABLE)
            if unknown:
                raise ValueError(f"cannot hold {', '.join(sorted(unknown))}; choose from {', '.join(FIXABLE)}")
            options.fixedMask = sum(FIXABLE[h] for h in set(hold))
        result = KvxAutocalResult()
        capacity = 1024
        named = (KvxIdentifiedLine * capacity)()
        code = int(
            self._lib.KvxAutoCalibrate(
                self.handle,
                records,
                len(spectra),
                lamp_array,
                len(lamp),
                ctypes.byref(options),
                ctypes.byref(result),
                named,
                capacity,
            )
        )
        if code:
            which = result.failedSpectrum
            detail = f"spectrum {which + 1}" if which >= 0 else "all spectra"
            peaks = ", ".join(str(r.peaks) for r in records)
            check(code, "KvxAutoCalibrate", f"{detail}; peaks found: {peaks}")
        centers = [float(c) for c in centers_nm]
        lines = [
            NamedLine(
                n.pixel,
                n.wavelength,
                n.element.decode(),
                n.spectrum,
                centers[n.spectrum],
                n.residualNm,
                n.residualPixels,
            )
            for n in named[: min(result.lineCount, capacity)]
        ]
        return AutocalResult(
            result.focalLength,
            result.focalLengthSigma,
            result.inclusionAngle,
            result.inclusionAngleSigma,
            result.detectorAngle,
            result.detectorAngleSigma,
            [r.fittedCenter for r in records],
            [r.fittedCenterSigma for r in records],
            centers,
            lines,
            [r.peaks for r in records],
            result.rmsNm,
            result.rmsPixels,
            result.rejectedCount,
            [name for name, bit in FIXABLE.items() if result.fixedMask & bit],
            result,
        )

    def autocal_wavelengths(self, result: AutocalResult, center_nm: float, pixels: int) -> _arrays.Vector:
        """Wavelengths (nm) of pixels 1..``pixels`` for the fitted optics
        with ``center_nm`` on the center of the active pixel range: a fitted
        center gives that spectrum's axis, any other center the axis
        predicted at that grating position."""
        out = (c_double * pixels)()
        self._call("KvxAutocalWavelengths", ctypes.byref(result._record), float(center_nm), out, pixels)
        return _arrays.output(out)

    def install_autocal(self, result: AutocalResult) -> None:
        """Installs the fitted optics into the working optics and the active
        grating (the center is not changed)."""
        self._call("KvxInstallAutocal", ctypes.byref(result._record))
