// The center exports on an instrument described as a host describes it.
//
// Expected value: /usr/bin/python3, the grating equation step by step with
// the library's constants (1200 g/mm, 30 deg, 300 mm, 1024 x 26 um, center
// pixel 512.5): a center pixel offset of 600 - 512.5 = 87.5 pixels and a
// request of 500 nm iterate (4 corrections) to 505.2952782350938.
#include <gtest/gtest.h>

#include <cmath>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace kvx_test {
namespace {

void LoadExampleInstrument(CalibHandle h) {
  DetectorRecord detector{};
  detector.pixelSize = 26.0;
  detector.numPixels = 1024;
  SpectrographRecord spectrograph{};
  spectrograph.numTurrets = 1;
  spectrograph.numGratings = 1;
  spectrograph.focalLength = 300.0;
  spectrograph.inclusionAngle = 30.0;
  spectrograph.scaleFactor = 1.0;
  TurretRecord turret{};
  turret.numGratings = 1;
  GratingRecord grating{};
  grating.grooveDensity = 1200.0;
  ASSERT_EQ(CalibLoadDetector(h, &detector, sizeof detector), 0u);
  ASSERT_EQ(CalibLoadSpectrograph(h, &spectrograph, sizeof spectrograph), 0u);
  ASSERT_EQ(CalibLoadTurrets(h, &turret, sizeof turret, 1), 0u);
  ASSERT_EQ(CalibSelectTurret(h, 1), 0u);
  ASSERT_EQ(CalibLoadGratings(h, &grating, sizeof grating, 1), 0u);
  ASSERT_EQ(CalibSelectGrating(h, 1), 0u);
}

TEST(CenterExports, CenterOffsetMovesTheEffectiveCenter) {
  Handle h(CalibModeAutomatic);
  LoadExampleInstrument(h);
  ASSERT_EQ(CalibCalcCenterOffset(h, 600.0), 0u);
  double drive = 0.0;
  ASSERT_EQ(CalibConvertCenterWavelength(h, 500.0, &drive), 0u);
  EXPECT_NEAR(drive, 505.2952782350938, 505.3e-12);
  EXPECT_EQ(CalibCalcSlopeAdjust(h, 500.0, 501.0), 0u);  // s = 0.002
  ASSERT_EQ(CalibConvertCenterWavelength(h, 500.0, &drive), 0u);
  EXPECT_NEAR(drive, 1.002 * 505.2952782350938, 506.3e-12);
}

}  // namespace
}  // namespace kvx_test
