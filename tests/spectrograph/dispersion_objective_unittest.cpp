// The split objective of the searches against the grating equation itself,
// the number of evaluations the scans make, and lines the grating cannot
// reach.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

#include "optimise/disp_params.h"
#include "optimise/dispersion_objective.h"
#include "optimise/target_data.h"
#include "spectrograph/model_fixture.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx_test {
namespace {

using namespace kvx;

class Dispersion : public ExampleModel {
 protected:
  // Hg lines proposed, cursors moved.
  void Propose(const double (&moves)[4]) {
    model().geometry.numPixels = 1024;
    model().ActiveSpectrograph()->inclusionAngle = 30.0;
    EXPECT_EQ(CalcDispersionTargetData(model(), 546.07, 435.83), NqeSuccess);
    for (int k = 0; k < 4; ++k) model().targets[k].referenceCursor += moves[k];
  }
  // Returns the scans' evaluations.
  uint64_t Optimise() {
    uint64_t n = 0;
    EXPECT_EQ(OptimizeSpectrograph(
                  model(), {&out[0], &out[1], &out[2], &out[3], &out[4]}, &n),
              NqeSuccess);
    return n;
  }
  double out[5] = {};
};

// Zero and non-zero detector angles, and inclusion angles and groove
// densities at which some or all slots cannot be reached.
TEST_F(Dispersion, SplitFormIsBitIdenticalToTheGratingEquation) {
  Propose({3.25, -7.5, 11.0, -0.125});
  UpdateCursorOffsets(model());
  for (double groove : {1200.0, 3500.0, 0.0}) {
    model().optics.grooveDensity = groove;
    ObjectiveEvaluator fast(model());
    for (double psi = 0.0; psi < 90.0; psi += 3.7) {
      fast.SetInclusionAngle(psi);
      for (double gamma : {0.0, -9.95, 0.05, 7.3, -0.0}) {
        fast.SetDetectorAngle(gamma);
        for (double f = 200.0; f < 400.0; f += 6.1) {
          ASSERT_EQ(std::bit_cast<uint64_t>(fast.Evaluate(f)),
                    std::bit_cast<uint64_t>(
                        DispersionObjective(model(), f, psi, gamma)))
              << groove << " " << psi << " " << gamma << " " << f;
        }
      }
    }
  }
}

// optimise_scan.py counts 11555 and 328408, each with the setup's
// evaluation of the initial objective.
TEST_F(Dispersion, ScansMakeTheEvaluationsOfTheAlgorithmAsWritten) {
  Propose({2.0, -1.5, 1.0, -2.5});
  EXPECT_EQ(Optimise(), 11554u);
  Propose({20.0, -15.0, 10.0, -25.0});
  EXPECT_EQ(Optimise(), 328407u);
}

// Effective centers beyond reach count as their own prediction: the
// objective is constant, every scan runs in full, the initial set returns.
TEST_F(Dispersion, UnreachableCentersLeaveTheInitialSet) {
  model().optics.focalLength = 10.0;  // few focal steps per line search
  Propose({0, 0, 0, 0});
  for (TargetSlot& slot : model().targets) slot.effectiveCenter = 2000.0;
  Optimise();
  EXPECT_EQ(out[0], 10.0);
  EXPECT_EQ(out[1], 30.0);
  EXPECT_EQ(out[2], 0.0);
  // (1453.93 * 2 + 1564.17 * 2 + 1564.17) * 0.2 = 7600.37 * 0.2 = 1520.074
  EXPECT_NEAR(out[3], 1520.074, 1e-9);
}

}  // namespace
}  // namespace kvx_test
