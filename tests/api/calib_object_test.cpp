// Copying one calibration object into another.
#include <gtest/gtest.h>

#include <cstring>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace {

using kvx_test::Handle;

DetectorRecord Detector(const char* name, KvxLong pixels, double pixelSize) {
  DetectorRecord r{};
  std::snprintf(r.name, sizeof r.name, "%s", name);
  r.numPixels = pixels;
  r.pixelSize = pixelSize;
  r.secondarySize = 7.25;
  r.secondaryCount = 33;
  return r;
}

// Points at pixels 1, 2, 3 with 500, 502, 504 nm: c0 = 498, c1 = 2.
CalibrationRecord LinearCalibration(CalibHandle h) {
  CalibrationRecord r{};
  EXPECT_EQ(CalibInitializeCalibration(h, &r, 0), 0u);
  r.polyOrder = 1;
  for (int i = 0; i < 3; ++i) {
    r.pointPosition[i] = i + 1.0;
    r.pointValue[i] = 500.0 + 2.0 * i;
  }
  std::snprintf(r.calibLabel, sizeof r.calibLabel, "source calibration");
  return r;
}

KvxULong ActiveDetector(CalibHandle h) {
  KvxULong id = 0;
  EXPECT_EQ(CalibGetActiveDetectorID(h, &id), 0u);
  return id;
}

KvxULong ActiveCalibration(CalibHandle h) {
  KvxULong id = 0;
  EXPECT_EQ(CalibGetActiveCalibrationID(h, &id), 0u);
  return id;
}

class CopyFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    // Source: two detectors, the active one with two regions; two
    // calibrations, the active one valid.
    X_ROI regions[2] = {{1, 1, 10, 2}, {2, 21, 10, 5}};
    DetectorRecord active = Detector("source ccd", 100, 20.0);
    active.regions = regions;
    active.regionCount = 2;
    active.regionBytes = sizeof regions;
    ASSERT_EQ(CalibLoadDetector(source, &active, sizeof active), 0u);
    DetectorRecord other = Detector("other ccd", 50, 10.0);
    KvxULong otherId = 0;
    ASSERT_EQ(CalibAddDetector(source, &other, sizeof other, &otherId), 0u);
    CalibDisableScanPattern(source);
    CalibrationRecord cal = LinearCalibration(source);
    ASSERT_EQ(CalibLoadCalibration(source, &cal, sizeof cal), 0u);
    CalibrationRecord spare = LinearCalibration(source);
    KvxULong spareId = 0;
    ASSERT_EQ(CalibAddCalibration(source, &spare, sizeof spare, &spareId), 0u);

    DetectorRecord mine = Detector("target ccd", 64, 5.0);
    ASSERT_EQ(CalibLoadDetector(target, &mine, sizeof mine), 0u);
    oldTargetDetector = ActiveDetector(target);
    oldTargetCalibration = ActiveCalibration(target);
  }

  Handle source;
  Handle target;
  KvxULong oldTargetDetector = 0;
  KvxULong oldTargetCalibration = 0;
};

TEST_F(CopyFixture, TargetGetsTheSourcesActiveDetectorWithoutRegions) {
  ASSERT_EQ(CalibCopyCalibObject(target, source), 0u);
  const KvxULong copied = ActiveDetector(target);
  EXPECT_NE(copied, 0u);
  EXPECT_NE(copied, ActiveDetector(source));
  EXPECT_EQ(CalibSetActiveDetectorID(target, oldTargetDetector), 11012u);

  DetectorRecord out{};
  ASSERT_EQ(CalibDumpDetector(target, &out, sizeof out), 11009u)
      << "a dump with no regions has no element size";
  KvxLong regions = -1;
  ASSERT_EQ(CalibNumberOfX_ROIs(target, &regions), 0u);
  EXPECT_EQ(regions, 0);
  double pixel = 0.0;
  ASSERT_EQ(CalibDataPointToPixel(target, 7.0, &pixel), 0u);
  EXPECT_EQ(pixel, 7.0);  // no regions: data points are pixels
}

