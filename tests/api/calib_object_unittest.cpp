// The calibration object's wiring and the handle slot state that no export
// of the current interface reads back.
#include <gtest/gtest.h>

#include <cstring>

#include "api/calib_object.h"
#include "api/handle_table.h"

namespace kvx {
namespace {

TEST(HandleSlot, CenterWavelengthSurvivesDestroyAndRecreate) {
  HandleTable& table = HandleTable::Instance();
  CalibHandle h = 0;
  ASSERT_EQ(table.Create(CalibModeManual, &h), NqeSuccess);
  const uint32_t slot = h & 0xFF;
  table.SetLastCenterWavelength(slot, 550.0);
  ASSERT_EQ(table.Destroy(h), NqeSuccess);
  CalibHandle again = 0;
  ASSERT_EQ(table.Create(CalibModeAutomatic, &again), NqeSuccess);
  ASSERT_EQ(again & 0xFF, slot);
  EXPECT_EQ(table.LastCenterWavelength(slot), 550.0);
  ASSERT_EQ(table.Destroy(again), NqeSuccess);
}

TEST(HandleSlot, StartUpClearsOnlyTheInUseFlags) {
  HandleTable& table = HandleTable::Instance();
  CalibHandle h = 0;
  ASSERT_EQ(table.Create(CalibModeManual, &h), NqeSuccess);
  table.SetLastCenterWavelength(h & 0xFF, 432.1);
  CalibObject* object = nullptr;
  ASSERT_EQ(table.Lookup(h, &object), NqeSuccess);
  table.ClearInUse();
  EXPECT_EQ(table.Lookup(h, &object), NqeInvalidHandle);
  EXPECT_EQ(table.LastCenterWavelength(h & 0xFF), 432.1);
  // The slot is free again and its stale object is replaced on reuse.
  CalibHandle again = 0;
  ASSERT_EQ(table.Create(CalibModeManual, &again), NqeSuccess);
  EXPECT_EQ(again, h);
  delete object;
  ASSERT_EQ(table.Destroy(again), NqeSuccess);
}

TEST(CalibObjectSetup, NamesAndModelFollowTheMode) {
  CalibObject manual;
  ASSERT_TRUE(manual.SetupForMode(false));
  EXPECT_STREQ(manual.Name(), "Manual Calibration");
  EXPECT_FALSE(manual.IsAutomatic());
  EXPECT_EQ(manual.Model(), nullptr);
  EXPECT_EQ(manual.Calibrations().Model(), nullptr);

  CalibObject automatic;
  ASSERT_TRUE(automatic.SetupForMode(true));
  EXPECT_STREQ(automatic.Name(), "Automatic Calibration");
  EXPECT_TRUE(automatic.IsAutomatic());
  ASSERT_NE(automatic.Model(), nullptr);
  EXPECT_EQ(automatic.Calibrations().Model(), automatic.Model());
  EXPECT_TRUE(automatic.Detectors().automaticMode);
}

TEST(CalibObjectSetup, TheDefaultSpectrographsMainExitNamesTheActivePair) {
  CalibObject object;
  ASSERT_TRUE(object.SetupForMode(true));
  uint32_t detector = 0;
  uint32_t calibration = 0;
  ASSERT_EQ(object.Detectors().GetActiveDetectorId(&detector), NqeSuccess);
  ASSERT_EQ(object.Calibrations().GetActiveCalibrationId(&calibration),
            NqeSuccess);
  const Spectrograph* s = object.Model()->ActiveSpectrograph();
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->mainExitDetectorId, detector);
  EXPECT_EQ(s->mainExitCalibrationId, calibration);
  EXPECT_EQ(s->sideExitDetectorId, 0u);
  EXPECT_EQ(s->sideExitCalibrationId, 0u);
}

TEST(CalibObjectRemoveDetector, ClearsTheMainExitIdEvenWhenTheStoreFails) {
  CalibObject object;
  ASSERT_TRUE(object.SetupForMode(true));
  Spectrograph* s = object.Model()->ActiveSpectrograph();
  const uint32_t id = s->mainExitDetectorId;
  s->sideExitDetectorId = id;
  s->mainExitCalibrationId = 77;
  object.Detectors().ClearAllDetectors();  // the store now answers 11012
  EXPECT_EQ(object.RemoveDetectorId(id), NqeDetectorNotFound);
  EXPECT_EQ(s->mainExitDetectorId, 0u);
  EXPECT_EQ(s->sideExitDetectorId, 0u);
  EXPECT_EQ(s->mainExitCalibrationId, 77u);  // calibration IDs stay
}

TEST(CalibObjectRemoveDetector, LeavesOtherIdsAlone) {
  CalibObject object;
  ASSERT_TRUE(object.SetupForMode(true));
  Spectrograph* s = object.Model()->ActiveSpectrograph();
  const uint32_t id = s->mainExitDetectorId;
  EXPECT_EQ(object.RemoveDetectorId(id ^ 1U), NqeSuccess);
  EXPECT_EQ(s->mainExitDetectorId, id);
}

TEST(CalibObjectRemoveDetector, SkipsTheFixUpWithoutAnActiveSpectrograph) {
  CalibObject source;
  ASSERT_TRUE(source.SetupForMode(false));
  CalibObject target;
  ASSERT_TRUE(target.SetupForMode(true));
  ASSERT_EQ(target.CopyFrom(source), NqeSuccess);
  ASSERT_NE(target.Model(), nullptr);
  EXPECT_EQ(target.Model()->ActiveSpectrograph(), nullptr);
  uint32_t id = 0;
  ASSERT_EQ(target.Detectors().GetActiveDetectorId(&id), NqeSuccess);
  EXPECT_EQ(target.RemoveDetectorId(id), NqeSuccess);
}

TEST(CalibObjectCopyFrom, AnAutomaticSourceGivesTheTargetAFreshModel) {
  CalibObject source;
  ASSERT_TRUE(source.SetupForMode(true));
  CalibObject target;
  ASSERT_TRUE(target.SetupForMode(false));
  ASSERT_EQ(target.CopyFrom(source), NqeSuccess);
  ASSERT_NE(target.Model(), nullptr);
  EXPECT_NE(target.Model(), source.Model());
  EXPECT_STREQ(target.Name(), "Automatic Calibration");
  const Spectrograph* s = target.Model()->ActiveSpectrograph();
  ASSERT_NE(s, nullptr);
  uint32_t detector = 0;
  ASSERT_EQ(target.Detectors().GetActiveDetectorId(&detector), NqeSuccess);
  EXPECT_EQ(s->mainExitDetectorId, detector);
  EXPECT_EQ(target.Detectors().Entries().size(), 1u);
  EXPECT_EQ(target.Calibrations().Nodes().size(), 1u);
  EXPECT_EQ(target.Calibrations().Count(), 1);
}

TEST(CalibObjectCopyFrom, WithoutAnActiveSourceDetectorTheTargetIsUnchanged) {
  CalibObject source;
  ASSERT_TRUE(source.SetupForMode(false));
  source.Detectors().ClearAllDetectors();
  CalibObject target;
  ASSERT_TRUE(target.SetupForMode(false));
  uint32_t before = 0;
  ASSERT_EQ(target.Detectors().GetActiveDetectorId(&before), NqeSuccess);
  EXPECT_EQ(target.CopyFrom(source), NqeSuccess);
  uint32_t after = 0;
  ASSERT_EQ(target.Detectors().GetActiveDetectorId(&after), NqeSuccess);
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace kvx
