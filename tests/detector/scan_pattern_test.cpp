// The X scan pattern through the exports: adding, removing, retrieving,
// loading, dumping and checking regions of interest, and data points.
#include "detector/detector_fixtures.h"

namespace kvx_detector_test {
namespace {

// The region counter is visible only through the dump's count check.
bool CounterIs(CalibHandle h, KvxLong n) {
  X_ROI sink[4] = {};
  return CalibDumpXScanPattern(h, sink, n) == NqeSuccess;
}

TEST(ScanPattern, WidthNotAMultipleOfBinningIsRefusedByValidateButAdded) {
  Handle h;
  X_ROI r = {1, 1, 10, 3};
  EXPECT_EQ(CalibValidateXScanPattern(h, &r, 16, 1, 100), NqeBadRegionShape);
  LoadWithRegions(h, 100, {r});
  ASSERT_EQ(CalibRetrieveX_ROI(h, 1, &r, sizeof r), NqeSuccess);
  EXPECT_EQ(r.width, 9);  // 10 / 3 = 3 groups of 3
}

// Regions A (1..10), B (21..30), C (41..50), added in the order C, A, B.
class ThreeRegions : public ::testing::Test {
 protected:
  void SetUp() override {
    LoadWithRegions(h, 100, {{3, 41, 10, 1}, {1, 1, 10, 2}, {2, 21, 10, 5}});
  }
  Handle h;
};

TEST_F(ThreeRegions, RemovingARegionDropsTheRegionsAheadOfIt) {
  EXPECT_EQ(CalibRemoveX_ROI(h, 2), NqeSuccess);
  EXPECT_EQ(RegionCount(h), 1);  // A went with B, C is left
  X_ROI r{};
  EXPECT_EQ(CalibRetrieveX_ROI(h, 3, &r, sizeof r), NqeSuccess);
  EXPECT_TRUE(CounterIs(h, 2));  // lowered once, for B only
  // An unknown ID empties the pattern and leaves the counter.
  EXPECT_EQ(CalibRemoveX_ROI(h, 99), NqeRegionNotFound);
  EXPECT_EQ(RegionCount(h), 0);
  EXPECT_TRUE(CounterIs(h, 2));
  EXPECT_EQ(CalibRemoveX_ROI(h, 3), NqeRegionNotFound);
}

TEST_F(ThreeRegions, RegionCounterIsZeroAfterEveryPatternLoad) {
  X_ROI bad[] = {{5, 3, 4, 2}, {6, 0, 4, 2}};  // second starts at 0
  EXPECT_EQ(CalibLoadXScanPattern(h, bad, 2), NqeRegionOutOfRange);
  EXPECT_EQ(RegionCount(h), 3);  // the old regions are back
  EXPECT_TRUE(CounterIs(h, 0));
  EXPECT_EQ(CalibLoadXScanPattern(h, nullptr, 1), NqeNullPointer);

  X_ROI two[] = {{5, 3, 4, 2}, {6, 60, 9, 3}};
  ASSERT_EQ(CalibLoadXScanPattern(h, two, 2), NqeSuccess);
  EXPECT_EQ(RegionCount(h), 2);
  EXPECT_FALSE(CounterIs(h, 2));
  X_ROI out = {-1, -1, -1, -1};
  EXPECT_EQ(CalibDumpXScanPattern(h, &out, 0), NqeSuccess);
  EXPECT_EQ(out.id, -1);  // count 0 writes nothing
}

TEST(DataPointMapping,
     PastTheLastRegionThePixelIsComparedWithTheDataPointCount) {
  // Width -100 with binning -1 gives 100 data points to a region whose last
  // pixel (2 - 100 - 1 = -99) lies before its start.
  Handle h;
  LoadWithRegions(h, 100, {{1, 2, -100, -1}});
  double point = 0.0;
  EXPECT_EQ(CalibPixelToDataPoint(h, 50.0, &point), NqeSuccess);
  EXPECT_EQ(point, 100.0);
  EXPECT_EQ(CalibPixelToDataPoint(h, 100.5, &point), NqePixelOutsideRegions);
  EXPECT_EQ(point, 100.0);
}

}  // namespace
}  // namespace kvx_detector_test
