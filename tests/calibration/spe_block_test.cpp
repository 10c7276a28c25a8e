// SPE calibration block exchange through the exports. Expected values are
// worked by hand from the block layout: a region (start 11, width 100,
// divisor 50) loads as startPixel 10, binning 100 / 50 = 2, 50 groups, and
// the detector then has 11 + 100 = 111 pixels; 5852.49 A = 585.249 nm.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
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

// 1024 pixels, regions {1, 101, 200, 2} and {2, 601, 300, 3}; value = 400 +
// 0.5 * pixel. With `pixelTable` data points are pixels (table calibrations
// are checked over every pixel) and the table returned has 1024 entries.
std::vector<double> Prepare(CalibHandle handle, bool pixelTable = false) {
  X_ROI regions[2] = {{1, 101, 200, 2}, {2, 601, 300, 3}};
  DetectorRecord d{};
  d.numPixels = 1024;
  d.regions = regions;
  d.regionCount = 2;
  d.regionBytes = sizeof regions;
  EXPECT_EQ(CalibLoadDetector(handle, &d, sizeof d), 0u);
  CalibrationRecord r{};
  CalibInitializeCalibration(handle, &r, sizeof r);
  r.inputUnit = CalibUnitOffsetFactor;
  r.offset = 400.0;
  r.factor = 0.5;
  EXPECT_EQ(CalibLoadCalibration(handle, &r, sizeof r), 0u);
  std::vector<double> table;
  for (int i = 0; pixelTable && i < 1024; ++i) table.push_back(500.0 + i);
  if (pixelTable) CalibDisableScanPattern(handle);
  return table;
}

class Spe : public ::testing::Test {
 protected:
  static SpeCalibrationBlock Block() {  // 300 + 2 p, one region
    SpeCalibrationBlock b{};
    Put(b, KVX_SPE_OFFSET, 300.0);
    Put(b, KVX_SPE_FACTOR, 2.0);
    Put<KvxLong>(b, KVX_SPE_INPUT_UNIT, CalibUnitOffsetFactor);
    Put<KvxLong>(b, KVX_SPE_DISPLAY_UNIT, CalibUnitNanometers);
    Put<KvxLong>(b, KVX_SPE_ENABLED_CODE, 2);
    PutRegion(b, 0, 11, 100, 50);
    return b;
  }
  CalibrationRecord Active(CalibHandle handle) {
    CalibrationRecord r{};
    EXPECT_EQ(CalibDumpCalibration(handle, &r, sizeof r), 0u);
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
    int offset;
    size_t bytes;
    KvxLong value;
    KvxLong CalibrationRecord::*field;
    KvxLong expected;
  } cases[] = {
      {KVX_SPE_POLY_ORDER, 1, 3, &CalibrationRecord::polyOrder, 1},  // kept
      {KVX_SPE_POINT_COUNT, 1, 12, &CalibrationRecord::pointCount, 10},
      {KVX_SPE_POINT_COUNT, 1, -3, &CalibrationRecord::pointCount, -3},
      {KVX_SPE_INPUT_UNIT, 4, 77, &CalibrationRecord::inputUnit, 77},
      {KVX_SPE_DISPLAY_UNIT, 4, 9, &CalibrationRecord::displayUnit, 9},
  };
  Prepare(h);
  for (const auto& c : cases) {
    SpeCalibrationBlock b = Block();
    std::memcpy(b.bytes + c.offset, &c.value, c.bytes);
    ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
    EXPECT_EQ(Active(h).*c.field, c.expected) << c.offset;
  }
  SpeCalibrationBlock b = Block();
  std::memset(b.bytes + KVX_SPE_UNIT_LABEL, 'u', 41);
  std::memset(b.bytes + KVX_SPE_CALIB_LABEL, 'c', 41);
  Put(b, KVX_SPE_LASER_LINE, 532.0);
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  const CalibrationRecord r = Active(h);
  EXPECT_EQ(std::string(r.unitLabel), std::string(40, 'u'));
  EXPECT_EQ(std::string(r.calibLabel), std::string(40, 'c'));
  EXPECT_EQ(r.laserLine, 532.0);
  EXPECT_EQ(r.valid, 1);  // the block's valid byte was 0
}

TEST_F(Spe, EveryEnabledCodeButThreeEnables) {
  Prepare(h);
  for (KvxLong code : {INT_MIN, -1, 0, 1, 2, 3, 4, INT_MAX}) {
    SpeCalibrationBlock b = Block();
    Put(b, KVX_SPE_ENABLED_CODE, code);
    ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
    double v = 0;
    EXPECT_EQ(CalibPixelToCalibValue(h, 10.0, &v), code == 3 ? 11036 : 0);
    EXPECT_EQ(v, code == 3 ? 10.0 : 320.0);
  }
}

