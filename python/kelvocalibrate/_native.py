"""Loading of the native module and the declaration of every export.

The module is found through, in this order:

1. the environment variable ``KELVO_MODULE`` (a path to the module file);
2. ``KelvoCalibrate.kvx`` next to this package;
3. the build tree of the repository the package was installed from
   (``build/KelvoCalibrate.kvx``).

Every export is declared once, in :data:`EXPORTS`: name, result type and
argument types. The eighteen C++ exports are resolved by their decorated
names (g++ mangling on Linux, MSVC decoration on Windows).
"""

from __future__ import annotations

import ctypes
import os
import sys
import threading
from ctypes import POINTER, c_char_p, c_double, c_int16, c_int32, c_uint32, c_void_p
from pathlib import Path
from typing import Any, Callable

from . import _records as R

MODULE_NAME = "KelvoCalibrate.kvx"
ENV_VAR = "KELVO_MODULE"

H = c_uint32  # CalibHandle
L = c_int32  # KvxLong
UL = c_uint32  # KvxULong
D = c_double
PD = POINTER(c_double)
PL = POINTER(c_int32)
PUL = POINTER(c_uint32)
P = c_void_p
S = c_char_p
CODE_C = c_uint32  # result of the plain exports
CODE_CPP = c_int32  # NqeErrorCode of the C++ exports

