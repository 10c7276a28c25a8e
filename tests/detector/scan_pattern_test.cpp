// The X scan pattern through the exports: adding, removing, retrieving,
// loading, dumping and checking regions of interest.
#include "detector/detector_fixtures.h"

namespace kvx_detector_test {
namespace {

// The region counter is visible only through the dump's count check.
bool CounterIs(CalibHandle h, KvxLong n) {
  X_ROI sink[4] = {};
  return CalibDumpXScanPattern(h, sink, n) == NqeSuccess;
}

TEST(ScanPattern, AddAnswersAsTheRegionDeserves) {
  const struct {
    const char* what;
    X_ROI r;
    NqeErrorCode code;
  } cases[] = {
      {"binning 0, met before start 0", {1, 0, 10, 0}, NqeBadRegionShape},
      {"narrower than one group", {1, 1, 1, 2}, NqeBadRegionShape},
      {"start 0", {1, 0, 4, 2}, NqeRegionOutOfRange},
      {"past the last pixel", {1, 95, 8, 2}, NqeRegionOutOfRange},
      {"ends on the last pixel", {1, 91, 10, 2}, NqeSuccess},
      {"huge start, no wrap", {1, INT_MAX, INT_MAX, 1}, NqeRegionOutOfRange},
      {"same ID", {7, 1, 4, 2}, NqeDuplicateRegionId},
      {"ID 0 is no ID", {0, 1, 4, 2}, NqeSuccess},
      {"shares pixel 50", {1, 50, 4, 2}, NqeRegionOverlap},
      {"touches without sharing", {1, 51, 4, 2}, NqeSuccess},
  };
  for (auto c : cases) {
    SCOPED_TRACE(c.what);
    Handle h;
    // 41..50 with ID 7, and 60..61 with no ID.
    LoadWithRegions(h, 100, {{7, 41, 10, 2}, {0, 60, 2, 2}});
    EXPECT_EQ(CalibAddX_ROI(h, &c.r), c.code);
  }
}

TEST(ScanPattern, OverlapOnAddClearsLoadedUntilTheDetectorIsValidatedAgain) {
  Handle h;
  LoadWithRegions(h, 100, {{1, 1, 10, 2}});
  EXPECT_EQ(CalibAddX_ROI(h, nullptr), NqeNullPointer);
  X_ROI overlap = {2, 5, 10, 2};
  EXPECT_EQ(CalibAddX_ROI(h, &overlap), NqeRegionOverlap);
  EXPECT_EQ(RegionCount(h), -1);
  X_ROI again = {1, 1, 10, 2};  // a pattern load validates first
  ASSERT_EQ(CalibLoadXScanPattern(h, &again, 1), NqeSuccess);
  EXPECT_EQ(RegionCount(h), 1);
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

TEST_F(ThreeRegions, DumpSortsByStartAndRetrieveLooksUpBeforeTheSizeCheck) {
  X_ROI out[4] = {};
  EXPECT_EQ(CalibDumpXScanPattern(h, nullptr, 3), NqeNullPointer);
  ASSERT_EQ(CalibDumpXScanPattern(h, out, 3), NqeSuccess);
  EXPECT_EQ(out[0].id * 100 + out[1].id * 10 + out[2].id, 123);
  EXPECT_EQ(out[3].id, 0);  // nothing past count

  X_ROI r = {-1, -1, -1, -1};
  EXPECT_EQ(CalibRetrieveX_ROI(h, 99, &r, 32), NqeRegionNotFound);
  EXPECT_EQ(CalibRetrieveX_ROI(h, 2, &r, 32), NqeBadRegionSize);
  EXPECT_EQ(r.id, -1);
  ASSERT_EQ(CalibRetrieveX_ROI(h, 2, &r, 16), NqeSuccess);
  EXPECT_EQ(r.startPixel * 1000 + r.width * 10 + r.binning, 21105);
}

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

TEST_F(ThreeRegions, PatternLoadOfNoRegionsAndDeleteEmptyThePattern) {
  ASSERT_EQ(CalibLoadXScanPattern(h, nullptr, -4), NqeSuccess);
  EXPECT_EQ(RegionCount(h), 0);
  LoadWithRegions(h, 100, {{1, 1, 10, 2}});
  ASSERT_EQ(CalibDeleteScanPattern(h), NqeSuccess);
  EXPECT_EQ(RegionCount(h), 0);  // still loaded
  EXPECT_TRUE(CounterIs(h, 0));
}

TEST(ScanPattern, ARegionEndingOnTheLastPixelFailsLaterValidation) {
  Handle h;
  LoadWithRegions(h, 100, {{1, 91, 10, 2}});
  X_ROI other = {2, 1, 4, 2};
  EXPECT_EQ(CalibDumpXScanPattern(h, &other, 1), NqeRegionOutOfRange);
  EXPECT_EQ(CalibLoadXScanPattern(h, &other, 1), NqeRegionOutOfRange);
  ASSERT_EQ(CalibDeleteScanPattern(h), NqeSuccess);
  EXPECT_EQ(CalibLoadXScanPattern(h, &other, 1), NqeSuccess);
}

TEST(ScanPattern, ANeverLoadedDetectorAnswersNotLoadedOrNoPixels) {
  Handle h;
  X_ROI r = {1, 1, 4, 2};
  EXPECT_EQ(CalibRetrieveX_ROI(h, 1, &r, sizeof r), NqeDetectorNotLoaded);
  EXPECT_EQ(CalibDumpXScanPattern(h, &r, 0), NqeDetectorNotLoaded);
  EXPECT_EQ(CalibLoadXScanPattern(h, &r, 1), NqeNoPixels);
  EXPECT_EQ(CalibRemoveX_ROI(h, 1), NqeRegionNotFound);  // loaded not needed
  EXPECT_EQ(CalibValidateXScanPattern(h, &r, 16, 1, 0), NqeNoPixels);
}

TEST(ScanPattern, ValidateAnswersTheFirstFaultOfTheArray) {
  const std::vector<X_ROI> k3 = {{1, 1, 4, 2}, {2, 5, 4, 2}, {3, 9, 4, 2}};
  struct {
    const char* what;
    std::vector<X_ROI> r;
    KvxLong bytes, count;  // bytes 0: 16 per region
    NqeErrorCode code;
  } cases[] = {
      {"no regions", {}, 0, 1, NqeNullPointer},
      {"count 0", k3, 0, 0, NqeBadRegionShape},
      {"50 bytes for 3 pass as 16 each", k3, 50, 3, NqeSuccess},
      {"47 bytes for 3", k3, 47, 3, NqeBadRegionSize},
      {"start -1", {{1, -1, 4, 2}}, 0, 1, NqeRegionOutOfRange},
      {"start 0 passes here", {{1, 0, 4, 2}}, 0, 1, NqeSuccess},
      {"huge width", {{1, 2, INT_MAX, 1}}, 0, 1, NqeRegionOutOfRange},
      {"INT_MIN / -1", {{1, 1, INT_MIN, -1}}, 0, 1, NqeSuccess},
      // Region 1's overlap is found before region 2's binning 0.
      {"overlap first", {{1, 1, 4, 2}, {2, 4, 4, 0}}, 0, 2, NqeRegionOverlap},
  };
  Handle h;
  for (auto& c : cases) {
    SCOPED_TRACE(c.what);
    const KvxLong n = static_cast<KvxLong>(c.r.size());
    EXPECT_EQ(CalibValidateXScanPattern(h, n == 0 ? nullptr : c.r.data(),
                                        c.bytes == 0 ? 16 * n : c.bytes,
                                        c.count, 100),
              c.code);
  }
}

TEST(ScanState, IsOnAtCreationAndBelongsToTheObjectNotTheDetector) {
  Handle h;
  auto state = [&h] {
    KvxLong s = -1;
    EXPECT_EQ(CalibGetScanState(h, &s), 0u);
    return s;
  };
  EXPECT_EQ(state(), 1);
  ASSERT_EQ(CalibDisableScanPattern(h), 0u);
  LoadWithRegions(h, 64, {});
  EXPECT_EQ(state(), 0);
  ASSERT_EQ(CalibEnableScanPattern(h), 0u);
  EXPECT_EQ(state(), 1);
  EXPECT_EQ(CalibGetScanState(h, nullptr), 11000u);
}

}  // namespace
}  // namespace kvx_detector_test
