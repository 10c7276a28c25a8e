"""Spectrograph description files (TOML).

::

    [detector]
    pixels = 1024
    pixel_size_um = 26.0

    [spectrograph]
    focal_length_mm = 300.0
    inclusion_angle_deg = 30.0
    detector_angle_deg = 0.0     # optional, 0.0
    scale_factor = 1.0           # optional, 1.0

    [grating]
    grooves_per_mm = 1200.0
    center_pixel_offset = 0.0    # optional, 0.0

Other keys and tables are allowed and ignored (a name, notes, ...).
"""

from __future__ import annotations

import math
import os
import tomllib
from dataclasses import dataclass
from typing import Any

from .calibration import Calibration
from .detectors import Detector
from .spectrograph import Grating, Spectrograph, Turret


class DescriptionError(ValueError):
    """A spectrograph description that cannot be used; the text names the
    file, the key, the value and the reason."""


@dataclass
class Description:
    """An instrument: one detector, a spectrograph and one grating."""

    pixels: int
    pixel_size_um: float
    focal_length_mm: float
    inclusion_angle_deg: float
    grooves_per_mm: float
    detector_angle_deg: float = 0.0
    scale_factor: float = 1.0
    center_pixel_offset: float = 0.0
    name: str = ""
    source: str = ""

    def open(self) -> Calibration:
        """A new automatic :class:`Calibration` set up for this instrument
        (the caller closes it; it is a context manager)."""
        cal = Calibration.automatic()
        try:
            cal.load_detector(Detector(self.pixels, self.pixel_size_um, self.name[:127]))
            grating = Grating(self.grooves_per_mm, id=1, center_pixel_offset=self.center_pixel_offset)
            cal.load_spectrograph(
                Spectrograph(
                    self.focal_length_mm,
                    self.inclusion_angle_deg,
                    self.detector_angle_deg,
                    self.scale_factor,
                    turrets=[Turret([grating], "Turret 1", 1)],
                    name=self.name[:127],
                    id=1,
                )
            )
        except BaseException:
            cal.close()
            raise
        return cal


# table, key, required, kind, check (None: any finite number), reason
_KEYS: tuple[tuple[str, str, bool, type, Any, str], ...] = (
    ("detector", "pixels", True, int, lambda v: 2 <= v <= 1_000_000, "must be a whole number from 2 to 1000000"),
    ("detector", "pixel_size_um", True, float, lambda v: v > 0, "must be above 0"),
    ("spectrograph", "focal_length_mm", True, float, lambda v: 0 < v <= 10000, "must be above 0 and at most 10000"),
    ("spectrograph", "inclusion_angle_deg", True, float, lambda v: 0 < v < 180, "must be between 0 and 180"),
    ("spectrograph", "detector_angle_deg", False, float, lambda v: -90 < v < 90, "must be between -90 and 90"),
    ("spectrograph", "scale_factor", False, float, lambda v: v != 0, "must not be 0"),
    ("grating", "grooves_per_mm", True, float, lambda v: v > 0, "must be above 0"),
    ("grating", "center_pixel_offset", False, float, None, ""),
)
_DEFAULTS = {"detector_angle_deg": 0.0, "scale_factor": 1.0, "center_pixel_offset": 0.0}


def _value(path: str, table: str, key: str, raw: Any, kind: type) -> float | int:
    where = f"{path}: [{table}] {key} = {raw!r}"
    if isinstance(raw, bool) or not isinstance(raw, (int, float)):
        raise DescriptionError(f"{where}: not a number")
    if kind is int and not isinstance(raw, int):
        if not (isinstance(raw, float) and raw.is_integer()):
            raise DescriptionError(f"{where}: must be a whole number")
        raw = int(raw)
    if isinstance(raw, float) and not math.isfinite(raw):
        raise DescriptionError(f"{where}: not a finite number")
    return kind(raw)


def parse_description(data: dict[str, Any], path: str = "<description>") -> Description:
    """A :class:`Description` from parsed TOML data."""
    values: dict[str, Any] = dict(_DEFAULTS)
    for table, key, required, kind, ok, reason in _KEYS:
        section = data.get(table)
        if section is None or not isinstance(section, dict):
            if required:
                raise DescriptionError(f"{path}: table [{table}] is missing")
            continue
        if key not in section:
            stem = key.rsplit("_", 1)[0] + "_"
            other = [k for k in section if k.startswith(stem) and k != key]
            if other:
                # The unit is part of the key: a value in another unit is
                # not converted silently.
                raise DescriptionError(
                    f"{path}: [{table}] {other[0]} = {section[other[0]]!r}: unit not supported, "
                    f"give {key} instead"
                )
            if required:
                raise DescriptionError(f"{path}: [{table}] {key} is missing")
            continue
        value = _value(path, table, key, section[key], kind)
        if ok is not None and not ok(value):
            raise DescriptionError(f"{path}: [{table}] {key} = {section[key]!r}: {reason}")
        values[key] = value
    name = data.get("spectrograph", {}).get("name", "")
    return Description(name=str(name), source=path, **values)


def load_description(path: str | os.PathLike[str]) -> Description:
    """Reads a spectrograph description file.

    Raises:
        DescriptionError: missing or unreadable file, bad TOML, a missing
            table or key, or a value of the wrong type or range.
    """
    p = os.fspath(path)
    try:
        with open(p, "rb") as fh:
            data = tomllib.load(fh)
    except FileNotFoundError:
        raise DescriptionError(f"{p}: no such file") from None
    except IsADirectoryError:
        raise DescriptionError(f"{p}: is a directory") from None
    except OSError as exc:
        raise DescriptionError(f"{p}: cannot read ({exc.strerror})") from None
    except (tomllib.TOMLDecodeError, UnicodeDecodeError) as exc:
        raise DescriptionError(f"{p}: not valid TOML ({exc})") from None
    if not data:
        raise DescriptionError(f"{p}: empty description")
    return parse_description(data, p)
