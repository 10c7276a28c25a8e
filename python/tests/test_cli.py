"""Every ``kelvo`` subcommand on the shipped examples (numbers, JSON and
pictures checked), and bad input giving one line and a non-zero status."""

import csv
import json
import math
import os
import subprocess
import sys
import xml.etree.ElementTree as ET

import numpy as np
import pytest
from conftest import ROOT
from test_binding import SEGMENTS

from matplotlib import image

TOML = "examples/spectrograph-300mm.toml"


@pytest.fixture(autouse=True)
def at_root(monkeypatch):
    monkeypatch.chdir(ROOT)


def run_json(kelvo, tmp_path, *args):
    out = tmp_path / "out.json"
    code, text, err = kelvo(*args, "--json", out)
    assert (code, err) == (0, "")
    return json.loads(out.read_text()), text


def lamp_lines(*elements):
    with open(ROOT / "examples" / "lamp-lines.csv", encoding="utf-8") as fh:
        rows = [r for r in csv.reader(fh) if r and r[0] in elements]
    return np.array([float(r[1]) for r in rows])


def check_png(path, min_size=(400, 600)):
    pixels = image.imread(path)
    assert pixels.shape[0] >= min_size[0] and pixels.shape[1] >= min_size[1]
    gray = pixels[..., :3].mean(axis=2)
    assert gray.std() > 0.02 and (gray < 0.5).mean() > 0.001  # drawn, not blank


def svg_texts(path):
    return {"".join(t.itertext()).strip() for t in ET.parse(path).iter("{http://www.w3.org/2000/svg}text")}


def test_fit_prints_coefficients_residuals_and_rms(kelvo, tmp_path):
    _, _, c, _ = SEGMENTS[0]
    data, text = run_json(kelvo, tmp_path, "fit", "examples/neon-1024.cal", "--plot", tmp_path / "fit.png")
    assert data["coefficients"] == pytest.approx(c, rel=1e-9)
    # Residuals and RMS from the exact quadratic (numpy on the points).
    pix = np.array([p["pixel"] for p in data["points"]])
    known = np.array([p["known_nm"] for p in data["points"]])
    residual = c[0] + c[1] * pix + c[2] * pix**2 - known
    assert [p["residual_nm"] for p in data["points"]] == pytest.approx(residual, abs=1e-9)
    slope = c[1] + 2 * c[2] * pix
    assert [p["residual_px"] for p in data["points"]] == pytest.approx(residual / slope, abs=1e-7)
    assert data["rms_nm"] == pytest.approx(math.sqrt((residual**2).mean()), rel=1e-6)
    assert set(data) == {"file", "segment", "pixels", "unit", "laser_nm", "order", "coefficients", "points",
                         "rms_nm", "rms_px", "relative_fit_error"}
    assert (data["order"], data["pixels"], len(data["points"])) == (2, 1024, 10)
    assert "RMS residual: 0.00241 nm" in text
    check_png(tmp_path / "fit.png")


def test_fit_in_wavenumbers_with_svg_plot(kelvo, tmp_path):
    _, _, c, _ = SEGMENTS[1]
    svg = tmp_path / "fit.svg"
    data, _ = run_json(kelvo, tmp_path, "fit", "examples/neon-1024.cal", "--segment", "2", "--unit", "cm-1",
                       "--plot", svg)
    first = data["points"][0]
    nm = c[0] + c[1] * first["pixel"] + c[2] * first["pixel"] ** 2
    assert first["fitted"] == pytest.approx(1e7 / nm, rel=1e-9)
    assert first["known"] == pytest.approx(1e7 / 404.656, rel=1e-12)
    assert {"pixel", "residual (nm)", "calibrated value (cm-1)"} <= svg_texts(svg)
    assert any("neon-1024.cal" in t for t in svg_texts(svg))


@pytest.mark.parametrize("args,expected", [
    (["500", "532", "--from", "nm", "--to", "cm-1"], [20000.0, 1e7 / 532]),
    (["546", "--from", "nm", "--to", "raman", "--laser", "532"], [1e7 / 532 - 1e7 / 546]),
    (["1", "--from", "ev", "--to", "nm"], [1239.841904]),
    (["5000", "--from", "angstrom", "--to", "micron"], [0.5]),
])
def test_convert(kelvo, tmp_path, args, expected):
    data, text = run_json(kelvo, tmp_path, "convert", *args)
    assert [v["output"] for v in data["values"]] == pytest.approx(expected, rel=1e-12)
    assert text.count("=") == len(expected)


def test_axis_writes_csv_json_and_plot(kelvo, tmp_path):
    csv_path, svg = tmp_path / "axis.csv", tmp_path / "axis.svg"
    data, _ = run_json(kelvo, tmp_path, "axis", TOML, "--center", "500", "--csv", csv_path, "--plot", svg)
    table = np.loadtxt(csv_path, delimiter=",", skiprows=1)
    assert table.shape == (1024, 3)
    # Pixel 700 at 500 nm and the center dispersion: native suite's python3.
    assert table[699, 1] == pytest.approx(511.2832735397793, rel=1e-12)
    assert data["center_dispersion_nm_per_pixel"] == pytest.approx(0.06050578972292442, rel=1e-12)
    assert table[511, 2] == pytest.approx((table[512, 1] - table[510, 1]) / 2)
    assert {"pixel", "wavelength (nm)", "dispersion (nm/pixel)"} <= svg_texts(svg)


