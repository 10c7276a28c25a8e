// The calibration object's wiring, which no export reads back.
#include <gtest/gtest.h>

#include <cstring>

#include "api/calib_object.h"

namespace kvx {
namespace {

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
  const Spectrograph* s = object.Model()->ActiveSpectrograph();
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->mainExitDetectorId, detector);
  EXPECT_EQ(s->mainExitCalibrationId, calibration);
  EXPECT_EQ(s->sideExitDetectorId + s->sideExitCalibrationId, 0u);
}

}  // namespace
}  // namespace kvx
