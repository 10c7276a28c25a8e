"""Python binding of the KelvoCalibrate wavelength-calibration module.

>>> from kelvocalibrate import Calibration, Unit
>>> with Calibration() as cal:
...     cal.load_detector(1024, pixel_size_um=26.0)
...     cal.fit_points([100, 500, 900], [410.0, 450.0, 490.0])
...     cal.pixel_to_value(300.0)
"""

from __future__ import annotations

from . import errors
from ._native import ModuleNotFound, find_module
from .calibfile import CalibPoint, load_points, num_points, num_segments
from .calibration import Calibration, device_count, device_id, version
from .calibrations import CalibrationData, points_calibration
from .description import Description, load_description
from .detectors import Detector, Region
from .errors import KelvoError
from .glue import Glued
from .optimise import DispersionParameters
from .parameters import Param
from .peaks import Peaks
from .spe import SpeCalibration
from .spectrograph import Grating, Spectrograph, Turret
from .units import DataType, Mode, Unit, convert, parse_unit

__all__ = [
    "Calibration",
    "CalibrationData",
    "CalibPoint",
    "DataType",
    "Description",
    "Detector",
    "DispersionParameters",
    "Glued",
    "Grating",
    "KelvoError",
    "Mode",
    "ModuleNotFound",
    "Param",
    "Peaks",
    "Region",
    "SpeCalibration",
    "Spectrograph",
    "Turret",
    "Unit",
    "convert",
    "device_count",
    "device_id",
    "errors",
    "find_module",
    "load_description",
    "load_points",
    "num_points",
    "num_segments",
    "parse_unit",
    "points_calibration",
    "version",
]

__version__ = "0.1.0"
