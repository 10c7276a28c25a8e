"""Units, sample types and the conversion of values between units."""

from __future__ import annotations

import enum
import math

TABLE_FLAG = 0x80000000
HC_NM_EV = 1239.841904  # nm * eV, the module's constant


class Unit(enum.IntEnum):
    """Unit codes of a calibration's input and display units."""

    X_VALUE = 0
    FIXED_POLYNOMIAL = 1
    OFFSET_FACTOR = 2
    POLYNOMIAL = 3
    NANOMETERS = 4
    WAVENUMBERS = 5
    RELATIVE_WAVENUMBERS = 6
    ELECTRON_VOLTS = 7
    ANGSTROMS = 8
    MICRONS = 9

    @property
    def symbol(self) -> str:
        """Short axis label of the unit (e.g. ``"nm"``)."""
        return _SYMBOLS.get(self, "")


class DataType(enum.IntEnum):
    """Sample types of spectra (``dataType`` of the records)."""

    INT8 = 1
    INT16 = 2
    INT32 = 3
    FLOAT = 4
    DOUBLE = 5
    UINT8 = 6
    UINT16 = 7
    UINT32 = 8


class Mode(enum.IntEnum):
    """Calibration object modes."""

    MANUAL = 0
    AUTOMATIC = 1


_SYMBOLS = {
    Unit.NANOMETERS: "nm",
    Unit.WAVENUMBERS: "cm-1",
    Unit.RELATIVE_WAVENUMBERS: "Raman shift, cm-1",
    Unit.ELECTRON_VOLTS: "eV",
    Unit.ANGSTROMS: "Å",
    Unit.MICRONS: "µm",
}

# Names accepted on the command line and by parse_unit.
UNIT_NAMES: dict[str, Unit] = {
    "nm": Unit.NANOMETERS,
    "cm-1": Unit.WAVENUMBERS,
    "raman": Unit.RELATIVE_WAVENUMBERS,
    "ev": Unit.ELECTRON_VOLTS,
    "angstrom": Unit.ANGSTROMS,
    "micron": Unit.MICRONS,
}


def parse_unit(name: str | int | Unit) -> Unit:
    """A unit from its command-line name (``"nm"``, ``"cm-1"``, ``"raman"``,
    ``"ev"``, ``"angstrom"``, ``"micron"``), its code or a :class:`Unit`.

    Raises:
        ValueError: for anything else.
    """
    if isinstance(name, Unit):
        return name
    if isinstance(name, int):
        return Unit(name)
    key = name.strip().lower()
    if key in UNIT_NAMES:
        return UNIT_NAMES[key]
    raise ValueError(
        f"unknown unit {name!r} (use one of: {', '.join(UNIT_NAMES)})"
    )


def _to_nm(value: float, unit: Unit, laser_nm: float) -> float:
    if unit == Unit.NANOMETERS:
        return value
    if unit == Unit.WAVENUMBERS:
        return 1e7 / value
    if unit == Unit.RELATIVE_WAVENUMBERS:
        return 1e7 / (1e7 / laser_nm - value)
    if unit == Unit.ELECTRON_VOLTS:
        return HC_NM_EV / value
    if unit == Unit.ANGSTROMS:
        return value * 0.1
    return value * 1000.0  # microns


def _from_nm(nm: float, unit: Unit, laser_nm: float) -> float:
    if unit == Unit.NANOMETERS:
        return nm
    if unit == Unit.WAVENUMBERS:
        return 1e7 / nm
    if unit == Unit.RELATIVE_WAVENUMBERS:
        return 1e7 / laser_nm - 1e7 / nm
    if unit == Unit.ELECTRON_VOLTS:
        return HC_NM_EV / nm
    if unit == Unit.ANGSTROMS:
        return nm * 10.0
    return nm * 0.001  # microns


def convert(
    value: float,
    source: Unit | str | int,
    target: Unit | str | int,
    laser_nm: float | None = None,
) -> float:
    """Converts a value between the physical units (codes 4 to 9).

    The module converts inside its calibrations only; this is the same
    arithmetic with its constant (hc = 1239.841904 nm eV), always passing
    through nanometres, so every pair converts physically. (The module keeps
    a few direct conversions as hosts have always received them, such as a
    Raman shift read as electron volts on the way to wavenumbers; they are
    not reproduced here.)

    Raises:
        ValueError: an unsupported unit, a Raman shift without a positive
            laser line, or a value the conversion cannot take (zero where it
            divides, a non-finite value).
    """
    src = parse_unit(source)
    dst = parse_unit(target)
    for unit in (src, dst):
        if unit < Unit.NANOMETERS:
            raise ValueError(f"unit {unit.name} is not a physical unit")
    if Unit.RELATIVE_WAVENUMBERS in (src, dst) and src != dst:
        if laser_nm is None or not laser_nm > 0 or not math.isfinite(laser_nm):
            raise ValueError("a Raman shift needs a positive laser line (--laser NM)")
    if not math.isfinite(value):
        raise ValueError(f"value {value} is not a finite number")
    laser = laser_nm or 0.0
    try:
        nm = _to_nm(value, src, laser)
        result = _from_nm(nm, dst, laser)
    except ZeroDivisionError:
        raise ValueError(f"{value} {src.symbol} has no value in {dst.symbol}") from None
    if not math.isfinite(result):
        raise ValueError(f"{value} {src.symbol} has no finite value in {dst.symbol}")
    return result
