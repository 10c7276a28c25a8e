// The grating-model exports as a host calls them: the center wavelength
// kept by the handle slot, and the refusal of every model export on a
// manual object.
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

TEST(GratingExports, ManualObjectRefusesEveryModelExport) {
  Handle h;
  double d = 0.0;
  KvxLong n = 0;
  const KvxULong codes[] = {
      CalibCalcDataPointWaveLength(h, 1.0, &d),
      CalibCalcDataPointCalibValue(h, 1.0, &d),
      CalibCalcDataPointCalibArray(h, 1, &d),
      CalibConvertCenterWavelength(h, 500.0, &d),
      CalibTestWavelength(h, 500.0, &d),
      CalibSetupSpecCalArray(h),
      CalibSetCenterCalibValue(h, 500.0),
      CalibCalcSlopeAdjust(h, 1.0, 1.0),
      CalibSetRefCursorPosition(h, 1, 1.0),
      CalibGetRefCursorPosition(h, 1, &d),
      CalibSetTargetWaveLength(h, 1, 500.0),
      CalibGetTargetWaveLength(h, 1, &d),
      CalibGetNumberSteps(h, 400.0, 900.0, 5.0, &n),
      CalibGetStepCenterValues(h, 1, &d),
      CalibGetCenterResolution(h, &d),
      static_cast<KvxULong>(CalibCalcCalibPixelArray(h, 1, &d)),
      static_cast<KvxULong>(CalibCalcPxlWavLngth(h, 1.0, &d)),
      static_cast<KvxULong>(CalibGratingRotationAngle(h, 500.0, &d))};
  for (KvxULong code : codes) EXPECT_EQ(code, 11054u);
}

}  // namespace
}  // namespace kvx_test
