"""The SPE calibration block (504 bytes) exchanged with SPE data files."""

from __future__ import annotations

import ctypes
import struct
from dataclasses import dataclass, field

from . import _records as R
from ._base import Base


@dataclass
class SpeCalibration:
    """The fields of an SPE calibration block."""

    offset: float = 0.0
    factor: float = 0.0
    display_unit: int = 4
    unit_label: str = ""
    valid: bool = False
    input_unit: int = 4
    poly_order: int = 1
    points: list[tuple[float, float]] = field(default_factory=list)
    coefficients: list[float] = field(default_factory=lambda: [0.0] * 6)
    laser_nm: float = 0.0
    label: str = ""
    enabled: bool = True
    regions: list[tuple[int, int, int]] = field(default_factory=list)
    table: list[float] | None = None

    @classmethod
    def from_block(cls, block: R.SpeCalibrationBlock) -> "SpeCalibration":
        count = max(min(int(block.get("pointCount")), 10), 0)
        pos = block.doubles(block.POINT_POSITION, 10)
        val = block.doubles(block.POINT_VALUE, 10)
        table = None
        length = int(block.get("tableLength"))
        if block.table_address and length > 0:
            ptr = ctypes.cast(block.table_address, ctypes.POINTER(ctypes.c_double))
            table = [ptr[i] for i in range(length)]
        return cls(
            offset=float(block.get("offset")),
            factor=float(block.get("factor")),
            display_unit=int(block.get("displayUnit")),
            unit_label=block.label("unitLabel"),
            valid=bool(block.get("valid")),
            input_unit=int(block.get("inputUnit")),
            poly_order=int(block.get("polyOrder")),
            points=list(zip(pos[:count], val[:count])),
            coefficients=block.doubles(block.COEFFICIENTS, 6),
            laser_nm=float(block.get("laserLine")),
            label=block.label("calibLabel"),
            enabled=int(block.get("enabledCode")) != 3,
            regions=[r for r in block.regions() if r[0] != 0],
            table=table,
        )

    def to_block(self) -> tuple[R.SpeCalibrationBlock, object]:
        """The block and the table array it points to (keep both alive)."""
        block = R.SpeCalibrationBlock()
        block.set("offset", self.offset)
        block.set("factor", self.factor)
        block.set("displayUnit", self.display_unit)
        block.set_label("unitLabel", self.unit_label)
        block.set("valid", 1 if self.valid else 0)
        block.set("inputUnit", self.input_unit)
        block.set("polyUnit", 4)
        block.set("polyOrder", self.poly_order)
        block.set("pointCount", len(self.points[:10]))
        pos = [p for p, _ in self.points[:10]] + [0.0] * (10 - len(self.points[:10]))
        val = [v for _, v in self.points[:10]] + [0.0] * (10 - len(self.points[:10]))
        block.set_doubles(block.POINT_POSITION, pos)
        block.set_doubles(block.POINT_VALUE, val)
        block.set_doubles(block.COEFFICIENTS, (list(self.coefficients) + [0.0] * 6)[:6])
        block.set("laserLine", self.laser_nm)
        block.set_label("calibLabel", self.label)
        block.set("enabledCode", 2 if self.enabled else 3)
        block.set_regions(self.regions)
        keep = None
        if self.table:
            keep = (ctypes.c_double * len(self.table))(*self.table)
            fmt = "<Q" if R.PTR64 else "<I"
            struct.pack_into(fmt, block.bytes, block.TABLE, ctypes.addressof(keep))
            block.set("tableLength", len(self.table))
        return block, keep


class SpeMixin(Base):
    """SPE block calls of :class:`~kelvocalibrate.Calibration`."""

    def dump_spe(self) -> SpeCalibration:
        """The active calibration and regions as an SPE block's fields."""
        block = R.SpeCalibrationBlock()
        try:
            self._call("CalibDumpSPECalibration", ctypes.byref(block), ctypes.sizeof(block))
            return SpeCalibration.from_block(block)
        finally:
            # A dumped table belongs to the caller: copied above, freed here.
            self._lib.KvxFreeSPECalibrationTable(ctypes.byref(block), ctypes.sizeof(block))

    def load_spe(self, spe: SpeCalibration) -> None:
        """Makes a block the active calibration and the scan pattern."""
        block, _keep = spe.to_block()
        self._call("CalibLoadSPECalibration", ctypes.byref(block), ctypes.sizeof(block))
