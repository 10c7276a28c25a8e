"""``kelvo steps SPEC.toml --start NM --end NM --overlap NM``."""

from __future__ import annotations

import argparse
import os

from ..description import load_description
from ._common import CliError, Command, Report, about, add_common, finite_float, positive_float


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("description", metavar="SPEC.toml", help="spectrograph description")
    p.add_argument("--start", type=positive_float, required=True, metavar="NM")
    p.add_argument("--end", type=positive_float, required=True, metavar="NM")
    p.add_argument("--overlap", type=finite_float, default=0.0, metavar="NM", help="overlap of neighbouring steps")
    add_common(p, plot=False)


def run(args: argparse.Namespace) -> Report:
    if args.overlap < 0:
        raise CliError(f"--overlap {args.overlap:g}: must not be negative")
    desc = load_description(args.description)
    subject = f"{args.description}, {args.start:g}-{args.end:g} nm with {args.overlap:g} nm overlap"
    with about(subject), desc.open() as cal:
        centers = [float(c) for c in cal.step_centers(args.start, args.end, args.overlap)]
        covers = []
        for c in centers:
            cal.set_center(c)
            axis = cal.model_pixel_axis(desc.pixels)
            covers.append((float(min(axis[0], axis[-1])), float(max(axis[0], axis[-1]))))
    name = os.path.basename(args.description)
    lines = [
        f"{name}: {args.start:g}-{args.end:g} nm with {args.overlap:g} nm overlap: {len(centers)} steps",
        "  step   center nm   covers nm",
    ]
    lines += [f"  {i:4d}  {c:10.4f}   {lo:9.3f} - {hi:9.3f}" for i, (c, (lo, hi)) in enumerate(zip(centers, covers), 1)]
    data = {
        "description": args.description,
        "start_nm": args.start,
        "end_nm": args.end,
        "overlap_nm": args.overlap,
        "steps": len(centers),
        "centers_nm": centers,
        "covers_nm": [list(c) for c in covers],
    }
    return Report("\n".join(lines), data)


COMMAND = Command("steps", "grating steps that cover a range wider than the detector", add_arguments, run)
