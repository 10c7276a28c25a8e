// Internals of the calibration store that the exports cannot reach: the
// active-record swap of the monotonic scan, node creation, the table pool,
// clearing and the starting state.
#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "calibration/calibration_store.h"
#include "detector/detector_store.h"

namespace kvx {
namespace {

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DetectorRecord d{};
    d.numPixels = 100;
    ASSERT_EQ(detectors.LoadDetector(&d, sizeof d), NqeSuccess);
    store.SetDetectors(&detectors);
  }

  // 498 + 2 p nm.
  static CalibrationRecord Linear() {
    CalibrationRecord r;
    CalibrationStore::DefaultRecord(&r);
    r.polyOrder = 1;
    for (int i = 0; i < 3; ++i) {
      r.pointPosition[i] = i + 1.0;
      r.pointValue[i] = 500.0 + 2.0 * i;
    }
    return r;
  }

  DetectorStore detectors;
  CalibrationStore store;
};

// Decision: the cursors the constructor leaves open start at 0.
TEST_F(StoreTest, StartsWithOneActiveDefaultCalibration) {
  EXPECT_EQ(store.Count(), 1);
  ASSERT_NE(store.ActiveNode(), nullptr);
  EXPECT_EQ(store.ActiveNode()->initialNode, 1);
  EXPECT_NE(store.ActiveNode()->id, 0u);
  EXPECT_EQ(store.ActiveRecord(), store.ActiveNode()->record.get());
  CalibrationRecord fresh;
  CalibrationStore::DefaultRecord(&fresh);
  EXPECT_EQ(std::memcmp(store.ActiveRecord(), &fresh, sizeof fresh), 0);
  EXPECT_EQ(store.pointCursor, -1);
  EXPECT_EQ(store.coefficientCursor, 0);
  EXPECT_EQ(store.peakThresholdPercent, 2.0);
}

// The scan puts the record in the active slot; the previous active record
// must come back whichever way the scan ends.
TEST_F(StoreTest, MonotonicScanRestoresTheActiveRecordOnEveryPath) {
  CalibrationRecord* const active = store.ActiveRecord();
  CalibrationRecord passing = Linear();
  ASSERT_EQ(store.Validate(&passing, 0, true, false), NqeSuccess);
  EXPECT_EQ(store.ActiveRecord(), active);
  CalibrationRecord flat = passing, invalid = passing, disabled = passing;
  flat.coefficients[1] = 0.0;
  invalid.valid = 0;
  disabled.enabled = 0;
  const std::pair<CalibrationRecord*, NqeErrorCode> cases[] = {
      {&passing, NqeSuccess},
      {&flat, NqeNotMonotonic},
      {&invalid, NqeCalibrationNotValid},
      {&disabled, NqeCalibrationDisabled}};
  for (const auto& [record, expected] : cases) {
    EXPECT_EQ(store.CheckMonotonic(record), expected);
    EXPECT_EQ(store.ActiveRecord(), active);
  }
}

TEST_F(StoreTest, CreatedNodesDoNotChangeTheActiveCalibration) {
  const CalibrationNode* active = store.ActiveNode();
  CalibrationNode* node = store.CreateNode(false);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->initialNode, 0);
  EXPECT_NE(node->id, active->id);
  EXPECT_EQ(store.ActiveNode(), active);
  EXPECT_EQ(store.Count(), 2);
  EXPECT_EQ(store.Nodes().back().id, node->id);
}

TEST_F(StoreTest, ReplacingTheActiveRecordDuplicatesItsTable) {
  double table[] = {1.0, 2.0, 3.0};
  CalibrationRecord source = Linear();
  source.table = table;
  source.tableLength = 3;
  store.ReplaceActiveRecord(source);
  const CalibrationRecord& active = *store.ActiveRecord();
  ASSERT_NE(active.table, nullptr);
  EXPECT_NE(active.table, table);
  EXPECT_EQ(active.tableLength, 3);
  EXPECT_EQ(active.table[2], 3.0);
  EXPECT_EQ(active.polyOrder, 1);
}

TEST_F(StoreTest, ClearingLeavesNoCalibration) {
  store.ClearAllCalibrations();
  EXPECT_EQ(store.Count(), 0);
  EXPECT_EQ(store.ActiveNode(), nullptr);
  EXPECT_EQ(store.ActiveRecord(), nullptr);
  uint32_t id = 77;
  EXPECT_EQ(store.GetActiveCalibrationId(&id), NqeInvalidCalibration);
  EXPECT_EQ(id, 0u);
  EXPECT_EQ(store.RemoveCalibrationId(77), NqeSuccess);
  // Without an active node a new calibration becomes the active one.
  CalibrationRecord r = Linear();
  uint32_t added = 0;
  ASSERT_EQ(store.AddCalibration(&r, sizeof r, &added), NqeSuccess);
  ASSERT_NE(store.ActiveNode(), nullptr);
  EXPECT_EQ(store.ActiveNode()->id, added);
}

// A negative table length (only possible from a host record) has nothing to
// read: the lookup reports the pixel.
TEST_F(StoreTest, TableWithNegativeLengthReportsThePixel) {
  double table[] = {5.0};
  CalibrationRecord& active = *store.ActiveRecord();
  active.displayUnit = static_cast<int32_t>(KVX_CALIB_TABLE_FLAG | 4u);
  active.table = table;
  active.tableLength = -3;
  active.valid = 1;
  double value = 0.0;
  EXPECT_EQ(store.PixelToCalibValue(2.0, &value, true), NqeSuccess);
  EXPECT_EQ(value, 2.0);
}

// Decision: null outputs of the internal operations are refused with 11000.
TEST_F(StoreTest, NullOutputsAreRefused) {
  EXPECT_EQ(store.PixelToCalibValue(1.0, nullptr, false), NqeNullPointer);
  EXPECT_EQ(store.CalibValueToPixel(1.0, nullptr), NqeNullPointer);
  EXPECT_EQ(store.DataPointToCalibValue(1.0, nullptr, false), NqeNullPointer);
  EXPECT_EQ(store.CalibValueToDataPoint(1.0, nullptr), NqeNullPointer);
  EXPECT_EQ(store.TestCalibrationFit(nullptr), NqeNullPointer);
  EXPECT_EQ(store.GetActiveCalibrationId(nullptr), NqeNullPointer);
  CalibrationRecord r = Linear();
  EXPECT_EQ(store.AddCalibration(&r, sizeof r, nullptr), NqeNullPointer);
  EXPECT_EQ(store.Count(), 1);
}

}  // namespace
}  // namespace kvx
