// The grating equation, center wavelength, stepping, model calibration and
// target slots. Expected values: /usr/bin/python3, math.asin/atan/sin/cos,
// half degree 0.008726646258333333, degree 0.017453292516666667, quarter
// turn 1.5707963265; m 1, G 1200, psi 30, f 300, K 1, w 26, center 500:
//   offset 0 -> 500.0; +100 -> 506.0332643328094; -100 -> 493.93256081695915
//   gamma 5 deg, +100 -> 506.0058490480941; limit 1555.0211697384498
//   asin(1200 * 500e-6 / (2 cos(15)))  [15 radians] -> -0.40595791759535255
//   |lambda(+0.5) - lambda(-0.5)| -> 0.06050578972292442
//   c = 512.5: pixels 1, 256.75, 512.5, 768.25, 1024 -> 468.6352237301039,
//     484.4177133745535, 500.0, 515.3588252936914, 530.4719173405292
//   pixel 700 -> 511.2832735397793 nm = 19558.629271727918 cm-1
//   center 500, center offset o 10: corrections 0.6052285543460698,
//     -0.00015592061237157395, 4.018340860056924e-08 -> 500.6050726739171;
//     drive (s 0.001) 501.10567774659097; 600, o 10 -> 600.5777047945543
//   center 500, o 87.5 (4 corrections) -> 505.2952782350938
//   center 602, o 0: pixels 1, 1024 -> 572.0185233739644, 630.9983165770489,
//     span 56.979793203084455; B 600, A = 598 - span q: q 1 ->
//     541.0202067969155 (1 step), 1.000001 -> 541.0201498171224 (1),
//     1.00002 -> 541.0190672010515 (2)
//   400..600, overlap 5 (center 605): width 58.89047034243549, centers
//     424.44523517121775, 478.33570551365324, 532.2261758560887,
//     586.1166461985242
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "spectrograph/center_stepping.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/model_fixture.h"
#include "spectrograph/target_slots.h"

