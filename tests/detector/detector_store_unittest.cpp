// Internals of the detector store that no export reaches: the 32-byte
// region form, the emptied store and the narrow checks of
// ValidateActiveDetector.
#include "detector/detector_store.h"
#include "detector/detector_fixtures.h"

namespace kvx {
namespace {

using kvx_detector_test::Detector;

TEST(DetectorStoreUnit, PatternLoadReadsThe32ByteFormAndItsDumpWritesNothing) {
  DetectorStore store;
  const DetectorRecord d = Detector(100);
  ASSERT_EQ(store.LoadDetector(&d, sizeof d), NqeSuccess);
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
