// The split objective of the searches against the grating equation itself.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

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

}  // namespace
}  // namespace kvx_test
