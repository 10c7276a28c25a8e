"""ctypes layouts of the records that cross the module boundary.

Field names are the header's. Every layout spells out its reserved words so
that the offsets are the documented ones in 32-bit and 64-bit processes
alike (a 32-bit process would otherwise align doubles to 4 bytes).
"""

from __future__ import annotations

import ctypes
import struct
from ctypes import (
    POINTER,
    Structure,
    c_char,
    c_double,
    c_int32,
    c_ubyte,
    c_uint32,
    c_void_p,
)

PTR64 = ctypes.sizeof(c_void_p) == 8


class X_ROI(Structure):
    """Region of interest along X (16 bytes)."""

    _fields_ = [
        ("id", c_int32),
        ("startPixel", c_int32),
        ("width", c_int32),
        ("binning", c_int32),
    ]


class DetectorRecord(Structure):
    """Detector description (176 bytes)."""

    _fields_ = [
        ("detectorId", c_uint32),
        ("name", c_char * 128),
        ("reserved132", c_char * 4),
        ("pixelSize", c_double),
        ("secondarySize", c_double),
        ("numPixels", c_int32),
        ("secondaryCount", c_int32),
        ("regions", c_void_p),
        ("regionCount", c_int32),
        ("regionBytes", c_int32),
    ] + ([] if PTR64 else [("reserved172", c_char * 4)])


class CalibrationRecord(Structure):
    """Calibration (528 bytes)."""

    _fields_ = (
        [
            ("inputUnit", c_int32),
            ("displayUnit", c_int32),
            ("polyOrder", c_int32),
            ("reserved12", c_int32),
            ("pointPosition", c_double * 10),
            ("pointValue", c_double * 10),
            ("coefficients", c_double * 6),
            ("laserLine", c_double),
            ("pointCount", c_int32),
            ("unitLabel", c_char * 128),
            ("calibLabel", c_char * 128),
        ]
        + (
            [("tableLength", c_int32), ("table", POINTER(c_double))]
            if PTR64
            else [
                ("table", POINTER(c_double)),
                ("tableLength", c_int32),
                ("reserved500", c_int32),
            ]
        )
        + [
            ("offset", c_double),
            ("factor", c_double),
            ("valid", c_ubyte),
            ("enabled", c_ubyte),
            ("reserved522", c_ubyte * 6),
        ]
    )


class SpectrumData(Structure):
    """Spectrum handed to the peak search (16 bytes)."""

    _fields_ = (
        [("data", c_void_p), ("count", c_int32)]
        + ([] if PTR64 else [("reserved8", c_int32)])
        + [("dataType", c_int32)]
    )


class CalibPoint(Structure):
    """One point of a calibration point file (16 bytes)."""

    _fields_ = [("pixel", c_double), ("wavelength", c_double)]


class SpectrographRecord(Structure):
    """Spectrograph (184 bytes)."""

    _fields_ = [
        ("spectrographId", c_int32),
        ("numTurrets", c_int32),
        ("numGratings", c_int32),
        ("name", c_char * 128),
        ("reserved140", c_char * 12),
        ("focalLength", c_double),
        ("inclusionAngle", c_double),
        ("detectorAngle", c_double),
        ("scaleFactor", c_double),
    ]


class TurretRecord(Structure):
    """Turret (140 bytes)."""

    _fields_ = [
        ("reserved0", c_int32),
        ("turretId", c_int32),
        ("name", c_char * 128),
        ("numGratings", c_int32),
    ]


class GratingRecord(Structure):
    """Grating (208 bytes)."""

    _fields_ = [
        ("reserved0", c_int32),
        ("gratingId", c_int32),
        ("name", c_char * 128),
        ("grooveDensity", c_double),
        ("storedValue", c_double),
        ("centerPixelOffset", c_double),
        ("slopeAdjust", c_double),
        ("focalLength", c_double),
        ("inclusionAngle", c_double),
        ("detectorAngle", c_double),
        ("scaleFactor", c_double),
        ("pixelWidth", c_double),
    ]


