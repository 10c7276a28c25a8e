// The spectrograph hardware lists and the handle slot's center wavelength
// through the exports.
#include "spectrograph/hardware_fixtures.h"

namespace kvx_hardware_test {
namespace {

using Edit = void (*)(SpectrographRecord&);

TEST(SpectrographList, AddReportsAFreshIdWhileTheNodeKeepsTheRecordsId) {
  AutoHandle h;
  const KvxULong first = ActiveSpectrograph(h);
  SpectrographRecord r = Spectrograph(7);
  KvxULong newId = 0;
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 0u);
  EXPECT_EQ(CalibSetActiveSpectrographID(h, newId), 11043u);
  EXPECT_EQ(ActiveSpectrograph(h), first);
  // The load left no active turret although the first spectrograph has one.
  EXPECT_EQ(CalibSelectGrating(h, 1), 11049u);
  EXPECT_EQ(CalibSetGratingByIndexNum(h, 1, 1), NqeSuccess);
  ASSERT_EQ(CalibSetActiveSpectrographID(h, 7), 0u);
  EXPECT_EQ(CalibSelectGrating(h, 1), 0u);     // the first's turret is kept
  EXPECT_EQ(CalibSelectTurret(h, 1), 11049u);  // 7's turret was freed
  // A failed add keeps the new spectrograph with its default turret.
  r.numTurrets = 0;
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 11055u);
  ASSERT_EQ(CalibSetActiveSpectrographID(h, newId), 0u);
  EXPECT_EQ(CalibSetGratingByIndexNum(h, 1, 1), NqeSuccess);
}

TEST(SpectrographList, RemovalKeepsTheLastSpectrographAndIgnoresUnknownIds) {
  AutoHandle h;
  const KvxULong first = ActiveSpectrograph(h);
  EXPECT_EQ(CalibRemoveSpectrographID(h, first + 1), 0u);
  SpectrographRecord r = Spectrograph(7);
  KvxULong newId = 0;
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 0u);
  ASSERT_EQ(CalibSetActiveSpectrographID(h, 7), 0u);
  ASSERT_EQ(CalibRemoveSpectrographID(h, 7), 0u);
  EXPECT_EQ(ActiveSpectrograph(h), first);  // the head became active
  EXPECT_EQ(CalibSetActiveSpectrographID(h, 7), 11043u);
  ASSERT_EQ(CalibSelectTurret(h, 1), 0u);
  ASSERT_EQ(CalibRemoveSpectrographID(h, first), 0u);
  EXPECT_EQ(ActiveSpectrograph(h), first);
  EXPECT_EQ(CalibSelectTurret(h, 1), 11049u);  // kept, without turrets
  // The count decides: after a load dropped the spectrograph behind it,
  // removing the one left in the list empties the list.
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &newId), 0u);
  // No grating is active now: the slope goes to the working optics only.
  EXPECT_EQ(CalibCalcSlopeAdjust(h, 1.0, 2.0), 0u);
  ASSERT_EQ(CalibLoadSpectrograph(h, &r, sizeof r), 0u);
  ASSERT_EQ(CalibRemoveSpectrographID(h, 7), 0u);
  EXPECT_EQ(CalibSetActiveSpectrographID(h, 7), 11043u);
  EXPECT_EQ(CalibRemoveSpectrographID(h, 7), 11043u);
}

TEST(ExitMirror, StaysAndForgetsARemovedMainDetector) {
  AutoHandle h;
  KvxULong mainDetector = 0;
  ASSERT_EQ(CalibGetActiveDetectorID(h, &mainDetector), 0u);
  // The only detector is blanked with its ID kept; the port forgets it.
  ASSERT_EQ(CalibRemoveDetectorID(h, mainDetector), 0u);
  TurretRecord t = Turret(1, 2);  // without gratings: copies cannot match
  ASSERT_EQ(CalibLoadTurrets(h, &t, sizeof t, 1), 0u);
  ASSERT_EQ(CalibAddExitMirror(h), 11062u);
  EXPECT_EQ(CalibSetExitMirrorPosition(h, 0), 11012u);  // yet installed
  // Once added, the mirror stays.
  EXPECT_EQ(CalibRemoveExitMirror(h), 0u);
  EXPECT_EQ(CalibAddExitMirror(h), 11060u);
}

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
}  // namespace kvx_hardware_test
