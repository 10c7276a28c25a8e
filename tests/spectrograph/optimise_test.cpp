// Dispersion target data and optimisation as a host drives them.
//
// Expected values from tests/spectrograph/optimise_scan.py, an independent
// model of the scans (1024 x 26 um, G 1200, psi 30 = default, gamma 0,
// f 300, K 1; lines 546.07 and 435.83; cursors moved from the proposal):
//   U [51.69999999999999, 973.3, 51.69999999999999, 973.3]
//   C [573.4072145509398, 518.8060770751927, 464.4510595277288,
//      407.26004973199747]
//   [0, 0, 0, 0] evaluations 7793 initial objective 6.931611551408424e-09
//    best f psi gamma obj px 300.0 30.0 0.0 6.931611551408424e-09
//                                                    1.1412365825887605e-07
//    working f psi gamma 300.0 26.999999999999957 0.3
//   [2, -1.5, 1, -2.5] evaluations 11555 initial objective 0.11525936789889785
//    best f psi gamma obj px 299.00000000000006 29.9 -0.7500000000000001
//                              0.030766965972088656 0.50460185597979
//    working f psi gamma 300.0 26.999999999999957 -0.44999999999999984
//   [20, -15, 10, -25] evaluations 328408 initial objective 1.152960264746389
//    best f psi gamma obj px 285.6000000000008 29.95 -8.399999999999984
//                              0.3149831434204316 4.989046689675847
//    working f psi gamma 300.0 26.999999999999957 -9.950000000000006
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace kvx_test {
namespace {

struct Set {
  double f = -7.0, psi = -7.0, gamma = -7.0, objective = -7.0, px = -7.0;
};

void ExpectClose(double actual, double expected) {
  EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-10);
}

class Optimisation : public ::testing::Test {
 protected:
  void SetUp() override { Load(1200.0, 0.0, 0.0, 0.0); }
  // Grating optics left at 0.0 take the spectrograph's (f 300, psi 30).
  void Load(double groove, double focal, double inclusion, double detector,
            double defaultDetector = 0.0) {
    DetectorRecord d{};
    d.numPixels = 1024;
    d.pixelSize = 26.0;
    ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);
    SpectrographRecord s{};
    s.numTurrets = s.numGratings = 1;
    s.focalLength = 300.0;
    s.inclusionAngle = 30.0;
    s.detectorAngle = defaultDetector;
    s.scaleFactor = 1.0;
    ASSERT_EQ(CalibLoadSpectrograph(h, &s, sizeof s), 0u);
    TurretRecord t{};
    t.numGratings = 1;
    ASSERT_EQ(CalibLoadTurrets(h, &t, sizeof t, 1), 0u);
    GratingRecord g{};
    g.grooveDensity = groove;
    g.focalLength = focal;
    g.inclusionAngle = inclusion;
    g.detectorAngle = detector;
    ASSERT_EQ(CalibLoadGratings(h, &g, sizeof g, 1), 0u);
    ASSERT_EQ(CalibSelectGrating(h, 1), 0u);
  }
  void Propose(const double (&moves)[4] = {0, 0, 0, 0}) {
    ASSERT_EQ(CalibCalcDispersionTargetData(h, 546.07, 435.83), 0u);
    for (int k = 0; k < 4; ++k) {
      double u = 0.0;
      ASSERT_EQ(CalibGetRefCursorPosition(h, k + 1, &u), 0u);
      ASSERT_EQ(CalibSetRefCursorPosition(h, k + 1, u + moves[k]), 0u);
    }
  }
  Set Optimise(KvxULong expected = 0) {
    Set s;
    EXPECT_EQ(CalibOptimizeSpectrograph(h, &s.f, &s.psi, &s.gamma, &s.objective,
                                        &s.px),
              expected);
    return s;
  }
  Set Read(decltype(&CalibGetOrigDispParams) get, KvxULong expected = 0) {
    Set s;
    EXPECT_EQ(get(h, &s.f, &s.psi, &s.gamma, &s.objective, &s.px), expected);
    return s;
  }
  Handle h{CalibModeAutomatic};
};

TEST_F(Optimisation, ProposalPutsBothLinesNearBothEdges) {
  Propose();
  const double u[4] = {51.69999999999999, 973.3, 51.69999999999999, 973.3};
  const double c[4] = {573.4072145509398, 518.8060770751927, 464.4510595277288,
                       407.26004973199747};
  for (int k = 0; k < 4; ++k) {
    double v = 0.0;
    ASSERT_EQ(CalibGetRefCursorPosition(h, k + 1, &v), 0u);
    ExpectClose(v, u[k]);
    ASSERT_EQ(CalibGetTargetWaveLength(h, k + 1, &v), 0u);
    ExpectClose(v, c[k]);
  }
}

