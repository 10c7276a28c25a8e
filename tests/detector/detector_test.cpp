// Detectors through the exports: records (initialize, validate, load, dump,
// add, remove, the active detector), the X scan pattern (adding, removing,
// retrieving, loading, dumping and checking regions) and data points.
#include "detector/detector_fixtures.h"

namespace kvx_detector_test {
namespace {

// Validation and load answer alike; a refused load leaves the fresh entry
// unloaded, and no load takes the record's detectorId.
TEST(DetectorRecord, ValidationAndLoadAnswerTheFirstFault) {
  struct {
    const char* what;
    KvxLong mode, numPixels;
    double pixelSize;
    std::vector<X_ROI> regions;
    KvxLong regionBytes;  // 0: 16 per region
    KvxULong code;
  } cases[] = {
      {"zero pixels", 0, 0, 20.0, {}, 0, 11002},
      {"negative pixel count passes", 0, -5, 20.0, {}, 0, 0},
      {"pixel size 0, manual mode", 0, 100, 0.0, {}, 0, 0},
      {"pixel size 0, automatic mode", 1, 100, 0.0, {}, 0, 11003},
      {"32-byte elements", 0, 100, 20.0, {{1, 1, 10, 2}}, 32, 11009},
      {"overlap", 0, 100, 20.0, {{1, 1, 10, 2}, {2, 10, 4, 2}}, 0, 11005},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.what);
    Handle h(c.mode);
    const KvxULong id = ActiveId(h);
    DetectorRecord d = Detector(c.numPixels, &c.regions, c.pixelSize);
    if (c.regionBytes != 0) d.regionBytes = c.regionBytes;
    d.detectorId = id + 1;
    EXPECT_EQ(CalibValidateDetector(h, &d, sizeof d), c.code);
    EXPECT_EQ(CalibLoadDetector(h, &d, sizeof d), c.code);
    EXPECT_EQ(RegionCount(h), c.code == 0 ? 0 : -1);
    EXPECT_EQ(ActiveId(h), id);
  }
}

TEST(DetectorRecord,
     DumpChecksInOrderWritesOnlyTheDetectorFieldsAndRefusesCountZero) {
  Handle h;
  std::vector<X_ROI> regions = {{4, 1, 10, 2}, {9, 21, 6, 3}};
  DetectorRecord d = Detector(512, &regions, 13.5);
  d.secondarySize = 26.0;
  d.secondaryCount = 128;
  EXPECT_EQ(CalibDumpDetector(h, &d, sizeof d), 11011u);  // not loaded
  ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);

  X_ROI out[2] = {};
  DetectorRecord dump;
  std::memset(&dump, 0x5A, sizeof dump);
  dump.regions = nullptr;
  dump.regionCount = 3;  // the load counted two regions
  dump.regionBytes = 48;
  EXPECT_EQ(CalibDumpDetector(h, &dump, sizeof dump), 11018u);
  dump.regionCount = 2;
  EXPECT_EQ(CalibDumpDetector(h, &dump, sizeof dump), 11009u);
  dump.regionBytes = 32;
  EXPECT_EQ(CalibDumpDetector(h, &dump, sizeof dump), 11000u);
  dump.regions = out;
  ASSERT_EQ(CalibDumpDetector(h, &dump, sizeof dump), 0u);
  EXPECT_EQ(dump.detectorId, ActiveId(h));
  EXPECT_STREQ(dump.name, "test ccd");
  EXPECT_TRUE(dump.pixelSize == 13.5 && dump.secondarySize == 26.0);
  EXPECT_TRUE(dump.numPixels == 512 && dump.secondaryCount == 128);
  EXPECT_TRUE(dump.regionCount == 2 && dump.regionBytes == 32);
  EXPECT_EQ(dump.reserved132[0], 0x5A);  // padding is not written
  EXPECT_TRUE(out[1].startPixel == 21 && out[1].width == 6);

  // With no regions counted there is no element size: refused, untouched.
  ASSERT_EQ(CalibDeleteScanPattern(h), NqeSuccess);
  DetectorRecord none = Detector(7);
  const DetectorRecord before = none;
  EXPECT_EQ(CalibDumpDetector(h, &none, sizeof none), 11009u);
  EXPECT_EQ(std::memcmp(&none, &before, sizeof none), 0);
}

