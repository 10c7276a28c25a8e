// SPE calibration block exchange through the exports. Expected values are
// worked by hand from the block layout: a region (start 11, width 100,
// divisor 50) loads as startPixel 10, binning 100 / 50 = 2, 50 groups, and
// the detector then has 11 + 100 = 111 pixels; 5852.49 A = 585.249 nm.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <vector>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace {

template <class T>
void Put(SpeCalibrationBlock& b, int offset, T v) {
  std::memcpy(b.bytes + offset, &v, sizeof v);
}
template <class T>
T Get(const SpeCalibrationBlock& b, int offset) {
  T v;
  std::memcpy(&v, b.bytes + offset, sizeof v);
  return v;
}
void PutRegion(SpeCalibrationBlock& b, int k, KvxLong s, KvxLong w, KvxLong d) {
  const KvxLong r[3] = {s, w, d};
  std::memcpy(b.bytes + KVX_SPE_REGIONS + 12 * k, r, sizeof r);
}

class Spe : public ::testing::Test {
 protected:
  void SetUp() override { Setup(h); }
  // 1024 pixels, regions {1, 101, 200, 2} and {2, 601, 300, 3};
  // value = 400 + 0.5 * pixel.
  static void Setup(CalibHandle handle) {
    X_ROI regions[2] = {{1, 101, 200, 2}, {2, 601, 300, 3}};
    DetectorRecord d{};
    d.numPixels = 1024;
    d.regions = regions;
    d.regionCount = 2;
    d.regionBytes = sizeof regions;
    ASSERT_EQ(CalibLoadDetector(handle, &d, sizeof d), 0u);
    CalibrationRecord r{};
    CalibInitializeCalibration(handle, &r, sizeof r);
    r.inputUnit = CalibUnitOffsetFactor;
    r.offset = 400.0;
    r.factor = 0.5;
    ASSERT_EQ(CalibLoadCalibration(handle, &r, sizeof r), 0u);
  }
  static SpeCalibrationBlock Block() {
    SpeCalibrationBlock b{};
    Put(b, KVX_SPE_OFFSET, 300.0);
    Put(b, KVX_SPE_FACTOR, 2.0);
    Put<KvxLong>(b, KVX_SPE_INPUT_UNIT, CalibUnitOffsetFactor);
    Put<KvxLong>(b, KVX_SPE_DISPLAY_UNIT, CalibUnitNanometers);
    Put<KvxLong>(b, KVX_SPE_ENABLED_CODE, 2);
    PutRegion(b, 0, 11, 100, 50);
    return b;
  }
  CalibrationRecord Active() {
    CalibrationRecord r{};
    EXPECT_EQ(CalibDumpCalibration(h, &r, sizeof r), 0u);
    return r;
  }
  X_ROI Region(KvxLong id) {
    X_ROI roi{};
    EXPECT_EQ(CalibRetrieveX_ROI(h, id, &roi, sizeof roi), NqeSuccess);
    return roi;
  }
  KvxLong NumPixels(KvxLong regionCount) {
    std::vector<X_ROI> regions(regionCount);
    DetectorRecord d{};
    d.regions = regions.data();
    d.regionCount = regionCount;
    d.regionBytes = regionCount * 16;
    EXPECT_EQ(CalibDumpDetector(h, &d, sizeof d), 0u);
    return d.numPixels;
  }
  kvx_test::Handle h;
};

TEST_F(Spe, LoadBuildsTheRecordAsTheBlockDescribesIt) {
  const struct {
    std::function<void(SpeCalibrationBlock&)> edit;
    std::function<void(const CalibrationRecord&)> check;
  } cases[] = {
      // The block's order is not used: always 1.
      {[](auto& b) { Put<signed char>(b, KVX_SPE_POLY_ORDER, 3); },
       [](auto& r) { EXPECT_EQ(r.polyOrder, 1); }},
      {[](auto& b) { Put<signed char>(b, KVX_SPE_POINT_COUNT, 12); },
       [](auto& r) { EXPECT_EQ(r.pointCount, 10); }},
      {[](auto& b) { Put<signed char>(b, KVX_SPE_POINT_COUNT, -3); },
       [](auto& r) { EXPECT_EQ(r.pointCount, -3); }},
      {[](auto& b) { Put<KvxLong>(b, KVX_SPE_INPUT_UNIT, 77); },
       [](auto& r) { EXPECT_EQ(r.inputUnit, 77); }},
      {[](auto& b) { Put<unsigned char>(b, KVX_SPE_VALID, 0); },
       [](auto& r) { EXPECT_EQ(r.valid, 1); }},
      {[](auto& b) {
         std::memset(b.bytes + KVX_SPE_UNIT_LABEL, 'u', 41);
         std::memset(b.bytes + KVX_SPE_CALIB_LABEL, 'c', 41);
       },
       [](auto& r) {
         EXPECT_EQ(std::string(r.unitLabel), std::string(40, 'u'));
         EXPECT_EQ(std::string(r.calibLabel), std::string(40, 'c'));
       }},
      {[](auto& b) { Put(b, KVX_SPE_LASER_LINE, 532.0); },
       [](auto& r) {
         EXPECT_EQ(r.laserLine, 532.0);
         EXPECT_EQ(r.coefficients[1], 2.0);
       }},
  };
  for (const auto& c : cases) {
    SpeCalibrationBlock b = Block();
    c.edit(b);
    ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
    c.check(Active());
  }
}

