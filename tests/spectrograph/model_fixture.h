// An automatic object whose working optics are the example instrument of
// hardware_fixtures.h, set directly (center pixel 512.5).
#pragma once

#include <cmath>

#include "api/calib_object.h"
#include "spectrograph/hardware_fixtures.h"

namespace kvx_test {

// Agreement to twelve significant digits.
inline void ExpectDigits(double actual, double expected) {
  EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-12);
}

class ExampleModel : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(object.SetupForMode(true));
    DetectorRecord d = kvx_detector_test::Detector(1024, nullptr, 26.0);
    ASSERT_EQ(object.Detectors().LoadDetector(&d, sizeof d), NqeSuccess);
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
