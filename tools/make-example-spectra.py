#!/usr/bin/python3
"""Makes the example spectra in examples/ (seeded, so the files are the same
on every run):

- arc-spectrum.csv: the neon lines of examples/lamp-lines.csv between 582
  and 646 nm on a 1024-pixel CCD whose dispersion is segment 1's of
  examples/neon-1024.cal (nm = 582.0 + 0.06 p + 2e-6 p^2); Gaussian lines of
  1.6 px standard deviation over 300 counts, normal noise of 6 counts
  (numpy default_rng(1024)).
- glue-step1.csv .. glue-step3.csv: a mercury-neon lamp seen through
  examples/spectrograph-300mm.toml at the three centers that cover 560 to
  700 nm with 5 nm overlap, each pixel's wavelength from the grating model
  of the module; lines of 0.25 nm standard deviation over a continuum of 40
  counts, a gain of 1.00, 1.04, 1.08 per step, noise of sqrt(signal)
  (numpy default_rng(546)).

Run from the repository root after building the module:
    /usr/bin/python3 tools/make-example-spectra.py
"""

import csv
import math
import pathlib
import sys

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "python"))
import kelvocalibrate as kc  # noqa: E402

EXAMPLES = ROOT / "examples"


def lamp_lines(elements, lo, hi):
    with open(EXAMPLES / "lamp-lines.csv", encoding="utf-8") as fh:
        rows = [r for r in csv.reader(fh) if r and not r[0].startswith("#") and r[0] != "element"]
    return [(float(r[1]), float(r[2])) for r in rows if r[0] in elements and lo < float(r[1]) < hi]


def arc_spectrum():
    pixels = np.arange(1, 1025, dtype=float)
    wavelengths = 582.0 + 0.06 * pixels + 2e-6 * pixels**2
    counts = np.full(1024, 300.0)
    for nm, intensity in lamp_lines({"Ne I"}, 582.0, 646.0):
        # Pixel of the line: the root of the quadratic dispersion.
        p = (-0.06 + math.sqrt(0.06**2 + 4 * 2e-6 * (nm - 582.0))) / (2 * 2e-6)
        counts += 600.0 * (1 + intensity) * np.exp(-0.5 * ((pixels - p) / 1.6) ** 2)
    counts += np.random.default_rng(1024).normal(0.0, 6.0, 1024)
    assert abs(wavelengths[0] - 582.060002) < 1e-6
    with open(EXAMPLES / "arc-spectrum.csv", "w", encoding="utf-8") as fh:
        fh.write("# Neon arc lamp on a 1024-pixel CCD (synthetic, tools/make-example-spectra.py)\n")
        fh.write("# dispersion: nm = 582.0 + 0.06 p + 2e-6 p^2 (segment 1 of neon-1024.cal)\n")
        fh.write("pixel,counts\n")
        for p, c in zip(pixels, counts):
            fh.write(f"{int(p)},{c:.1f}\n")


def glue_steps():
    desc = kc.load_description(EXAMPLES / "spectrograph-300mm.toml")
    lines = lamp_lines({"Hg I", "Ne I"}, 545.0, 720.0)
    rng = np.random.default_rng(546)
    with desc.open() as cal:
        centers = cal.step_centers(560.0, 700.0, 5.0)
        for i, center in enumerate(centers, start=1):
            cal.set_center(float(center))
            axis = np.asarray(cal.model_pixel_axis(desc.pixels))
            signal = np.full(axis.size, 40.0)
            for nm, intensity in lines:
                signal += 2000.0 * intensity * np.exp(-0.5 * ((axis - nm) / 0.25) ** 2)
            gain = 1.0 + 0.04 * (i - 1)
            counts = gain * (signal + rng.normal(0.0, np.sqrt(signal)))
            with open(EXAMPLES / f"glue-step{i}.csv", "w", encoding="utf-8") as fh:
                fh.write(f"# Hg-Ne lamp, step {i} of {len(centers)} (synthetic, tools/make-example-spectra.py)\n")
                fh.write(f"# center_nm = {float(center):.4f}\n")
                fh.write("pixel,counts\n")
                for p, c in enumerate(counts, start=1):
                    fh.write(f"{p},{c:.1f}\n")


if __name__ == "__main__":
    arc_spectrum()
    glue_steps()
