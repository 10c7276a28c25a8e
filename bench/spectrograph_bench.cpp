// Timings of the grating model as a host calls it: the wavelength of every
// pixel of a 2048-pixel detector (target: at most 20 ns per pixel and at
// most 1.25 times the reference loop below, which computes one arctangent
// and one sine per pixel, the least the grating equation needs), and
// setting a center wavelength with a center pixel offset, which iterates
// the effective center (target: at most 2 us). Reported, never asserted.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

constexpr KvxLong kPixels = 2048;

std::string Failure(const char* what, KvxULong code) {
  char text[96];
  std::snprintf(text, sizeof text, "%s returned %lu", what,
                static_cast<unsigned long>(code));
  return text;
}

// An automatic object: 2048 x 13.5 um detector, 300 mm spectrograph with a
// 30 degree inclusion angle and 2 degree detector tilt, one 1200 g/mm
// grating with a center pixel offset of 10 pixels, centred on 500 nm.
class GratingObject {
 public:
  GratingObject() {
    if (!Run(CalibCreate(CalibModeAutomatic, &handle_), "CalibCreate")) {
      return;
    }
    created_ = true;
    DetectorRecord detector{};
    detector.pixelSize = 13.5;
    detector.numPixels = kPixels;
    SpectrographRecord spectrograph{};
    spectrograph.spectrographId = 1;
    spectrograph.numTurrets = 1;
    spectrograph.numGratings = 1;
    spectrograph.focalLength = 300.0;
    spectrograph.inclusionAngle = 30.0;
    spectrograph.detectorAngle = 2.0;
    spectrograph.scaleFactor = 1.0;
    TurretRecord turret{};
    turret.turretId = 1;
    turret.numGratings = 1;
    GratingRecord grating{};
    grating.gratingId = 1;
    grating.grooveDensity = 1200.0;
    grating.centerPixelOffset = 10.0;
    (void)(Run(CalibLoadDetector(handle_, &detector, sizeof detector),
               "CalibLoadDetector") &&
           Run(CalibLoadSpectrograph(handle_, &spectrograph,
                                     sizeof spectrograph),
               "CalibLoadSpectrograph") &&
           Run(CalibLoadTurrets(handle_, &turret, sizeof turret, 1),
               "CalibLoadTurrets") &&
           Run(CalibSelectTurret(handle_, 1), "CalibSelectTurret") &&
           Run(CalibLoadGratings(handle_, &grating, sizeof grating, 1),
               "CalibLoadGratings") &&
           Run(CalibSelectGrating(handle_, 1), "CalibSelectGrating") &&
           Run(CalibSetCenterWavelength(handle_, 500.0),
               "CalibSetCenterWavelength"));
  }
  ~GratingObject() {
    if (created_) CalibDestroy(handle_);
  }
  GratingObject(const GratingObject&) = delete;
  GratingObject& operator=(const GratingObject&) = delete;

  CalibHandle handle() const { return handle_; }
  // Empty when the set-up succeeded.
  const std::string& error() const { return error_; }

 private:
  bool Run(KvxULong code, const char* what) {
    if (code != NqeSuccess) error_ = Failure(what, code);
    return code == NqeSuccess;
  }

  CalibHandle handle_ = 0;
  bool created_ = false;
  std::string error_;
};

void PerPixel(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kPixels);
  state.counters["time_per_pixel"] =
      benchmark::Counter(static_cast<double>(kPixels),
                         benchmark::Counter::kIsIterationInvariantRate |
                             benchmark::Counter::kInvert);
}

// Wavelength (display unit nm) of every pixel from the grating model.
void CalcCalibPixelArray2048(benchmark::State& state) {
  GratingObject object;
  if (!object.error().empty()) {
    state.SkipWithError(object.error().c_str());
    return;
  }
  std::vector<double> values(kPixels);
  for (auto _ : state) {
    const NqeErrorCode code =
        CalibCalcCalibPixelArray(object.handle(), kPixels, values.data());
    if (code != NqeSuccess) {
      state.SkipWithError(Failure("CalibCalcCalibPixelArray", code).c_str());
      break;
    }
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  PerPixel(state);
}
BENCHMARK(CalcCalibPixelArray2048);

// The reference: one arctangent and one sine per pixel on similar
// arguments (a focal-plane angle, then the diffracted beam).
void ReferenceAtanSin2048(benchmark::State& state) {
  std::vector<double> values(kPixels);
  double scale = 13.5e-3 / 300.0;
  double base = 0.5;
  benchmark::DoNotOptimize(scale);
  benchmark::DoNotOptimize(base);
  for (auto _ : state) {
    for (KvxLong i = 0; i < kPixels; ++i) {
      const double x = (static_cast<double>(i) + 1.0 - 1024.5) * scale;
      values[static_cast<size_t>(i)] = std::sin(base + std::atan(x));
    }
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  PerPixel(state);
}
BENCHMARK(ReferenceAtanSin2048);

// Setting the center with a center pixel offset: the effective center is
// iterated (three grating evaluations here) before the drive value.
void SetCenterWavelengthWithOffset(benchmark::State& state) {
  GratingObject object;
  if (!object.error().empty()) {
    state.SkipWithError(object.error().c_str());
    return;
  }
  const double centers[] = {500.0, 632.8};
  size_t next = 0;
  for (auto _ : state) {
    const KvxULong code =
        CalibSetCenterWavelength(object.handle(), centers[next]);
    if (code != NqeSuccess) {
      state.SkipWithError(Failure("CalibSetCenterWavelength", code).c_str());
      break;
    }
    next ^= 1U;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(SetCenterWavelengthWithOffset);

}  // namespace
