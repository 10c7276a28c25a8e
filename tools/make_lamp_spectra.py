#!/usr/bin/python3
"""Writes the example lamp spectra examples/lamp-*.csv for `kelvo autocal`.

The instrument is examples/spectrograph-300mm.toml (1200 g/mm, 300 mm,
inclusion 30 deg, 1024 pixels of 26 um) as it really is: focal length 2 %
longer than its description says, detector tilted by 0.3 deg, and the
grating drive 17 pixels off the requested center. Lines of
examples/lamp-lines.csv are Gaussians of 2.4 pixels FWHM integrated over each
pixel, intensities scaled by 0.3 to 3 at random, on a sloping continuum,
with Poisson noise and two lines of no listed element. Seeded: running it
again writes the same files.

    /usr/bin/python3 tools/make_lamp_spectra.py
"""
import math
import pathlib

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parent.parent
PIXELS, PIXEL_UM, GROOVES, INCLUSION = 1024, 26.0, 1200.0, 30.0
FOCAL, DETECTOR_ANGLE, SHIFT_PIXELS, FWHM = 300.0 * 1.02, 0.3, 17.0, 2.4
SPECTRA = [("lamp-ne-640nm.csv", ("Ne",), 640.0, 1),
           ("lamp-ne-700nm.csv", ("Ne",), 700.0, 2),
           ("lamp-hgar-800nm.csv", ("Hg", "Ar"), 800.0, 3)]


def wavelength(center, pixel):
    """The grating equation with `center` on the detector center."""
    phi = INCLUSION * 0.008726646258333333
    gamma = DETECTOR_ANGLE * 0.017453292516666667
    theta = math.asin(GROOVES * center * 1e-6 / (2 * math.cos(phi)))
    x = PIXEL_UM * (pixel - 0.5 * (PIXELS + 1)) * 0.001
    delta = np.arctan(x * math.cos(gamma) / (FOCAL + x * math.sin(gamma)))
    return (math.sin(theta - phi) + np.sin(theta + phi + delta)) * 1e6 / GROOVES


def lamp_lines(elements):
    rows = []
    for line in (ROOT / "examples" / "lamp-lines.csv").read_text().splitlines():
        fields = line.split(",")
        if line.startswith("#") or len(fields) < 3 or fields[0] == "element":
            continue
        if fields[0].split()[0] in elements:
            rows.append((float(fields[1]), float(fields[2])))
    return rows


def spectrum(elements, center, seed):
    rng = np.random.default_rng(seed)
    pixels = np.arange(1, PIXELS + 1, dtype=float)
    axis = wavelength(center, pixels)
    shift = SHIFT_PIXELS * (axis[PIXELS // 2] - axis[PIXELS // 2 - 1])
    axis = wavelength(center + shift, pixels)
    sigma = FWHM / 2.354820045
    peaks = []
    for wl, intensity in lamp_lines(elements):
        if axis[0] - 1 < wl < axis[-1] + 1:
            peaks.append((np.interp(wl, axis, pixels), intensity * rng.uniform(0.3, 3.0)))
    peaks += [(rng.uniform(50, PIXELS - 50), 0.3 * max(a for _, a in peaks)) for _ in range(2)]
    scale = 40000.0 / max(a for _, a in peaks)
    mean = 200.0 * (1 + 0.4 * (pixels - PIXELS / 2) / PIXELS)
    erf = np.vectorize(math.erf)
    for p, a in peaks:
        area = a * scale * sigma * math.sqrt(2 * math.pi)
        hi = erf((pixels + 0.5 - p) / (sigma * math.sqrt(2)))
        lo = erf((pixels - 0.5 - p) / (sigma * math.sqrt(2)))
        mean += 0.5 * area * (hi - lo)
    return rng.poisson(mean)


def main():
    for name, elements, center, seed in SPECTRA:
        counts = spectrum(elements, center, seed)
        text = "pixel,counts\n" + "".join(f"{k},{c}\n" for k, c in enumerate(counts, 1))
        (ROOT / "examples" / name).write_text(text)
        print(f"examples/{name}: {'+'.join(elements)}, requested center {center} nm")


if __name__ == "__main__":
    main()
