// Dispersion target data and optimisation as a host drives them. Expected
// values: the output of optimise_scan.py (an independent model of the scans
// on the example instrument, lines 546.07 and 435.83 nm, cursors moved from
// the proposal), pasted unchanged into Propose and the ScanCase table; the
// working f and psi it prints are 300.0 and 26.999999999999957 every time.
#include <cmath>
#include <limits>

#include "spectrograph/hardware_fixtures.h"

namespace kvx_hardware_test {
namespace {

struct Set {
  double f = -7.0, psi = -7.0, gamma = -7.0, objective = -7.0, px = -7.0;
};

void ExpectClose(double actual, double expected) {
  EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-10);
}

using Moves = double[4];

class Optimisation : public ::testing::Test {
 protected:
  void SetUp() override { Load({0.0, 0.0, 0.0}); }
  // Grating optics {f, psi, gamma} left at 0.0 take the spectrograph's.
  void Load(const double (&optics)[3], double defaultDetector = 0.0,
            double groove = 1200.0) {
    SpectrographRecord s = Spectrograph(1);
    s.detectorAngle = defaultDetector;
    TurretRecord t = Turret(1, 1);
    GratingRecord g = Grating(1, groove);
    g.focalLength = optics[0];
    g.inclusionAngle = optics[1];
    g.detectorAngle = optics[2];
    ASSERT_EQ(CalibLoadSpectrograph(h, &s, sizeof s), 0u);
    ASSERT_EQ(CalibLoadTurrets(h, &t, sizeof t, 1), 0u);
    ASSERT_EQ(CalibLoadGratings(h, &g, sizeof g, 1), 0u);
    ASSERT_EQ(CalibSelectGrating(h, 1), 0u);
  }
  // Proposes targets for the two lines (checked against the script's U and
  // C for the example optics) and moves the cursors.
  void Propose(const Moves& moves = {0, 0, 0, 0}, bool example = true) {
    const double u[4] = {51.69999999999999, 973.3, 51.69999999999999, 973.3};
    const double c[4] = {573.4072145509398, 518.8060770751927,
                         464.4510595277288, 407.26004973199747};
    ASSERT_EQ(CalibCalcDispersionTargetData(h, 546.07, 435.83), 0u);
    for (int k = 0; k < 4; ++k) {
      double v = 0.0, center = 0.0;
      ASSERT_EQ(CalibGetRefCursorPosition(h, k + 1, &v) +
                    CalibGetTargetWaveLength(h, k + 1, &center),
                0u);
      if (example) ExpectClose(v, u[k]), ExpectClose(center, c[k]);
      ASSERT_EQ(CalibSetRefCursorPosition(h, k + 1, v + moves[k]), 0u);
    }
  }
  // CalibOptimizeSpectrograph or one of the two readers.
  Set Call(decltype(&CalibGetOrigDispParams) fn, KvxULong expected = 0) {
    Set s;
    EXPECT_EQ(fn(h, &s.f, &s.psi, &s.gamma, &s.objective, &s.px), expected);
    return s;
  }
  AutoHandle h;
};

struct ScanCase {
  Moves moves;
  double initialObjective;
  Set best;
  double workingGamma;
};

class Scans : public Optimisation,
              public ::testing::WithParamInterface<ScanCase> {};

TEST_P(Scans, FindTheIndependentlyComputedBestSet) {
  const ScanCase& want = GetParam();
  Propose(want.moves);
  const Set best = Call(CalibOptimizeSpectrograph);
  EXPECT_EQ(best.f, want.best.f);
  EXPECT_EQ(best.psi, want.best.psi);
  EXPECT_EQ(best.gamma, want.best.gamma);
  ExpectClose(best.objective, want.best.objective);
  ExpectClose(best.px, want.best.px);
  const Set orig = Call(CalibGetOrigDispParams);
  EXPECT_EQ(orig.f + orig.psi + orig.gamma, 330.0);
  ExpectClose(orig.objective, want.initialObjective);
  // Kept: the optimised set reads back where the scans ended (initial focal
  // length, an inclusion angle below the lower bound, the last search's
  // detector angle) with the best set's objective and pixel error.
  const Set optim = Call(CalibGetOptimDispParams);
  EXPECT_EQ(optim.f, 300.0);
  ExpectClose(optim.psi, 26.999999999999957);
  ExpectClose(optim.gamma, want.workingGamma);
  EXPECT_EQ(optim.objective, best.objective);
  EXPECT_EQ(optim.px, best.px);
  // Installing the optimised set installs the best one, the next start.
  double objective = 0.0, px = 0.0;
  ASSERT_EQ(CalibInstallOptimDispParams(h, &objective, &px), 0u);
  EXPECT_EQ(objective, best.objective);
  EXPECT_EQ(px, best.px);
  Call(CalibOptimizeSpectrograph);
  const Set now = Call(CalibGetOrigDispParams);
  EXPECT_EQ(now.f + now.psi + now.gamma, best.f + best.psi + best.gamma);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(MovedCursors, Scans, ::testing::Values(
    ScanCase{{20, -15, 10, -25}, 1.152960264746389,
             {285.6000000000008, 29.95, -8.399999999999984, 0.3149831434204316, 4.989046689675847},
             -9.950000000000006}));
// clang-format on

// Kept: target centers down to -3000 nm pass.
TEST_F(Optimisation, TargetCenterMayGoDownToMinus3000) {
  Propose();
  ASSERT_EQ(CalibSetTargetWaveLength(h, 2, -3000.0), 0u);
  EXPECT_EQ(CalibValidateTargetData(h), NqeSuccess);
  ASSERT_EQ(CalibSetTargetWaveLength(h, 2, -3000.5), 0u);
  EXPECT_EQ(CalibValidateTargetData(h), NqeWavelengthUnreachable);
}

// The bounds 27..33 come from the spectrograph's 30, not the grating's 34.
TEST_F(Optimisation, InclusionAngleAboveTheUpperBoundSearchesNothing) {
  Load({0.0, 34.0, 0.0});
  Propose({2, -1.5, 1, -2.5}, false);
  const Set best = Call(CalibOptimizeSpectrograph);
  EXPECT_EQ(best.f + best.psi + best.gamma, 334.0);
  EXPECT_EQ(best.objective, Call(CalibGetOrigDispParams).objective);
}

}  // namespace
}  // namespace kvx_hardware_test
