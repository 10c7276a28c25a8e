// The spectrograph hardware lists, the handle slot's center wavelength, and
// dispersion target data and optimisation as a host drives them. Expected
// values: the output of optimise_scan.py (an independent model of the scans
// on the example instrument, lines 546.07 and 435.83 nm, cursors moved from
// the proposal), pasted unchanged into Propose and the moved-cursor scan; the
// working f and psi it prints are 300.0 and 26.999999999999957 every time.
#include <cmath>
#include <tuple>

#include "spectrograph/hardware_fixtures.h"

namespace kvx_hardware_test {
namespace {

TEST(SpectrographList, AddReportsAFreshIdWhileTheNodeKeepsTheRecordsId) {
  AutoHandle h;
  const KvxULong first = ActiveSpectrograph(h);
  SpectrographRecord r = Spectrograph(7);
  KvxULong newId = 0;
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 0u);
  EXPECT_EQ(CalibSetActiveSpectrographID(h, newId), 11043u);
  EXPECT_EQ(ActiveSpectrograph(h), first);
  // The load left no active turret although the first spectrograph has one.
  EXPECT_EQ(CalibSelectGrating(h, 1), 11049u);
  EXPECT_EQ(CalibSetGratingByIndexNum(h, 1, 1), NqeSuccess);
  ASSERT_EQ(CalibSetActiveSpectrographID(h, 7), 0u);
  EXPECT_EQ(CalibSelectGrating(h, 1), 0u);     // the first's turret is kept
  EXPECT_EQ(CalibSelectTurret(h, 1), 11049u);  // 7's turret was freed
  // A failed add keeps the new spectrograph with its default turret.
  r.numTurrets = 0;
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 11055u);
  ASSERT_EQ(CalibSetActiveSpectrographID(h, newId), 0u);
  EXPECT_EQ(CalibSetGratingByIndexNum(h, 1, 1), NqeSuccess);
}

TEST(SpectrographList, RemovalKeepsTheLastSpectrographAndIgnoresUnknownIds) {
  AutoHandle h;
  const KvxULong first = ActiveSpectrograph(h);
  EXPECT_EQ(CalibRemoveSpectrographID(h, first + 1), 0u);
  SpectrographRecord r = Spectrograph(7);
  KvxULong newId = 0;
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 0u);
  ASSERT_EQ(CalibSetActiveSpectrographID(h, 7), 0u);
  ASSERT_EQ(CalibRemoveSpectrographID(h, 7), 0u);
  EXPECT_EQ(ActiveSpectrograph(h), first);  // the head became active
  EXPECT_EQ(CalibSetActiveSpectrographID(h, 7), 11043u);
  ASSERT_EQ(CalibSelectTurret(h, 1), 0u);
  ASSERT_EQ(CalibRemoveSpectrographID(h, first), 0u);
  EXPECT_EQ(ActiveSpectrograph(h), first);
  EXPECT_EQ(CalibSelectTurret(h, 1), 11049u);  // kept, without turrets
  // The count decides: after a load dropped the spectrograph behind it,
  // removing the one left in the list empties the list.
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 0u);
  // No grating is active now: the slope goes to the working optics only.
  EXPECT_EQ(CalibCalcSlopeAdjust(h, 1.0, 2.0), 0u);
  ASSERT_EQ(CalibLoadSpectrograph(h, &r, sizeof r), 0u);
  ASSERT_EQ(CalibRemoveSpectrographID(h, 7), 0u);
  EXPECT_EQ(CalibSetActiveSpectrographID(h, 7), 11043u);
  EXPECT_EQ(CalibRemoveSpectrographID(h, 7), 11043u);
}

TEST(ExitMirror, StaysAndForgetsARemovedMainDetector) {
  AutoHandle h;
  KvxULong mainDetector = 0;
  ASSERT_EQ(CalibGetActiveDetectorID(h, &mainDetector), 0u);
  // The only detector is blanked with its ID kept; the port forgets it.
  ASSERT_EQ(CalibRemoveDetectorID(h, mainDetector), 0u);
  TurretRecord t = Turret(1, 2);  // without gratings: copies cannot match
  ASSERT_EQ(CalibLoadTurrets(h, &t, sizeof t, 1), 0u);
  ASSERT_EQ(CalibAddExitMirror(h), 11062u);
  EXPECT_EQ(CalibSetExitMirrorPosition(h, 0), 11012u);  // yet installed
  // Once added, the mirror stays.
  EXPECT_EQ(CalibRemoveExitMirror(h), 0u);
  EXPECT_EQ(CalibAddExitMirror(h), 11060u);
}

