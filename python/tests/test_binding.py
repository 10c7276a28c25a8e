"""The binding against values pinned by the native test suite (their
independent derivations are quoted where the values are used) and against
hand calculations."""

import ctypes
import math
import re

import numpy as np
import pytest
from conftest import ROOT

import kelvocalibrate as kc
from kelvocalibrate import errors
from kelvocalibrate._native import native


@pytest.fixture
def manual():
    with kc.Calibration() as cal:
        yield cal


@pytest.fixture
def instrument(examples):
    # 300 mm, 30 deg, 1200 g/mm, 1024 x 26 um: the native suite's example
    # instrument (center pixel 512.5).
    with kc.load_description(examples / "spectrograph-300mm.toml").open() as cal:
        yield cal


# Least-squares quadratics of examples/neon-1024.cal, solved exactly with
# python3 fractions (native suite, point_file_test.cpp): coefficients and
# the values at pixels 1, 512, 1024.
SEGMENTS = [
    (1, 10, (582.0007824271398, 0.0599980696004088, 2.0049060987671094e-06),
     (582.0607825016464, 613.2453681669043, 645.5411021153793)),
    (2, 5, (394.997250739375, 0.18005887941239807, -2.0652060076694576e-06),
     (395.17730755358133, 486.64601563484825, 577.2120178029726)),
]


@pytest.mark.parametrize("segment,points,coefficients,values", SEGMENTS)
def test_calibration_point_file_segment_is_fitted(manual, examples, segment, points, coefficients, values):
    path = examples / "neon-1024.cal"
    assert kc.num_segments(path) == 2
    assert len(kc.load_points(path, segment)) == kc.num_points(path, segment) == points
    manual.load_detector(1024, 26.0)
    data = manual.load_calib_file(path, segment)
    assert (data.order, data.point_count, data.valid) == (2, points, True)
    assert data.coefficients[:3] == pytest.approx(coefficients, rel=1e-9)
    assert manual.pixel_to_value(np.array([1.0, 512.0, 1024.0])) == pytest.approx(values, rel=1e-12)
    assert manual.pixel_axis()[[0, 511, 1023]] == pytest.approx(values, rel=1e-12)


# nm = 400 + 0.1 p at data point 100 is 410 nm (docs/units.md): in each unit.
UNITS = [
    (kc.Unit.NANOMETERS, 0.0, 410.0),
    (kc.Unit.WAVENUMBERS, 0.0, 1e7 / 410.0),
    (kc.Unit.RELATIVE_WAVENUMBERS, 400.0, 25000.0 - 1e7 / 410.0),
    (kc.Unit.ELECTRON_VOLTS, 0.0, 1239.841904 / 410.0),
    (kc.Unit.ANGSTROMS, 0.0, 4100.0),
    (kc.Unit.MICRONS, 0.0, 0.41),
]


@pytest.mark.parametrize("unit,laser,expected", UNITS)
def test_display_units_and_the_package_conversion_agree(manual, unit, laser, expected):
    manual.load_detector(1024)
    data = kc.CalibrationData(input_unit=kc.Unit.OFFSET_FACTOR, display_unit=unit, offset=400.0,
                              factor=0.1, laser_nm=laser)
    manual.load_calibration(data)
    assert manual.data_point_to_value(100.0) == pytest.approx(expected, rel=1e-12)
    assert kc.convert(410.0, "nm", unit, laser or None) == pytest.approx(expected, rel=1e-12)
    assert kc.convert(expected, unit, "nm", laser or None) == pytest.approx(410.0, rel=1e-12)


@pytest.mark.parametrize("args,reason", [
    ((500.0, "nm", "raman", None), "laser"),
    ((0.0, "cm-1", "nm", None), "no value"),
    ((math.nan, "nm", "ev", None), "finite"),
    ((1.0, "nm", "parsec", None), "unknown unit"),
])
def test_conversion_refuses_what_it_cannot_convert(args, reason):
    with pytest.raises(ValueError, match=reason):
        kc.convert(*args)