TEST_F(Spe, EveryEnabledCodeButThreeEnables) {
  for (KvxLong code : {INT_MIN, -1, 0, 1, 2, 3, 4, INT_MAX}) {
    SpeCalibrationBlock b = Block();
    Put(b, KVX_SPE_ENABLED_CODE, code);
    ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
    double v = 0;
    EXPECT_EQ(CalibPixelToCalibValue(h, 10.0, &v), code == 3 ? 11036 : 0);
    if (code != 3) {
      EXPECT_EQ(v, 320.0);
    }
  }
}

TEST_F(Spe, RegionsLoadWithStartMinusOneAndWidthOverDivisor) {
  SpeCalibrationBlock b = Block();
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  const X_ROI roi = Region(1);
  EXPECT_EQ(roi.startPixel, 10);
  EXPECT_EQ(roi.binning, 2);
  EXPECT_EQ(roi.width, 100);  // 50 groups of 2
  // The pixel count stays at the last region's end.
  EXPECT_EQ(NumPixels(1), 111);
  PutRegion(b, 0, 0, 0, 0);  // no regions at all
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  KvxLong count = -1;
  EXPECT_EQ(CalibNumberOfX_ROIs(h, &count), 0u);
  EXPECT_EQ(count, 0);
}

// Table calibrations are checked over every pixel: data points are pixels
// here.
std::vector<double> PixelTable(CalibHandle h) {
  CalibDisableScanPattern(h);
  std::vector<double> table(1024);
  for (int i = 0; i < 1024; ++i) table[i] = 500.0 + i;
  return table;
}

TEST_F(Spe, AFailedLoadKeepsTheCalibrationAndTheOldScanPattern) {
  std::vector<double> table = PixelTable(h);
  const struct {
    std::function<void(SpeCalibrationBlock&)> edit;
    KvxULong code;
  } cases[] = {
      {[](auto& b) { Put(b, KVX_SPE_FACTOR, 0.0); }, 11035},
      {[](auto& b) { Put<KvxLong>(b, KVX_SPE_INPUT_UNIT, INT_MIN | 4); },
       11028},
      {[&](auto& b) {
         Put<KvxLong>(b, KVX_SPE_INPUT_UNIT, INT_MIN | 4);
         Put(b, KVX_SPE_TABLE, table.data());
         Put<KvxLong>(b, KVX_SPE_TABLE_LENGTH, -200);
       },
       11028},
      {[&](auto& b) {
         Put<KvxLong>(b, KVX_SPE_INPUT_UNIT, INT_MIN | 4);
         Put(b, KVX_SPE_TABLE, table.data());
         Put<KvxLong>(b, KVX_SPE_TABLE_LENGTH, 7);
       },
       11029},
      {[&](auto& b) {  // the copied table is released
         Put<KvxLong>(b, KVX_SPE_INPUT_UNIT, INT_MIN | 4);
         Put<KvxLong>(b, KVX_SPE_DISPLAY_UNIT, INT_MIN | 4);
         Put(b, KVX_SPE_TABLE, table.data());
         Put<KvxLong>(b, KVX_SPE_TABLE_LENGTH, 1024);
         PutRegion(b, 1, 300, 10, 0);
       },
       11008},
      {[](auto& b) { PutRegion(b, 1, 50, 10, 5); }, 11005},
      {[](auto& b) { PutRegion(b, 1, 1, 10, 5); }, 11006},
      {[](auto& b) { PutRegion(b, 1, -5, 10, 5); }, 11006},
      {[](auto& b) { PutRegion(b, 1, INT_MAX - 5, 100, 10); }, 11006},
      {[](auto& b) { PutRegion(b, 1, 300, 0, 7); }, 11008},
  };
  const CalibrationRecord before = Active();
  for (const auto& c : cases) {
    SpeCalibrationBlock b = Block();
    c.edit(b);
    EXPECT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), c.code);
    const CalibrationRecord after = Active();
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
    EXPECT_EQ(Region(2).startPixel, 601);
    EXPECT_EQ(NumPixels(2), 1024);
  }
  SpeCalibrationBlock b = Block();
  EXPECT_EQ(CalibLoadSPECalibration(h, &b, 503), 11037u);
  EXPECT_EQ(CalibLoadSPECalibration(h, &b, 0), 11037u);
  EXPECT_EQ(CalibLoadSPECalibration(h, nullptr, sizeof b), 11000u);
}