// A load that fails while adding regions leaves the entry blank with ID 0;
// a failed add still reports the new ID of its blank entry.
TEST(DetectorRecord, FailedLoadOrAddLeavesABlankEntry) {
  Handle h;
  const KvxULong id = ActiveId(h);
  std::vector<X_ROI> regions = {{1, 0, 4, 2}};  // passes the array check
  DetectorRecord d = Detector(100, &regions), empty = Detector(0);
  EXPECT_EQ(CalibLoadDetector(h, &d, sizeof d), 11006u);
  EXPECT_EQ(ActiveId(h), 0u);
  EXPECT_EQ(RegionCount(h), -1);  // not loaded
  EXPECT_EQ(CalibSetActiveDetectorID(h, id), 11012u);
  KvxULong added = 0;
  EXPECT_EQ(CalibAddDetector(h, &empty, sizeof empty, &added), 11002u);
  ASSERT_EQ(CalibSetActiveDetectorID(h, added), 0u);
  EXPECT_EQ(RegionCount(h), -1);  // not loaded
}

TEST(DetectorRecord,
     RemovingAnUnknownIdSucceedsAndTheOnlyDetectorStaysBlankWithItsId) {
  Handle h;
  LoadWithRegions(h, 100, {{1, 1, 10, 2}});
  const KvxULong id = ActiveId(h);
  EXPECT_EQ(CalibRemoveDetectorID(h, id ^ 0x5A5A5A5Au), 0u);
  EXPECT_EQ(CalibSetActiveDetectorID(h, id ^ 0x5A5A5A5Au), 11012u);
  EXPECT_EQ(RegionCount(h), 1);  // nothing changed
  EXPECT_EQ(CalibRemoveDetectorID(h, id), 0u);
  EXPECT_EQ(ActiveId(h), id);
  EXPECT_EQ(RegionCount(h), -1);  // blank, not loaded
}

TEST(DetectorRecord, AddKeepsTheActiveDetectorAndRemovingItActivatesTheFirst) {
  Handle h;
  const KvxULong first = ActiveId(h);
  DetectorRecord d = Detector(64);
  KvxULong a = 0, b = 0;
  ASSERT_EQ(CalibAddDetector(h, &d, sizeof d, &a), 0u);
  ASSERT_EQ(CalibAddDetector(h, &d, sizeof d, &b), 0u);
  EXPECT_EQ(CalibAddDetector(h, &d, sizeof d, nullptr), 11000u);
  EXPECT_EQ(ActiveId(h), first);
  // IDs are opaque: distinct, non-zero, not consecutive.
  EXPECT_TRUE(a != 0 && b != 0 && a != b && a != first && b - a != 1);

  ASSERT_EQ(CalibSetActiveDetectorID(h, b), 0u);
  EXPECT_EQ(RegionCount(h), 0);  // loaded
  EXPECT_EQ(CalibRemoveDetectorID(h, a), 0u);
  EXPECT_EQ(ActiveId(h), b);
  EXPECT_EQ(CalibRemoveDetectorID(h, b), 0u);
  EXPECT_EQ(ActiveId(h), first);
  EXPECT_EQ(CalibSetActiveDetectorID(h, a), 11012u);
}

TEST(DetectorRecord,
     SizeZeroIsAcceptedByValidateAndInitializeButNotByAddOrDump) {
  Handle h;
  DetectorRecord d;
  std::memset(&d, 0xAB, sizeof d);
  EXPECT_EQ(CalibInitializeDetector(h, &d, 177), 11017u);
  EXPECT_EQ(CalibInitializeDetector(h, nullptr, 0), 11000u);
  EXPECT_EQ(CalibInitializeDetector(h, &d, 0), 0u);
  const DetectorRecord zero{};
  EXPECT_EQ(std::memcmp(&d, &zero, sizeof d), 0);

  d = Detector(100);
  EXPECT_EQ(CalibValidateDetector(h, &d, 0), 0u);
  EXPECT_EQ(CalibValidateDetector(h, &d, 175), 11017u);
  KvxULong newId = 77;
  EXPECT_EQ(CalibAddDetector(h, &d, 0, &newId), 11017u);
  EXPECT_EQ(newId, 0u);
  ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);
  EXPECT_EQ(CalibDumpDetector(h, &d, 0), 11017u);
}

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
