"""What the subcommands share: user errors, argument types, reading tables
and calibration point files, writing JSON."""

from __future__ import annotations

import argparse
import configparser
import contextlib
import json
import math
import os
from dataclasses import dataclass, field
from typing import Any, Callable, Iterator

from ..errors import KelvoError


class CliError(Exception):
    """A problem with the user's input: reported as one line, exit status 1."""


@dataclass
class Report:
    """What a subcommand produced: the text for the terminal and the data
    for ``--json``."""

    text: str
    data: dict[str, Any]


@dataclass
class Command:
    """A registered subcommand."""

    name: str
    help: str
    add_arguments: Callable[[argparse.ArgumentParser], None]
    run: Callable[[argparse.Namespace], Report]


@contextlib.contextmanager
def about(subject: str) -> Iterator[None]:
    """Reports a code of the module as a one-line error about ``subject``
    (the file or the values the user gave)."""
    try:
        yield
    except KelvoError as exc:
        raise CliError(f"{subject}: {exc.message} ({exc.name}, {exc.code})") from None


def finite_float(text: str) -> float:
    """argparse type: a finite number."""
    try:
        value = float(text)
    except ValueError:
        raise argparse.ArgumentTypeError(f"{text!r} is not a number") from None
    if not math.isfinite(value):
        raise argparse.ArgumentTypeError(f"{text!r} is not a finite number")
    return value


def positive_float(text: str) -> float:
    value = finite_float(text)
    if value <= 0:
        raise argparse.ArgumentTypeError(f"{text!r} must be above 0")
    return value


def positive_int(text: str) -> int:
    try:
        value = int(text)
    except ValueError:
        raise argparse.ArgumentTypeError(f"{text!r} is not a whole number") from None
    if value < 1:
        raise argparse.ArgumentTypeError(f"{text!r} must be 1 or more")
    return value


PLOT_SUFFIXES = (".png", ".svg")


def plot_path(text: str) -> str:
    """argparse type: an output picture, PNG or SVG by its extension."""
    if os.path.splitext(text)[1].lower() not in PLOT_SUFFIXES:
        raise argparse.ArgumentTypeError(f"{text!r}: the plot file must end in .png or .svg")
    return text


def add_common(parser: argparse.ArgumentParser, plot: bool = True) -> None:
    """The options every subcommand has."""
    parser.add_argument(
        "--json",
        nargs="?",
        const="-",
        metavar="FILE",
        help="write the results as JSON (to FILE, or instead of the text to standard output)",
    )
    if plot:
        parser.add_argument("--plot", type=plot_path, metavar="OUT", help="draw a picture (.png or .svg)")


def need_file(path: str, what: str = "file") -> None:
    """Raises a one-line error unless ``path`` is a readable file."""
    if not os.path.exists(path):
        raise CliError(f"{path}: no such {what}")
    if os.path.isdir(path):
        raise CliError(f"{path}: is a directory, not a {what}")
    if not os.access(path, os.R_OK):
        raise CliError(f"{path}: cannot read the {what}")
    if os.path.getsize(path) == 0:
        raise CliError(f"{path}: the {what} is empty")


# --- tables (CSV) -------------------------------------------------------------


@dataclass
class Table:
    """A numeric CSV table: column names, rows, and ``# key = value`` lines."""

    path: str
    columns: list[str]
    rows: list[list[float]]
    meta: dict[str, str] = field(default_factory=dict)

    def column(self, index: int) -> list[float]:
        return [row[index] for row in self.rows]


def _is_number(text: str) -> bool:
    try:
        float(text)
    except ValueError:
        return False
    return True


def read_table(path: str) -> Table:
    """Reads a CSV table of numbers. Lines starting with ``#`` are comments;
    ``# key = value`` comments are kept as metadata. An optional first row of
    column names. Every value must be a finite number and every row must
    have as many fields as the first."""
    need_file(path)
    try:
        with open(path, encoding="utf-8-sig") as fh:  # spreadsheets write a BOM
            lines = fh.read().splitlines()
    except UnicodeDecodeError:
        raise CliError(f"{path}: not a text file") from None
    meta: dict[str, str] = {}
    columns: list[str] | None = None
    rows: list[list[float]] = []
    for number, line in enumerate(lines, start=1):
        stripped = line.strip()
        if not stripped:
            continue
        if stripped.startswith("#"):
            body = stripped.lstrip("#").strip()
            for sep in ("=", ":"):
                if sep in body:
                    key, value = body.split(sep, 1)
                    meta[key.strip().lower()] = value.strip()
                    break
            continue
        # Commas; else semicolons; else tabs or spaces, as other programs write.
        if "," in stripped:
            fields = [f.strip() for f in stripped.split(",")]
        elif ";" in stripped:
            fields = [f.strip() for f in stripped.split(";")]
        else:
            fields = stripped.split()
        if columns is None and not rows and not all(_is_number(f) for f in fields):
            columns = [f.lower() for f in fields]
            continue
        width = len(columns) if columns is not None else (len(rows[0]) if rows else len(fields))
        if len(fields) != width:
            raise CliError(f"{path}, line {number}: {len(fields)} values where {width} columns are expected")
        row: list[float] = []
        for text in fields:
            try:
                value = float(text)
            except ValueError:
                raise CliError(f"{path}, line {number}: {text!r} is not a number") from None
            if not math.isfinite(value):
                raise CliError(f"{path}, line {number}: {text!r} is not a finite number")
            row.append(value)
        rows.append(row)
    if not rows:
        raise CliError(f"{path}: no data rows")
    if columns is None:
        columns = [f"column{i + 1}" for i in range(len(rows[0]))]
    return Table(path, columns, rows, meta)