TEST_F(Spe, DumpWritesAngstromsInNanometresAndOrderOne) {
  CalibrationRecord r = Active();
  r.inputUnit = CalibUnitAngstroms;
  r.displayUnit = CalibUnitMicrons;
  r.polyOrder = 3;
  r.pointCount = 2;
  r.pointValue[0] = 5852.49;
  r.pointValue[1] = 6402.25;
  r.pointValue[2] = 7000.0;  // beyond the count: as it stands
  r.enabled = 0;
  ASSERT_EQ(CalibLoadCalibration(h, &r, sizeof r), 0u);
  SpeCalibrationBlock b;
  std::memset(&b, 0xAB, sizeof b);
  EXPECT_EQ(CalibDumpSPECalibration(h, &b, 503), 11037u);
  EXPECT_EQ(b.bytes[0] & b.bytes[503], 0xAB);
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  EXPECT_DOUBLE_EQ(Get<double>(b, KVX_SPE_POINT_VALUE), 585.249);
  EXPECT_DOUBLE_EQ(Get<double>(b, KVX_SPE_POINT_VALUE + 8), 640.225);
  EXPECT_EQ(Get<double>(b, KVX_SPE_POINT_VALUE + 16), 7000.0);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_INPUT_UNIT), 4);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_DISPLAY_UNIT), 4);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_POLY_UNIT), 4);
  EXPECT_EQ(Get<signed char>(b, KVX_SPE_POLY_ORDER), 1);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_ENABLED_CODE), 3);
  EXPECT_EQ(b.bytes[20] | b.bytes[61] | b.bytes[503], 0);  // unlisted bytes
}

// Dump writes (startPixel, numGroups x binning, binning); loading that back
// reads the binning as a divisor: {101, 200, 2} becomes start 100 with 2
// groups of 100 pixels.
TEST_F(Spe, RegionsDoNotSurviveADumpAndLoad) {
  SpeCalibrationBlock b;
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_REGIONS + 4), 200);
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  const X_ROI roi = Region(1);
  EXPECT_EQ(roi.startPixel, 100);
  EXPECT_EQ(roi.binning, 100);
  EXPECT_EQ(NumPixels(2), 901);
}

TEST_F(Spe, ADumpedTableIsTheHostsToRelease) {
  std::vector<double> table = PixelTable(h);
  CalibrationRecord r = Active();
  r.inputUnit = r.displayUnit = INT_MIN | CalibUnitNanometers;
  r.table = table.data();
  r.tableLength = 1024;
  ASSERT_EQ(CalibLoadCalibration(h, &r, sizeof r), 0u);
  SpeCalibrationBlock b;
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  double* handed = Get<double*>(b, KVX_SPE_TABLE);
  ASSERT_NE(handed, nullptr);
  EXPECT_NE(handed, table.data());
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_TABLE_LENGTH), 1024);
  EXPECT_EQ(std::vector<double>(handed, handed + 1024), table);
  kvx_test::Handle other;
  Setup(other);
  PixelTable(other);
  ASSERT_EQ(CalibLoadSPECalibration(other, &b, sizeof b), 0u);
  CalibrationRecord loaded{};
  ASSERT_EQ(CalibDumpCalibration(other, &loaded, sizeof loaded), 0u);
  EXPECT_NE(loaded.table, handed);
  EXPECT_EQ(std::vector<double>(loaded.table, loaded.table + 1024), table);
  EXPECT_EQ(KvxFreeSPECalibrationTable(&b, 503), 11037u);
  EXPECT_EQ(KvxFreeSPECalibrationTable(nullptr, sizeof b), 11000u);
  EXPECT_EQ(KvxFreeSPECalibrationTable(&b, sizeof b), 0u);
  EXPECT_EQ(Get<double*>(b, KVX_SPE_TABLE), nullptr);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_TABLE_LENGTH), 0);
}

}  // namespace
