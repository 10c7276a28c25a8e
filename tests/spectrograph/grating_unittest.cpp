// The grating equation, center wavelength, stepping, model calibration and
// target slots; hardware state that no export reads back (counts, grating
// positions, defaults). Expected values: /usr/bin/python3,
// math.asin/atan/sin/cos, half degree 0.008726646258333333, degree
// 0.017453292516666667, quarter turn 1.5707963265; m 1, G 1200, psi 30, f 300,
// K 1, w 26, center 500; the outputs stand beside their inputs below:
//   asin(1200 * 500e-6 / (2 cos(15)))  [15 radians] -> -0.40595791759535255
//   |lambda(+0.5) - lambda(-0.5)| -> 0.06050578972292442
//   pixel 700 -> 511.2832735397793 nm = 19558.629271727918 cm-1
//   center 500, center offset o 10 (3 corrections) -> 500.6050726739171;
//     drive (s 0.001) 501.10567774659097; 600, o 10 -> 600.5777047945543
//   center 500, o 87.5 (4 corrections) -> 505.2952782350938
//   center 602, o 0: span of pixels 1..1024 56.979793203084455; B 600,
//     A = 598 - span q: q 1 -> 541.0202067969155 (1 step),
//     1.000001 -> 541.0201498171224 (1), 1.00002 -> 541.0190672010515 (2)
//   400..600, overlap 5 (center 605): 4 centers

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "api/calib_object.h"
#include "spectrograph/center_stepping.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/hardware_fixtures.h"
#include "spectrograph/target_slots.h"

namespace kvx_test {
namespace {

using namespace kvx;
namespace hw = kvx_hardware_test;

// Agreement to twelve significant digits.
void ExpectDigits(double actual, double expected) {
  EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-12);
}

// An automatic object whose working optics are the example instrument of
// hardware_fixtures.h, set directly (center pixel 512.5).
class Grating : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(object.SetupForMode(true));
    DetectorRecord d = kvx_detector_test::Detector(1024, nullptr, 26.0);
    ASSERT_EQ(object.Detectors().LoadDetector(&d, sizeof d), NqeSuccess);
    SpectrographModel& m = *object.Model();
    m.optics.grooveDensity = 1200.0;
    m.optics.inclusionAngle = 30.0;
    m.optics.focalLength = 300.0;
    m.geometry.pixelWidth = 26.0;
    m.geometry.centerPixel = 512.5;
  }
  SpectrographModel& model() { return *object.Model(); }
  CalibObject object;
};
using Automatic = Grating;
constexpr NqeErrorCode ok = NqeSuccess;
const double nan = std::numeric_limits<double>::quiet_NaN();

TEST_F(Grating, ReproducesTheExampleValues) {
  const double cases[][3] = {{0.0, 0.0, 500.0},  // offset, gamma, value
                             {100.0, 0.0, 506.0332643328094},
                             {-100.0, 0.0, 493.93256081695915},
                             {100.0, 5.0, 506.0058490480941}};
  for (const auto& c : cases) {
    double v = 0.0;
    EXPECT_EQ(WavelengthAtPixel(model(), 500.0, c[0], 30.0, c[1], 300.0, &v),
              ok);
    ExpectDigits(v, c[2]);
  }
  double limit = 0.0;
  EXPECT_EQ(TestWavelength(model(), 1600.0, &limit), NqeWavelengthUnreachable);
  ExpectDigits(limit, 1555.0211697384498);
  EXPECT_EQ(TestWavelength(model(), 1500.0, nullptr), ok);
  // The rotation angle keeps taking the halved degrees as radians.
  double angle = 0.0;
  ASSERT_EQ(GratingRotationAngle(model(), 500.0, 30.0, &angle), ok);
  ExpectDigits(angle, -0.40595791759535255);
  model().center.effectiveCenter = 500.0;
  double resolution = 0.0;
  ASSERT_EQ(CenterResolution(model(), &resolution), ok);
  ExpectDigits(resolution, 0.06050578972292442);
}

