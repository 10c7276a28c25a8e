"""``kelvo fit FILE.cal``: fit a segment of a calibration point file."""

from __future__ import annotations

import argparse
import math
import os

from ..calibfile import load_points
from ..calibration import Calibration
from ..units import UNIT_NAMES, Unit, convert
from . import plots
from ._common import CliError, Command, Report, about, add_common, check_calib_file, finite_float, positive_int

UNIT_LABELS = {
    Unit.NANOMETERS: "Wavelength, nm",
    Unit.WAVENUMBERS: "Wavenumber, cm-1",
    Unit.RELATIVE_WAVENUMBERS: "Relative Wavenumber, Rel cm-1",
    Unit.ELECTRON_VOLTS: "Electron Volts, eV",
    Unit.ANGSTROMS: "Angstroms",
    Unit.MICRONS: "Microns",
}


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("file", metavar="FILE.cal", help="calibration point file")
    p.add_argument("--segment", type=positive_int, default=1, help="segment to fit (default 1)")
    p.add_argument("--unit", choices=list(UNIT_NAMES), default="nm", help="unit of the reported values")
    p.add_argument("--laser", type=finite_float, metavar="NM", help="laser line for --unit raman")
    p.add_argument(
        "--pixels",
        type=positive_int,
        help="pixels of the detector (default: the smallest power of two that holds every point)",
    )
    add_common(p)


def _default_pixels(largest: float) -> int:
    # The file does not name the pixel count; detectors are almost always a
    # power of two wide, and the curve only needs to span the points.
    n = 2
    while n < largest:
        n *= 2
    return n


def _slope(coefficients: list[float], pixel: float) -> float:
    return sum(i * c * pixel ** (i - 1) for i, c in enumerate(coefficients) if i > 0)


def run(args: argparse.Namespace) -> Report:
    unit = UNIT_NAMES[args.unit]
    if unit == Unit.RELATIVE_WAVENUMBERS and not (args.laser and args.laser > 0):
        raise CliError("--unit raman needs the laser line: --laser NM")
    path = args.file
    check_calib_file(path, args.segment)
    points = load_points(path, args.segment)
    pixels = args.pixels or _default_pixels(max(p.pixel for p in points))
    if max(p.pixel for p in points) > pixels:
        raise CliError(f"{path}: a point lies beyond pixel {pixels} (--pixels)")
    with Calibration() as cal, about(path):
        cal.load_detector(pixels)
        data = cal.load_calib_file(path, args.segment, 0.0, args.laser or 0.0)
        coefficients = list(data.coefficients[: data.order + 1])
        fitted_nm = [float(v) for v in cal.pixel_to_value([p.pixel for p in points])]
        fit_error = cal.fit_error()
        if unit != Unit.NANOMETERS:
            data.display_unit = unit
            data.laser_nm = args.laser or 0.0
            data.unit_label = UNIT_LABELS[unit]
            cal.load_calibration(data)
        curve = cal.pixel_axis(pixels)
        fitted = [float(v) for v in cal.pixel_to_value([p.pixel for p in points])]
    known = [convert(p.wavelength, Unit.NANOMETERS, unit, args.laser) for p in points]
    res_nm = [f - p.wavelength for f, p in zip(fitted_nm, points)]
    res_px = [r / _slope(coefficients, p.pixel) for r, p in zip(res_nm, points)]
    rms_nm = math.sqrt(sum(r * r for r in res_nm) / len(res_nm))
    rms_px = math.sqrt(sum(r * r for r in res_px) / len(res_px))
    sym = unit.symbol
    name = os.path.basename(path)
    lines = [
        f"{name}, segment {args.segment}: {len(points)} points, polynomial of order {data.order} "
        f"(nm = sum c[i] * pixel^i), {pixels} pixels",
    ]
    lines += [f"  c{i} = {c: .10e}" for i, c in enumerate(coefficients)]
    lines.append("")
    lines.append(f"  point     pixel  {'known ' + sym:>14}  {'fitted ' + sym:>14}  residual nm  residual px")
    for i, (p, k, f, rn, rp) in enumerate(zip(points, known, fitted, res_nm, res_px), start=1):
        lines.append(f"  {i:5d}  {p.pixel:8.3f}  {k:14.5f}  {f:14.5f}  {rn:+11.5f}  {rp:+11.4f}")
    lines.append(f"  RMS residual: {rms_nm:.5f} nm, {rms_px:.4f} px")
    lines.append(f"  root of summed squared relative errors: {fit_error:.3e}")
    if args.plot:
        plots.fit_plot(
            args.plot,
            f"{name}, segment {args.segment}: order {data.order} fit",
            list(range(1, pixels + 1)),
            list(curve),
            [p.pixel for p in points],
            known,
            res_nm,
            sym,
        )
        lines.append(f"plot written to {args.plot}")
    report = {
        "file": path,
        "segment": args.segment,
        "pixels": pixels,
        "unit": args.unit,
        "laser_nm": args.laser,
        "order": data.order,
        "coefficients": coefficients,
        "points": [
            {"pixel": p.pixel, "known_nm": p.wavelength, "known": k, "fitted": f, "residual_nm": rn, "residual_px": rp}
            for p, k, f, rn, rp in zip(points, known, fitted, res_nm, res_px)
        ],
        "rms_nm": rms_nm,
        "rms_px": rms_px,
        "relative_fit_error": fit_error,
    }
    return Report("\n".join(lines), report)


COMMAND = Command("fit", "fit a segment of a calibration point file and show the residuals", add_arguments, run)