struct ScanCase {
  double moves[4];
  double initialObjective;
  Set best;
  double workingGamma;
};

class Scans : public Optimisation,
              public ::testing::WithParamInterface<ScanCase> {};

TEST_P(Scans, FindTheIndependentlyComputedBestSet) {
  const ScanCase& want = GetParam();
  Propose(want.moves);
  const Set best = Optimise();
  EXPECT_EQ(best.f, want.best.f);
  EXPECT_EQ(best.psi, want.best.psi);
  EXPECT_EQ(best.gamma, want.best.gamma);
  ExpectClose(best.objective, want.best.objective);
  ExpectClose(best.px, want.best.px);
  const Set orig = Read(CalibGetOrigDispParams);
  EXPECT_EQ(orig.f, 300.0);
  EXPECT_EQ(orig.psi, 30.0);
  EXPECT_EQ(orig.gamma, 0.0);
  ExpectClose(orig.objective, want.initialObjective);
  // The optimised set as read back is where the scans ended, on purpose:
  // initial focal length, an inclusion angle below the lower bound, the
  // last search's detector angle; objective and pixel error are the best.
  const Set optim = Read(CalibGetOptimDispParams);
  EXPECT_EQ(optim.f, 300.0);
  ExpectClose(optim.psi, 26.999999999999957);
  ExpectClose(optim.gamma, want.workingGamma);
  EXPECT_EQ(optim.objective, best.objective);
  EXPECT_EQ(optim.px, best.px);
}

INSTANTIATE_TEST_SUITE_P(
    MovedCursors, Scans,
    ::testing::Values(ScanCase{{0, 0, 0, 0},
                               6.931611551408424e-09,
                               {300.0, 30.0, 0.0, 6.931611551408424e-09,
                                1.1412365825887605e-07},
                               0.3},
                      ScanCase{{2, -1.5, 1, -2.5},
                               0.11525936789889785,
                               {299.00000000000006, 29.9, -0.7500000000000001,
                                0.030766965972088656, 0.50460185597979},
                               -0.44999999999999984},
                      ScanCase{{20, -15, 10, -25},
                               1.152960264746389,
                               {285.6000000000008, 29.95, -8.399999999999984,
                                0.3149831434204316, 4.989046689675847},
                               -9.950000000000006}));

TEST_F(Optimisation, InstallingTheOptimisedSetInstallsTheBestOne) {
  Propose({2, -1.5, 1, -2.5});
  const Set best = Optimise();
  double objective = 0.0, px = 0.0;
  ASSERT_EQ(CalibInstallOptimDispParams(h, &objective, &px), 0u);
  EXPECT_EQ(objective, best.objective);
  EXPECT_EQ(px, best.px);
  // The next run starts from the installed optics.
  Optimise();
  const Set now = Read(CalibGetOrigDispParams);
  EXPECT_EQ(now.f, best.f);
  EXPECT_EQ(now.psi, best.psi);
  EXPECT_EQ(now.gamma, best.gamma);
  ASSERT_EQ(CalibInstallOrigDispParams(h, &objective, &px), 0u);
  EXPECT_EQ(objective, now.objective);
}

TEST_F(Optimisation, WithoutPixelErrorPointerNothingIsWrittenYetTheRunIsKept) {
  Propose({2, -1.5, 1, -2.5});
  Set s;
  EXPECT_EQ(CalibOptimizeSpectrograph(h, &s.f, &s.psi, &s.gamma, &s.objective,
                                      nullptr),
            0u);
  EXPECT_EQ(s.f, -7.0);
  EXPECT_EQ(s.objective, -7.0);
  ExpectClose(Read(CalibGetOptimDispParams).objective, 0.030766965972088656);
}

TEST_F(Optimisation, InclusionAngleAboveTheUpperBoundSearchesNothing) {
  Load(1200.0, 0.0, 34.0, 0.0);  // bounds 27..33 from the default 30
  Propose({2, -1.5, 1, -2.5});
  const Set best = Optimise();
  const Set orig = Read(CalibGetOrigDispParams);
  EXPECT_EQ(best.f, 300.0);
  EXPECT_EQ(best.psi, 34.0);
  EXPECT_EQ(best.gamma, 0.0);
  EXPECT_EQ(best.objective, orig.objective);
}