TEST_F(Grating, EffectiveCenterPutsTheRequestOnTheOffsetCenter) {
  SpectrographModel& m = model();
  m.optics.centerPixelOffset = 10.0;
  m.optics.slopeAdjust = 0.001;
  double drive = 0.0;
  ASSERT_EQ(ConvertCenterWavelength(m, 500.0, &drive), ok);
  ExpectDigits(m.center.effectiveCenter, 500.6050726739171);
  ExpectDigits(drive, 501.10567774659097);
  EXPECT_EQ(m.center.requestedCenter, 0.0);  // only the setters set it
  m.optics.centerPixelOffset = 0.0;
  ASSERT_EQ(ConvertCenterWavelength(m, 500.0, nullptr), ok);
  EXPECT_EQ(m.center.effectiveCenter, 500.0);
  // The offset that moves the center to data point 600.
  ASSERT_EQ(CalcCenterOffset(m, 600.0), ok);
  EXPECT_EQ(m.ActiveGrating()->centerPixelOffset, 87.5);
  ASSERT_EQ(SetCenterWavelength(m, 500.0), ok);
  const double kept = m.center.effectiveCenter;
  ExpectDigits(kept, 505.2952782350938);
  // Refused centers leave the center alone.
  const double inf = std::numeric_limits<double>::infinity();
  for (double bad : {nan, inf, 2000.0}) {
    EXPECT_EQ(SetCenterWavelength(m, bad), NqeWavelengthUnreachable);
    EXPECT_EQ(m.center.requestedCenter, 500.0);
    EXPECT_EQ(m.center.effectiveCenter, kept);
  }
  // The limit has no lower bound: even -inf passes it.
  EXPECT_EQ(TestWavelength(m, -inf, nullptr), ok);
}

TEST_F(Grating, StepCountRoundsWithinAMarginAndCentersOverlap) {
  SpectrographModel& m = model();
  const double starts[] = {541.0202067969155, 541.0201498171224,
                           541.0190672010515};
  for (int i = 0; i < 3; ++i) {
    int32_t steps = -1;
    // Given the wrong way round: the range is swapped.
    ASSERT_EQ(GetNumberSteps(m, 600.0, starts[i], 2.0, &steps), ok);
    EXPECT_EQ(steps, i < 2 ? 1 : 2);
    EXPECT_EQ(m.stepping.rangeStart, starts[i]);
    EXPECT_EQ(m.stepping.rangeEnd, 600.0);
    EXPECT_EQ(m.center.requestedCenter, 602.0);
  }
  int32_t steps = -1;
  EXPECT_EQ(GetNumberSteps(m, 400.0, 900.0, 100.0, &steps), NqeOverlapTooLarge);
  EXPECT_EQ(steps, -1);
  EXPECT_EQ(m.stepping.rangeEnd, 600.0);
  ASSERT_EQ(GetNumberSteps(m, 400.0, 600.0, 5.0, &steps), ok);
  ASSERT_EQ(steps, 4);
  std::vector<double> centers(4, -1.0);
  EXPECT_EQ(GetStepCenterValues(m, 3, centers.data()), NqeStepCountMismatch);
  EXPECT_EQ(centers, std::vector<double>(4, -1.0));
  ASSERT_EQ(GetStepCenterValues(m, 4, centers.data()), ok);
  const double expected[] = {424.44523517121775, 478.33570551365324,
                             532.2261758560887, 586.1166461985242};
  for (int i = 0; i < 4; ++i) ExpectDigits(centers[i], expected[i]);
  // A count outside int32 is stored as the processor's conversion gives it.
  ASSERT_EQ(GetNumberSteps(m, 400.0, 1e15, 5.0, &steps), ok);
  EXPECT_EQ(steps, INT32_MIN);
}

TEST_F(Grating, OnlyTheModelsCalibValueConvertsTheUnit) {
  object.Calibrations().ActiveRecord()->displayUnit = CalibUnitWavenumbers;
  model().center.effectiveCenter = 500.0;
  double nm = 0.0, converted = 0.0;
  ASSERT_EQ(object.DataPointToCalibValue(700.0, &nm), ok);
  ExpectDigits(nm, 511.2832735397793);
  ASSERT_EQ(object.CalcDataPointCalibValue(500.0, 700.0, &converted), ok);
  ExpectDigits(converted, 19558.629271727918);
}

