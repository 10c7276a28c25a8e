// The center wavelength kept by the handle slot, as a host sees it.
#include <gtest/gtest.h>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace kvx_test {
namespace {

TEST(GratingExports, SlotCenterSurvivesARefusalAndTheObject) {
  CalibHandle manual = 0;
  ASSERT_EQ(CalibCreate(CalibModeManual, &manual), 0u);
  EXPECT_EQ(CalibSetCenterWavelength(manual, 550.0), 11054u);
  ASSERT_EQ(CalibDestroy(manual), 0u);
  CalibHandle automatic = 0;
  ASSERT_EQ(CalibCreate(CalibModeAutomatic, &automatic), 0u);
  ASSERT_EQ(automatic, manual);
  // A new model has groove density 0, so every pixel sees the center the
  // frame passes: the slot's 550, not the model's own 0.
  double v = 0.0;
  EXPECT_EQ(CalibCalcPxlWavLngth(automatic, 17.0, &v), NqeSuccess);
  EXPECT_EQ(v, 550.0);
  ASSERT_EQ(CalibDestroy(automatic), 0u);
}

}  // namespace
}  // namespace kvx_test
