// An automatic calibration object with the example optics of the grating
// tests: first order, 1200 g/mm, 30 deg inclusion, 0 deg detector angle,
// 300 mm focal length, scale 1, and a 1024 x 26 um detector (center pixel
// 512.5), set directly in the model's working state.
#pragma once

#include <gtest/gtest.h>

#include <cmath>

#include "api/calib_object.h"

namespace kvx_test {

// Agreement to twelve significant digits.
inline void ExpectDigits(double actual, double expected) {
  EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-12);
}

class ExampleModel : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(object.SetupForMode(true));
    DetectorRecord detector{};
    detector.pixelSize = 26.0;
    detector.numPixels = 1024;
    ASSERT_EQ(object.Detectors().LoadDetector(&detector, sizeof detector),
              NqeSuccess);
    kvx::SpectrographModel& m = *object.Model();
    m.optics.grooveDensity = 1200.0;
    m.optics.inclusionAngle = 30.0;
    m.optics.focalLength = 300.0;
    m.geometry.pixelWidth = 26.0;
    m.geometry.centerPixel = 512.5;
  }
  kvx::SpectrographModel& model() { return *object.Model(); }

  kvx::CalibObject object;
};

}  // namespace kvx_test
