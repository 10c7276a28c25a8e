// The spectrograph hardware lists and the handle slot's center wavelength
// through the exports.
#include "spectrograph/hardware_fixtures.h"

namespace kvx_hardware_test {
namespace {

using Edit = void (*)(SpectrographRecord&);

TEST(SpectrographRecord, EachCheckHasItsCodeAndAFailedLoadChangesNothing) {
  AutoHandle h;
  const KvxULong before = ActiveSpectrograph(h);
  // clang-format off
  const struct { Edit edit; int size; KvxULong code; } cases[] = {
      {[](SpectrographRecord&) {}, 183, 11041},
      {nullptr, 184, 11000},
      {[](SpectrographRecord& r) { r.numTurrets = 0; }, 184, 11055},
      {[](SpectrographRecord& r) { r.numGratings = 0; }, 0, 11056},
      {[](SpectrographRecord& r) { r.focalLength = 0.0; }, 184, 11057},
      {[](SpectrographRecord& r) { r.inclusionAngle = 0.0; }, 184, 11058},
      {[](SpectrographRecord& r) { r.scaleFactor = 0.0; }, 184, 11059},
      {[](SpectrographRecord&) {}, 0, 0},  // 0 is the standard size here
      {[](SpectrographRecord& r) { r.spectrographId = 9; }, 184, 0}};
  // clang-format on
  for (const auto& c : cases) {
    SpectrographRecord r = Spectrograph(5);
    if (c.edit != nullptr) c.edit(r);
    EXPECT_EQ(CalibLoadSpectrograph(h, c.edit ? &r : nullptr, c.size), c.code);
    EXPECT_EQ(ActiveSpectrograph(h),
              c.code ? before : KvxULong(r.spectrographId));
  }
  SpectrographRecord r = Spectrograph(6);
  KvxULong newId = 99;
  EXPECT_EQ(CalibAddSpectrograph(h, &r, 0, &newId), 11041u);  // not here
  EXPECT_EQ(newId, 0u);
}

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

TEST(TurretsAndGratings, BadInputIsRefusedWithItsCode) {
  AutoHandle h;
  TurretRecord t[2] = {Turret(1, 3), Turret(2, 1)};
  GratingRecord g[3] = {Grating(1), Grating(2), Grating(3, -1.0)};
  EXPECT_EQ(CalibLoadTurrets(h, t, 2 * 140 - 1, 2), 11044u);
  EXPECT_EQ(CalibLoadTurrets(h, nullptr, 140, 1), 11000u);
  ASSERT_EQ(CalibLoadTurrets(h, t, sizeof t, 2), 0u);
  EXPECT_EQ(CalibLoadGratings(h, nullptr, 2 * 208, 2), 11062u);  // not read
  EXPECT_EQ(CalibLoadGratings(h, g, 3 * 208 + 1, 3), 11045u);
  EXPECT_EQ(CalibLoadGratings(h, nullptr, 3 * 208, 3), 11000u);
  EXPECT_EQ(CalibLoadGratings(h, g, sizeof g, 3), 11046u);
  EXPECT_EQ(CalibSelectGrating(h, 1), 11050u);  // the turret has none yet
  g[2].grooveDensity = 600.0;
  ASSERT_EQ(CalibLoadGratings(h, g, sizeof g, 3), 0u);
  for (KvxLong n : {0, -1, 4}) EXPECT_EQ(CalibSelectGrating(h, n), 11047u) << n;
  for (KvxLong n : {0, -1, 3}) EXPECT_EQ(CalibSelectTurret(h, n), 11047u) << n;
  EXPECT_EQ(CalibSetGratingByIndexNum(h, 1, 3), NqeSuccess);
  EXPECT_EQ(CalibSetGratingByIndexNum(h, 2, 1), NqeNoGrating);
  EXPECT_EQ(CalibSetExitMirrorPosition(h, 0), 11061u);
  // A negative count with the matching size loads no turrets.
  ASSERT_EQ(CalibLoadTurrets(h, nullptr, -140, -1), 0u);
  EXPECT_EQ(CalibSelectTurret(h, 1), 11047u);
  EXPECT_EQ(CalibLoadGratings(h, g, 0, 0), 11049u);
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

TEST(SpectrographModel, AfterCopyFromAManualObjectEveryOperationFindsNone) {
  AutoHandle h;
  kvx_test::Handle manual;
  ASSERT_EQ(CalibCopyCalibObject(h, manual), 0u);
  KvxULong id = 5;
  EXPECT_EQ(CalibGetActiveSpectrographID(h, &id), 11051u);
  EXPECT_EQ(id, 5u);
  EXPECT_EQ(CalibRemoveSpectrographID(h, 5), 11043u);
  SpectrographRecord r = Spectrograph(7);
  const KvxULong codes[] = {CalibLoadSpectrograph(h, &r, sizeof r),
                            CalibLoadTurrets(h, nullptr, 0, 0),
                            CalibSelectGrating(h, 1), CalibAddExitMirror(h),
                            CalibSetExitMirrorPosition(h, 0)};
  for (KvxULong code : codes) EXPECT_EQ(code, 11048u);
  EXPECT_EQ(CalibLoadGratings(h, nullptr, 0, 0), 11049u);
  // An added spectrograph is listed, yet none becomes active.
  ASSERT_EQ(CalibAddSpectrograph(h, &r, sizeof r, &id), 0u);
  EXPECT_EQ(ActiveSpectrograph(h), 0u);
  EXPECT_EQ(CalibSetActiveSpectrographID(h, 7), 0u);
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
