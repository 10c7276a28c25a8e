// SPE calibration block exchange through the exports. Expected values are
// worked by hand from the block layout: a region (start 11, width 100,
// divisor 50) loads as startPixel 10, binning 100 / 50 = 2, 50 groups, and
// the detector then has 11 + 100 = 111 pixels; 5852.49 A = 585.249 nm.

#include <array>
#include <climits>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

void Put(auto& b, int at, auto v) { std::memcpy(b.bytes + at, &v, sizeof v); }
template <class T>
T Get(const SpeCalibrationBlock& b, int offset) {
  T v;
  std::memcpy(&v, b.bytes + offset, sizeof v);
  return v;
}
void PutRegion(SpeCalibrationBlock& b, int k, KvxLong s, KvxLong w, KvxLong d) {
  Put(b, KVX_SPE_REGIONS + 12 * k, std::array{s, w, d});
}
SpeCalibrationBlock Block() {  // 300 + 2 p, one region
  SpeCalibrationBlock b{};
  Put(b, KVX_SPE_OFFSET, std::array{300.0, 2.0});  // and KVX_SPE_FACTOR
  Put(b, KVX_SPE_INPUT_UNIT, KvxLong{CalibUnitOffsetFactor});
  Put(b, KVX_SPE_DISPLAY_UNIT, KvxLong{CalibUnitNanometers});
  PutRegion(b, 0, 11, 100, 50);
  return b;
}
CalibrationRecord Active(CalibHandle handle) {
  CalibrationRecord r{};
  EXPECT_EQ(CalibDumpCalibration(handle, &r, sizeof r), 0u);
  return r;
}

// 1024 pixels, regions {1, 101, 200, 2} and {2, 601, 300, 3}, value = 400 +
// 0.5 * pixel; the scan pattern is off, so a table has 1024 entries.
class Spe : public ::testing::Test {
 protected:
  void SetUp() override {
    X_ROI regions[2] = {{1, 101, 200, 2}, {2, 601, 300, 3}};
    LoadDetector(h, 1024, regions, 2);
    Load(h, OffsetFactor(h, 400.0, 0.5));
    CalibDisableScanPattern(h);
    for (int i = 0; i < 1024; ++i) table.push_back(500.0 + i);
  }
  // The first regions and the pixel count of the active detector.
  std::vector<X_ROI> Pattern(KvxLong regionCount, KvxLong* numPixels) {
    std::vector<X_ROI> regions(regionCount);
    DetectorRecord d{};
    std::tie(d.regions, d.regionCount, d.regionBytes) =
        std::make_tuple(regions.data(), regionCount, regionCount * 16);
    EXPECT_EQ(CalibDumpDetector(h, &d, sizeof d), 0u);
    *numPixels = d.numPixels;
    return regions;
  }
  Handle h;
  std::vector<double> table;
};

// Order 1 whatever the block says, the point count lowered to 10 (a
// negative one kept), 40 label bytes, valid set, only code 3 disables.
TEST_F(Spe, LoadBuildsTheRecordAsTheBlockDescribesIt) {
  SpeCalibrationBlock b = Block();
  Put(b, KVX_SPE_POINT_COUNT, int8_t{12});
  std::memset(b.bytes + KVX_SPE_UNIT_LABEL, 'u', 41);
  std::memset(b.bytes + KVX_SPE_CALIB_LABEL, 'c', 41);
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  const CalibrationRecord r = Active(h);
  EXPECT_EQ(r.pointCount * 10 + r.valid, 101);  // the block's valid was 0
  EXPECT_EQ(std::string(r.unitLabel) + r.calibLabel,
            std::string(40, 'u') + std::string(40, 'c'));
  // Two points in nanometres load only as order 1 (order 3 needs four).
  SpeCalibrationBlock points = Block();
  Put(points, KVX_SPE_INPUT_UNIT, KvxLong{CalibUnitNanometers});
  Put(points, KVX_SPE_POLY_ORDER, int8_t{3});
  for (int i = 0; i < 10; ++i) {
    Put(points, KVX_SPE_POINT_POSITION + 8 * i, i < 2 ? i + 1.0 : -1.0);
    Put(points, KVX_SPE_POINT_VALUE + 8 * i, i < 2 ? 500.0 + i : -1.0);
  }
  ASSERT_EQ(CalibLoadSPECalibration(h, &points, sizeof points), 0u);
  EXPECT_EQ(Active(h).polyOrder, 1);
  Put(b, KVX_SPE_POINT_COUNT, int8_t{-3});
  for (KvxLong code : {0, 3, 4}) {
    Put(b, KVX_SPE_ENABLED_CODE, code);
    ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
    EXPECT_EQ(Active(h).pointCount, -3);
    double v = 0;
    EXPECT_EQ(CalibPixelToCalibValue(h, 10.0, &v), code == 3 ? 11036 : 0);
    EXPECT_EQ(v, code == 3 ? 10.0 : 320.0);
  }
}

