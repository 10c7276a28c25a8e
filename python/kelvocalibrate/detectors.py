"""Detectors, regions of interest (the X scan pattern) and data points."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass, field
from typing import Any, Sequence

from . import _records as R
from ._base import Base


@dataclass
class Region:
    """A region of interest: ``width`` pixels from ``start`` (1-based),
    ``binning`` pixels per data point."""

    start: int
    width: int
    binning: int = 1
    id: int = 0

    @property
    def data_points(self) -> int:
        """Number of data points the region gives."""
        return self.width // self.binning if self.binning else 0

    def to_record(self) -> R.X_ROI:
        return R.X_ROI(self.id, self.start, self.width, self.binning)

    @classmethod
    def from_record(cls, rec: R.X_ROI) -> "Region":
        return cls(rec.startPixel, rec.width, rec.binning, rec.id)


@dataclass
class Detector:
    """A detector: ``pixels`` along X of ``pixel_size_um`` micrometres."""

    pixels: int
    pixel_size_um: float = 0.0
    name: str = ""
    regions: list[Region] = field(default_factory=list)
    secondary_size: float = 0.0
    secondary_count: int = 0
    id: int = 0

    def to_record(self) -> tuple[R.DetectorRecord, Any]:
        """The record and the region array it points to (keep both alive)."""
        rec = R.DetectorRecord()
        rec.name = R.encode(self.name)
        rec.pixelSize = self.pixel_size_um
        rec.secondarySize = self.secondary_size
        rec.numPixels = self.pixels
        rec.secondaryCount = self.secondary_count
        regions = _region_array(self.regions)
        if regions is not None:
            rec.regions = ctypes.cast(regions, ctypes.c_void_p)
            rec.regionCount = len(self.regions)
            rec.regionBytes = ctypes.sizeof(regions)
        return rec, regions


def _region_array(regions: Sequence[Region]) -> Any:
    if not regions:
        return None
    return (R.X_ROI * len(regions))(*(r.to_record() for r in regions))


class DetectorsMixin(Base):
    """Detector and scan-pattern calls of :class:`~kelvocalibrate.Calibration`."""

    def load_detector(
        self, detector: Detector | int, pixel_size_um: float = 0.0, name: str = ""
    ) -> None:
        """Makes a detector the active one (a :class:`Detector`, or a pixel
        count with a pixel size)."""
        if not isinstance(detector, Detector):
            detector = Detector(int(detector), pixel_size_um, name)
        rec, _keep = detector.to_record()
        self._call("CalibLoadDetector", ctypes.byref(rec), ctypes.sizeof(rec))

    def validate_detector(self, detector: Detector) -> None:
        """Checks a detector without keeping it; raises what a load would."""
        rec, _keep = detector.to_record()
        self._call("CalibValidateDetector", ctypes.byref(rec), ctypes.sizeof(rec))

    def add_detector(self, detector: Detector) -> int:
        """Adds a detector beside the active one and returns its ID."""
        rec, _keep = detector.to_record()
        new_id = ctypes.c_uint32(0)
        self._call(
            "CalibAddDetector", ctypes.byref(rec), ctypes.sizeof(rec), ctypes.byref(new_id)
        )
        return new_id.value

    def remove_detector(self, detector_id: int) -> None:
        """Removes the detector with that ID."""
        self._call("CalibRemoveDetectorID", detector_id)

    @property
    def active_detector_id(self) -> int:
        """ID of the active detector (settable)."""
        out = ctypes.c_uint32(0)
        self._call("CalibGetActiveDetectorID", ctypes.byref(out))
        return out.value

    @active_detector_id.setter
    def active_detector_id(self, detector_id: int) -> None:
        self._call("CalibSetActiveDetectorID", detector_id)

    @property
    def detector(self) -> Detector:
        """The active detector with its regions."""
        count = self.region_count
        if count == 0:
            # The module's dump refuses a detector without regions; its
            # fields are parameters as well.
            get = getattr(self, "get_param")
            return Detector(
                pixels=int(get(16)),
                pixel_size_um=float(get(14)),
                name=str(get(11)),
                secondary_size=float(get(15)),
                secondary_count=int(get(17)),
                id=self.active_detector_id,
            )
        regions = (R.X_ROI * count)()
        rec = R.DetectorRecord()
        rec.regions = ctypes.cast(regions, ctypes.c_void_p)
        rec.regionCount = count
        rec.regionBytes = ctypes.sizeof(regions)
        self._call("CalibDumpDetector", ctypes.byref(rec), ctypes.sizeof(rec))
        return Detector(
            pixels=rec.numPixels,
            pixel_size_um=rec.pixelSize,
            name=R.text(rec.name),
            regions=[Region.from_record(regions[i]) for i in range(count)],
            secondary_size=rec.secondarySize,
            secondary_count=rec.secondaryCount,
            id=rec.detectorId,
        )

    # --- regions of interest ----------------------------------------------

    @property
    def region_count(self) -> int:
        """Number of regions of the active detector."""
        out = ctypes.c_int32(0)
        self._call("CalibNumberOfX_ROIs", ctypes.byref(out))
        return out.value

    @property
    def regions(self) -> list[Region]:
        """The regions of the active detector."""
        count = self.region_count
        if count == 0:
            return []
        buf = (R.X_ROI * count)()
        self._call("CalibDumpXScanPattern", ctypes.cast(buf, ctypes.c_void_p), count)
        return [Region.from_record(buf[i]) for i in range(count)]

    def load_regions(self, regions: Sequence[Region]) -> None:
        """Replaces the regions (the old ones stay on failure)."""
        buf = _region_array(regions)
        self._call("CalibLoadXScanPattern", ctypes.cast(buf, ctypes.c_void_p), len(regions))

    def add_region(self, region: Region) -> None:
        """Adds one region, keeping the list sorted."""
        rec = region.to_record()
        self._call("CalibAddX_ROI", ctypes.byref(rec))

    def remove_region(self, region_id: int) -> None:
        """Removes the region with that ID.

        The module also drops the regions ahead of it in the list, and an
        unknown ID empties the pattern (then :class:`RegionNotFound`).
        """
        self._call("CalibRemoveX_ROI", region_id)

    def region(self, region_id: int) -> Region:
        """The region with that ID."""
        rec = R.X_ROI()
        self._call("CalibRetrieveX_ROI", region_id, ctypes.byref(rec), ctypes.sizeof(rec))
        return Region.from_record(rec)

    def delete_regions(self) -> None:
        """Deletes every region of the active detector."""
        self._call("CalibDeleteScanPattern")

    def validate_regions(self, regions: Sequence[Region], pixels: int) -> None:
        """Checks regions against a pixel count; keeps nothing."""
        buf = _region_array(regions)
        ptr = ctypes.cast(buf, ctypes.POINTER(R.X_ROI)) if buf is not None else None
        nbytes = ctypes.sizeof(buf) if buf is not None else 0
        self._call("CalibValidateXScanPattern", ptr, nbytes, len(regions), pixels)

    @property
    def scan_pattern_enabled(self) -> bool:
        """Whether data points follow the regions (settable)."""
        out = ctypes.c_int32(0)
        self._call("CalibGetScanState", ctypes.byref(out))
        return out.value != 0

    @scan_pattern_enabled.setter
    def scan_pattern_enabled(self, on: bool) -> None:
        self._call("CalibEnableScanPattern" if on else "CalibDisableScanPattern")

    def data_point_to_pixel(self, data_point: Any) -> Any:
        """Pixel of a data point (a number or an array of them)."""
        return self._map("CalibDataPointToPixel", data_point)

    def pixel_to_data_point(self, pixel: Any) -> Any:
        """Data point of a pixel (a number or an array of them)."""
        return self._map("CalibPixelToDataPoint", pixel)
