// The split objective that the searches use against the grating equation
// itself, and the number of evaluations the scans make.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "api/calib_object.h"
#include "optimise/disp_params.h"
#include "optimise/dispersion_objective.h"
#include "optimise/target_data.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {
namespace {

// 1024 pixels of 26 um, G 1200, psi 30, gamma 0, f 300, K 1, set straight
// into the model (no hardware records needed).
struct Rig {
  CalibObject object;
  SpectrographModel* model = nullptr;
  Rig() {
    EXPECT_TRUE(object.SetupForMode(true));
    DetectorRecord d{};
    d.numPixels = 1024;
    d.pixelSize = 26.0;
    EXPECT_EQ(object.Detectors().LoadDetector(&d, sizeof d), NqeSuccess);
    model = object.Model();
    model->geometry = {26.0, 512.5, 0.0, 1024};
    model->optics.grooveDensity = 1200.0;
    model->optics.inclusionAngle = 30.0;
    model->optics.focalLength = 300.0;
    model->ActiveSpectrograph()->inclusionAngle = 30.0;
  }
  uint64_t Optimise(const double (&moves)[4]) {
    EXPECT_EQ(CalcDispersionTargetData(*model, 546.07, 435.83), NqeSuccess);
    for (int k = 0; k < 4; ++k) model->targets[k].referenceCursor += moves[k];
    double f, p, g, e, px;
    uint64_t evaluations = 0;
    EXPECT_EQ(OptimizeSpectrograph(*model, {&f, &p, &g, &e, &px}, &evaluations),
              NqeSuccess);
    return evaluations;
  }
};

uint64_t Bits(double v) {
  uint64_t b;
  std::memcpy(&b, &v, sizeof b);
  return b;
}

// Every trial triple, including a zero and a non-zero detector angle and
// inclusion angles at which some or all slots cannot be reached.
TEST(DispersionObjective, SplitFormIsBitIdenticalToTheGratingEquation) {
  for (double groove : {1200.0, 3500.0, 0.0}) {
    Rig rig;
    SpectrographModel& m = *rig.model;
    ASSERT_EQ(CalcDispersionTargetData(m, 546.07, 435.83), NqeSuccess);
    m.optics.grooveDensity = groove;
    const double moves[4] = {3.25, -7.5, 11.0, -0.125};
    for (int k = 0; k < 4; ++k) m.targets[k].referenceCursor += moves[k];
    UpdateCursorOffsets(m);
    ObjectiveEvaluator fast(m);
    int compared = 0;
    for (double psi = 0.0; psi < 90.0; psi += 3.7) {
      fast.SetInclusionAngle(psi);
      for (double gamma : {0.0, -9.95, 0.05, 7.3, -0.0}) {
        fast.SetDetectorAngle(gamma);
        for (double f = 200.0; f < 400.0; f += 6.1) {
          ASSERT_EQ(Bits(fast.Evaluate(f)),
                    Bits(DispersionObjective(m, f, psi, gamma)))
              << groove << " " << psi << " " << gamma << " " << f;
          ++compared;
        }
      }
    }
    EXPECT_EQ(fast.Evaluations(), static_cast<uint64_t>(compared));
  }
}

// Counts from the independent scan model (tests/spectrograph/
// optimise_test.cpp carries the script): 11555 and 328408 evaluations, each
// with the one the setup makes for the initial objective.
TEST(DispersionObjective, ScansMakeTheEvaluationsOfTheAlgorithmAsWritten) {
  Rig standard;
  EXPECT_EQ(standard.Optimise({2.0, -1.5, 1.0, -2.5}), 11554u);
  Rig hard;
  EXPECT_EQ(hard.Optimise({20.0, -15.0, 10.0, -25.0}), 328407u);
}

}  // namespace
}  // namespace kvx
