// The glue exports as a host meets them before any glue range is set.
#include <gtest/gtest.h>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace {

using kvx_test::Handle;

TEST(GlueExports, ManualObjectHasNoGlue) {
  Handle h(CalibModeManual);
  GlueSpectrum g{};
  EXPECT_EQ(CalibValidateGlue(h, &g, 1, &g), 11054u);
  EXPECT_EQ(CalibGlueInput(h, &g, 1, &g), 11054u);
  EXPECT_EQ(CalibInitIncStepAndGlue(h, &g, 1), 11054u);
  EXPECT_EQ(CalibGlueIncInput(h, &g, &g), 11054u);
  EXPECT_EQ(CalibCleanupIncGlue(h), 11054u);
}

TEST(GlueExports, NewModelHasNoRangeYetSoEveryGlueFails) {
  // The range and step start at 0: no glue until the host sets them.
  Handle h(CalibModeAutomatic);
  double x[2] = {500.0, 501.0};
  double v[2] = {1.0, 2.0};
  GlueSpectrum in{v, 2, 1, 5, 1, x, 0, nullptr, 0};
  CalibrationRecord cal{};
  cal.displayUnit = 7;
  GlueSpectrum out{};
  out.numPoints = 99;
  out.calibration = &cal;
  EXPECT_EQ(CalibValidateGlue(h, &in, 1, &out), 11079u);
  // The output was prepared before the range was checked.
  EXPECT_EQ(out.numPoints, 0);
  EXPECT_EQ(out.calibration, &cal);
  EXPECT_EQ(cal.displayUnit, CalibUnitNanometers);
  EXPECT_EQ(CalibInitIncStepAndGlue(h, &out, 1), 11079u);
  EXPECT_EQ(CalibGlueIncInput(h, &out, &in), 11074u);
  EXPECT_EQ(CalibCleanupIncGlue(h), 11074u);
}

TEST(GlueExports, NullOrZeroArgumentsAreRefused) {
  Handle h(CalibModeAutomatic);
  GlueSpectrum g{};
  EXPECT_EQ(CalibValidateGlue(h, nullptr, 1, &g), 11078u);
  EXPECT_EQ(CalibValidateGlue(h, &g, 0, &g), 11078u);
  EXPECT_EQ(CalibValidateGlue(h, &g, 1, nullptr), 11078u);
  EXPECT_EQ(CalibGlueInput(h, &g, -1, &g), 11078u);
  EXPECT_EQ(CalibInitIncStepAndGlue(h, nullptr, 1), 11078u);
  EXPECT_EQ(CalibInitIncStepAndGlue(h, &g, 0), 11078u);
}

}  // namespace