namespace kvx_test {
namespace {

using Grating = ExampleModel;

TEST_F(Grating, ReproducesTheExampleValues) {
  const double cases[][3] = {{0.0, 0.0, 500.0},  // offset, gamma, value
                             {100.0, 0.0, 506.0332643328094},
                             {-100.0, 0.0, 493.93256081695915},
                             {100.0, 5.0, 506.0058490480941}};
  for (const auto& c : cases) {
    double v = 0.0;
    EXPECT_EQ(
        kvx::WavelengthAtPixel(model(), 500.0, c[0], 30.0, c[1], 300.0, &v),
        NqeSuccess);
    ExpectDigits(v, c[2]);
  }
  double limit = 0.0;
  EXPECT_EQ(kvx::TestWavelength(model(), 1600.0, &limit),
            NqeWavelengthUnreachable);
  ExpectDigits(limit, 1555.0211697384498);
  EXPECT_EQ(kvx::TestWavelength(model(), 1500.0, nullptr), NqeSuccess);
  // The rotation angle keeps taking the halved degrees as radians.
  double angle = 0.0;
  ASSERT_EQ(kvx::GratingRotationAngle(model(), 500.0, 30.0, &angle),
            NqeSuccess);
  ExpectDigits(angle, -0.40595791759535255);
  model().center.effectiveCenter = 500.0;
  double resolution = 0.0;
  ASSERT_EQ(kvx::CenterResolution(model(), &resolution), NqeSuccess);
  ExpectDigits(resolution, 0.06050578972292442);
}

TEST_F(Grating, PixelArrayIsBitIdenticalToSinglePixels) {
  for (double detectorAngle : {0.0, 5.0}) {
    model().optics.detectorAngle = detectorAngle;
    model().optics.centerPixelOffset = 10.0;
    model().center.effectiveCenter = 500.6050726739171;
    std::vector<double> array(1024);
    ASSERT_EQ(object.CalcCalibPixelArray(1024, array.data()), NqeSuccess);
    for (int i = 0; i < 1024; ++i) {
      double single = 0.0;
      ASSERT_EQ(object.CalcPxlWavLngth(500.6050726739171, i + 1.0, &single),
                NqeSuccess);
      EXPECT_EQ(array[i], single) << "pixel " << i + 1;
    }
  }
}

TEST_F(Grating, UnreachableAndDegenerateSettings) {
  double v = 0.0;
  for (double center : {2000.0, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(kvx::PixelWavelength(model(), center, 100.0, &v),
              NqeWavelengthUnreachable);
    EXPECT_TRUE(v == center || (std::isnan(v) && std::isnan(center)));
  }
  EXPECT_EQ(kvx::CenterResolution(model(), nullptr), NqeNullPointer);
  EXPECT_EQ(kvx::GratingRotationAngle(model(), 1.0, 30.0, nullptr),
            NqeNullPointer);
  double limit = -1.0;
  model().optics.inclusionAngle = 181.0;
  EXPECT_EQ(kvx::TestWavelength(model(), 500.0, &limit), NqeAngleOutOfRange);
  EXPECT_EQ(limit, -1.0);
  // Groove density 0 (every pixel sees the center): nothing is reachable.
  model().optics.inclusionAngle = 30.0;
  model().optics.grooveDensity = 0.0;
  EXPECT_EQ(kvx::TestWavelength(model(), 500.0, &limit),
            NqeWavelengthUnreachable);
  EXPECT_EQ(limit, 0.0);
  // Beyond reach, the pixel array skips the pixels, the data points stop.
  model().optics.grooveDensity = 1200.0;
  model().center.effectiveCenter = 2000.0;
  std::vector<double> values(1024, -7.0);
  EXPECT_EQ(object.CalcCalibPixelArray(1024, values.data()), NqeSuccess);
  EXPECT_EQ(values.front(), -7.0);
  EXPECT_EQ(object.CalcDataPointCalibArray(1024, values.data()),
            NqeWavelengthUnreachable);
  EXPECT_EQ(values.back(), -7.0);
}

TEST_F(Grating, OnlyTheModelsCalibValueConvertsTheUnit) {
  object.Calibrations().ActiveRecord()->displayUnit = CalibUnitWavenumbers;
  model().center.effectiveCenter = 500.0;
  double nm = 0.0;
  double converted = 0.0;
  ASSERT_EQ(object.DataPointToCalibValue(700.0, &nm), NqeSuccess);
  ExpectDigits(nm, 511.2832735397793);
  ASSERT_EQ(object.CalcDataPointCalibValue(500.0, 700.0, &converted),
            NqeSuccess);
  ExpectDigits(converted, 19558.629271727918);
}

TEST_F(Grating, EffectiveCenterPutsTheRequestOnTheOffsetCenter) {
  model().optics.centerPixelOffset = 10.0;
  model().optics.slopeAdjust = 0.001;
  double drive = 0.0;
  ASSERT_EQ(kvx::ConvertCenterWavelength(model(), 500.0, &drive), NqeSuccess);
  ExpectDigits(model().center.effectiveCenter, 500.6050726739171);
  ExpectDigits(drive, 501.10567774659097);
  EXPECT_EQ(model().center.requestedCenter, 0.0);  // only the setters set it
  model().optics.centerPixelOffset = 0.0;
  ASSERT_EQ(kvx::ConvertCenterWavelength(model(), 500.0, nullptr), NqeSuccess);
  EXPECT_EQ(model().center.effectiveCenter, 500.0);
  // The offset that moves the center to data point 600.
  ASSERT_EQ(kvx::CalcCenterOffset(model(), 600.0), NqeSuccess);
  EXPECT_EQ(model().ActiveGrating()->centerPixelOffset, 87.5);
  ASSERT_EQ(kvx::SetCenterWavelength(model(), 500.0), NqeSuccess);
  ExpectDigits(model().center.effectiveCenter, 505.2952782350938);
}

TEST_F(Grating, RefusedCentersLeaveTheCenterAlone) {
  ASSERT_EQ(kvx::SetCenterWavelength(model(), 500.0), NqeSuccess);
  const double inf = std::numeric_limits<double>::infinity();
  for (double bad :
       {std::numeric_limits<double>::quiet_NaN(), inf, -inf, 2000.0}) {
    EXPECT_EQ(kvx::SetCenterWavelength(model(), bad), NqeWavelengthUnreachable);
    EXPECT_EQ(model().center.requestedCenter, 500.0);
    EXPECT_EQ(model().center.effectiveCenter, 500.0);
  }
}

TEST_F(Grating, StepCountRoundsWithinAMarginAndCentersOverlap) {
  const double starts[] = {541.0202067969155, 541.0201498171224,
                           541.0190672010515};
  for (int i = 0; i < 3; ++i) {
    int32_t steps = -1;
    // Given the wrong way round: the range is swapped.
    ASSERT_EQ(kvx::GetNumberSteps(model(), 600.0, starts[i], 2.0, &steps),
              NqeSuccess);
    EXPECT_EQ(steps, i < 2 ? 1 : 2);
    EXPECT_EQ(model().stepping.rangeStart, starts[i]);
    EXPECT_EQ(model().stepping.rangeEnd, 600.0);
    EXPECT_EQ(model().center.requestedCenter, 602.0);
  }
  int32_t steps = -1;
  EXPECT_EQ(kvx::GetNumberSteps(model(), 400.0, 900.0, 100.0, &steps),
            NqeOverlapTooLarge);
  EXPECT_EQ(steps, -1);
  EXPECT_EQ(model().stepping.rangeEnd, 600.0);
  ASSERT_EQ(kvx::GetNumberSteps(model(), 400.0, 600.0, 5.0, &steps),
            NqeSuccess);
  ASSERT_EQ(steps, 4);
  std::vector<double> centers(4, -1.0);
  EXPECT_EQ(kvx::GetStepCenterValues(model(), 3, centers.data()),
            NqeStepCountMismatch);
  EXPECT_EQ(centers, std::vector<double>(4, -1.0));
  ASSERT_EQ(kvx::GetStepCenterValues(model(), 4, centers.data()), NqeSuccess);
  const double expected[] = {424.44523517121775, 478.33570551365324,
                             532.2261758560887, 586.1166461985242};
  for (int i = 0; i < 4; ++i) ExpectDigits(centers[i], expected[i]);
}

TEST_F(Grating, ModelCalibrationUsesFirstQuarterAndLastPixels) {
  model().center.effectiveCenter = 500.0;
  ASSERT_EQ(kvx::SetupSpecCalArray(model()), NqeSuccess);
  const CalibrationRecord& r = *object.Calibrations().ActiveRecord();
  const double positions[] = {1.0, 256.75, 512.5, 768.25, 1024.0};
  const double values[] = {468.6352237301039, 484.4177133745535, 500.0,
                           515.3588252936914, 530.4719173405292};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(r.pointPosition[i], positions[i]);
    ExpectDigits(r.pointValue[i], values[i]);
  }
  EXPECT_EQ(r.polyOrder, 4);
  EXPECT_EQ(r.pointCount, 5);
  EXPECT_EQ(r.valid, 1);
  EXPECT_EQ(r.tableLength, 1024);
}

TEST_F(Grating, TargetSlotsRecordTheirCenterAndRestoreTheOwn) {
  model().optics.centerPixelOffset = 10.0;
  ASSERT_EQ(kvx::SetCenterWavelength(model(), 500.0), NqeSuccess);
  EXPECT_EQ(kvx::SetTargetWaveLength(model(), 5, 600.0), NqeBadNumber);
  EXPECT_EQ(kvx::SetRefCursorPosition(model(), 0, 1.0), NqeBadNumber);
  ASSERT_EQ(kvx::SetTargetWaveLength(model(), 2, 600.0), NqeSuccess);
  ExpectDigits(model().targets[1].effectiveCenter, 600.5777047945543);
  EXPECT_EQ(model().lastTargetSlot, 1);
  ASSERT_EQ(kvx::SetTargetWaveLength(model(), 1, 99999.0), NqeSuccess);
  ExpectDigits(model().targets[0].effectiveCenter, 500.6050726739171);
  EXPECT_EQ(model().center.requestedCenter, 500.0);
  ExpectDigits(model().center.effectiveCenter, 500.6050726739171);
  double read = 0.0;
  ASSERT_EQ(kvx::GetTargetWaveLength(model(), 1, &read), NqeSuccess);
  EXPECT_EQ(read, 99999.0);
  ASSERT_EQ(kvx::SetRefCursorPosition(model(), 4, 333.5), NqeSuccess);
  ASSERT_EQ(kvx::GetRefCursorPosition(model(), 4, &read), NqeSuccess);
  EXPECT_EQ(read, 333.5);
}

}  // namespace
}  // namespace kvx_test
