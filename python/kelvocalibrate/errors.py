"""Exceptions for the module's codes.

Every non-zero code of an export raises a subclass of :class:`KelvoError`,
one class per code, named as the header names the code without its ``Nqe``
prefix (``NqeNoLaserLine`` -> :class:`NoLaserLine`). The module keeps no
texts; the English messages are this package's.

>>> try:
...     cal.pixel_to_value(100.0)
... except KelvoError as err:
...     print(err.code, err.name, err)
"""

from __future__ import annotations

# code, header name, message
CODES: tuple[tuple[int, str, str], ...] = (
    (5002, "NqeNotSupported", "the module reports no version"),
    (5010, "NqeNoFreeHandle", "all 255 calibration handles are in use"),
    (11000, "NqeNullPointer", "a required record, array or object is missing"),
    (11001, "NqeInvalidHandle", "the calibration handle is not valid"),
    (11002, "NqeNoPixels", "the detector has no pixels"),
    (11003, "NqeZeroPixelSize", "the pixel size is 0 (needed in automatic mode)"),
    (11005, "NqeRegionOverlap", "regions of interest overlap or are not in ascending order"),
    (11006, "NqeRegionOutOfRange", "a region of interest lies outside the detector"),
    (11007, "NqeDuplicateRegionId", "two regions of interest have the same ID"),
    (11008, "NqeBadRegionShape", "a region has zero width or binning, or a width that is not a multiple of its binning"),
    (11009, "NqeBadRegionSize", "the region array has the wrong element size"),
    (11010, "NqeNoActiveDetector", "there is no active detector"),
    (11011, "NqeDetectorNotLoaded", "the active detector has not been loaded"),
    (11012, "NqeDetectorNotFound", "no detector with that ID"),
    (11013, "NqeDetectorAllocFailed", "no new detector could be created"),
    (11014, "NqeRegionNotFound", "no region of interest with that ID"),
    (11015, "NqePixelOutsideRegions", "the pixel lies in no region of interest"),
    (11016, "NqePointOutOfRange", "a calibration point lies outside the detector's data points"),
    (11017, "NqeBadDetectorSize", "the detector record has the wrong size"),
    (11018, "NqeRegionCountMismatch", "the region count differs from the detector's"),
    (11019, "NqePixelCountMismatch", "the array length differs from the number of pixels"),
    (11020, "NqeDataPointCountMismatch", "the array length differs from the number of data points"),
    (11021, "NqeInvalidCalibration", "there is no active calibration"),
    (11022, "NqeCalibrationAllocFailed", "out of memory for the calibration"),
    (11023, "NqeCalibrationNotFound", "no calibration with that ID"),
    (11024, "NqeNoLaserLine", "relative wavenumbers need a laser line"),
    (11025, "NqeBadPolyOrder", "the polynomial order must be 1 to 5"),
    (11026, "NqeNoCalibrationPoints", "the calibration has no points"),
    (11027, "NqeTooFewCalibrationPoints", "a fit needs more points than its order"),
    (11028, "NqeNoTable", "the table calibration has no table"),
    (11029, "NqeTableLengthMismatch", "the table length differs from the number of data points"),
    (11030, "NqeBadPointNumber", "no calibration point with that number"),
    (11031, "NqeBadCoefficientIndex", "the coefficient index must be 0 to 4"),
    (11032, "NqeBadUnit", "the unit is not supported"),
    (11033, "NqeCalibrationNotValid", "the calibration has not been validated"),
    (11034, "NqeNotMonotonic", "the calibration is not monotonic across the detector"),
    (11035, "NqeZeroFactor", "the factor of an offset-and-factor calibration is 0"),
    (11036, "NqeCalibrationDisabled", "the calibration is disabled"),
    (11037, "NqeBadCalibrationSize", "the calibration record has the wrong size"),
    (11038, "NqeUnknownParameter", "unknown parameter (or wrong type or direction)"),
    (11039, "NqeReadOnlyParameter", "the parameter is read-only"),
    (11041, "NqeBadSpectrographSize", "the spectrograph record has the wrong size"),
    (11042, "NqeSpectrographAllocFailed", "no new spectrograph could be created"),
    (11043, "NqeSpectrographNotFound", "no spectrograph with that ID"),
    (11044, "NqeBadTurretSize", "the turret array has the wrong size"),
    (11045, "NqeBadGratingSize", "the grating array has the wrong size"),
    (11046, "NqeGrooveDensityNotSet", "the grating's groove density is not set"),
    (11047, "NqeBadNumber", "number out of range"),
    (11048, "NqeNoActiveSpectrograph", "there is no active spectrograph"),
    (11049, "NqeNoActiveTurret", "there is no active turret"),
    (11050, "NqeNoGrating", "the turret has no (active) grating"),
    (11051, "NqeNoSpectrographSelected", "no spectrograph is selected"),
    (11053, "NqeNoGratingSelected", "no grating is selected"),
    (11054, "NqeNoSpectrographModel", "this needs an automatic calibration (spectrograph model)"),
    (11055, "NqeNoTurrets", "the spectrograph has no turrets"),
    (11056, "NqeNoGratings", "no gratings given"),
    (11057, "NqeZeroFocalLength", "the focal length is 0"),
    (11058, "NqeZeroInclusionAngle", "the inclusion angle is 0"),
    (11059, "NqeZeroScaleFactor", "the focal-plane scale factor is 0"),
    (11060, "NqeExitMirrorPresent", "the spectrograph already has an exit mirror"),
    (11061, "NqeNoExitMirror", "the spectrograph has no exit mirror"),
    (11062, "NqeGratingCountMismatch", "the grating count differs from the turret's"),
    (11063, "NqePeakStartOutOfRange", "the peak search start lies outside the spectrum"),
    (11064, "NqeNoPeakFound", "no peak was found"),
    (11065, "NqeWavelengthUnreachable", "the wavelength cannot be reached by the grating"),
    (11066, "NqeBadPointCursor", "the point index must be 0 to 9"),
    (11067, "NqeModeSetupFailed", "the spectrograph model could not be created"),
    (11068, "NqeInvalidMode", "the mode must be manual (0) or automatic (1)"),
    (11069, "NqeAngleOutOfRange", "angle out of range"),
    (11070, "NqeFocalLengthOutOfRange", "the focal length must be above 0 and at most 10000 mm"),
    (11071, "NqeNoOptimisationData", "no optimisation has been run"),
    (11072, "NqeStepCountMismatch", "the count differs from the number of steps"),
    (11073, "NqeOverlapTooLarge", "one spectrum is not wider than the overlap"),
    (11074, "NqeGlueNotInitialized", "no incremental glue has been started"),
    (11075, "NqeGlueLengthMismatch", "the frame counts of the spectra differ"),
    (11076, "NqeGlueBadInput", "the spectrum's layout or data type is not supported"),
    (11077, "NqeGlueNoData", "no usable X values, or the spectrum lies outside the glue range"),
    (11078, "NqeGlueBadArgument", "a glue argument is missing or wrong"),
    (11079, "NqeGlueTooFewSteps", "the glue step is too small or the axis has fewer than 2 points"),
    (11081, "NqeBadFileVersion", "the file format version must be 1"),
    (11082, "NqeNoDetectorSection", "no [CCD_Info] section (or no such file)"),
    (11083, "NqeBadSegment", "no such segment in the file (or no such file)"),
    (11084, "NqeNoPoints", "the segment has no points"),
    (11085, "NqeOnePoint", "the segment has only one point"),
    (11086, "NqeBadPointPixel", "a point's pixel entry is empty"),
    (11087, "NqeBadPointWave", "a point's wavelength entry is empty"),
    (11088, "NqeNoPointCount", "the segment has no Number_Points entry"),
    (11089, "NqeNoFileName", "no file name given"),
)