def test_raman_shift_without_laser_line_raises_the_modules_code(manual):
    manual.load_detector(1024)
    data = kc.CalibrationData(input_unit=kc.Unit.OFFSET_FACTOR, offset=400.0, factor=0.1,
                              display_unit=kc.Unit.RELATIVE_WAVENUMBERS)
    manual.load_calibration(data)
    with pytest.raises(kc.errors.NoLaserLine) as err:
        manual.data_point_to_value(100.0)
    assert (err.value.code, err.value.name) == (11024, "NqeNoLaserLine")
    assert "laser line" in str(err.value)


def test_regions_map_data_points_to_pixel_centres(manual):
    # Region 1: pixels 101-300 by 2 (data points 1-100), region 2: 601-900 by
    # 3 (101-200). Data point d of a region starting at s with binning b is
    # centred on s + (d - 1) b + (b - 1) / 2.
    regions = [kc.Region(101, 200, 2, 1), kc.Region(601, 300, 3, 2)]
    manual.load_detector(kc.Detector(1024, 26.0, "two regions", regions))
    assert manual.regions == regions
    assert manual.detector.name == "two regions"
    points = np.array([1.0, 100.0, 101.0, 150.0])
    pixels = [101.5, 299.5, 602.0, 749.0]
    assert manual.data_point_to_pixel(points) == pytest.approx(pixels)
    assert manual.pixel_to_data_point(pixels) == pytest.approx(points)
    with pytest.raises(kc.errors.PixelOutsideRegions):
        manual.pixel_to_data_point(400.0)


# Grating model of the example instrument at 500 nm (native suite,
# grating_unittest.cpp, python3 math): pixel 700, the dispersion at the
# center and the rotation angle (psi / 2 taken as radians).
def test_grating_model_reproduces_the_independent_values(instrument):
    instrument.set_center(500.0)
    assert instrument.pixel_wavelength(700.0) == pytest.approx(511.2832735397793, rel=1e-12)
    assert instrument.model_pixel_axis()[699] == pytest.approx(511.2832735397793, rel=1e-12)
    assert instrument.center_resolution() == pytest.approx(0.06050578972292442, rel=1e-12)
    assert instrument.grating_rotation_angle(500.0) == pytest.approx(-0.40595791759535255, rel=1e-12)
    assert len(instrument.step_centers(400.0, 600.0, 5.0)) == 4
    with pytest.raises(kc.errors.WavelengthUnreachable):
        instrument.set_center(5000.0)


def test_manual_object_has_no_spectrograph_model(manual):
    with pytest.raises(kc.errors.NoSpectrographModel):
        manual.set_center(500.0)


# optimise_scan.py (native suite): proposal for 546.07 / 435.83 nm, then the
# cursors moved by (2, -1.5, 1, -2.5) px.
def test_dispersion_optimisation_finds_the_independently_computed_set(instrument):
    instrument.calc_dispersion_targets(546.07, 435.83)
    proposed = [instrument.ref_cursor(k) for k in range(1, 5)]
    assert proposed == pytest.approx([51.7, 973.3, 51.7, 973.3], rel=1e-12)
    assert instrument.target_center(3) == pytest.approx(464.4510595277288, rel=1e-10)
    for k, move in zip(range(1, 5), (2, -1.5, 1, -2.5)):
        instrument.set_ref_cursor(k, proposed[k - 1] + move)
    best = instrument.optimise()
    assert (best.focal_length_mm, best.inclusion_angle_deg, best.detector_angle_deg) == pytest.approx(
        (299.0, 29.9, -0.75), rel=1e-12)
    assert best.objective_nm == pytest.approx(0.030766965972088656, rel=1e-10)
    assert instrument.original_parameters().objective_nm == pytest.approx(0.11525936789889785, rel=1e-10)


# docs/peaks.md: Gaussians (sigma 3 samples) on samples 100 and 300 are the
# peaks at data points 101 and 301.
@pytest.mark.parametrize("as_array", [True, False], ids=["uint16 array", "list"])
def test_peaks_of_two_gaussians(manual, as_array):
    k = np.arange(512)
    samples = 1000 + 5000 * np.exp(-0.5 * ((k - 100) / 3) ** 2) + 3000 * np.exp(-0.5 * ((k - 300) / 3) ** 2)
    spectrum = samples.round().astype(np.uint16) if as_array else [float(v) for v in samples]
    manual.load_detector(512)
    peaks = manual.find_peaks(spectrum, max_peaks=4)
    assert peaks.found == 2
    assert list(peaks.positions) == pytest.approx([101.0, 301.0], abs=0.01)
    assert manual.nearest_peak(spectrum, 250.0) == pytest.approx(301.0, abs=0.01)
    with pytest.raises(kc.errors.PeakStartOutOfRange):
        manual.nearest_peak(spectrum, 0.5)