// Start - 1, width / divisor; the pixel count is left at the last region's
// end, and no regions empty the pattern. Dump writes (startPixel, numGroups
// x binning, binning), so after a dump and load {101, 200, 2} is start 100
// with 2 groups of 100 pixels, and {601, 300, 3} leaves 601 + 300 pixels.
TEST_F(Spe, RegionsLoadWithStartMinusOneAndDoNotSurviveADumpAndLoad) {
  SpeCalibrationBlock b;
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_REGIONS + 4), 200);
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  KvxLong pixels = 0;
  X_ROI roi = Pattern(2, &pixels)[0];
  EXPECT_EQ(roi.startPixel * 1000 + roi.binning, 100 * 1000 + 100);
  EXPECT_EQ(pixels, 901);
  b = Block();
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  roi = Pattern(1, &pixels)[0];
  EXPECT_EQ(roi.startPixel * 1000000 + roi.width * 1000 + roi.binning,
            10 * 1000000 + 100 * 1000 + 2);
  EXPECT_EQ(pixels, 111);
  PutRegion(b, 0, 0, 0, 0);
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);
  KvxLong count = -1;
  EXPECT_EQ(CalibNumberOfX_ROIs(h, &count), 0u);
  EXPECT_EQ(count, 0);
}

TEST_F(Spe, DumpWritesAngstromsInNanometresAndOrderOne) {
  CalibrationRecord r = Active(h);
  std::tie(r.inputUnit, r.displayUnit, r.polyOrder, r.pointCount, r.enabled) =
      std::make_tuple(CalibUnitAngstroms, CalibUnitMicrons, 3, 2, 0);
  const double values[3] = {5852.49, 6402.25, 7000.0};  // 3rd beyond count
  std::memcpy(r.pointValue, values, sizeof values);
  ASSERT_EQ(CalibLoadCalibration(h, &r, sizeof r), 0u);
  SpeCalibrationBlock b;
  std::memset(&b, 0xAB, sizeof b);
  EXPECT_EQ(CalibDumpSPECalibration(h, &b, 503), 11037u);
  EXPECT_EQ(b.bytes[0] & b.bytes[503], 0xAB);
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  EXPECT_DOUBLE_EQ(Get<double>(b, KVX_SPE_POINT_VALUE), 585.249);
  EXPECT_DOUBLE_EQ(Get<double>(b, KVX_SPE_POINT_VALUE + 8), 640.225);
  EXPECT_EQ(Get<double>(b, KVX_SPE_POINT_VALUE + 16), 7000.0);
  for (int at : {KVX_SPE_INPUT_UNIT, KVX_SPE_DISPLAY_UNIT, KVX_SPE_POLY_UNIT})
    EXPECT_EQ(Get<KvxLong>(b, at), 4) << at;
  EXPECT_EQ(Get<signed char>(b, KVX_SPE_POLY_ORDER), 1);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_ENABLED_CODE), 3);
  EXPECT_EQ(b.bytes[20] | b.bytes[61] | b.bytes[503], 0);  // unlisted bytes
}