def test_steps(kelvo, tmp_path):
    data, text = run_json(kelvo, tmp_path, "steps", TOML, "--start", "400", "--end", "600", "--overlap", "5")
    assert data["steps"] == len(data["centers_nm"]) == 4  # native suite
    assert data["centers_nm"] == sorted(data["centers_nm"])
    lows, highs = zip(*data["covers_nm"])
    assert lows[0] <= 400 and highs[-1] >= 600
    # neighbours overlap by at least the overlap asked for
    assert all(h - lo >= 5 - 1e-6 for h, lo in zip(highs[:-1], lows[1:]))
    assert "4 steps" in text


def test_peaks_are_the_lamp_lines(kelvo, tmp_path):
    png = tmp_path / "peaks.png"
    data, _ = run_json(kelvo, tmp_path, "peaks", "examples/arc-spectrum.csv", "--cal", "examples/neon-1024.cal",
                       "--max", "12", "--plot", png)
    neon = lamp_lines("Ne I")
    assert data["found"] >= 12 and len(data["peaks"]) == 12
    single = 0
    for peak in data["peaks"]:
        line = neon[abs(neon - peak["value"]).argmin()]
        if (abs(neon - line) < 0.2).sum() > 1:
            continue  # a blend of two lines (597.46 / 597.55 nm)
        single += 1
        assert peak["value"] == pytest.approx(line, abs=0.02)
        # the position is where the generator's dispersion puts that line
        pixel = (-0.06 + math.sqrt(0.06**2 + 8e-6 * (line - 582.0))) / 4e-6
        assert peak["position"] == pytest.approx(pixel, abs=0.1)
    assert single >= 10
    check_png(png)


def test_peaks_without_calibration_report_positions_only(kelvo, tmp_path):
    data, _ = run_json(kelvo, tmp_path, "peaks", "examples/arc-spectrum.csv", "--max", "3")
    assert data["unit"] is None and [p["value"] for p in data["peaks"]] == [None] * 3


def test_glue_joins_the_steps(kelvo, tmp_path):
    out, png = tmp_path / "glued.csv", tmp_path / "glue.png"
    steps = [f"examples/glue-step{i}.csv" for i in (1, 2, 3)]
    data, _ = run_json(kelvo, tmp_path, "glue", TOML, *steps, "--step", "0.125", "--out", out, "--plot", png)
    glued = np.loadtxt(out, delimiter=",", skiprows=1)
    # 552.625 .. 712.0 every 0.125: trunc(159.375 / 0.125 + 1.999) points
    assert data["points"] == len(glued) == 1276
    assert glued[0, 0] == 552.625 and glued[-1, 0] == 712.0
    strongest = glued[glued[:, 1].argmax(), 0]
    assert strongest == pytest.approx(703.24128, abs=0.1)  # Ne I, intensity 60
    for line in (576.961, 640.2248, 692.94672):  # one line in each step
        near = glued[abs(glued[:, 0] - line) < 0.5]
        assert near[near[:, 1].argmax(), 0] == pytest.approx(line, abs=0.1)
    check_png(png)


def test_optimise_recovers_the_independent_best_set(kelvo, tmp_path):
    # optimise_scan.py (native suite): cursors 51.7 / 973.3 moved by
    # (2, -1.5, 1, -2.5).
    data, text = run_json(kelvo, tmp_path, "optimise", TOML, "--lines", "546.07", "435.83",
                          "--cursors", "53.7", "971.8", "52.7", "970.8")
    best, orig = data["optimised"], data["original"]
    assert (best["focal_length_mm"], best["inclusion_angle_deg"], best["detector_angle_deg"]) == pytest.approx(
        (299.0, 29.9, -0.75), rel=1e-12)
    assert best["objective_nm"] == pytest.approx(0.030766965972088656, rel=1e-8)
    assert orig["objective_nm"] == pytest.approx(0.11525936789889785, rel=1e-8)
    assert [t["expected_px"] for t in data["targets"]] == pytest.approx([51.7, 973.3, 51.7, 973.3])
    assert "optimised" in text


CAL = "[CCD_Info]\nVer=1\nNum_Segments=1\n[Seg1_Pixel_Calib]\nNumber_Points=3\n"


def cal_file(points):
    return CAL + "".join(f"Point{i}_Pixel={p}\nPoint{i}_Wave={w}\n" for i, (p, w) in enumerate(points, 1))


GOOD_TOML = (ROOT / TOML).read_text()

