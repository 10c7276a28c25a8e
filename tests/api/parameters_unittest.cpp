// The calibration object's wiring and the parameter rows whose effects no
// export shows: the model's detector geometry after a pixel-count write and
// the grating and working values written together.
#include <gtest/gtest.h>

#include "api/calib_object.h"
#include "api/parameters.h"

namespace {

using kvx::CalibObject;

// Names and model follow the mode; the default spectrograph's main exit
// names the active detector and calibration, the side exit nothing.
TEST(CalibObjectSetup, NamesModelAndMainExitFollowTheMode) {
  CalibObject manual;
  ASSERT_TRUE(manual.SetupForMode(false));
  EXPECT_STREQ(manual.Name(), "Manual Calibration");
  EXPECT_FALSE(manual.IsAutomatic());
  EXPECT_EQ(manual.Model(), nullptr);
  EXPECT_EQ(manual.Calibrations().Model(), nullptr);

  CalibObject object;
  ASSERT_TRUE(object.SetupForMode(true));
  EXPECT_STREQ(object.Name(), "Automatic Calibration");
  EXPECT_TRUE(object.IsAutomatic() && object.Detectors().automaticMode);
  ASSERT_NE(object.Model(), nullptr);
  EXPECT_EQ(object.Calibrations().Model(), object.Model());
  uint32_t detector = 0, calibration = 0;
  ASSERT_EQ(object.Detectors().GetActiveDetectorId(&detector), NqeSuccess);
  ASSERT_EQ(object.Calibrations().GetActiveCalibrationId(&calibration),
            NqeSuccess);
  const kvx::Spectrograph* s = object.Model()->ActiveSpectrograph();
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->mainExitDetectorId, detector);
  EXPECT_EQ(s->mainExitCalibrationId, calibration);
  EXPECT_EQ(s->sideExitDetectorId + s->sideExitCalibrationId, 0u);
}

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