TEST(GratingExports, SlotCenterSurvivesARefusalAndTheObject) {
  CalibHandle manual = 0;
  ASSERT_EQ(CalibCreate(CalibModeManual, &manual), 0u);
  EXPECT_EQ(CalibSetCenterWavelength(manual, 550.0), 11054u);
  ASSERT_EQ(CalibDestroy(manual), 0u);
  CalibHandle automatic = 0;
  ASSERT_EQ(CalibCreate(CalibModeAutomatic, &automatic), 0u);
  ASSERT_EQ(automatic, manual);
  // A new model has groove density 0, so every pixel sees the center the
  // frame passes: the slot's 550, not the model's own 0.
  double v = 0.0;
  EXPECT_EQ(CalibCalcPxlWavLngth(automatic, 17.0, &v), NqeSuccess);
  EXPECT_EQ(v, 550.0);
  ASSERT_EQ(CalibDestroy(automatic), 0u);
}

struct Set {
  double f = -7.0, psi = -7.0, gamma = -7.0, objective = -7.0, px = -7.0;
};

void ExpectClose(double actual, double expected) {
  EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-10);
}

class Optimisation : public ::testing::Test {
 protected:
  void SetUp() override { Load(0.0); }
  // The grating's optics left at 0.0 take the spectrograph's.
  void Load(double inclusionAngle) {
    SpectrographRecord s = Spectrograph(1);
    TurretRecord t = Turret(1, 1);
    GratingRecord g = Grating(1);
    g.inclusionAngle = inclusionAngle;
    ASSERT_EQ(CalibLoadSpectrograph(h, &s, sizeof s), 0u);
    ASSERT_EQ(CalibLoadTurrets(h, &t, sizeof t, 1), 0u);
    ASSERT_EQ(CalibLoadGratings(h, &g, sizeof g, 1), 0u);
    ASSERT_EQ(CalibSelectGrating(h, 1), 0u);
  }
  // Proposes targets for the two lines (checked against the script's U and
  // C for the example optics) and moves the cursors.
  void Propose(const double (&moves)[4] = {}, bool example = true) {
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
  Set Call(decltype(&CalibGetOrigDispParams) fn) {
    Set s;
    EXPECT_EQ(fn(h, &s.f, &s.psi, &s.gamma, &s.objective, &s.px), 0u);
    return s;
  }
  AutoHandle h;
};

TEST_F(Optimisation, ScansFindTheIndependentlyComputedBestSet) {
  Propose({20, -15, 10, -25});
  const Set best = Call(CalibOptimizeSpectrograph);
  EXPECT_EQ(std::tie(best.f, best.psi, best.gamma),
            std::tuple(285.6000000000008, 29.95, -8.399999999999984));
  ExpectClose(best.objective, 0.3149831434204316);
  ExpectClose(best.px, 4.989046689675847);
  const Set orig = Call(CalibGetOrigDispParams);
  EXPECT_EQ(orig.f + orig.psi + orig.gamma, 330.0);
  ExpectClose(orig.objective, 1.152960264746389);
  // Kept: the optimised set reads back where the scans ended (initial focal
  // length, an inclusion angle below the lower bound, the last search's
  // detector angle) with the best set's objective and pixel error.
  const Set optim = Call(CalibGetOptimDispParams);
  EXPECT_EQ(optim.f, 300.0);
  ExpectClose(optim.psi, 26.999999999999957);
  ExpectClose(optim.gamma, -9.950000000000006);
  EXPECT_EQ(std::tie(optim.objective, optim.px),
            std::tie(best.objective, best.px));
  // Installing the optimised set installs the best one, the next start.
  double objective = 0.0, px = 0.0;
  ASSERT_EQ(CalibInstallOptimDispParams(h, &objective, &px), 0u);
  EXPECT_EQ(std::tie(objective, px), std::tie(best.objective, best.px));
  Call(CalibOptimizeSpectrograph);
  const Set now = Call(CalibGetOrigDispParams);
  EXPECT_EQ(now.f + now.psi + now.gamma, best.f + best.psi + best.gamma);
}

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
  Load(34.0);
  Propose({2, -1.5, 1, -2.5}, false);
  const Set best = Call(CalibOptimizeSpectrograph);
  EXPECT_EQ(best.f + best.psi + best.gamma, 334.0);
  EXPECT_EQ(best.objective, Call(CalibGetOrigDispParams).objective);
}

}  // namespace
}  // namespace kvx_hardware_test