TEST_F(Spe, ADumpedTableIsAFreshCopyTheHostReleases) {
  CalibrationRecord r = Active(h);
  r.inputUnit = r.displayUnit = INT_MIN | CalibUnitNanometers;
  std::tie(r.table, r.tableLength) = std::make_tuple(table.data(), 1024);
  ASSERT_EQ(CalibLoadCalibration(h, &r, sizeof r), 0u);
  SpeCalibrationBlock b;
  ASSERT_EQ(CalibDumpSPECalibration(h, &b, sizeof b), 0u);
  double* handed = Get<double*>(b, KVX_SPE_TABLE);
  ASSERT_TRUE(handed && handed != table.data() && handed != Active(h).table);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_TABLE_LENGTH), 1024);
  EXPECT_EQ(std::vector<double>(handed, handed + 1024), table);
  ASSERT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 0u);  // copied again
  const double* loaded = Active(h).table;
  EXPECT_EQ(std::vector<double>(loaded, loaded + 1024), table);
  EXPECT_EQ(KvxFreeSPECalibrationTable(&b, 503), 11037u);
  EXPECT_EQ(KvxFreeSPECalibrationTable(nullptr, sizeof b), 11000u);
  EXPECT_EQ(KvxFreeSPECalibrationTable(&b, sizeof b), 0u);
  EXPECT_EQ(Get<double*>(b, KVX_SPE_TABLE), nullptr);
  EXPECT_EQ(Get<KvxLong>(b, KVX_SPE_TABLE_LENGTH), 0);
}

TEST_F(Spe, AFailedLoadKeepsTheCalibrationAndTheOldScanPattern) {
  const KvxLong tbl = INT_MIN | CalibUnitNanometers;
  // Unit, table length (table set unless 0), second region.
  // clang-format off
  const struct { KvxLong unit, tableLength, start, width, divisor;
                 KvxULong code; } cases[] = {
      {tbl, 0, 0, 0, 0, 11028}, {tbl, -1024, 0, 0, 0, 11028},
      {tbl, 1024, 300, 10, 0, 11008},  // the copied table is released
      {2, 0, -5, 10, 5, 11006}, {2, 0, INT_MAX - 5, 100, 10, 11006}};
  // clang-format on
  const CalibrationRecord before = Active(h);
  for (const auto& c : cases) {
    SpeCalibrationBlock b = Block();
    Put(b, KVX_SPE_INPUT_UNIT, c.unit);
    Put(b, KVX_SPE_DISPLAY_UNIT, c.unit);
    if (c.tableLength != 0) Put(b, KVX_SPE_TABLE, table.data());
    Put(b, KVX_SPE_TABLE_LENGTH, c.tableLength);
    PutRegion(b, 1, c.start, c.width, c.divisor);
    EXPECT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), c.code);
    const CalibrationRecord after = Active(h);
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
    KvxLong pixels = 0;
    EXPECT_EQ(Pattern(2, &pixels)[1].startPixel, 601);
    EXPECT_EQ(pixels, 1024);
  }
  SpeCalibrationBlock b = Block();
  EXPECT_EQ(CalibLoadSPECalibration(h, &b, 503), 11037u);
  EXPECT_EQ(CalibLoadSPECalibration(h, nullptr, sizeof b), 11000u);
  // Overlapping regions (pixels 10-109 and 49-58): the detector must be
  // loaded again afterwards, as after any overlapping region add.
  PutRegion(b, 1, 50, 10, 5);
  EXPECT_EQ(CalibLoadSPECalibration(h, &b, sizeof b), 11005u);
  KvxLong count = 0;
  EXPECT_EQ(CalibNumberOfX_ROIs(h, &count), 11011u);
}

}  // namespace