# glue_expected.py (native suite): two blocks on 0..10 at step 1.
GLUED = [1, 2, 3, 5.5, 10, 20.25, 35, 45, 55, 65, 0]


def test_glue_rebins_and_crossfades_each_frame():
    with kc.Calibration.automatic() as cal:
        a = np.array([[1, 2, 3, 4, 5, 6], [10, 20, 30, 40, 50, 60]], dtype=float)
        b = np.array([[10, 20, 30, 40, 50, 60, 70], [100, 200, 300, 400, 500, 600, 700]], dtype=float)
        axes = [np.arange(0.0, 6.0), np.arange(3.5, 10.0)]
        glued = cal.glue([a, b], axes, step=1.0, start=0.0, end=10.0)
        assert list(glued.axis) == list(range(11))
        assert glued.data.shape == (2, 11)
        assert glued.data[0] == pytest.approx(GLUED, rel=1e-9)
        assert glued.data[1] == pytest.approx([10 * v for v in GLUED], rel=1e-9)
        single = cal.glue([a[0], b[0]], axes)  # range and step as stored
        assert single.data == pytest.approx(GLUED, rel=1e-9)
        with cal.incremental_glue() as inc:  # block by block: the same
            inc.add(a[0], axes[0])
            inc.add(list(b[0]), list(axes[1]))
            assert list(inc.axis) == list(range(11))
            assert inc.data == pytest.approx(GLUED, rel=1e-9)
        with pytest.raises(kc.errors.GlueNotInitialized):
            inc.add(a[0], axes[0])


def test_spe_block_carries_the_calibration_and_regions(manual):
    manual.load_detector(kc.Detector(1024, 26.0, regions=[kc.Region(101, 200, 2, 1)]))
    manual.load_calibration(kc.CalibrationData(input_unit=kc.Unit.OFFSET_FACTOR, offset=400.0, factor=0.1,
                                               label="offset and factor"))
    spe = manual.dump_spe()
    assert (spe.offset, spe.factor, spe.poly_order, spe.enabled) == (400.0, 0.1, 1, True)
    assert spe.regions == [(101, 200, 2)]
    assert spe.label == "offset and factor"
    with kc.Calibration() as other:
        other.load_detector(1024)
        other.load_spe(spe)
        loaded = other.calibration
        assert (loaded.input_unit, loaded.offset, loaded.factor) == (kc.Unit.OFFSET_FACTOR, 400.0, 0.1)


@pytest.mark.parametrize("param,value", [
    ("glue_step", 0.125), (kc.Param.DETECTOR_NAME, "CCD-42"), (13, 0), ("peak_threshold", 5.0),
])
def test_parameters_round_trip_by_name_enum_or_number(manual, param, value):
    manual.load_detector(1024)
    if param == "glue_step":
        manual.close()
        manual = kc.Calibration.automatic()
    manual.set_param(param, value)
    assert manual.get_param(param) == value


def test_parameter_errors(manual):
    assert manual.get_param("peak_threshold") == 2.0  # the documented default
    with pytest.raises(kc.errors.UnknownParameter):
        manual.get_param(25)
    with pytest.raises(ValueError, match="unknown parameter name"):
        manual.get_param("no_such_thing")


def test_every_header_code_has_its_exception():
    header = (ROOT / "include" / "KelvoCalibrate.h").read_text()
    codes = {int(v): n for n, v in re.findall(r"(Nqe\w+) = (\d+),?\s*/\*", header) if int(v)}
    assert len(codes) == 88  # 5002, 5010 and 11000-11089 but four
    for code, name in codes.items():
        cls = errors.error_class(code)
        assert (cls.code, cls.name, cls.__name__) == (code, name, name[3:])
        assert issubclass(cls, kc.KelvoError) and cls.message
    assert len({errors.error_class(c).message for c in codes}) == len(codes)
    with pytest.raises(errors.UnknownCodeError) as err:
        errors.check(4242, "CalibSomething")
    assert err.value.code == 4242