class GlueSpectrum(Structure):
    """Block of spectra for the glue (36 bytes; 56 in 64-bit processes)."""

    _fields_ = [
        ("data", c_void_p),
        ("numPoints", c_int32),
        ("numFrames", c_int32),
        ("dataType", c_int32),
        ("layout", c_int32),
        ("xValues", POINTER(c_double)),
        ("reserved24", c_int32),
        ("calibration", POINTER(CalibrationRecord)),
        ("reserved32", c_int32),
    ]


class SpeCalibrationBlock(Structure):
    """SPE calibration block (504 bytes), a byte buffer with typed fields."""

    _fields_ = [("bytes", c_ubyte * 504)]

    # field: (offset, struct format); the table pointer is handled apart.
    FIELDS = {
        "offset": (0, "<d"),
        "factor": (8, "<d"),
        "displayUnit": (16, "<i"),
        "tableLength": (72 if PTR64 else 68, "<i"),
        "valid": (104, "<B"),
        "inputUnit": (108, "<i"),
        "polyUnit": (112, "<i"),
        "polyOrder": (116, "<b"),
        "pointCount": (117, "<b"),
        "laserLine": (328, "<d"),
        "enabledCode": (380, "<i"),
    }
    LABELS = {"unitLabel": 21, "calibLabel": 338}
    TABLE = 64
    POINT_POSITION = 120
    POINT_VALUE = 200
    COEFFICIENTS = 280
    REGIONS = 384

    def get(self, field: str) -> float | int:
        offset, fmt = self.FIELDS[field]
        return struct.unpack_from(fmt, self.bytes, offset)[0]

    def set(self, field: str, value: float | int) -> None:
        offset, fmt = self.FIELDS[field]
        struct.pack_into(fmt, self.bytes, offset, value)

    def label(self, field: str) -> str:
        start = self.LABELS[field]
        raw = bytes(self.bytes[start : start + 40])
        return raw.split(b"\0", 1)[0].decode("latin-1")

    def set_label(self, field: str, text: str) -> None:
        start = self.LABELS[field]
        raw = text.encode("latin-1")[:39].ljust(40, b"\0")
        self.bytes[start : start + 40] = list(raw)

    def doubles(self, offset: int, count: int) -> list[float]:
        return list(struct.unpack_from(f"<{count}d", self.bytes, offset))

    def set_doubles(self, offset: int, values: list[float]) -> None:
        struct.pack_into(f"<{len(values)}d", self.bytes, offset, *values)

    def regions(self) -> list[tuple[int, int, int]]:
        """The ten (start, width, divisor) entries."""
        flat = struct.unpack_from("<30i", self.bytes, self.REGIONS)
        return [tuple(flat[i : i + 3]) for i in range(0, 30, 3)]  # type: ignore[misc]

    def set_regions(self, regions: list[tuple[int, int, int]]) -> None:
        flat: list[int] = []
        for entry in list(regions)[:10]:
            flat.extend(int(v) for v in entry)
        flat.extend([0] * (30 - len(flat)))
        struct.pack_into("<30i", self.bytes, self.REGIONS, *flat)

    @property
    def table_address(self) -> int:
        fmt = "<Q" if PTR64 else "<I"
        return struct.unpack_from(fmt, self.bytes, self.TABLE)[0]


RECORDS: tuple[type[Structure], ...] = (
    X_ROI,
    DetectorRecord,
    CalibrationRecord,
    SpectrumData,
    CalibPoint,
    SpectrographRecord,
    TurretRecord,
    GratingRecord,
    GlueSpectrum,
    SpeCalibrationBlock,
)


def text(field: bytes) -> str:
    """A NUL-terminated char field as text."""
    return field.split(b"\0", 1)[0].decode("latin-1")


def encode(value: str, size: int = 128) -> bytes:
    """Text for a char[size] field (cut to leave room for the terminator)."""
    return value.encode("latin-1", errors="replace")[: size - 1]
