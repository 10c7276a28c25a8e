// Timings of the glue: 20 steps of 1,340 points and 100 frames each (32-bit
// float data, 0.03 nm point spacing, neighbouring steps overlapping by 5 nm)
// glued onto a 0.05 nm axis, all at once and block by block. Items are
// input values (points x frames x steps). Target: at least 150 million
// input values per second. Times are reported, never asserted.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

constexpr int kSteps = 20;
constexpr int kPoints = 1340;
constexpr int kFrames = 100;
constexpr double kSpacing = 0.03;                        // nm per input point
constexpr double kStepWidth = kPoints * kSpacing - 5.0;  // 5 nm overlap
constexpr double kStart = 500.0;
constexpr double kGlueStep = 0.05;

class SteppedData {
 public:
  SteppedData() {
    blocks_.resize(kSteps);
    x_.resize(kSteps);
    values_.resize(kSteps);
    for (int s = 0; s < kSteps; ++s) {
      for (int p = 0; p < kPoints; ++p) {
        x_[s].push_back(kStart + s * kStepWidth + p * kSpacing);
      }
      for (int f = 0; f < kFrames; ++f) {
        for (int p = 0; p < kPoints; ++p) {
          values_[s].push_back(
              static_cast<float>(1000.0 + 100.0 * std::sin(0.01 * p + f)));
        }
      }
      blocks_[s] = GlueSpectrum{values_[s].data(), kPoints, kFrames, 4, 1,
                                x_[s].data(),      0,       nullptr, 0};
    }
    end_ = x_.back().back();
  }
  GlueSpectrum* Blocks() { return blocks_.data(); }
  double End() const { return end_; }

 private:
  std::vector<GlueSpectrum> blocks_;
  std::vector<std::vector<double>> x_;
  std::vector<std::vector<float>> values_;
  double end_ = 0.0;
};

// An automatic object with the glue range set and an output prepared.
class GlueFixture {
 public:
  explicit GlueFixture(benchmark::State& state) {
    ok_ = CalibCreate(CalibModeAutomatic, &handle_) == 0 &&
          CalibSetDoubleParam(handle_, 68, kStart) == 0 &&
          CalibSetDoubleParam(handle_, 69, data_.End()) == 0 &&
          CalibSetDoubleParam(handle_, 70, kGlueStep) == 0 &&
          CalibValidateGlue(handle_, data_.Blocks(), kSteps, &output_) == 0;
    if (!ok_) {
      state.SkipWithError("glue set-up failed");
      return;
    }
    out_.resize(static_cast<size_t>(output_.numPoints) * kFrames);
    outX_.resize(static_cast<size_t>(output_.numPoints));
    output_.data = out_.data();
    output_.xValues = outX_.data();
  }
  ~GlueFixture() { CalibDestroy(handle_); }
  bool Ok() const { return ok_; }
  CalibHandle handle_ = 0;
  SteppedData data_;
  GlueSpectrum output_{};
  std::vector<double> out_, outX_;

 private:
  bool ok_ = false;
};

void SetItems(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kSteps * kPoints * kFrames);
}

void BM_GlueAllAtOnce(benchmark::State& state) {
  GlueFixture g(state);
  if (!g.Ok()) return;
  for (auto _ : state) {
    if (CalibGlueInput(g.handle_, g.data_.Blocks(), kSteps, &g.output_) != 0) {
      state.SkipWithError("CalibGlueInput failed");
      break;
    }
    benchmark::DoNotOptimize(g.out_.data());
  }
  SetItems(state);
}
BENCHMARK(BM_GlueAllAtOnce)->Unit(benchmark::kMillisecond);

void BM_GlueIncremental(benchmark::State& state) {
  GlueFixture g(state);
  if (!g.Ok()) return;
  for (auto _ : state) {
    KvxULong code = CalibInitIncStepAndGlue(g.handle_, &g.output_, kFrames);
    g.output_.data = g.out_.data();
    g.output_.xValues = g.outX_.data();
    for (int s = 0; s < kSteps && code == 0; ++s) {
      code = CalibGlueIncInput(g.handle_, &g.output_, &g.data_.Blocks()[s]);
    }
    if (code != 0 || CalibCleanupIncGlue(g.handle_) != 0) {
      state.SkipWithError("incremental glue failed");
      break;
    }
    benchmark::DoNotOptimize(g.out_.data());
  }
  SetItems(state);
}
BENCHMARK(BM_GlueIncremental)->Unit(benchmark::kMillisecond);

}  // namespace