# name, result type, argument types
EXPORTS: tuple[tuple[str, Any, tuple[Any, ...]], ...] = (
    ("GetDeviceCount", CODE_C, (PUL,)),
    ("GetDeviceID", CODE_C, (S, PUL, PUL, UL)),
    ("CalibCreate", CODE_C, (L, POINTER(H))),
    ("CalibDestroy", CODE_C, (H,)),
    ("CalibCopyCalibObject", CODE_C, (H, H)),
    ("CalibFindPeaks", CODE_C, (H, POINTER(R.SpectrumData), PD, PD, L, PL)),
    ("CalibFindNearestPeak", CODE_C, (H, POINTER(R.SpectrumData), D, PD)),
    ("CalibInitializeDetector", CODE_C, (H, P, L)),
    ("CalibValidateDetector", CODE_C, (H, P, L)),
    ("CalibLoadDetector", CODE_C, (H, P, L)),
    ("CalibDumpDetector", CODE_C, (H, P, L)),
    ("CalibGetActiveDetectorID", CODE_C, (H, PUL)),
    ("CalibSetActiveDetectorID", CODE_C, (H, UL)),
    ("CalibAddDetector", CODE_C, (H, P, L, PUL)),
    ("CalibRemoveDetectorID", CODE_C, (H, UL)),
    ("CalibNumberOfX_ROIs", CODE_C, (H, PL)),
    ("CalibDisableScanPattern", CODE_C, (H,)),
    ("CalibEnableScanPattern", CODE_C, (H,)),
    ("CalibGetScanState", CODE_C, (H, PL)),
    ("CalibInitializeCalibration", CODE_C, (H, P, L)),
    ("CalibValidateCalibration", CODE_C, (H, P, L)),
    ("CalibLoadCalibration", CODE_C, (H, P, L)),
    ("CalibDumpCalibration", CODE_C, (H, P, L)),
    ("CalibGetActiveCalibrationID", CODE_C, (H, PUL)),
    ("CalibSetActiveCalibrationID", CODE_C, (H, UL)),
    ("CalibAddCalibration", CODE_C, (H, P, L, PUL)),
    ("CalibRemoveCalibrationID", CODE_C, (H, UL)),
    ("CalibLoadSPECalibration", CODE_C, (H, P, L)),
    ("CalibDumpSPECalibration", CODE_C, (H, P, L)),
    ("CalibDataPointToCalibValue", CODE_C, (H, D, PD)),
    ("CalibCalibValueToDataPoint", CODE_C, (H, D, PD)),
    ("CalibCalibratedDataPointArray", CODE_C, (H, L, PD)),
    ("CalibTestCalibPointFit", CODE_C, (H, L, PD, PD, PD)),
    ("CalibTestCalibrationFit", CODE_C, (H, PD)),
    ("CalibLoadSpectrograph", CODE_C, (H, P, L)),
    ("CalibGetActiveSpectrographID", CODE_C, (H, PUL)),
    ("CalibSetActiveSpectrographID", CODE_C, (H, UL)),
    ("CalibAddSpectrograph", CODE_C, (H, P, L, PUL)),
    ("CalibRemoveSpectrographID", CODE_C, (H, UL)),
    ("CalibLoadTurrets", CODE_C, (H, P, L, L)),
    ("CalibSelectTurret", CODE_C, (H, L)),
    ("CalibLoadGratings", CODE_C, (H, P, L, L)),
    ("CalibSelectGrating", CODE_C, (H, L)),
    ("CalibAddExitMirror", CODE_C, (H,)),
    ("CalibRemoveExitMirror", CODE_C, (H,)),
    ("CalibSetExitMirrorPosition", CODE_C, (H, L)),
    ("CalibCalcDataPointWaveLength", CODE_C, (H, D, PD)),
    ("CalibCalcDataPointCalibValue", CODE_C, (H, D, PD)),
    ("CalibCalcDataPointCalibArray", CODE_C, (H, L, PD)),
    ("CalibConvertCenterWavelength", CODE_C, (H, D, PD)),
    ("CalibTestWavelength", CODE_C, (H, D, PD)),
    ("CalibSetupSpecCalArray", CODE_C, (H,)),
    ("CalibSetCenterCalibValue", CODE_C, (H, D)),
    ("CalibSetCenterWavelength", CODE_C, (H, D)),
    ("CalibSetIntParam", CODE_C, (H, L, L)),
    ("CalibGetIntParam", CODE_C, (H, L, PL)),
    ("CalibSetDoubleParam", CODE_C, (H, L, D)),
    ("CalibGetDoubleParam", CODE_C, (H, L, PD)),
    ("CalibSetDoubleArray", CODE_C, (H, L, PD, L)),
    ("CalibGetDoubleArray", CODE_C, (H, L, PD, L)),
    ("CalibSetStrParam", CODE_C, (H, L, S, L)),
    ("CalibGetStrParam", CODE_C, (H, L, S, L)),
    ("CalibVerOfDLL", CODE_C, (UL, PUL, PUL, PUL, PUL)),
    ("CalibCalcCenterOffset", CODE_C, (H, D)),
    ("CalibCalcSlopeAdjust", CODE_C, (H, D, D)),
    ("CalibCalcDispersionTargetData", CODE_C, (H, D, D)),
    ("CalibSetRefCursorPosition", CODE_C, (H, L, D)),
    ("CalibGetRefCursorPosition", CODE_C, (H, L, PD)),
    ("CalibSetTargetWaveLength", CODE_C, (H, L, D)),
    ("CalibGetTargetWaveLength", CODE_C, (H, L, PD)),
    ("CalibOptimizeSpectrograph", CODE_C, (H, PD, PD, PD, PD, PD)),
    ("CalibGetNumberSteps", CODE_C, (H, D, D, D, PL)),
    ("CalibGetStepCenterValues", CODE_C, (H, L, PD)),
    ("CalibGlueInput", CODE_C, (H, POINTER(R.GlueSpectrum), L, POINTER(R.GlueSpectrum))),
    ("CalibValidateGlue", CODE_C, (H, POINTER(R.GlueSpectrum), L, POINTER(R.GlueSpectrum))),
    ("CalibGetCenterResolution", CODE_C, (H, PD)),
    ("CalibGetOrigDispParams", CODE_C, (H, PD, PD, PD, PD, PD)),
    ("CalibGetOptimDispParams", CODE_C, (H, PD, PD, PD, PD, PD)),
    ("CalibInstallOrigDispParams", CODE_C, (H, PD, PD)),
    ("CalibInstallOptimDispParams", CODE_C, (H, PD, PD)),
    ("CalibInitIncStepAndGlue", CODE_C, (H, POINTER(R.GlueSpectrum), L)),
    ("CalibGlueIncInput", CODE_C, (H, POINTER(R.GlueSpectrum), POINTER(R.GlueSpectrum))),
    ("CalibCleanupIncGlue", CODE_C, (H,)),
    ("CalibLoadCalibFile", CODE_C, (H, S, c_int16, L, D, D)),
    ("CalibGetNumSegments", CODE_C, (S, c_int16, PL)),
    ("CalibGetNumPoints", CODE_C, (S, c_int16, L, PL)),
    ("CalibLoadCalibPoints", CODE_C, (S, c_int16, L, POINTER(R.CalibPoint), L)),
    # C++ exports (ordinals 88 to 105)
    ("CalibAddX_ROI", CODE_CPP, (H, POINTER(R.X_ROI))),
    ("CalibCalcCalibPixelArray", CODE_CPP, (H, L, PD)),
    ("CalibCalcPxlWavLngth", CODE_CPP, (H, D, PD)),
    ("CalibCalibValueToPixel", CODE_CPP, (H, D, PD)),
    ("CalibCalibratedPixelArray", CODE_CPP, (H, L, PD)),
    ("CalibDataPointToPixel", CODE_CPP, (H, D, PD)),
    ("CalibDeleteScanPattern", CODE_CPP, (H,)),
    ("CalibDumpXScanPattern", CODE_CPP, (H, P, L)),
    ("CalibGratingRotationAngle", CODE_CPP, (H, D, PD)),
    ("CalibLoadXScanPattern", CODE_CPP, (H, P, L)),
    ("CalibPixelToCalibValue", CODE_CPP, (H, D, PD)),
    ("CalibPixelToDataPoint", CODE_CPP, (H, D, PD)),
    ("CalibRemoveX_ROI", CODE_CPP, (H, L)),
    ("CalibRetrieveX_ROI", CODE_CPP, (H, L, POINTER(R.X_ROI), L)),
    ("CalibSetGratingByIndexNum", CODE_CPP, (H, L, L)),
    ("CalibValidateSpecOptStruct", CODE_CPP, (H,)),
    ("CalibValidateTargetData", CODE_CPP, (H,)),
    ("CalibValidateXScanPattern", CODE_CPP, (H, POINTER(R.X_ROI), L, L, L)),
    # extension (ordinal 106)
    ("KvxFreeSPECalibrationTable", CODE_C, (P, L)),
)

