"""``kelvo axis SPEC.toml --center NM``: the wavelength of every pixel."""

from __future__ import annotations

import argparse
import os

from ..description import load_description
from . import plots
from ._common import Command, Report, about, add_common, positive_float, write_csv


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("description", metavar="SPEC.toml", help="spectrograph description")
    p.add_argument("--center", type=positive_float, required=True, metavar="NM", help="center wavelength")
    p.add_argument("--csv", metavar="OUT", help="write pixel, wavelength and dispersion as CSV")
    add_common(p)


def dispersion(values: list[float]) -> list[float]:
    """nm per pixel at every pixel: central differences, one-sided at the
    ends."""
    n = len(values)
    if n < 2:
        return [0.0] * n
    out = [abs(values[1] - values[0])]
    out += [abs(values[i + 1] - values[i - 1]) / 2.0 for i in range(1, n - 1)]
    out.append(abs(values[-1] - values[-2]))
    return out


def run(args: argparse.Namespace) -> Report:
    desc = load_description(args.description)
    with about(f"{args.description}, center {args.center:g} nm"), desc.open() as cal:
        cal.set_center(args.center)
        wavelengths = [float(v) for v in cal.model_pixel_axis(desc.pixels)]
        center_resolution = cal.center_resolution()
    disp = dispersion(wavelengths)
    pixels = list(range(1, desc.pixels + 1))
    name = os.path.basename(args.description)
    lines = [
        f"{name}: {desc.grooves_per_mm:g} g/mm, f {desc.focal_length_mm:g} mm, {desc.pixels} pixels "
        f"of {desc.pixel_size_um:g} um, center {args.center:g} nm",
        f"  pixel 1: {wavelengths[0]:.4f} nm, pixel {desc.pixels}: {wavelengths[-1]:.4f} nm "
        f"(span {abs(wavelengths[-1] - wavelengths[0]):.4f} nm)",
        f"  dispersion at the center: {center_resolution:.6f} nm/pixel "
        f"(edges {disp[0]:.6f} and {disp[-1]:.6f})",
    ]
    step = max(desc.pixels // 8, 1)
    for p in list(range(1, desc.pixels + 1, step)) + [desc.pixels]:
        lines.append(f"  pixel {p:5d}: {wavelengths[p - 1]:10.4f} nm  {disp[p - 1]:.6f} nm/pixel")
    if args.csv:
        write_csv(args.csv, ["pixel", "wavelength_nm", "dispersion_nm_per_pixel"], [pixels, wavelengths, disp])
        lines.append(f"axis written to {args.csv}")
    if args.plot:
        plots.axis_plot(args.plot, f"{name}: axis at {args.center:g} nm", pixels, wavelengths, disp)
        lines.append(f"plot written to {args.plot}")
    data = {
        "description": args.description,
        "center_nm": args.center,
        "pixels": desc.pixels,
        "center_dispersion_nm_per_pixel": center_resolution,
        "wavelength_nm": wavelengths,
        "dispersion_nm_per_pixel": disp,
    }
    return Report("\n".join(lines), data)


COMMAND = Command("axis", "wavelength of every pixel and the dispersion from a spectrograph description", add_arguments, run)
