// Parameter rows whose effects no export shows: the model's detector
// geometry after a pixel-count write, and objects without an active
// detector or calibration.
#include <gtest/gtest.h>

#include "api/calib_object.h"
#include "api/parameters.h"

namespace {

using kvx::CalibObject;

TEST(PixelCountParameter, RefreshesTheModelGeometryFromTheDetector) {
  CalibObject o;
  ASSERT_TRUE(o.SetupForMode(true));
  DetectorRecord d{};
  d.numPixels = 512;
  d.pixelSize = 20.0;
  X_ROI region{1, 1, 256, 1};  // active range 1..256 of the new 1024
  d.regions = &region;
  d.regionCount = 1;
  d.regionBytes = sizeof region;
  ASSERT_EQ(o.Detectors().LoadDetector(&d, sizeof d), NqeSuccess);
  ASSERT_EQ(kvx::SetIntParam(o, CalibParamNumPixels, 1024), NqeSuccess);
  // By hand: detector center (1024 + 1) / 2; range center (1 + 256) / 2.
  EXPECT_EQ(o.Model()->geometry.centerPixel, 512.5);
  EXPECT_EQ(o.Model()->geometry.regionCenterOffset, 128.5 - 512.5);
  EXPECT_EQ(o.Detectors().ActiveEntry()->pixelSize, 20.0);
}

TEST(ModelParameters, WriteTheGratingAndTheWorkingValuesTogether) {
  CalibObject o;
  ASSERT_TRUE(o.SetupForMode(true));
  kvx::SpectrographModel& m = *o.Model();
  m.stepping.stepsValid = m.stepping.glueValidated = true;
  ASSERT_EQ(kvx::SetDoubleParam(o, CalibParamPixelSize, 13.5), NqeSuccess);
  ASSERT_EQ(kvx::SetDoubleParam(o, CalibParamScaleFactor, 0.0), NqeSuccess);
  ASSERT_EQ(kvx::SetDoubleParam(o, CalibParamFocalLength, 320.0), NqeSuccess);
  ASSERT_EQ(kvx::SetDoubleParam(o, CalibParamSpecFocalLength, 1.0), NqeSuccess);
  ASSERT_EQ(kvx::SetDoubleParam(o, CalibParamOverlap, 2.0), NqeSuccess);
  EXPECT_EQ(m.ActiveGrating()->pixelWidth, 13.5);
  EXPECT_EQ(m.geometry.pixelWidth, 13.5);
  EXPECT_EQ(m.ActiveGrating()->scaleFactor, 1.0);
  EXPECT_EQ(m.optics.scaleFactor, 1.0);
  EXPECT_EQ(m.optics.focalLength, 320.0);  // the spectrograph's stays apart
  EXPECT_FALSE(m.stepping.stepsValid);
  EXPECT_FALSE(m.stepping.glueValidated);
}

}  // namespace
