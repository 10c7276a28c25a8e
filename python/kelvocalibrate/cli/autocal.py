"""``kelvo autocal``: name the lines of lamp spectra and fit the grating
model to them."""

from __future__ import annotations

import argparse
import os
from typing import Any

from ..autocal import AutocalResult, lamp_lines
from ..description import load_description
from ..errors import AutocalNoMatch, AutocalTooFewPeaks, KelvoError  # type: ignore[attr-defined]
from . import plots
from ._common import CliError, Command, Report, about, add_common, finite_float, need_file, read_spectrum

REASONS = {
    AutocalTooFewPeaks.code: "too few peaks",
    AutocalNoMatch.code: "no consistent match of the peaks with the lamp's lines",
}


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("--spectrum", action="append", required=True, metavar="FILE.csv",
                   help="lamp spectrum: one count per line, or 'pixel,counts' after a header line (repeat for more)")
    p.add_argument("--center", action="append", required=True, type=finite_float, metavar="NM",
                   help="requested center wavelength of each --spectrum, in the same order")
    p.add_argument("--lamp", action="append", required=True, metavar="ELEMENT",
                   help="an element of the lamp: Ne, Hg, Ar, Kr, Cd (repeat, or Hg,Ar)")
    p.add_argument("--spectrograph", required=True, metavar="SPEC.toml", help="the instrument's description")
    p.add_argument("--lines", metavar="LINES.csv",
                   help="lamp lines 'element,air_wavelength_nm,relative_intensity' (default: the built-in list)")
    p.add_argument("--hold", action="append", choices=["focal_length", "inclusion_angle", "detector_angle", "none"],
                   help="parameter kept at its nominal value (default: inclusion_angle; 'none' frees all)")
    p.add_argument("--search", type=finite_float, metavar="PX", help="how far a spectrum may sit off, pixels (50)")
    add_common(p)


def _counts(path: str, pixels: int) -> tuple[list[float], int]:
    """The counts, and the number of the file's first pixel: files that count
    pixels from 0 get their line positions back in that numbering."""
    spectrum = read_spectrum(path)
    if spectrum.x_name not in (None, "pixel"):
        raise CliError(f"{path}: the first column must be 'pixel' (got {spectrum.x_name!r})")
    first = 1 if spectrum.x is None or spectrum.x[0] != 0.0 else 0
    if spectrum.x is not None and spectrum.x != [float(k) for k in range(first, first + len(spectrum.x))]:
        raise CliError(f"{path}: pixels must run 1, 2, 3, ... (or 0, 1, 2, ...) in order")
    if len(spectrum.counts) != pixels:
        raise CliError(f"{path}: {len(spectrum.counts)} counts, but the detector has {pixels} pixels")
    return spectrum.counts, first


def _plot(path: str, spectra: list[list[float]], firsts: list[int], names: list[str], fit: AutocalResult) -> None:
    fig, axes = plots._figure(len(spectra) + 1, [3] * len(spectra) + [2])
    for j, (ax, counts) in enumerate(zip(axes, spectra)):
        ax.plot(range(firsts[j], firsts[j] + len(counts)), counts, color="tab:blue", linewidth=0.8)
        top = max(counts)
        for line in (ln for ln in fit.lines if ln.spectrum == j):
            height = counts[min(max(round(line.pixel) - 1, 0), len(counts) - 1)]
            ax.annotate(f"{line.element} {line.wavelength_nm:.2f}", (line.pixel - 1 + firsts[j], height),
                        xytext=(0, 4), textcoords="offset points", rotation=90, fontsize=7,
                        ha="center", va="bottom", color="tab:red")
        ax.set_ylim(top=1.35 * top)
        ax.set_ylabel("counts")
        ax.set_title(f"{names[j]}: requested {fit.requested_centers_nm[j]:.2f} nm, "
                     f"fitted {fit.centers_nm[j]:.3f} nm at the center")
        ax.grid(alpha=0.3)
    res = axes[-1]
    res.axhline(0.0, color="0.5", linewidth=0.8)
    for j in range(len(spectra)):
        mine = [ln for ln in fit.lines if ln.spectrum == j]
        res.plot([ln.pixel - 1 + firsts[j] for ln in mine], [ln.residual_nm * 1000 for ln in mine], "o",
                 label=names[j] if len(spectra) > 1 else None)
    res.set_xlabel("pixel")
    res.set_ylabel("residual (pm)")
    res.set_title(f"residuals of the grating model: RMS {fit.rms_nm * 1000:.2f} pm, {fit.rms_px:.3f} px")
    if len(spectra) > 1:
        res.legend(loc="best", fontsize=8)
    res.grid(alpha=0.3)
    plots._save(fig, path)