class KelvoError(Exception):
    """A call into the module failed.

    Attributes:
        code: the module's numeric code.
        name: the code's name in the header, e.g. ``"NqeBadUnit"``.
        call: the export that answered it.
    """

    code: int = -1
    name: str = "NqeUnknown"
    message: str = "unknown error"

    def __init__(self, call: str = "", detail: str = "") -> None:
        self.call = call
        self.detail = detail
        text = self.message
        if detail:
            text = f"{text} ({detail})"
        if call:
            text = f"{call}: {text} [{self.code}]"
        super().__init__(text)


class UnknownCodeError(KelvoError):
    """A code the package does not know (a newer module)."""

    def __init__(self, code: int, call: str = "") -> None:
        self.code = code
        super().__init__(call, f"code {code}")


_BY_CODE: dict[int, type[KelvoError]] = {}


def _make(code: int, name: str, message: str) -> type[KelvoError]:
    cls = type(
        name[3:],
        (KelvoError,),
        {"code": code, "name": name, "message": message, "__doc__": message.capitalize() + f" ({code})."},
    )
    cls.__module__ = __name__
    return cls


for _code, _name, _message in CODES:
    _cls = _make(_code, _name, _message)
    globals()[_cls.__name__] = _cls
    _BY_CODE[_code] = _cls

__all__ = ["KelvoError", "UnknownCodeError", "error_class", "check", "raise_for"] + [
    n[3:] for _, n, _ in CODES
]


def error_class(code: int) -> type[KelvoError]:
    """The exception class of a code (:class:`UnknownCodeError` if unknown)."""
    return _BY_CODE.get(code, UnknownCodeError)


def raise_for(code: int, call: str = "", detail: str = "") -> None:
    """Raises the exception of a non-zero code."""
    cls = _BY_CODE.get(code)
    if cls is None:
        raise UnknownCodeError(code, call)
    raise cls(call, detail)


def check(code: int, call: str = "", detail: str = "") -> None:
    """Raises for a non-zero code, returns for 0."""
    if code != 0:
        raise_for(code, call, detail)
