// Internals of the detector store that no export reaches: the 32-byte
// region form, the data-point count, the center queries, the emptied store
// and the narrow checks of ValidateActiveDetector.
#include "detector/detector_store.h"
#include "detector/detector_fixtures.h"

namespace kvx {
namespace {

using kvx_detector_test::Detector;

class LoadedStore : public ::testing::Test {
 protected:
  void SetUp() override {
    const DetectorRecord d = Detector(100);
    ASSERT_EQ(store.LoadDetector(&d, sizeof d), NqeSuccess);
  }
  void Add(RegionEntry r) { ASSERT_EQ(store.AddRegion32(&r), NqeSuccess); }
  DetectorStore store;
};

TEST_F(LoadedStore, CountDataPointsSumsTheGroupsOnlyWhileThePatternIsEnabled) {
  EXPECT_EQ(store.AddRegion32(nullptr), NqeNullPointer);
  Add({1, 1, 2, 5});
  Add({2, 11, 5, 2});
  EXPECT_EQ(store.dataPointCount, 100);  // adding regions does not count
  int32_t n = 0;
  ASSERT_EQ(store.CountDataPoints(&n), NqeSuccess);
  EXPECT_TRUE(n == 7 && store.dataPointCount == 7);
  store.SetScanState(false);
  ASSERT_EQ(store.CountDataPoints(nullptr), NqeSuccess);
  EXPECT_EQ(store.dataPointCount, 100);
}

TEST_F(LoadedStore, CentersFollowTheEnabledPatternAndFailOnARegionAtTheEnd) {
  // Regions 11..20 and 31..36: center (11 + 36) * 0.5 = 23.5, detector
  // center (100 + 1) * 0.5 = 50.5, offset 23.5 - 50.5 = -27.
  Add({1, 11, 5, 2});
  Add({2, 31, 3, 2});
  int32_t first = 0, last = 0;
  double center = 0.0, offset = 0.0, detector = 0.0;
  ASSERT_EQ(store.GetFirstPixel(&first), NqeSuccess);
  ASSERT_EQ(store.GetLastPixel(&last), NqeSuccess);
  ASSERT_EQ(store.GetActiveCenter(&center), NqeSuccess);
  ASSERT_EQ(store.GetCenterOffset(&offset), NqeSuccess);
  ASSERT_EQ(store.GetDetectorCenter(&detector), NqeSuccess);
  EXPECT_TRUE(first == 11 && last == 36);
  EXPECT_TRUE(center == 23.5 && offset == -27.0 && detector == 50.5);
  store.SetScanState(false);
  ASSERT_EQ(store.GetCenterOffset(&offset), NqeSuccess);
  EXPECT_EQ(offset, 0.0);
  Add({3, 91, 2, 5});  // 91..100, which the detector check refuses
  EXPECT_EQ(store.GetCenterOffset(&offset), NqeRegionOutOfRange);
}

TEST_F(LoadedStore, PatternLoadReadsThe32ByteFormAndItsDumpWritesNothing) {
  // link, id, start, binning, groups, reserved x3
  const int32_t words[2][8] = {{-1, 4, 3, 2, 5, 1, 2, 3},
                               {-1, 9, 20, 1, 4, 0, 0, 0}};
  ASSERT_EQ(store.LoadScanPattern(words, 2, 32), NqeSuccess);
  const auto& regions = store.ActiveEntry()->regions;
  ASSERT_EQ(regions.size(), 2u);
  const RegionEntry& r = regions[0];
  EXPECT_TRUE(r.id == 4 && r.startPixel == 3 && r.binning == 2 &&
              r.numGroups == 5 && r.reserved[2] == 3);
  EXPECT_EQ(regions[1].startPixel, 20);
  int32_t out[8] = {};
  EXPECT_EQ(store.DumpScanPattern(out, 0, 32), NqeSuccess);
  EXPECT_EQ(out[1], 0);
  EXPECT_EQ(store.LoadScanPattern(words, 2, 24), NqeBadRegionSize);
  EXPECT_EQ(regions.size(), 2u);
}

TEST_F(LoadedStore, SumsAndEndsBeyond32BitsAreRefused) {
  // Negative group counts put the last pixels far below pixel 1.
  // Region 1 ends at 2 - 2^32 - 1; region 2 (last pixel 3 + INT_MIN - 1)
  // goes in front of it, so region 1 stays the last one in the list.
  Add({1, 2, 2, INT_MIN});
  Add({2, 3, 1, INT_MIN});
  ASSERT_EQ(store.ActiveEntry()->regions.back().id, 1);
  EXPECT_EQ(store.CountDataPoints(nullptr), NqeBadRegionShape);
  int32_t last = 0;
  EXPECT_EQ(store.GetLastPixel(&last), NqeRegionOutOfRange);
}

TEST(DetectorStoreUnit, ClearAllDetectorsLeavesDetectorCountUnchanged) {
  DetectorStore store;
  const DetectorRecord d = Detector(64);
  uint32_t id = 0;
  ASSERT_EQ(store.AddDetector(&d, sizeof d, &id), NqeSuccess);
  store.ClearAllDetectors();
  EXPECT_EQ(store.DetectorCount(), 2);
  EXPECT_EQ(store.ActiveNumPixels(), -1);
  EXPECT_EQ(store.RemoveDetectorId(id), NqeDetectorNotFound);
  EXPECT_EQ(store.ValidateActiveDetector(true), NqeNullPointer);
  EXPECT_EQ(store.LoadDetector(&d, sizeof d), NqeNoActiveDetector);

  // As after an object copy: one detector, but the count says three, so
  // removing it unlinks it and the store is empty.
  ASSERT_EQ(store.AddDetector(&d, sizeof d, &id), NqeSuccess);
  ASSERT_EQ(store.SetActiveDetectorId(id), NqeSuccess);
  EXPECT_EQ(store.RemoveDetectorId(id), NqeSuccess);
  EXPECT_TRUE(store.Entries().empty());
  EXPECT_EQ(store.ActiveEntry(), nullptr);
}

// Unlike the region add, only the first region's ID is compared with the
// others, a region may begin where the previous one ends, and none may end
// on the last pixel. Success marks even a never-loaded entry loaded.
TEST(DetectorStoreUnit, ValidateActiveDetectorComparesOnlyTheFirstRegionsId) {
  const struct {
    std::vector<RegionEntry> regions;
    NqeErrorCode code;
  } cases[] = {
      {{{5, 1, 1, 4}, {7, 11, 1, 4}, {7, 21, 1, 4}}, NqeSuccess},
      {{{5, 1, 1, 4}, {7, 11, 1, 4}, {5, 21, 1, 4}}, NqeDuplicateRegionId},
      {{{1, 1, 1, 10}, {2, 10, 1, 10}}, NqeSuccess},
      {{{1, 1, 1, 10}, {2, 91, 1, 10}}, NqeRegionOutOfRange},
      {{{1, 0, 1, 10}, {2, 21, 1, 10}}, NqeRegionOutOfRange},
      {{{1, 21, 1, 10}, {2, 1, 1, 10}}, NqeRegionOverlap},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    DetectorStore store;
    DetectorEntry& e = *store.ActiveEntry();
    e.numPixels = 100;
    e.regions = c.regions;
    EXPECT_EQ(store.ValidateActiveDetector(true), c.code);
    EXPECT_EQ(e.loaded, c.code == NqeSuccess);
    EXPECT_EQ(store.ValidateActiveDetector(false), NqeSuccess);
  }
}

}  // namespace
}  // namespace kvx