def run(args: argparse.Namespace) -> Report:
    if len(args.spectrum) != len(args.center):
        raise CliError(f"{len(args.spectrum)} --spectrum but {len(args.center)} --center: give one center per spectrum")
    need_file(args.spectrograph, "spectrograph description")
    if args.lines:
        need_file(args.lines, "lamp-line list")
    description = load_description(args.spectrograph)
    spectra, firsts = map(list, zip(*(_counts(path, description.pixels) for path in args.spectrum)))
    elements = ",".join(args.lamp)
    with about(args.lines or f"--lamp {elements}"):
        lamp_lines(elements, args.lines)  # an unknown element or a bad list: one line
    hold = None
    if args.hold:
        hold = [h for h in args.hold if h != "none"]
    with description.open() as cal:
        try:
            fit = cal.autocalibrate(spectra, args.center, elements, lines_file=args.lines,
                                    search_px=args.search, hold=hold)
        except KelvoError as exc:
            reason = REASONS.get(exc.code)
            if reason is None:
                raise CliError(f"{args.spectrograph}: {exc.message} ({exc.name}, {exc.code})") from None
            raise CliError(f"identification failed: {reason} ({exc.detail}; {exc.name}, {exc.code})") from None
        axis = [float(v) for v in cal.autocal_wavelengths(fit, fit.centers_nm[0], description.pixels)]

    names = [os.path.basename(p) for p in args.spectrum]
    text = [f"{len(fit.lines)} lines of {elements} named in {len(spectra)} spectra "
            f"(peaks found: {', '.join(map(str, fit.peaks))}); {fit.rejected} rejected by the fit"]
    for key, unit in (("focal_length_mm", "mm"), ("inclusion_angle_deg", "deg"), ("detector_angle_deg", "deg")):
        value, sigma = getattr(fit, key), getattr(fit, key + "_sigma")
        held = " (held)" if sigma == 0.0 else ""
        text.append(f"  {key[:-3].replace('_', ' '):16s} {value:12.5f} +- {sigma:.5f} {unit}{held}")
    for name, req, c, s in zip(names, fit.requested_centers_nm, fit.centers_nm, fit.centers_nm_sigma):
        text.append(f"  {name}: requested {req:.3f} nm, fitted center {c:.4f} +- {s:.4f} nm")
    text.append("")
    text.append("  spectrum     pixel   element  wavelength nm  residual nm  residual px")
    def pixel(ln: Any) -> float:  # in the file's numbering
        return ln.pixel - 1 + firsts[ln.spectrum]

    for ln in fit.lines:
        text.append(f"  {ln.spectrum + 1:8d}  {pixel(ln):8.3f}  {ln.element:>8s}  {ln.wavelength_nm:13.5f}"
                    f"  {ln.residual_nm:+11.5f}  {ln.residual_px:+11.4f}")
    text.append(f"  RMS residual: {fit.rms_nm:.5f} nm, {fit.rms_px:.4f} px")
    if args.plot:
        _plot(args.plot, spectra, firsts, names, fit)
        text.append(f"plot written to {args.plot}")
    data: dict[str, Any] = {
        "spectra": [{"file": p, "center_nm": c, "peaks": n} for p, c, n in zip(args.spectrum, args.center, fit.peaks)],
        "lamp": elements,
        "lines": [
            {"pixel": pixel(ln), "wavelength_nm": ln.wavelength_nm, "element": ln.element,
             "center_nm": ln.center_nm, "residual_nm": ln.residual_nm, "residual_px": ln.residual_px}
            for ln in fit.lines
        ],
        "model": fit.model(),
        "wavelengths_nm": axis,
        "rms_nm": fit.rms_nm,
        "rms_px": fit.rms_px,
    }
    return Report("\n".join(text), data)


COMMAND = Command("autocal", "name the lines of lamp spectra and fit the grating model to them", add_arguments, run)
