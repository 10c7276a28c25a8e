// Timings of the dispersion optimisation: the whole CalibOptimizeSpectrograph
// call as a host makes it, for a standard measurement (cursors a few pixels
// from the proposal, about 12 thousand objective evaluations) and a hard one
// (tens of pixels, about 330 thousand), and the objective alone. Targets:
// 2 ms and 40 ms per run, 10 million objective evaluations per second.
// Times are reported, never asserted.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "../tools/one_grating.h"
#include "KelvoCalibrate.h"
#include "api/calib_object.h"
#include "optimise/disp_params.h"
#include "optimise/dispersion_objective.h"
#include "optimise/target_data.h"
#include "spectrograph/spectrograph_model.h"

namespace {

constexpr double kStandard[4] = {2.0, -1.5, 1.0, -2.5};
constexpr double kHard[4] = {20.0, -15.0, 10.0, -25.0};

// G 1200, psi 30, gamma 0, f 300, K 1, 1024 pixels of 26 um, no regions,
// center 500 nm; Hg 546.07 and 435.83 proposed, then the cursors moved.
bool PrepareHandle(CalibHandle h, const double (&moves)[4]) {
  if (LoadOneGrating(h, OneGrating{}) != 0 ||
      CalibSetCenterWavelength(h, 500.0) != 0 ||
      CalibCalcDispersionTargetData(h, 546.07, 435.83) != 0) {
    return false;
  }
  for (KvxLong k = 1; k <= 4; ++k) {
    double u = 0.0;
    if (CalibGetRefCursorPosition(h, k, &u) != 0 ||
        CalibSetRefCursorPosition(h, k, u + moves[k - 1]) != 0) {
      return false;
    }
  }
  return true;
}

// The same measurement on an object of the library's internals, which can
// count the objective evaluations of a run.
struct CoreRig {
  kvx::CalibObject object;
  kvx::SpectrographModel* model = nullptr;
  explicit CoreRig(const double (&moves)[4]) {
    object.SetupForMode(true);
    DetectorRecord d{};
    d.numPixels = 1024;
    d.pixelSize = 26.0;
    object.Detectors().LoadDetector(&d, sizeof d);
    model = object.Model();
    model->geometry = {26.0, 512.5, 0.0, 1024};
    model->optics.grooveDensity = 1200.0;
    model->optics.inclusionAngle = 30.0;
    model->optics.focalLength = 300.0;
    model->ActiveSpectrograph()->inclusionAngle = 30.0;
    kvx::CalcDispersionTargetData(*model, 546.07, 435.83);
    for (int k = 0; k < 4; ++k) model->targets[k].referenceCursor += moves[k];
  }
  uint64_t Evaluations() {
    double f, p, g, e, px;
    uint64_t n = 0;
    kvx::OptimizeSpectrograph(*model, {&f, &p, &g, &e, &px}, &n);
    return n + 1;  // and the setup's initial objective
  }
};

void OptimiseThroughExport(benchmark::State& state, const double (&moves)[4]) {
  CalibHandle h = 0;
  if (CalibCreate(CalibModeAutomatic, &h) != 0 || !PrepareHandle(h, moves)) {
    state.SkipWithError("setting up the measurement failed");
    return;
  }
  double f, p, g, e, px;
  for (auto _ : state) {
    if (CalibOptimizeSpectrograph(h, &f, &p, &g, &e, &px) != 0) {
      state.SkipWithError("CalibOptimizeSpectrograph failed");
      break;
    }
    benchmark::DoNotOptimize(e);
  }
  CalibDestroy(h);
  const double evaluations = static_cast<double>(CoreRig(moves).Evaluations());
  state.counters["evaluations"] = evaluations;
  state.counters["evaluations/s"] =
      benchmark::Counter(evaluations * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
}

void BM_OptimiseStandard(benchmark::State& state) {
  OptimiseThroughExport(state, kStandard);
}
void BM_OptimiseHard(benchmark::State& state) {
  OptimiseThroughExport(state, kHard);
}
BENCHMARK(BM_OptimiseStandard)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OptimiseHard)->Unit(benchmark::kMillisecond);

// One objective evaluation per focal length, as the line search makes them
// (state.range(0): 1 the split form of the searches, 0 the grating equation
// evaluated in full).
void BM_Objective(benchmark::State& state) {
  CoreRig rig(kStandard);
  kvx::UpdateCursorOffsets(*rig.model);
  kvx::ObjectiveEvaluator split(*rig.model);
  split.SetInclusionAngle(29.9);
  split.SetDetectorAngle(-0.75);
  double f = 225.0;
  for (auto _ : state) {
    f = f < 375.0 ? f + 0.2 : 225.0;
    benchmark::DoNotOptimize(
        state.range(0) != 0
            ? split.Evaluate(f)
            : kvx::DispersionObjective(*rig.model, f, 29.9, -0.75));
  }
  state.counters["evaluations/s"] = benchmark::Counter(
      static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Objective)->Arg(1)->Arg(0);

}  // namespace