# X columns a spectrum may have before its counts.
X_COLUMNS = ("pixel", "data_point", "wavelength_nm")


@dataclass
class Spectrum:
    """Counts per sample, with an X column if the file had one."""

    path: str
    counts: list[float]
    x_name: str | None
    x: list[float] | None
    meta: dict[str, str]


def read_spectrum(path: str) -> Spectrum:
    """A spectrum CSV: a ``counts`` column alone, or an X column (``pixel``,
    ``data_point`` or ``wavelength_nm``) and the counts under any name."""
    table = read_table(path)
    cols = table.columns
    if len(cols) == 1:
        return Spectrum(path, table.column(0), None, None, table.meta)
    if len(cols) != 2:
        raise CliError(
            f"{path}: {len(cols)} columns ({', '.join(cols)}); expected counts, or an X column and counts"
        )
    x_name = {"pixels": "pixel", "px": "pixel"}.get(cols[0], cols[0])
    if x_name.startswith("column"):
        x_name = "pixel"  # a file without names: pixel, counts
    elif x_name not in X_COLUMNS:
        raise CliError(
            f"{path}: first column {cols[0]!r} is not one of {', '.join(X_COLUMNS)} (X values in nm)"
        )
    # The second column is the counts whatever its name (intensity, signal).
    return Spectrum(path, table.column(1), x_name, table.column(0), table.meta)


# --- calibration point files ----------------------------------------------------


def check_calib_file(path: str, segment: int) -> int:
    """Reads a calibration point file as the module will and reports what it
    would refuse or misread (non-numbers, NaN) as one line; returns the
    number of points of the segment."""
    need_file(path, "calibration point file")
    parser = configparser.ConfigParser(interpolation=None, strict=False, comment_prefixes=(";", "#"))
    parser.optionxform = str  # type: ignore[assignment,method-assign]
    try:
        with open(path, encoding="latin-1") as fh:
            parser.read_file(fh)
    except configparser.Error as exc:
        first = str(exc).splitlines()[0]
        raise CliError(f"{path}: not a calibration point file ({first})") from None
    if not parser.has_section("CCD_Info"):
        raise CliError(f"{path}: no [CCD_Info] section; not a calibration point file")
    section = f"Seg{segment}_Pixel_Calib"
    if not parser.has_section(section):
        raise CliError(f"{path}: segment {segment} does not exist (no [{section}] section)")
    seg = parser[section]
    raw = seg.get("Number_Points", "").strip()
    if not raw:
        raise CliError(f"{path}: [{section}] has no Number_Points")
    try:
        count = int(raw)
    except ValueError:
        raise CliError(f"{path}: [{section}] Number_Points = {raw!r} is not a whole number") from None
    if count < 2:
        raise CliError(f"{path}: [{section}] Number_Points = {count}: a fit needs at least 2 points")
    if count > 10:
        raise CliError(f"{path}: [{section}] Number_Points = {count}: at most 10 points per segment")
    for k in range(1, count + 1):
        for kind in ("Pixel", "Wave"):
            key = f"Point{k}_{kind}"
            text = seg.get(key)
            if text is None or not text.strip():
                raise CliError(f"{path}: [{section}] {key} is missing or empty")
            try:
                value = float(text)
            except ValueError:
                raise CliError(f"{path}: [{section}] {key} = {text.strip()!r} is not a number") from None
            if not math.isfinite(value):
                raise CliError(f"{path}: [{section}] {key} = {text.strip()!r} is not a finite number")
    return count


def write_json(target: str, data: dict[str, Any]) -> None:
    """Writes JSON to a file, or to standard output for ``-``."""
    text = json.dumps(data, indent=2, allow_nan=False)
    if target == "-":
        print(text)
        return
    try:
        with open(target, "w", encoding="utf-8") as fh:
            fh.write(text + "\n")
    except OSError as exc:
        raise CliError(f"{target}: cannot write ({exc.strerror})") from None


def write_csv(path: str, header: list[str], columns: list[Any]) -> None:
    """Writes columns of numbers as CSV (full precision)."""
    try:
        with open(path, "w", encoding="utf-8") as fh:
            fh.write(",".join(header) + "\n")
            for row in zip(*columns):
                fh.write(",".join(repr(float(v)) for v in row) + "\n")
    except OSError as exc:
        raise CliError(f"{path}: cannot write ({exc.strerror})") from None
