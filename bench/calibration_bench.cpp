// Timings of the exports a host calls for every spectrum: the wavelength of
// every pixel, the pixel of a wavelength, and the validation (fit and
// monotonicity check) of a calibration. Everything goes through the exported
// functions, as a host calls them. Targets on a current x86-64 core: about
// 10 ns per pixel for the array, 200 ns per value-to-pixel call, 40 us per
// validation on 4096 pixels. Times are reported, never asserted.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

constexpr KvxLong kPolyOrder = 5;
constexpr int kPoints = 10;

// A smooth, monotonic dispersion in nm over the detector's pixels.
double Dispersion(double p) {
  return 400.0 + 0.1 * p + 1e-6 * p * p - 1e-10 * p * p * p +
         1e-14 * p * p * p * p + 1e-18 * p * p * p * p * p;
}

std::string Failure(const char* what, KvxULong code) {
  char text[96];
  std::snprintf(text, sizeof text, "%s returned %lu", what,
                static_cast<unsigned long>(code));
  return text;
}

// A manual calibration object with one detector of `pixels` 13.5 um pixels
// and a fifth-order calibration through ten points spread over it.
class CalibratedObject {
 public:
  explicit CalibratedObject(KvxLong pixels) : pixels_(pixels) {
    KvxULong code = CalibCreate(CalibModeManual, &handle_);
    if (code != NqeSuccess) {
      error_ = Failure("CalibCreate", code);
      created_ = false;
      return;
    }
    DetectorRecord detector{};
    std::snprintf(detector.name, sizeof detector.name, "Bench CCD %ld",
                  static_cast<long>(pixels));
    detector.pixelSize = 13.5;
    detector.numPixels = pixels;
    code = CalibLoadDetector(handle_, &detector, sizeof detector);
    if (code != NqeSuccess) {
      error_ = Failure("CalibLoadDetector", code);
      return;
    }
    code = CalibInitializeCalibration(handle_, &record_, sizeof record_);
    if (code != NqeSuccess) {
      error_ = Failure("CalibInitializeCalibration", code);
      return;
    }
    record_.polyOrder = kPolyOrder;
    for (int i = 0; i < kPoints; ++i) {
      const double p = 1.0 + i * (pixels - 1.0) / (kPoints - 1);
      record_.pointPosition[i] = p;
      record_.pointValue[i] = Dispersion(p);
    }
    // Loading validates a copy: the record above stays as the host built it.
    CalibrationRecord loaded = record_;
    code = CalibLoadCalibration(handle_, &loaded, sizeof loaded);
    if (code != NqeSuccess) error_ = Failure("CalibLoadCalibration", code);
  }
  ~CalibratedObject() {
    if (created_) CalibDestroy(handle_);
  }
  CalibratedObject(const CalibratedObject&) = delete;
  CalibratedObject& operator=(const CalibratedObject&) = delete;

  CalibHandle handle() const { return handle_; }
  KvxLong pixels() const { return pixels_; }
  const CalibrationRecord& record() const { return record_; }
  // Empty when the set-up succeeded.
  const std::string& error() const { return error_; }

 private:
  KvxLong pixels_;
  CalibHandle handle_ = 0;
  bool created_ = true;
  CalibrationRecord record_{};
  std::string error_;
};

// Wavelength of every pixel of a 2048-pixel detector.
void CalibratedPixelArray2048(benchmark::State& state) {
  CalibratedObject object(2048);
  if (!object.error().empty()) {
    state.SkipWithError(object.error().c_str());
    return;
  }
  std::vector<double> values(static_cast<size_t>(object.pixels()));
  for (auto _ : state) {
    const NqeErrorCode code = CalibCalibratedPixelArray(
        object.handle(), object.pixels(), values.data());
    if (code != NqeSuccess) {
      state.SkipWithError(Failure("CalibCalibratedPixelArray", code).c_str());
      break;
    }
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * object.pixels());
  state.counters["time_per_pixel"] =
      benchmark::Counter(static_cast<double>(object.pixels()),
                         benchmark::Counter::kIsIterationInvariantRate |
                             benchmark::Counter::kInvert);
}
BENCHMARK(CalibratedPixelArray2048);

// Pixel of a wavelength, over wavelengths spread across a 2048-pixel
// detector (each call inverts the polynomial).
void CalibValueToPixel2048(benchmark::State& state) {
  CalibratedObject object(2048);
  if (!object.error().empty()) {
    state.SkipWithError(object.error().c_str());
    return;
  }
  std::vector<double> wavelengths(static_cast<size_t>(object.pixels()));
  for (size_t i = 0; i < wavelengths.size(); ++i) {
    // Between pixel centres, so no call lands on a calibration point.
    wavelengths[i] = Dispersion(static_cast<double>(i) + 1.37);
  }
  size_t next = 0;
  for (auto _ : state) {
    double pixel = 0.0;
    const NqeErrorCode code =
        CalibCalibValueToPixel(object.handle(), wavelengths[next], &pixel);
    if (code != NqeSuccess) {
      state.SkipWithError(Failure("CalibCalibValueToPixel", code).c_str());
      break;
    }
    benchmark::DoNotOptimize(pixel);
    if (++next == wavelengths.size()) next = 0;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(CalibValueToPixel2048);

// Validation of a ten-point, fifth-order calibration on a 4096-pixel
// detector: the fit and the monotonicity check over every pixel.
void ValidateCalibration4096(benchmark::State& state) {
  CalibratedObject object(4096);
  if (!object.error().empty()) {
    state.SkipWithError(object.error().c_str());
    return;
  }
  CalibrationRecord record{};
  for (auto _ : state) {
    // Validation writes its results back; start each time from the host's
    // record (a 528-byte copy, small against the fit).
    record = object.record();
    const KvxULong code =
        CalibValidateCalibration(object.handle(), &record, sizeof record);
    if (code != NqeSuccess) {
      state.SkipWithError(Failure("CalibValidateCalibration", code).c_str());
      break;
    }
    benchmark::DoNotOptimize(&record);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(ValidateCalibration4096)->Unit(benchmark::kMicrosecond);

}  // namespace