TEST_F(Grating, UnreachableAndDegenerateSettings) {
  double v = 0.0;
  for (double center : {2000.0, nan}) {
    EXPECT_EQ(PixelWavelength(model(), center, 100.0, &v),
              NqeWavelengthUnreachable);
    EXPECT_TRUE(v == center || (std::isnan(v) && std::isnan(center)));
  }
  EXPECT_EQ(CenterResolution(model(), nullptr), NqeNullPointer);
  EXPECT_EQ(GratingRotationAngle(model(), 1.0, 30.0, nullptr), NqeNullPointer);
  double limit = -1.0;
  model().optics.inclusionAngle = 181.0;
  EXPECT_EQ(TestWavelength(model(), 500.0, &limit), NqeAngleOutOfRange);
  EXPECT_EQ(limit, -1.0);
  // Groove density 0 (every pixel sees the center): nothing is reachable.
  model().optics.inclusionAngle = 30.0;
  model().optics.grooveDensity = 0.0;
  EXPECT_EQ(TestWavelength(model(), 500.0, &limit), NqeWavelengthUnreachable);
  EXPECT_EQ(limit, 0.0);
  // Beyond reach, the pixel array skips the pixels, the data points stop.
  model().optics.grooveDensity = 1200.0;
  model().center.effectiveCenter = 2000.0;
  std::vector<double> values(1024, -7.0);
  EXPECT_EQ(object.CalcCalibPixelArray(1024, values.data()), ok);
  EXPECT_EQ(values.front(), -7.0);
  EXPECT_EQ(object.CalcDataPointCalibArray(1024, values.data()),
            NqeWavelengthUnreachable);
  EXPECT_EQ(values.back(), -7.0);
}

// Kept: counts that a load sets although the list does not follow.
TEST_F(Automatic, CountsOutliveTheirLists) {
  SpectrographModel* m = &model();
  EXPECT_EQ(m->ActiveGrating()->grooveDensity, -1.0);  // a new model's
  ASSERT_EQ(m->SelectSpectrographByIndex(1), NqeSuccess);
  EXPECT_EQ(m->ActiveTurret(), nullptr);  // unlike selection by ID
  TurretRecord t[2] = {hw::Turret(1, 2), hw::Turret(2, 0)};
  ASSERT_EQ(m->LoadTurrets(t, sizeof t, 2), NqeNoGratings);
  EXPECT_EQ(m->ActiveSpectrograph()->numTurrets, 2);
  EXPECT_EQ(m->ActiveSpectrograph()->turrets.size(), 1u);  // the old one
  SpectrographRecord r = hw::Spectrograph(7);
  uint32_t id = 0;
  ASSERT_EQ(m->AddSpectrograph(&r, sizeof r, &id), NqeSuccess);
  ASSERT_EQ(m->LoadSpectrograph(&r, sizeof r), NqeSuccess);  // the first
  EXPECT_EQ(m->Spectrographs().size(), 1u);  // the second was dropped
  EXPECT_EQ(m->NumSpectrographs(), 2);
  EXPECT_EQ(m->SelectSpectrographByIndex(2), NqeBadNumber);
}

// Kept: gratings 1..3 get side-exit copies 4..6; every non-zero position is
// the side exit, yet only position 1 picks the copies.
TEST_F(Automatic, OnlyMirrorPositionOnePicksTheSideExitGratings) {
  SpectrographModel* m = &model();
  const uint32_t mainDetector = object.Detectors().ActiveEntry()->detectorId;
  const uint32_t mainCalibration = object.Calibrations().ActiveNode()->id;
  ASSERT_EQ(m->AddExitMirror(), NqeSuccess);
  EXPECT_EQ(m->ActiveTurret()->gratings.back().position, 2);  // a copy
  const Spectrograph& s = *m->ActiveSpectrograph();
  TurretRecord t = hw::Turret(1, 3);
  GratingRecord g[3] = {hw::Grating(1), hw::Grating(2), hw::Grating(3)};
  ASSERT_EQ(m->LoadTurrets(&t, sizeof t, 1), NqeSuccess);
  ASSERT_EQ(m->LoadGratings(g, sizeof g, 3), NqeSuccess);
  EXPECT_EQ(m->ActiveTurret()->gratings.size(), 6u);
  const std::pair<int32_t, int32_t> cases[] = {{1, 5}, {2, 2}, {-1, 2}, {0, 2}};
  for (const auto& [position, expected] : cases) {
    ASSERT_EQ(m->SetExitMirrorPosition(position), NqeSuccess);
    (void)m->SelectGrating(2);  // 11002 at the blank side-exit detector
    EXPECT_EQ(m->ActiveGrating()->position, expected) << position;
    EXPECT_EQ(object.Detectors().ActiveEntry()->detectorId,
              position == 0 ? mainDetector : s.sideExitDetectorId);
    EXPECT_EQ(object.Calibrations().ActiveNode()->id,
              position == 0 ? mainCalibration : s.sideExitCalibrationId);
  }
}

}  // namespace
}  // namespace kvx_test
