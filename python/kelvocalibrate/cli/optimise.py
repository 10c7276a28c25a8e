"""``kelvo optimise SPEC.toml --lines NM NM --cursors PX PX PX PX``."""

from __future__ import annotations

import argparse
import os

from ..description import load_description
from ._common import Command, Report, about, add_common, positive_float

ROWS = (
    ("focal_length_mm", "focal length (mm)", "{:.4f}"),
    ("inclusion_angle_deg", "inclusion angle (deg)", "{:.4f}"),
    ("detector_angle_deg", "detector angle (deg)", "{:.4f}"),
    ("objective_nm", "objective (nm)", "{:.3e}"),
    ("pixel_error_px", "pixel error (px)", "{:.3e}"),
)


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("description", metavar="SPEC.toml", help="spectrograph description (nominal optics)")
    p.add_argument("--lines", type=positive_float, nargs=2, required=True, metavar="NM",
                   help="the two known lines (nm)")
    p.add_argument("--cursors", type=positive_float, nargs=4, required=True, metavar="PX",
                   help="measured pixels: first line near the left and right edge, then the second line")
    add_common(p, plot=False)


def run(args: argparse.Namespace) -> Report:
    desc = load_description(args.description)
    with about(args.description), desc.open() as cal:
        cal.calc_dispersion_targets(*args.lines)
        targets = []
        for slot, pixel in enumerate(args.cursors, 1):
            targets.append(
                {
                    "slot": slot,
                    "line_nm": args.lines[(slot - 1) // 2],
                    "center_nm": cal.target_center(slot),
                    "expected_px": cal.ref_cursor(slot),
                    "measured_px": pixel,
                }
            )
            cal.set_ref_cursor(slot, pixel)
        cal.validate_targets()
        best = cal.optimise().as_dict()
        original = cal.original_parameters().as_dict()
    name = os.path.basename(args.description)
    lines = [
        f"{name}: lines {args.lines[0]:g} and {args.lines[1]:g} nm",
        "  slot  line nm   set center nm  expected px  measured px",
    ]
    lines += [
        f"  {t['slot']:4d}  {t['line_nm']:7.2f}  {t['center_nm']:14.4f}  {t['expected_px']:11.3f}  {t['measured_px']:11.3f}"
        for t in targets
    ]
    lines.append("")
    lines.append(f"  {'':24s} {'original':>14s} {'optimised':>14s}")
    for key, label, fmt in ROWS:
        lines.append(f"  {label:24s} {fmt.format(original[key]):>14s} {fmt.format(best[key]):>14s}")
    data = {
        "description": args.description,
        "lines_nm": list(args.lines),
        "targets": targets,
        "original": original,
        "optimised": best,
    }
    return Report("\n".join(lines), data)


COMMAND = Command("optimise", "optimise focal length and angles from two lines measured at both edges", add_arguments, run)
