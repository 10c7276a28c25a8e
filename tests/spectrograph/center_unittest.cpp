// Center, stepping, model calibration, target slots. Expected values from
// /usr/bin/python3, the grating equation as in grating_unittest.cpp:
//   center 500, o 10: corrections 0.6052285543460698,
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

#include <limits>
#include <vector>

#include "spectrograph/center_stepping.h"
#include "spectrograph/model_fixture.h"
#include "spectrograph/target_slots.h"

namespace kvx_test {
namespace {

using Center = ExampleModel;

TEST_F(Center, EffectiveCenterPutsTheRequestOnTheOffsetCenter) {
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

TEST_F(Center, RefusedCentersLeaveTheCenterAlone) {
  ASSERT_EQ(kvx::SetCenterWavelength(model(), 500.0), NqeSuccess);
  const double inf = std::numeric_limits<double>::infinity();
  for (double bad :
       {std::numeric_limits<double>::quiet_NaN(), inf, -inf, 2000.0}) {
    EXPECT_EQ(kvx::SetCenterWavelength(model(), bad), NqeWavelengthUnreachable);
    EXPECT_EQ(model().center.requestedCenter, 500.0);
    EXPECT_EQ(model().center.effectiveCenter, 500.0);
  }
}

TEST_F(Center, StepCountRoundsWithinAMarginAndCentersOverlap) {
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

TEST_F(Center, ModelCalibrationUsesFirstQuarterAndLastPixels) {
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

TEST_F(Center, TargetSlotsRecordTheirCenterAndRestoreTheOwn) {
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
