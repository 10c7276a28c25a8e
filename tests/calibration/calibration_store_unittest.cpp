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
