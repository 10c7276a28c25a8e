"""``kelvo autocal`` and the binding behind it, on the shipped example
spectra. The truth comes from tools/make_lamp_spectra.py, the generator of
those spectra (its own grating equation, not the module's): focal length
306 mm, detector angle 0.3 deg, drive 17 pixels off."""

import importlib.util
import json

import numpy as np
import pytest

from conftest import ROOT

spec = importlib.util.spec_from_file_location("gen", ROOT / "tools" / "make_lamp_spectra.py")
gen = importlib.util.module_from_spec(spec)
spec.loader.exec_module(gen)


def true_axis(requested):
    pixels = np.arange(1, 1025, dtype=float)
    axis = gen.wavelength(requested, pixels)
    return gen.wavelength(requested + gen.SHIFT_PIXELS * (axis[512] - axis[511]), pixels)


def autocal(kelvo, tmp_path, *args):
    out = tmp_path / "out.json"
    code, text, err = kelvo("autocal", *args, "--spectrograph", ROOT / "examples" / "spectrograph-300mm.toml",
                            "--json", out)
    return code, (json.loads(out.read_text()) if code == 0 else None), err


def test_two_neon_spectra_give_the_true_instrument(kelvo, tmp_path):
    ex = ROOT / "examples"
    code, data, _ = autocal(kelvo, tmp_path, "--spectrum", ex / "lamp-ne-640nm.csv", "--center", 640,
                            "--spectrum", ex / "lamp-ne-700nm.csv", "--center", 700, "--lamp", "Ne",
                            "--plot", tmp_path / "a.png")
    assert code == 0
    model = data["model"]
    assert abs(model["focal_length_mm"] - gen.FOCAL) < 4 * model["focal_length_mm_sigma"] + 0.05
    assert abs(model["detector_angle_deg"] - gen.DETECTOR_ANGLE) < 4 * model["detector_angle_deg_sigma"]
    assert model["inclusion_angle_deg"] == 30.0 and model["inclusion_angle_deg_sigma"] == 0.0
    for requested, fitted in zip((640, 700), model["centers_nm"]):
        truth = true_axis(requested)
        assert abs(fitted - 0.5 * (truth[511] + truth[512])) < 0.1 * (truth[512] - truth[511])
    # Every named line lies where the truth puts its wavelength.
    assert len(data["lines"]) >= 15 and {ln["center_nm"] for ln in data["lines"]} == {640, 700}
    for ln in data["lines"]:
        truth = true_axis(ln["center_nm"])
        assert abs(np.interp(ln["wavelength_nm"], truth, np.arange(1, 1025)) - ln["pixel"]) < 0.3
        assert ln["element"] == "Ne" and abs(ln["residual_nm"]) < 0.01
    axis = np.array(data["wavelengths_nm"])
    assert axis.shape == (1024,)
    assert np.max(np.abs(axis - true_axis(640))) < 0.1 * (axis[512] - axis[511])
    assert data["rms_nm"] < 0.005
    import matplotlib.image
    picture = matplotlib.image.imread(tmp_path / "a.png")
    assert picture.shape[0] > 400 and picture.std() > 0.05


def test_mercury_argon_lamp_holds_what_few_lines_cannot_determine(kelvo, tmp_path):
    code, data, _ = autocal(kelvo, tmp_path, "--spectrum", ROOT / "examples" / "lamp-hgar-800nm.csv",
                            "--center", 800, "--lamp", "Hg", "--lamp", "Ar", "--hold", "none")
    assert code == 0
    assert {ln["element"] for ln in data["lines"]} == {"Ar"}
    # Freed, the inclusion angle is held again: 5 lines do not determine 4
    # parameters with two to spare.
    assert len(data["lines"]) == 5 and data["model"]["held"] == ["inclusion_angle"]


@pytest.mark.parametrize(
    "rows, args, message",
    [
        (None, ["--lamp", "Kr"], "no consistent match"),
        ([100.0] * 1024, ["--lamp", "Ne"], "too few peaks"),
        ([100.0] * 1000, ["--lamp", "Ne"], "1000 counts, but the detector has 1024 pixels"),
        (None, ["--lamp", "Xe"], "--lamp Xe"),
        (None, ["--lamp", "Ne", "--center", "700"], "2 --center"),
    ],
)
def test_failures_say_why(kelvo, tmp_path, rows, args, message):
    path = ROOT / "examples" / "lamp-ne-640nm.csv"
    if rows is not None:
        path = tmp_path / "s.csv"
        path.write_text("".join(f"{r}\n" for r in rows))
    code, _, err = autocal(kelvo, tmp_path, "--spectrum", path, "--center", 640, *args)
    assert code == 1 and message in err and len(err.strip().splitlines()) == 1


# Other programs' ways of writing the same spectrum: a byte order mark,
# semicolons, tabs, other names, pixels counted from 0 (positions come back
# in that numbering).
@pytest.mark.parametrize("header, sep, first", [("\ufeffPixel;Intensity", ";", 1), ("px\tsignal", "\t", 0)])
def test_spectrum_files_of_other_programs(kelvo, tmp_path, header, sep, first):
    example = ROOT / "examples" / "lamp-ne-640nm.csv"
    rows = [line.split(",") for line in example.read_text().splitlines()[1:]]
    path = tmp_path / "other.csv"
    path.write_text(header + "\r\n" + "".join(f"{int(p) - 1 + first}{sep}{c}\r\n" for p, c in rows), encoding="utf-8")
    runs = [autocal(kelvo, tmp_path, "--spectrum", f, "--center", 640, "--lamp", "Ne") for f in (example, path)]
    assert [code for code, _, _ in runs] == [0, 0]
    (_, a, _), (_, b, _) = runs
    assert b["model"] == a["model"] and b["wavelengths_nm"] == a["wavelengths_nm"]
    assert [ln["pixel"] for ln in b["lines"]] == [ln["pixel"] - 1 + first for ln in a["lines"]]


def test_lamp_lines_of_the_built_in_list():
    from kelvocalibrate.autocal import lamp_lines

    # grep -c "^Hg I," examples/lamp-lines.csv -> 7; "^Ar I," -> 13
    assert len(lamp_lines("Hg")) == 7 and len(lamp_lines(["Hg", "Ar"])) == 20
    assert lamp_lines("Hg")[4].wavelength_nm == 546.075