# Decorated names of the C++ exports: (g++ on Linux, MSVC on Windows).
CPP_SYMBOLS: dict[str, tuple[str, str]] = {
    "CalibAddX_ROI": ("_Z13CalibAddX_ROIjP5X_ROI", "?CalibAddX_ROI@@YG?AW4NqeErrorCode@@KPAUX_ROI@@@Z"),
    "CalibCalcCalibPixelArray": ("_Z24CalibCalcCalibPixelArrayjiPd", "?CalibCalcCalibPixelArray@@YG?AW4NqeErrorCode@@KJPAN@Z"),
    "CalibCalcPxlWavLngth": ("_Z20CalibCalcPxlWavLngthjdPd", "?CalibCalcPxlWavLngth@@YG?AW4NqeErrorCode@@KNPAN@Z"),
    "CalibCalibValueToPixel": ("_Z22CalibCalibValueToPixeljdPd", "?CalibCalibValueToPixel@@YG?AW4NqeErrorCode@@KNPAN@Z"),
    "CalibCalibratedPixelArray": ("_Z25CalibCalibratedPixelArrayjiPd", "?CalibCalibratedPixelArray@@YG?AW4NqeErrorCode@@KJPAN@Z"),
    "CalibDataPointToPixel": ("_Z21CalibDataPointToPixeljdPd", "?CalibDataPointToPixel@@YG?AW4NqeErrorCode@@KNPAN@Z"),
    "CalibDeleteScanPattern": ("_Z22CalibDeleteScanPatternj", "?CalibDeleteScanPattern@@YG?AW4NqeErrorCode@@K@Z"),
    "CalibDumpXScanPattern": ("_Z21CalibDumpXScanPatternjPvi", "?CalibDumpXScanPattern@@YG?AW4NqeErrorCode@@KPAXJ@Z"),
    "CalibGratingRotationAngle": ("_Z25CalibGratingRotationAnglejdPd", "?CalibGratingRotationAngle@@YG?AW4NqeErrorCode@@KNPAN@Z"),
    "CalibLoadXScanPattern": ("_Z21CalibLoadXScanPatternjPvi", "?CalibLoadXScanPattern@@YG?AW4NqeErrorCode@@KPAXJ@Z"),
    "CalibPixelToCalibValue": ("_Z22CalibPixelToCalibValuejdPd", "?CalibPixelToCalibValue@@YG?AW4NqeErrorCode@@KNPAN@Z"),
    "CalibPixelToDataPoint": ("_Z21CalibPixelToDataPointjdPd", "?CalibPixelToDataPoint@@YG?AW4NqeErrorCode@@KNPAN@Z"),
    "CalibRemoveX_ROI": ("_Z16CalibRemoveX_ROIji", "?CalibRemoveX_ROI@@YG?AW4NqeErrorCode@@KJ@Z"),
    "CalibRetrieveX_ROI": ("_Z18CalibRetrieveX_ROIjiP5X_ROIi", "?CalibRetrieveX_ROI@@YG?AW4NqeErrorCode@@KJPAUX_ROI@@J@Z"),
    "CalibSetGratingByIndexNum": ("_Z25CalibSetGratingByIndexNumjii", "?CalibSetGratingByIndexNum@@YG?AW4NqeErrorCode@@KJJ@Z"),
    "CalibValidateSpecOptStruct": ("_Z26CalibValidateSpecOptStructj", "?CalibValidateSpecOptStruct@@YG?AW4NqeErrorCode@@K@Z"),
    "CalibValidateTargetData": ("_Z23CalibValidateTargetDataj", "?CalibValidateTargetData@@YG?AW4NqeErrorCode@@K@Z"),
    "CalibValidateXScanPattern": ("_Z25CalibValidateXScanPatternjP5X_ROIiii", "?CalibValidateXScanPattern@@YG?AW4NqeErrorCode@@KPAUX_ROI@@JJJ@Z"),
}


