"""The calibration object: one module handle with every family's calls."""

from __future__ import annotations

import ctypes
from types import TracebackType

from ._base import Base
from ._native import native
from .calibrations import CalibrationsMixin
from .center import CenterMixin
from .detectors import DetectorsMixin
from .errors import InvalidMode, check  # type: ignore[attr-defined]
from .glue import GlueMixin
from .optimise import OptimiseMixin
from .parameters import ParametersMixin
from .peaks import PeaksMixin
from .spe import SpeMixin
from .spectrograph import SpectrographMixin
from .units import Mode


class Calibration(
    DetectorsMixin,
    CalibrationsMixin,
    SpeMixin,
    PeaksMixin,
    SpectrographMixin,
    CenterMixin,
    OptimiseMixin,
    GlueMixin,
    ParametersMixin,
    Base,
):
    """A calibration object of the module (manual or automatic).

    Use it as a context manager so that the handle is destroyed also when an
    exception leaves the block::

        with Calibration() as cal:
            cal.load_detector(1024, pixel_size_um=26.0)
            cal.load_calib_file("examples/neon-1024.cal")
            print(cal.pixel_to_value(512.0))
    """

    def __init__(self, mode: Mode | int = Mode.MANUAL) -> None:
        self._handle = None
        self._lib = native()
        handle = ctypes.c_uint32(0)
        code = int(self._lib.CalibCreate(int(mode), ctypes.byref(handle)))
        if code == InvalidMode.code:
            # The module takes a slot even for a bad mode: give it back.
            self._lib.CalibDestroy(handle.value)
        check(code, "CalibCreate")
        self._handle = handle.value

    @classmethod
    def automatic(cls) -> "Calibration":
        """A new automatic object (with a spectrograph model)."""
        return cls(Mode.AUTOMATIC)

    @property
    def mode(self) -> Mode:
        """Manual or automatic (a copy from an automatic object makes this
        one automatic)."""
        return Mode(int(self.get_param(1)))

    @property
    def closed(self) -> bool:
        return self._handle is None

    def close(self) -> None:
        """Destroys the handle (again: nothing)."""
        if self._handle is not None:
            handle, self._handle = self._handle, None
            self._lib.CalibDestroy(handle)

    def copy_from(self, source: "Calibration") -> None:
        """Replaces this object's detectors and calibrations by the source's
        active ones."""
        check(int(self._lib.CalibCopyCalibObject(self.handle, source.handle)), "CalibCopyCalibObject")

    def __enter__(self) -> "Calibration":
        return self

    def __exit__(
        self,
        exc_type: type[BaseException] | None,
        exc: BaseException | None,
        tb: TracebackType | None,
    ) -> None:
        self.close()

    def __del__(self) -> None:
        try:
            self.close()
        except Exception:  # noqa: BLE001 - interpreter shutdown
            pass

    def __repr__(self) -> str:
        if self._handle is None:
            return "<Calibration closed>"
        return f"<Calibration {self.mode.name.lower()} handle 0x{self._handle:08X}>"


def device_count() -> int:
    """The module's device count (200)."""
    out = ctypes.c_uint32(0)
    check(int(native().GetDeviceCount(ctypes.byref(out))), "GetDeviceCount")
    return out.value


def device_id() -> tuple[str, int, int]:
    """(name, type code, second code) the module reports."""
    name = ctypes.create_string_buffer(16)
    a, b = ctypes.c_uint32(0), ctypes.c_uint32(0)
    check(int(native().GetDeviceID(name, ctypes.byref(a), ctypes.byref(b), 0)), "GetDeviceID")
    return name.value.decode("latin-1"), a.value, b.value


def version() -> tuple[int, int, int, int] | None:
    """The module's version; None since the module reports none."""
    parts = [ctypes.c_uint32(0) for _ in range(4)]
    code = int(native().CalibVerOfDLL(0, *(ctypes.byref(p) for p in parts)))
    if code == 5002:
        return None
    check(code, "CalibVerOfDLL")
    return tuple(p.value for p in parts)  # type: ignore[return-value]
