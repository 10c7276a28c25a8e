"""``kelvo glue SPEC.toml STEP1.csv STEP2.csv ... --step NM --out GLUED.csv``."""

from __future__ import annotations

import argparse
import math
import os

from ..description import load_description
from . import plots
from ._common import CliError, Command, Report, about, add_common, positive_float, read_spectrum, write_csv

CENTER_KEYS = ("center_nm", "center")


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("description", metavar="SPEC.toml", help="spectrograph description")
    p.add_argument("steps", nargs="+", metavar="STEP.csv",
                   help="spectra (counts, or pixel and counts), one per center wavelength")
    p.add_argument("--step", type=positive_float, required=True, metavar="NM", help="spacing of the glued axis")
    p.add_argument("--out", required=True, metavar="GLUED.csv", help="where to write the glued spectrum")
    p.add_argument("--centers", type=positive_float, nargs="+", metavar="NM",
                   help="center wavelength of each step (default: a '# center_nm = ...' line in each file)")
    p.add_argument("--start", type=positive_float, metavar="NM", help="start of the glued axis")
    p.add_argument("--end", type=positive_float, metavar="NM", help="end of the glued axis")
    add_common(p)


def _center(path: str, meta: dict[str, str]) -> float:
    for key in CENTER_KEYS:
        if key in meta:
            text = meta[key]
            try:
                value = float(text)
            except ValueError:
                raise CliError(f"{path}: center wavelength {text!r} is not a number") from None
            if not (math.isfinite(value) and value > 0):
                raise CliError(f"{path}: center wavelength {text!r} must be a number above 0")
            return value
    raise CliError(f"{path}: no center wavelength (add a line '# center_nm = 546.1' or give --centers)")


def run(args: argparse.Namespace) -> Report:
    if len(args.steps) < 2:
        raise CliError("glue needs at least two spectra")
    if args.centers is not None and len(args.centers) != len(args.steps):
        raise CliError(f"--centers gives {len(args.centers)} wavelengths for {len(args.steps)} files")
    desc = load_description(args.description)
    spectra = [read_spectrum(path) for path in args.steps]
    for s in spectra:
        if len(s.counts) != desc.pixels:
            raise CliError(f"{s.path}: {len(s.counts)} samples, but the detector has {desc.pixels} pixels")
    centers = args.centers or [_center(s.path, s.meta) for s in spectra]
    with about(args.description), desc.open() as cal:
        axes = []
        for s, center in zip(spectra, centers):
            if s.x_name == "wavelength_nm" and s.x is not None:
                axes.append(list(s.x))  # the file's own axis
                continue
            cal.set_center(center)
            axes.append([float(v) for v in cal.model_pixel_axis(desc.pixels)])
        lo = min(min(a) for a in axes)
        hi = max(max(a) for a in axes)
        # Default ends on the grid of the step, inside the covered range.
        start = args.start if args.start is not None else math.ceil(lo / args.step) * args.step
        end = args.end if args.end is not None else math.floor(hi / args.step) * args.step
        if not end > start:
            raise CliError(f"the glued axis {start:g} to {end:g} nm is empty")
        glued = cal.glue([s.counts for s in spectra], axes, step=args.step, start=start, end=end)
    axis = [float(v) for v in glued.axis]
    values = [float(v) for v in glued.data]
    write_csv(args.out, ["wavelength_nm", "counts"], [axis, values])
    name = os.path.basename(args.description)
    lines = [f"{name}: {len(spectra)} spectra glued every {args.step:g} nm"]
    for s, c, a in zip(spectra, centers, axes):
        lines.append(f"  {os.path.basename(s.path)}: center {c:.3f} nm, {min(a):.3f} - {max(a):.3f} nm")
    lines.append(f"  {len(axis)} points, {axis[0]:.4f} - {axis[-1]:.4f} nm, written to {args.out}")
    if args.plot:
        inputs = [(os.path.basename(s.path), a, s.counts) for s, a in zip(spectra, axes)]
        plots.glue_plot(args.plot, f"{name}: {len(spectra)} steps glued", inputs, axis, values)
        lines.append(f"plot written to {args.plot}")
    data = {
        "description": args.description,
        "inputs": [
            {"file": s.path, "center_nm": c, "first_nm": a[0], "last_nm": a[-1]}
            for s, c, a in zip(spectra, centers, axes)
        ],
        "step_nm": args.step,
        "start_nm": axis[0],
        "end_nm": axis[-1],
        "points": len(axis),
        "out": args.out,
    }
    return Report("\n".join(lines), data)


COMMAND = Command("glue", "glue spectra taken at several center wavelengths onto one axis", add_arguments, run)