TEST_F(CopyFixture, TargetGetsOneCalibrationWithTheSourcesContentsAndANewId) {
  ASSERT_EQ(CalibCopyCalibObject(target, source), 0u);
  const KvxULong copied = ActiveCalibration(target);
  EXPECT_NE(copied, ActiveCalibration(source));
  EXPECT_EQ(CalibSetActiveCalibrationID(target, oldTargetCalibration), 11023u);

  CalibrationRecord a{}, b{};
  ASSERT_EQ(CalibDumpCalibration(source, &a, sizeof a), 0u);
  ASSERT_EQ(CalibDumpCalibration(target, &b, sizeof b), 0u);
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
  // Only one calibration: removing it keeps an empty node (11023) and the
  // copied ID is then the only one left to select.
  double value = 0.0;
  ASSERT_EQ(CalibPixelToCalibValue(target, 2.5, &value), 0u);
  EXPECT_EQ(value, 503.0);
}

TEST_F(CopyFixture, CopyingAnObjectOntoItselfChangesNothing) {
  const KvxULong detector = ActiveDetector(source);
  const KvxULong calibration = ActiveCalibration(source);
  EXPECT_EQ(CalibCopyCalibObject(source, source & 0xFF), 0u);
  EXPECT_EQ(ActiveDetector(source), detector);
  EXPECT_EQ(ActiveCalibration(source), calibration);
  KvxLong regions = 0;
  ASSERT_EQ(CalibNumberOfX_ROIs(source, &regions), 0u);
  EXPECT_EQ(regions, 2);
}

TEST_F(CopyFixture, AnInvalidSourceLeavesTheTargetAsItWas) {
  EXPECT_EQ(CalibCopyCalibObject(target, 0x080000C9), 11001u);
  EXPECT_EQ(ActiveDetector(target), oldTargetDetector);
  EXPECT_EQ(ActiveCalibration(target), oldTargetCalibration);
}

TEST_F(CopyFixture, TheTargetHandleIsCheckedBeforeTheSource) {
  // A bad source alone would answer 11021 (slot 255).
  EXPECT_EQ(CalibCopyCalibObject(0x080000C9, 0x080000FF), 11001u);
  EXPECT_EQ(CalibCopyCalibObject(0x080000FF, 0x080000C9), 11021u);
}

TEST(CalibObjectCopy, AnAutomaticSourceMakesAManualTargetAutomatic) {
  Handle source(CalibModeAutomatic);
  Handle target(CalibModeManual);
  DetectorRecord noPixelSize = Detector("ccd", 100, 0.0);
  ASSERT_EQ(CalibValidateDetector(target, &noPixelSize, 0), 0u);
  ASSERT_EQ(CalibCopyCalibObject(target, source), 0u);
  // Automatic objects require a pixel size.
  EXPECT_EQ(CalibValidateDetector(target, &noPixelSize, 0), 11003u);
}

TEST(CalibObjectCopy, AManualSourceLeavesAnAutomaticTargetAutomatic) {
  Handle source(CalibModeManual);
  Handle target(CalibModeAutomatic);
  ASSERT_EQ(CalibCopyCalibObject(target, source), 0u);
  DetectorRecord noPixelSize = Detector("ccd", 100, 0.0);
  EXPECT_EQ(CalibValidateDetector(target, &noPixelSize, 0), 11003u);
}

TEST(CalibObjectCopy, ACopiedTableOutlivesTheSourceObject) {
  double table[4] = {400.0, 410.0, 420.0, 430.0};
  CalibHandle source = 0;
  Handle target;
  ASSERT_EQ(CalibCreate(CalibModeManual, &source), 0u);
  DetectorRecord d = Detector("ccd", 4, 10.0);
  ASSERT_EQ(CalibLoadDetector(source, &d, sizeof d), 0u);
  CalibrationRecord r{};
  ASSERT_EQ(CalibInitializeCalibration(source, &r, 0), 0u);
  r.inputUnit = static_cast<KvxLong>(0x80000004u);
  r.displayUnit = static_cast<KvxLong>(0x80000004u);
  r.table = table;
  r.tableLength = 4;
  ASSERT_EQ(CalibLoadCalibration(source, &r, sizeof r), 0u);
  ASSERT_EQ(CalibCopyCalibObject(target, source), 0u);
  ASSERT_EQ(CalibDestroy(source), 0u);
  table[1] = -1.0;  // the host's array is the host's own again

  ASSERT_EQ(CalibLoadDetector(target, &d, sizeof d), 0u);
  double value = 0.0;
  ASSERT_EQ(CalibPixelToCalibValue(target, 2.5, &value), 0u);
  EXPECT_EQ(value, 415.0);  // halfway between 410 and 420
}

}  // namespace
