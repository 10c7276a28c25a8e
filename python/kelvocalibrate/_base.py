"""The part of the calibration object that every family builds on."""

from __future__ import annotations

import ctypes
from typing import Any, Callable

from . import _arrays
from ._native import Native, native
from .errors import KelvoError, check


class ClosedError(KelvoError):
    """The calibration object was closed (its handle destroyed)."""

    code = 11001
    name = "NqeInvalidHandle"
    message = "the calibration object is closed"


class Base:
    """Holds the handle and calls exports with it."""

    _handle: int | None
    _lib: Native

    @property
    def handle(self) -> int:
        """The module handle of this object."""
        if self._handle is None:
            raise ClosedError()
        return self._handle

    def _call(self, name: str, *args: Any) -> None:
        """Calls an export with this object's handle; raises for a code."""
        fn: Callable[..., int] = getattr(self._lib, name)
        check(int(fn(self.handle, *args)), name)

    def _out_double(self, name: str, *args: Any) -> float:
        """Calls an export whose last argument is a double* result."""
        out = ctypes.c_double(0.0)
        self._call(name, *args, ctypes.byref(out))
        return out.value

    def _map(self, name: str, value: Any) -> Any:
        """A scalar export applied to a scalar, or to each element of an array."""
        if _arrays.is_scalar(value):
            return self._out_double(name, float(value))
        values = _arrays.as_list(value)
        out = [self._out_double(name, v) for v in values]
        np = _arrays.numpy()
        if np is not None and isinstance(value, np.ndarray):
            return np.array(out, dtype=np.float64).reshape(value.shape)
        return _arrays.output(out)


def lib() -> Native:
    """The loaded module (for calls without a handle)."""
    return native()
