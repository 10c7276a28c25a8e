// Timings of the peak search on a long line spectrum: 1,000,000 unsigned
// 16-bit samples holding about 1,000 Gaussian lines over a baseline with
// noise (fixed seed). CalibFindPeaks keeps the 50 strongest; the nearest-peak
// search is timed beside the cost of only loading the samples: the library's
// own conversion into a fresh array of doubles, without the curvature that
// the search takes in the same pass. Targets: at least 200 million samples per
// second for CalibFindPeaks; the nearest peak within the load plus 20 us.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "KelvoCalibrate.h"
#include "calibration/calibration_store.h"
#include "peaks/find_peaks.h"
#include "peaks/peak_search.h"

namespace {

constexpr int kSamples = 1000000;
constexpr int kLines = 1000;

const std::vector<uint16_t>& Spectrum() {
  static const std::vector<uint16_t> samples = [] {
    std::mt19937 rng(20261123);
    std::uniform_real_distribution<double> amplitude(1000.0, 20000.0);
    std::uniform_real_distribution<double> width(1.2, 3.0);
    std::normal_distribution<double> noise(0.0, 4.0);
    std::vector<double> d(kSamples, 1000.0);
    for (int line = 0; line < kLines; ++line) {
      const double center = (line + 0.5) * kSamples / kLines + (line % 7) * 3.1;
      const double a = amplitude(rng);
      const double s = width(rng);
      const int lo = std::max(0, static_cast<int>(center - 8 * s));
      const int hi = std::min(kSamples - 1, static_cast<int>(center + 8 * s));
      for (int k = lo; k <= hi; ++k) {
        const double x = (k - center) / s;
        d[k] += a * std::exp(-0.5 * x * x);
      }
    }
    std::vector<uint16_t> out(kSamples);
    for (int k = 0; k < kSamples; ++k) {
      out[k] =
          static_cast<uint16_t>(std::clamp(d[k] + noise(rng), 0.0, 65535.0));
    }
    return out;
  }();
  return samples;
}

SpectrumData Describe(const std::vector<uint16_t>& samples) {
  SpectrumData s{};
  s.data = const_cast<uint16_t*>(samples.data());
  s.count = static_cast<KvxLong>(samples.size());
  s.dataType = 7;
  return s;
}

void BM_FindPeaks(benchmark::State& state) {
  CalibHandle h = 0;
  CalibCreate(CalibModeManual, &h);
  SpectrumData s = Describe(Spectrum());
  double positions[50];
  double values[50];
  KvxLong count = 0;
  for (auto _ : state) {
    const KvxULong code = CalibFindPeaks(h, &s, positions, values, 50, &count);
    if (code != 0) state.SkipWithError("CalibFindPeaks failed");
    benchmark::DoNotOptimize(positions);
  }
  state.counters["peaks"] = static_cast<double>(count);
  state.SetItemsProcessed(state.iterations() * kSamples);
  CalibDestroy(h);
}
BENCHMARK(BM_FindPeaks)->Unit(benchmark::kMillisecond);

// The cost of loading the samples alone: the search's conversion into a
// fresh array of doubles per call, with the curvature left out.
void BM_LoadSamplesOnly(benchmark::State& state) {
  const SpectrumData s = Describe(Spectrum());
  for (auto _ : state) {
    kvx::PeakSearch search;
    search.LoadSamples(s);
    benchmark::DoNotOptimize(search);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(BM_LoadSamplesOnly)->Unit(benchmark::kMicrosecond);

// A start between two lines.
void BM_FindNearestPeak(benchmark::State& state) {
  CalibHandle h = 0;
  CalibCreate(CalibModeManual, &h);
  SpectrumData s = Describe(Spectrum());
  double position = 0.0;
  for (auto _ : state) {
    if (CalibFindNearestPeak(h, &s, 500250.0, &position) != 0) {
      state.SkipWithError("CalibFindNearestPeak failed");
    }
    benchmark::DoNotOptimize(position);
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
  CalibDestroy(h);
}
BENCHMARK(BM_FindNearestPeak)->Unit(benchmark::kMicrosecond);

// The same three with the vector path forced (argument: 1 the 2-lane SSE2
// pass, 2 AVX2, 3 AVX-512), through the library's internals: forcing reaches
// only this binary's copy of them, not the module's. A default store has
// the module's default threshold.
using Path = kvx::PeakSearch::Path;

bool Force(benchmark::State& state) {
  if (kvx::PeakSearch::ForcePath(static_cast<Path>(state.range(0)))) {
    return true;
  }
  state.SkipWithError("path not supported here");
  return false;
}

void BM_PathLoadSamplesOnly(benchmark::State& state) {
  const SpectrumData s = Describe(Spectrum());
  if (!Force(state)) return;
  for (auto _ : state) {
    kvx::PeakSearch search;
    search.LoadSamples(s);
    benchmark::DoNotOptimize(search);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
  kvx::PeakSearch::ForcePath(Path::kAuto);
}
BENCHMARK(BM_PathLoadSamplesOnly)
    ->DenseRange(1, 3)
    ->Unit(benchmark::kMicrosecond);

void BM_PathFindNearestPeak(benchmark::State& state) {
  const kvx::CalibrationStore store;
  const SpectrumData s = Describe(Spectrum());
  double position = 0.0;
  if (!Force(state)) return;
  for (auto _ : state) {
    if (kvx::FindNearestPeak(store, &s, 500250.0, &position) != 0) {
      state.SkipWithError("FindNearestPeak failed");
    }
    benchmark::DoNotOptimize(position);
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
  kvx::PeakSearch::ForcePath(Path::kAuto);
}
BENCHMARK(BM_PathFindNearestPeak)
    ->DenseRange(1, 3)
    ->Unit(benchmark::kMicrosecond);

void BM_PathFindPeaks(benchmark::State& state) {
  const kvx::CalibrationStore store;
  const SpectrumData s = Describe(Spectrum());
  double positions[50];
  double values[50];
  KvxLong count = 0;
  if (!Force(state)) return;
  for (auto _ : state) {
    if (kvx::FindPeaks(store, &s, positions, values, 50, &count) != 0) {
      state.SkipWithError("FindPeaks failed");
    }
    benchmark::DoNotOptimize(positions);
  }
  state.counters["peaks"] = static_cast<double>(count);
  state.SetItemsProcessed(state.iterations() * kSamples);
  kvx::PeakSearch::ForcePath(Path::kAuto);
}
BENCHMARK(BM_PathFindPeaks)->DenseRange(1, 3)->Unit(benchmark::kMillisecond);

}  // namespace