class ModuleNotFound(OSError):
    """The native module could not be found or loaded."""


def candidate_paths() -> list[Path]:
    """Places searched for the module, in order (the variable first)."""
    paths: list[Path] = []
    env = os.environ.get(ENV_VAR)
    if env:
        paths.append(Path(env))
    here = Path(__file__).resolve().parent
    paths.append(here / MODULE_NAME)
    # python/kelvocalibrate/_native.py -> repository root
    paths.append(here.parents[1] / "build" / MODULE_NAME)
    return paths


def find_module() -> Path:
    """Path of the module to load; raises :class:`ModuleNotFound`."""
    env = os.environ.get(ENV_VAR)
    if env:
        # An explicit choice is never silently replaced by another module.
        if not Path(env).is_file():
            raise ModuleNotFound(f"{ENV_VAR}={env}: no such file")
        return Path(env)
    for path in candidate_paths():
        if path.is_file():
            return path
    where = ", ".join(str(p) for p in candidate_paths())
    raise ModuleNotFound(
        f"{MODULE_NAME} not found (looked in: {where}); build it or set {ENV_VAR}"
    )


class Native:
    """The loaded module; every export is an attribute with its C name."""

    def __init__(self, path: Path) -> None:
        self.path = path
        windows = sys.platform == "win32"
        loader = getattr(ctypes, "WinDLL") if windows else ctypes.CDLL
        try:
            self._dll = loader(str(path))
        except OSError as exc:
            raise ModuleNotFound(f"{path}: cannot load ({exc})") from exc
        for name, restype, argtypes in EXPORTS:
            symbol = name
            if name in CPP_SYMBOLS:
                symbol = CPP_SYMBOLS[name][1 if windows else 0]
            try:
                fn = self._dll[symbol]
            except AttributeError as exc:
                raise ModuleNotFound(f"{path}: export {symbol} missing") from exc
            fn.restype = restype
            fn.argtypes = argtypes
            setattr(self, name, fn)

    def __getattr__(self, name: str) -> Callable[..., int]:  # for type checkers
        raise AttributeError(name)


_lock = threading.Lock()
_native: Native | None = None


def native() -> Native:
    """The module, loaded on first use."""
    global _native
    with _lock:
        if _native is None:
            _native = Native(find_module())
        return _native