TEST_F(Optimisation, NothingToReadOrInstallBeforeTheFirstRun) {
  Propose();
  Set s;
  double o = 0.0, px = 0.0;
  EXPECT_EQ(CalibValidateTargetData(h), NqeSuccess);
  EXPECT_EQ(CalibValidateSpecOptStruct(h), NqeNoOptimisationData);
  Read(CalibGetOrigDispParams, 11071);
  Read(CalibGetOptimDispParams, 11071);
  EXPECT_EQ(CalibInstallOrigDispParams(h, &o, &px), 11071u);
  EXPECT_EQ(CalibInstallOptimDispParams(h, &o, &px), 11071u);
  Optimise();
  EXPECT_EQ(CalibGetOrigDispParams(h, &s.f, &s.psi, nullptr, &o, &px), 11000u);
  EXPECT_EQ(CalibInstallOptimDispParams(h, &o, nullptr), 11000u);
}

TEST_F(Optimisation, CursorsOutsideTheDetectorAreRefused) {
  // Target slots never set: every cursor is 0.
  EXPECT_EQ(CalibValidateTargetData(h), NqePointOutOfRange);
  Optimise(11016);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (double bad : {0.5, 1024.0, nan}) {
    Propose();
    ASSERT_EQ(CalibSetRefCursorPosition(h, 3, bad), 0u);
    EXPECT_EQ(CalibValidateTargetData(h), NqePointOutOfRange) << bad;
    Optimise(11016);
    EXPECT_EQ(CalibValidateSpecOptStruct(h), NqePointOutOfRange);
  }
  ASSERT_EQ(CalibSetRefCursorPosition(h, 3, 1023.999), 0u);
  EXPECT_EQ(CalibValidateSpecOptStruct(h), NqeSuccess);
}

// Target centers down to -3000 nm pass on purpose; targets must not be
// negative.
TEST_F(Optimisation, TargetCenterMayGoDownToMinus3000) {
  Propose();
  ASSERT_EQ(CalibSetTargetWaveLength(h, 2, -3000.0), 0u);
  EXPECT_EQ(CalibValidateTargetData(h), NqeSuccess);
  ASSERT_EQ(CalibSetTargetWaveLength(h, 2, -3000.5), 0u);
  EXPECT_EQ(CalibValidateTargetData(h), NqeWavelengthUnreachable);
}

struct OpticsCase {
  double focal, inclusion, detector, defaultDetector;
  KvxULong code;
};

class BadOptics : public Optimisation,
                  public ::testing::WithParamInterface<OpticsCase> {};

TEST_P(BadOptics, AreRefusedBeforeAnySearch) {
  const OpticsCase& c = GetParam();
  Load(1200.0, c.focal, c.inclusion, c.detector, c.defaultDetector);
  Propose();
  const Set s = Optimise(c.code);
  EXPECT_EQ(s.f, -7.0);
  EXPECT_EQ(Read(CalibGetOrigDispParams).f, c.focal != 0.0 ? c.focal : 300.0);
}

INSTANTIATE_TEST_SUITE_P(Codes, BadOptics,
                         ::testing::Values(OpticsCase{10000.5, 0, 0, 0, 11070},
                                           OpticsCase{0, 95.0, 0, 0, 11069},
                                           OpticsCase{0, 0, 90.0, 0, 11069},
                                           OpticsCase{0, 0, -90.0, 0, 11069},
                                           OpticsCase{0, 0, 5.0, 400.0,
                                                      11069}));

TEST_F(Optimisation, PixelErrorOfAnUnreachableMiddleIsMinusOne) {
  Propose();
  Optimise();
  Load(4000.0, 0.0, 0.0, 0.0);  // (546.07 + 435.83) / 2 beyond reach
  const Set s = Read(CalibGetOrigDispParams, 11065);
  EXPECT_EQ(s.px, -1.0);
  EXPECT_EQ(s.f, 300.0);
}

TEST_F(Optimisation, UnreachableLineChangesNothing) {
  EXPECT_EQ(CalibCalcDispersionTargetData(h, 546.07, 5000.0), 11065u);
  double u = -1.0;
  ASSERT_EQ(CalibGetRefCursorPosition(h, 1, &u), 0u);
  EXPECT_EQ(u, 0.0);
}

TEST(OptimisationExports, ManualObjectHasNoModel) {
  Handle h;
  double d = 0.0;
  const KvxULong codes[] = {
      CalibCalcDispersionTargetData(h, 500.0, 600.0),
      CalibOptimizeSpectrograph(h, &d, &d, &d, &d, &d),
      CalibGetOrigDispParams(h, &d, &d, &d, &d, &d),
      CalibGetOptimDispParams(h, &d, &d, &d, &d, &d),
      CalibInstallOrigDispParams(h, &d, &d),
      CalibInstallOptimDispParams(h, &d, &d),
      static_cast<KvxULong>(CalibValidateTargetData(h)),
      static_cast<KvxULong>(CalibValidateSpecOptStruct(h))};
  for (KvxULong code : codes) EXPECT_EQ(code, 11054u);
}

}  // namespace
}  // namespace kvx_test