TEST_F(Spe, RegionsLoadWithStartMinusOneAndWidthOverDivisor) {
  Prepare(h);
  SpeCalibrationBlock b = Block();
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  const X_ROI roi = Region(1);
  EXPECT_EQ(roi.startPixel, 10);
  EXPECT_EQ(roi.binning, 2);
  EXPECT_EQ(roi.width, 100);     // 50 groups of 2
  EXPECT_EQ(NumPixels(1), 111);  // left at the last region's end
  PutRegion(b, 0, 0, 0, 0);      // no regions at all
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  KvxLong count = -1;
  EXPECT_EQ(CalibNumberOfX_ROIs(h, &count), 0u);
  EXPECT_EQ(count, 0);
}

TEST_F(Spe, AFailedLoadKeepsTheCalibrationAndTheOldScanPattern) {
  std::vector<double> table = Prepare(h, true);
  const KvxLong tableUnit = INT_MIN | CalibUnitNanometers;
  const struct {
    KvxLong unit;
    KvxLong tableLength;  // the table is set when not 0
    double factor;
    KvxLong start, width, divisor;  // second region
    KvxULong code;
  } cases[] = {
      {2, 0, 0.0, 0, 0, 0, 11035},
      {tableUnit, 0, 2.0, 0, 0, 0, 11028},
      {tableUnit, -1024, 2.0, 0, 0, 0, 11028},
      {tableUnit, 7, 2.0, 0, 0, 0, 11029},
      {tableUnit, 1024, 2.0, 300, 10, 0, 11008},  // copied table released
      {2, 0, 2.0, 50, 10, 5, 11005},
      {2, 0, 2.0, 1, 10, 5, 11006},
      {2, 0, 2.0, -5, 10, 5, 11006},
      {2, 0, 2.0, INT_MAX - 5, 100, 10, 11006},
      {2, 0, 2.0, 300, 0, 7, 11008},
  };
  const CalibrationRecord before = Active(h);
  for (const auto& c : cases) {
    SpeCalibrationBlock b = Block();
    Put(b, KVX_SPE_INPUT_UNIT, c.unit);
    Put(b, KVX_SPE_DISPLAY_UNIT, c.unit);
    Put(b, KVX_SPE_FACTOR, c.factor);
    if (c.tableLength != 0) Put(b, KVX_SPE_TABLE, table.data());
    Put(b, KVX_SPE_TABLE_LENGTH, c.tableLength);
    PutRegion(b, 1, c.start, c.width, c.divisor);
    EXPECT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), c.code);
    const CalibrationRecord after = Active(h);
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
  Prepare(h);
  CalibrationRecord r = Active(h);
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
  for (int offset :
       {KVX_SPE_INPUT_UNIT, KVX_SPE_DISPLAY_UNIT, KVX_SPE_POLY_UNIT}) {
    EXPECT_EQ(Get<KvxLong>(b, offset), 4) << offset;
  }
  EXPECT_EQ(Get<signed char>(b, KVX_SPE_POLY_ORDER), 1);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_ENABLED_CODE), 3);
  EXPECT_EQ(b.bytes[20] | b.bytes[61] | b.bytes[503], 0);  // unlisted bytes
}

// Dump writes (startPixel, numGroups x binning, binning); loading that back
// reads the binning as a divisor: {101, 200, 2} becomes start 100 with 2
// groups of 100 pixels, and {601, 300, 3} leaves 601 + 300 pixels.
TEST_F(Spe, RegionsDoNotSurviveADumpAndLoad) {
  Prepare(h);
  SpeCalibrationBlock b;
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_REGIONS + 4), 200);
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  EXPECT_EQ(Region(1).startPixel, 100);
  EXPECT_EQ(Region(1).binning, 100);
  EXPECT_EQ(NumPixels(2), 901);
}

TEST_F(Spe, ADumpedTableIsTheHostsToRelease) {
  std::vector<double> table = Prepare(h, true);
  CalibrationRecord r = Active(h);
  r.inputUnit = r.displayUnit = INT_MIN | CalibUnitNanometers;
  r.table = table.data();
  r.tableLength = 1024;
  ASSERT_EQ(CalibLoadCalibration(h, &r, sizeof r), 0u);
  SpeCalibrationBlock b;
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  double* handed = Get<double*>(b, KVX_SPE_TABLE);
  ASSERT_NE(handed, nullptr);
  EXPECT_NE(handed, table.data());
  EXPECT_NE(handed, Active(h).table);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_TABLE_LENGTH), 1024);
  EXPECT_EQ(std::vector<double>(handed, handed + 1024), table);
  kvx_test::Handle other;
  Prepare(other, true);
  ASSERT_EQ(CalibLoadSPECalibration(other, &b, sizeof b), 0u);
  const CalibrationRecord loaded = Active(other);
  EXPECT_NE(loaded.table, handed);
  EXPECT_EQ(std::vector<double>(loaded.table, loaded.table + 1024), table);
  EXPECT_EQ(KvxFreeSPECalibrationTable(&b, 503), 11037u);
  EXPECT_EQ(KvxFreeSPECalibrationTable(nullptr, sizeof b), 11000u);
  EXPECT_EQ(KvxFreeSPECalibrationTable(&b, sizeof b), 0u);
  EXPECT_EQ(Get<double*>(b, KVX_SPE_TABLE), nullptr);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_TABLE_LENGTH), 0);
}

}  // namespace
