"""``kelvo peaks SPECTRUM.csv``: the strongest peaks of a spectrum."""

from __future__ import annotations

import argparse
import os
from typing import Sequence

from ..calibration import Calibration
from . import plots
from ._common import CliError, Command, Report, about, add_common, check_calib_file, positive_int, read_spectrum


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("spectrum", metavar="SPECTRUM.csv", help="counts, or an X column and counts")
    p.add_argument("--max", type=positive_int, default=10, metavar="N", help="peaks to keep (default 10)")
    p.add_argument("--cal", metavar="FILE.cal", help="calibrate the positions with a calibration point file")
    p.add_argument("--segment", type=positive_int, default=1, help="segment of --cal (default 1)")
    add_common(p)


def interpolate(values: Sequence[float], position: float) -> float:
    """The value at a fractional 1-based position, linear between samples."""
    i = min(max(int(position) - 1, 0), len(values) - 2)
    t = position - (i + 1)
    return values[i] + (values[i + 1] - values[i]) * t


def run(args: argparse.Namespace) -> Report:
    spectrum = read_spectrum(args.spectrum)
    counts = spectrum.counts
    if len(counts) < 3:
        raise CliError(f"{args.spectrum}: {len(counts)} samples; a peak search needs at least 3")
    if args.cal:
        check_calib_file(args.cal, args.segment)
    with Calibration() as cal, about(args.cal or args.spectrum):
        cal.load_detector(len(counts))
        if args.cal:
            cal.load_calib_file(args.cal, args.segment)
        found = cal.find_peaks([float(c) for c in counts], args.max)
    positions = [float(p) for p in found.positions]
    heights = [interpolate(counts, p) for p in positions]
    values: list[float] | None = None
    unit = None
    if args.cal:
        values = [float(v) for v in found.values]
        unit = "nm"
    elif spectrum.x_name == "wavelength_nm" and spectrum.x is not None:
        values = [interpolate(spectrum.x, p) for p in positions]
        unit = "nm"
    name = os.path.basename(args.spectrum)
    lines = [f"{name}: {len(counts)} samples, {found.found} peaks found, the {len(positions)} strongest:"]
    lines.append("  peak  data point      counts" + ("        nm" if values else ""))
    for i, (p, h) in enumerate(zip(positions, heights), 1):
        extra = f"  {values[i - 1]:10.4f}" if values else ""
        lines.append(f"  {i:4d}  {p:10.3f}  {h:10.1f}{extra}")
    if args.plot:
        if values:
            x_all = (
                [float(v) for v in _axis(args, len(counts))]
                if args.cal
                else list(spectrum.x or [])
            )
            x_label, peak_x = "wavelength (nm)", values
        else:
            x_all, x_label, peak_x = [float(i) for i in range(1, len(counts) + 1)], "data point", positions
        labels = [f"{v:.2f}" for v in (values or positions)]
        plots.peaks_plot(args.plot, f"{name}: {len(positions)} strongest peaks", x_all, counts, peak_x, heights, labels, x_label)
        lines.append(f"plot written to {args.plot}")
    data = {
        "file": args.spectrum,
        "samples": len(counts),
        "found": found.found,
        "unit": unit,
        "calibration": args.cal,
        "peaks": [
            {"position": p, "counts": h, "value": (values[i] if values else None)}
            for i, (p, h) in enumerate(zip(positions, heights))
        ],
    }
    return Report("\n".join(lines), data)


def _axis(args: argparse.Namespace, count: int) -> list[float]:
    with Calibration() as cal:
        cal.load_detector(count)
        cal.load_calib_file(args.cal, args.segment)
        return [float(v) for v in cal.pixel_axis(count)]


COMMAND = Command("peaks", "find the strongest peaks of a spectrum", add_arguments, run)