BAD = [
    # (file name, contents or None for missing, command, expected in message, status)
    ("x.cal", None, ["fit", "{f}"], "no such", 1),
    ("x.cal", "", ["fit", "{f}"], "empty", 1),
    ("x.cal", "[CCD_Info]\nVer=1\n", ["fit", "{f}"], "segment 1 does not exist", 1),
    ("x.cal", cal_file([(10, 500), ("abc", 510), (30, 520)]), ["fit", "{f}"], "'abc' is not a number", 1),
    ("x.cal", cal_file([(10, 500), (20, "nan"), (30, 520)]), ["fit", "{f}"], "'nan' is not a finite", 1),
    ("x.cal", cal_file([(10, 500), (20, 510), (30, 520)]), ["fit", "{f}", "--unit", "raman"], "--laser", 1),
    ("x.cal", cal_file([(10, 500), (20, 510), (30, 520)]), ["fit", "{f}", "--unit", "furlong"], "invalid choice", 2),
    ("x.cal", cal_file([(10, 500), (20, 510), (30, 520)]), ["fit", "{f}", "--plot", "x.jpg"], ".png or .svg", 2),
    ("s.csv", None, ["peaks", "{f}"], "no such", 1),
    ("s.csv", "", ["peaks", "{f}"], "empty", 1),
    ("s.csv", "pixel,counts,extra\n1,2,3\n", ["peaks", "{f}"], "3 columns", 1),
    ("s.csv", "pixel,counts\n1,2\n2,oops\n", ["peaks", "{f}"], "line 3: 'oops' is not a number", 1),
    ("s.csv", "counts\n1\nnan\n3\n", ["peaks", "{f}"], "'nan' is not a finite", 1),
    ("s.csv", "wavelength_um,counts\n1,2\n", ["peaks", "{f}"], "'wavelength_um' is not one of", 1),
    ("s.csv", "# only a comment\n", ["peaks", "{f}"], "no data rows", 1),
    ("d.toml", None, ["axis", "{f}", "--center", "500"], "no such", 1),
    ("d.toml", "", ["axis", "{f}", "--center", "500"], "empty", 1),
    ("d.toml", "[detector\n", ["axis", "{f}", "--center", "500"], "not valid TOML", 1),
    ("d.toml", GOOD_TOML.replace("focal_length_mm = 300.0", "focal_length_m = 0.3"),
     ["axis", "{f}", "--center", "500"], "focal_length_m = 0.3: unit not supported", 1),
    ("d.toml", GOOD_TOML.replace("pixels = 1024", 'pixels = "many"'),
     ["steps", "{f}", "--start", "400", "--end", "500"], "pixels = 'many': not a number", 1),
    ("d.toml", GOOD_TOML.replace("1200.0", "nan"), ["axis", "{f}", "--center", "500"], "not a finite", 1),
    ("d.toml", GOOD_TOML, ["axis", "{f}", "--center", "5000"], "cannot be reached", 1),
    ("d.toml", GOOD_TOML, ["axis", "{f}", "--center", "nan"], "not a finite number", 2),
    ("d.toml", GOOD_TOML, ["steps", "{f}", "--start", "400", "--end", "900", "--overlap", "100"],
     "not wider than the overlap", 1),
    ("s.csv", "counts\n1\n2\n", ["glue", TOML, "{f}", "{f}", "--step", "1", "--out", "{d}/g.csv"],
     "2 samples, but the detector has 1024", 1),
    ("s.csv", "counts\n" + "1\n" * 1024, ["glue", TOML, "{f}", "{f}", "--step", "1", "--out", "{d}/g.csv"],
     "no center wavelength", 1),
    ("v.txt", "", ["convert", "1", "--from", "nm", "--to", "cm-1", "--laser", "inf"], "not a finite", 2),
]


@pytest.mark.parametrize("name,contents,args,message,status", BAD, ids=[f"{b[2][0]}:{b[3]}" for b in BAD])
def test_bad_input_is_one_line_and_a_failure(kelvo, tmp_path, name, contents, args, message, status):
    path = tmp_path / name
    if contents is not None:
        path.write_text(contents)
    code, out, err = kelvo(*[a.replace("{f}", str(path)).replace("{d}", str(tmp_path)) for a in args])
    assert code == status
    assert message in err and err.count("\n") == 1 and err.startswith("kelvo")
    assert out == ""


def test_module_entry_point_runs_without_traceback(tmp_path):
    env = dict(os.environ, PYTHONPATH=str(ROOT / "python"))
    ok = subprocess.run([sys.executable, "-m", "kelvocalibrate", "convert", "1", "--from", "ev", "--to", "nm"],
                        capture_output=True, text=True, env=env, check=False)
    assert (ok.returncode, ok.stdout.strip()) == (0, "1 ev = 1239.841904 nm")
    bad = subprocess.run([sys.executable, "-m", "kelvocalibrate", "fit", str(tmp_path / "none.cal")],
                         capture_output=True, text=True, env=env, check=False)
    assert bad.returncode == 1 and "Traceback" not in bad.stderr and "no such" in bad.stderr
