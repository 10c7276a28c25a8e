// Timing of the automatic calibration of one 2048-pixel lamp spectrum
// (peak search, placement over shift and scale, matching, the grating fit
// and its refits) as a host calls it, on the synthetic spectra of the
// tests (fixed seed): neon at 660 nm and krypton at 800 nm, the real
// center 30 pixels at most off the requested one and the dispersion 3 % at
// most off the nominal. Target: at most 10 ms per spectrum.
#include <benchmark/benchmark.h>

#include <vector>

#include "../tests/support/lamp_spectrum.h"
#include "KelvoCalibrate.h"

namespace {

void Identify(benchmark::State& state, const char* elements, double center) {
  KvxLong count = 0;
  KvxGetLampLines(nullptr, elements, nullptr, 0, &count);
  std::vector<KvxLampLine> lamp(static_cast<size_t>(count));
  KvxGetLampLines(nullptr, elements, lamp.data(), count, &count);
  const kvx_test::Optics nominal;
  const kvx_test::LampSpectrum s = kvx_test::MakeLampSpectrum(
      kvx_test::TrueOptics(nominal, 7), center, lamp, 7);

  CalibHandle h = 0;
  CalibCreate(CalibModeAutomatic, &h);
  DetectorRecord d{};
  d.numPixels = nominal.pixels;
  d.pixelSize = nominal.pixelUm;
  SpectrographRecord sp{
      1, 1, 1, {}, {}, nominal.focal, nominal.inclusion, nominal.detector, 1.0};
  TurretRecord t{0, 1, {}, 1};
  GratingRecord g{};
  g.gratingId = 1;
  g.grooveDensity = nominal.grooves;
  g.pixelWidth = nominal.pixelUm;
  if (CalibLoadDetector(h, &d, sizeof d) +
          CalibLoadSpectrograph(h, &sp, sizeof sp) +
          CalibLoadTurrets(h, &t, sizeof t, 1) +
          CalibLoadGratings(h, &g, sizeof g, 1) + CalibSelectGrating(h, 1) !=
      0) {
    state.SkipWithError("instrument setup failed");
  }
  KvxAutocalSpectrum in{};
  in.counts = s.counts.data();
  in.count = nominal.pixels;
  in.center = center;
  KvxAutocalResult result{};
  std::vector<KvxIdentifiedLine> lines(200);
  for (auto _ : state) {
    const KvxULong code = KvxAutoCalibrate(h, &in, 1, lamp.data(), count,
                                           nullptr, &result, lines.data(), 200);
    if (code != 0) state.SkipWithError("identification failed");
    benchmark::DoNotOptimize(result);
  }
  state.counters["lines"] = result.lineCount;
  state.counters["peaks"] = in.peaks;
  CalibDestroy(h);
}

void BM_IdentifyNeon2048(benchmark::State& state) {
  Identify(state, "Ne", 660);
}
void BM_IdentifyKrypton2048(benchmark::State& state) {
  Identify(state, "Kr", 800);
}

}  // namespace

BENCHMARK(BM_IdentifyNeon2048)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IdentifyKrypton2048)->Unit(benchmark::kMillisecond);
