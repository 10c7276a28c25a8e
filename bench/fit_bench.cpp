// Timings of the fits as a host calls them: the grating model fitted to 30
// lines from three spectra (from the nominal optics, a few percent off the
// true ones; target 1 ms), and an order-9 polynomial of 200 points. Times
// are reported, never asserted.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "../tools/one_grating.h"
#include "KelvoCalibrate.h"

namespace {

constexpr double kCenters[3] = {500.0, 560.0, 620.0};

// 2048 pixels of 13.5 um, 1200 g/mm; the optics given.
bool Load(CalibHandle h, double f, double psi, double gamma) {
  return LoadOneGrating(h, {2048, 13.5, 1200.0, f, psi, gamma, 0.0}) == 0;
}

// Ten lines per spectrum where the true instrument (306.37 mm, 30.523 and
// 1.137 degrees, centers 0.12 % above the requested ones) shows them.
std::vector<KvxFitLine> TrueLines() {
  std::vector<KvxFitLine> lines;
  CalibHandle h = 0;
  if (CalibCreate(CalibModeAutomatic, &h) != 0) return lines;
  if (Load(h, 306.37, 30.523, 1.137)) {
    for (KvxLong s = 0; s < 3; ++s) {
      const double center = kCenters[s] * 1.0012;
      CalibSetCenterWavelength(h, center);
      for (int k = 0; k < 10; ++k) {
        const double wavelength = center - 28.0 + 6.0 * k + 0.37 * std::sin(k);
        double pixel = 0.0;
        CalibCalibValueToPixel(h, wavelength, &pixel);
        lines.push_back({pixel, wavelength, s, 0});
      }
    }
  }
  CalibDestroy(h);
  return lines;
}

void BM_FitGratingModel30Lines(benchmark::State& state) {
  const std::vector<KvxFitLine> lines = TrueLines();
  CalibHandle h = 0;
  if (lines.size() != 30 || CalibCreate(CalibModeAutomatic, &h) != 0 ||
      !Load(h, 0.0, 0.0, 0.0)) {
    state.SkipWithError("setup failed");
    return;
  }
  KvxGratingFit fit{};
  KvxFitLineResult results[30];
  for (auto _ : state) {
    KvxFitSpectrum spectra[3] = {{kCenters[0], 0, 0, 0, 0, 0},
                                 {kCenters[1], 0, 0, 0, 0, 0},
                                 {kCenters[2], 0, 0, 0, 0, 0}};
    if (KvxFitGratingModel(h, lines.data(), 30, spectra, 3, nullptr, &fit,
                           results) != 0) {
      state.SkipWithError("fit failed");
      break;
    }
    benchmark::DoNotOptimize(fit);
  }
  state.counters["evaluations"] = fit.evaluations;
  CalibDestroy(h);
}
BENCHMARK(BM_FitGratingModel30Lines)->Unit(benchmark::kMicrosecond);

void BM_FitPolynomialOrder9Of200Points(benchmark::State& state) {
  std::vector<double> x, y;
  for (int i = 0; i < 200; ++i) {
    x.push_back(1 + i * (2047.0 / 199));
    y.push_back(400 + 0.05 * x.back() + 0.01 * std::sin(0.37 * i));
  }
  KvxPolynomialFit fit{};
  for (auto _ : state) {
    if (KvxFitPolynomial(x.data(), y.data(), 200, 9, nullptr, &fit, nullptr) !=
        0) {
      state.SkipWithError("fit failed");
      break;
    }
    benchmark::DoNotOptimize(fit);
  }
}
BENCHMARK(BM_FitPolynomialOrder9Of200Points)->Unit(benchmark::kMicrosecond);

}  // namespace