def test_context_manager_destroys_the_handle_also_on_exceptions():
    with pytest.raises(RuntimeError):
        with kc.Calibration() as cal:
            handle = cal.handle
            raise RuntimeError("boom")
    state = ctypes.c_int32()
    assert native().CalibGetScanState(handle, ctypes.byref(state)) == 11001
    with pytest.raises(kc.KelvoError, match="closed"):
        cal.pixel_to_value(1.0)
    cal.close()  # closing again is harmless


def test_a_bad_mode_raises_and_gives_its_handle_back():
    with kc.Calibration() as first:
        lowest = first.handle
    with pytest.raises(kc.errors.InvalidMode):
        kc.Calibration(7)
    with kc.Calibration() as again:
        assert again.handle == lowest


def test_scalar_calls_work_without_numpy(manual, monkeypatch):
    monkeypatch.setattr(kc._arrays, "numpy", lambda: None)
    manual.load_detector(4)
    manual.load_calibration(kc.CalibrationData(input_unit=kc.Unit.OFFSET_FACTOR, offset=400.0, factor=0.5))
    assert manual.pixel_axis() == [400.5, 401.0, 401.5, 402.0]
    assert manual.pixel_to_value([2.0, 4.0]) == [401.0, 402.0]
    assert manual.value_to_pixel(401.0) == 2.0


def test_module_identity_and_version():
    assert kc.device_count() == 200
    assert kc.device_id() == ("Calibration", 0x08000000, 8)
    assert kc.version() is None  # the module reports no version


def test_drive_value_slope_and_calibration_from_the_model(instrument):
    # slope (0 + 1) * 1.0005 / 1 - 1 = 0.0005; drive = 1.0005 x 546.07 with
    # no center offset.
    instrument.calc_slope_adjust(1.0, 1.0005)
    assert instrument.drive_value(546.07) == pytest.approx(1.0005 * 546.07, rel=1e-12)
    instrument.set_center(500.0)
    instrument.calibration_from_model()
    data = instrument.calibration
    assert (data.order, data.point_count) == (4, 5)
    assert instrument.pixel_to_value(700.0) == pytest.approx(511.2832735397793, abs=1e-6)


def test_exit_mirror_is_added_once_and_copies_make_automatic_objects(instrument, manual):
    manual.copy_from(instrument)
    assert manual.mode == kc.Mode.AUTOMATIC
    with pytest.raises(kc.errors.NoExitMirror):
        instrument.set_exit_port(1)
    instrument.add_exit_mirror()
    with pytest.raises(kc.errors.ExitMirrorPresent):
        instrument.add_exit_mirror()
    instrument.set_exit_port(1)
    assert instrument.get_param("grating_name") == "1200 g/mm"


def test_calibrations_and_regions_are_kept_by_id(manual):
    manual.load_detector(1024)
    first = manual.active_calibration_id
    second = manual.add_calibration(kc.CalibrationData(input_unit=kc.Unit.OFFSET_FACTOR, offset=400.0,
                                                       factor=0.1))
    manual.active_calibration_id = second
    assert manual.data_point_to_value(100.0) == 410.0
    manual.active_calibration_id = first
    manual.remove_calibration(second)  # the last of the list: no code
    with pytest.raises(kc.errors.CalibrationNotFound):
        manual.active_calibration_id = second
    manual.add_region(kc.Region(1, 100, 2, 5))
    assert (manual.region(5), manual.region_count) == (kc.Region(1, 100, 2, 5), 1)
    with pytest.raises(kc.errors.BadRegionShape):
        manual.validate_regions([kc.Region(1, 100, 3)], 1024)  # 100 is no multiple of 3
    manual.delete_regions()
    assert manual.regions == []


def test_module_is_found_through_the_variable_first(monkeypatch, tmp_path):
    from kelvocalibrate import _native

    monkeypatch.setenv("KELVO_MODULE", str(tmp_path / "elsewhere.kvx"))
    with pytest.raises(kc.ModuleNotFound, match="elsewhere.kvx"):
        kc.find_module()
    monkeypatch.delenv("KELVO_MODULE")
    assert kc.find_module() == _native.candidate_paths()[-1] == ROOT / "build" / "KelvoCalibrate.kvx"
