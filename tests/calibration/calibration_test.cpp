// Calibration records validated through the exports, and conversions through
// the active calibration: pixels and data points to values and back, table
// lookups, whole arrays and fit tests.
#include <vector>

#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

using CalibrationValidation = OnDetector;
using R = CalibrationRecord;
void ClearPoints(R& r) {
  for (int i = 0; i < 3; ++i) r.pointPosition[i] = r.pointValue[i] = -1.0;
}
constexpr KvxLong kTableNm = static_cast<KvxLong>(kTableFlag | 4u);
double table99[99];

// Each case starts from LinearNm (three points, order 1) on 100 pixels.
TEST_F(CalibrationValidation, ReportsTheFirstFailureAndRecordsItInValid) {
  // clang-format off
  const struct { const char* name; void (*prepare)(R&); NqeErrorCode expected; } cases[] = {
      {"no points in use", [](R& r) { ClearPoints(r); r.polyOrder = 2; }, NqeNoCalibrationPoints},
      {"order six", [](R& r) { r.polyOrder = 6; }, NqeBadPolyOrder},
      {"three points, order three", [](R& r) { r.polyOrder = 3; }, NqeTooFewCalibrationPoints},
      {"position past the last data point", [](R& r) { r.pointPosition[2] = 100.5; }, NqePointOutOfRange},
      {"relative wavenumbers without laser line", [](R& r) { r.inputUnit = 6; }, NqeNoLaserLine},
      {"zero factor", [](R& r) { r.inputUnit = 2; r.factor = 0.0; }, NqeZeroFactor},
      {"table without table", [](R& r) { r.inputUnit = kTableNm; }, NqeNoTable},
      {"table length differs from the data points",
       [](R& r) { r.inputUnit = kTableNm; r.table = table99; r.tableLength = 99; }, NqeTableLengthMismatch},
      {"flat fit is not monotonic", [](R& r) { r.pointValue[1] = r.pointValue[2] = 500.0; }, NqeNotMonotonic}};
  // clang-format on
  for (const auto& c : cases) {
    CalibrationRecord r = LinearNm(h);
    r.valid = 7;  // shows whether validation wrote the flag
    c.prepare(r);
    EXPECT_EQ(CalibValidateCalibration(h, &r, 0), Code(c.expected)) << c.name;
    EXPECT_EQ(r.valid, 0) << c.name;
  }
}

TEST_F(CalibrationValidation, UnitsOneAndTwoSetTheLineWithoutPoints) {
  CalibrationRecord fixed = DefaultRecord(h);
  fixed.inputUnit = CalibUnitFixedPolynomial;  // 1 + p
  fixed.polyOrder = 4;
  ASSERT_EQ(CalibValidateCalibration(h, &fixed, 0), 0u);
  CalibrationRecord line = OffsetFactor(h, 400.0, 0.25);
  ASSERT_EQ(CalibValidateCalibration(h, &line, 0), 0u);
  const CalibrationRecord* records[] = {&fixed, &line};
  const double expected[][2] = {{1.0, 1.0}, {400.0, 0.25}};
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(records[i]->polyOrder, 1);
    EXPECT_EQ(records[i]->coefficients[0], expected[i][0]);
    EXPECT_EQ(records[i]->coefficients[1], expected[i][1]);
  }
}

class CalibrationMonotonic : public ::testing::Test {
 protected:
  void SetUp() override { LoadDetector(h, 4); }
  KvxULong Validate(double (&table)[4]) {
    CalibrationRecord r = TableRecord(h, table, 4);
    r.valid = 0;
    const KvxULong code = CalibValidateCalibration(h, &r, 0);
    EXPECT_EQ(r.valid, 1);  // tables stay valid whatever the scan says
    return code;
  }
  Handle h;
};

TEST_F(CalibrationMonotonic, IncreasingMayRepeatAValueDecreasingMayNot) {
  double rising[] = {1.0, 2.0, 2.0, 3.0}, falling[] = {3.0, 2.0, 2.0, 1.0},
         zigzag[] = {1.0, 3.0, 2.0, 4.0};
  EXPECT_EQ(Validate(rising), 0u);
  EXPECT_EQ(Validate(falling), Code(NqeNotMonotonic));
  EXPECT_EQ(Validate(zigzag), Code(NqeNotMonotonic));
}

// Relative wavenumbers 100, 200, 300 at pixels 1, 2, 3, order 2, with the
// record's own laser line at 532 nm. python3, nm = 1e7 / (1e7/L - v) and
// the parabola through the three points with fractions, for L = 633:
// [633.0010008839981, 4.005061381599091, 0.026352922543708246].
TEST_F(CalibrationValidation,
       ValidationUsesTheActiveRecordsLaserLineNotItsOwn) {
  CalibrationRecord r =
      PointRecord(h, 2, {{1.0, 100.0}, {2.0, 200.0}, {3.0, 300.0}},
                  CalibUnitRelativeWavenumbers);
  r.laserLine = 532.0;
  // The active record is the default one: laser line 0.
  EXPECT_EQ(CalibValidateCalibration(h, &r, 0), Code(NqeNoLaserLine));
  EXPECT_EQ(r.valid, 0);

  CalibrationRecord active = LinearNm(h);
  active.laserLine = 633.0;
  Load(h, active);
  ASSERT_EQ(CalibValidateCalibration(h, &r, 0), 0u);
  EXPECT_NEAR(r.coefficients[0], 633.0010008839981, 1e-9);
  EXPECT_NEAR(r.coefficients[1], 4.005061381599091, 1e-9);
  EXPECT_NEAR(r.coefficients[2], 0.026352922543708246, 1e-9);
}

using CalibrationInverse = OnDetector;

// 498 + 2 p nm: 499 nm at pixel 0.5, 699 nm at 100.5. Clamping follows the
// value, not the direction: in cm-1 (decreasing with the pixel) a value
// above the largest (that of pixel 0.5) still gives N + 0.5. The values at
// pixels 0.5 and N + 0.5 are paired with the whole indices 0 and N, so the
// ends of the range come back as 0 and N.
TEST_F(CalibrationInverse, ValuesOutsideTheRangeAreClampedToTheDetectorEdges) {
  const KvxLong nm = CalibUnitNanometers, cm = CalibUnitWavenumbers;
  const struct {
    KvxLong unit;
    double value, pixel;
  } cases[] = {{nm, 498.9, 0.5},         {nm, 699.1, 100.5},
               {cm, 1e7 / 498.0, 100.5}, {cm, 1e7 / 700.0, 0.5},
               {nm, 499.0, 0.0},         {nm, 699.0, 100.0}};
  for (const auto& c : cases) {
    CalibrationRecord r = LinearNm(h);
    r.displayUnit = c.unit;
    Load(h, r);
    double pixel = 0.0;
    EXPECT_EQ(CalibCalibValueToPixel(h, c.value, &pixel), NqeSuccess);
    EXPECT_EQ(pixel, c.pixel) << c.value;
  }
}

TEST(CalibrationTable, TableLookupRefusesPixelsBetweenRegions) {
  Handle h;
  // Pixels 1-4 and 7-10 read out, 8 data points; pixels 5 and 6 in a gap.
  X_ROI rois[] = {{1, 1, 4, 1}, {2, 7, 4, 1}};
  LoadDetector(h, 10, rois, 2);
  // Indexed by pixel - 1 although the length is the data-point count, so
  // pixels 9 and 10 repeat the last entry; the gap reads its own pixels
  // (5, 6) during the scan, which keeps the table increasing.
  double table[] = {1.0, 2.0, 3.0, 4.0, 5.5, 6.5, 7.0, 8.0};
  Load(h, TableRecord(h, table, 8));
  double value = 0.0;
  EXPECT_EQ(CalibPixelToCalibValue(h, 5.5, &value), NqePixelOutsideRegions);
  EXPECT_EQ(value, 5.5);
  ASSERT_EQ(CalibPixelToCalibValue(h, 2.5, &value), NqeSuccess);
  EXPECT_EQ(value, 2.5);
}

using CalibrationArrays = OnDetector;

TEST_F(CalibrationArrays, PixelArrayNeedsTheExactCountAndHoldsEveryValue) {
  Load(h, LinearNm(h));
  std::vector<double> values(100, kSentinel);
  EXPECT_EQ(CalibCalibratedPixelArray(h, 99, values.data()),
            NqePixelCountMismatch);
  for (double v : values) ASSERT_EQ(v, kSentinel);
  ASSERT_EQ(CalibCalibratedPixelArray(h, 100, values.data()), NqeSuccess);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(values[i], 500.0 + 2.0 * i) << i;
}

// Calibration points at data points 1, 2, 3 with 500, 502, 504 nm give
// 488.5 + p nm (by hand), so data point d reads 498 + 2 d nm.
class RegionConversions : public OnRegion {
 protected:
  void SetUp() override {
    OnRegion::SetUp();
    Load(h, LinearNm(h));
  }
};

TEST_F(RegionConversions, DataPointArrayUsesTheDataPointsOfTheRegions) {
  std::vector<double> values(100, kSentinel);
  EXPECT_EQ(CalibCalibratedDataPointArray(h, 100, values.data()),
            Code(NqeDataPointCountMismatch));
  EXPECT_EQ(values[0], kSentinel);
  ASSERT_EQ(CalibCalibratedDataPointArray(h, 10, values.data()), 0u);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(values[i], 500.0 + 2.0 * i) << i;
  EXPECT_EQ(values[10], kSentinel);
}

TEST_F(RegionConversions, DataPointsConvertThroughTheirPixels) {
  double value = 0.0, dataPoint = 0.0;
  ASSERT_EQ(CalibDataPointToCalibValue(h, 2.0, &value), 0u);
  EXPECT_EQ(value, 502.0);
  ASSERT_EQ(CalibCalibValueToDataPoint(h, 502.0, &dataPoint), 0u);
  EXPECT_NEAR(dataPoint, 2.0, 1e-12);
  // 493.5 nm is pixel 5, in front of the region: no data point before it.
  EXPECT_EQ(CalibCalibValueToDataPoint(h, 493.5, &dataPoint),
            Code(NqePixelOutsideRegions));
  EXPECT_EQ(dataPoint, 0.0);
}

using CalibrationPointFit = OnDetector;

// The reference is converted from nanometres into the input unit, the
// opposite of validation. Angstrom input keeps the caller's coefficients
// (498 + 2 p nm); by hand: the point value 5000 read as nm gives the
// reference 50000 A, the fit at pixel 1 is 500 nm = 5000 A, relative error
// (50000 - 5000) / 50000 = 0.9.
TEST_F(CalibrationPointFit, PointFitConvertsTheReferenceFromNanometres) {
  CalibrationRecord r = LinearNm(h);
  r.inputUnit = CalibUnitAngstroms;
  r.pointValue[0] = 5000.0;
  r.coefficients[0] = 498.0;
  r.coefficients[1] = 2.0;
  Load(h, r);
  double ref = 0.0, fit = 0.0, err = 0.0;
  ASSERT_EQ(CalibTestCalibPointFit(h, 1, &ref, &fit, &err), 0u);
  EXPECT_EQ(ref, 50000.0);
  EXPECT_EQ(fit, 5000.0);
  EXPECT_DOUBLE_EQ(err, 0.9);
}

// Points (1, 500), (2, 502.5), (3, 504), (4, 506.5), order 1. python3
// fractions: c0 = 498, c1 = 2.1; the slot index is passed as the point
// number, so slots 0, 1, 2 are tested (slot 0's call fails and adds 0):
// errors -0.0002, 0.0005970149253731343, -0.0005952380952380953; root of
// the sum of squares 0.0008664497741594518 (all four slots would give
// 0.0008886591839650262).
TEST_F(CalibrationPointFit,
       CalibrationFitUsesSlotIndexAsPointNumberAndRootOfSquares) {
  double result = kSentinel;  // fails validation first: untouched
  EXPECT_EQ(CalibTestCalibrationFit(h, &result), Code(NqeBadPolyOrder));
  EXPECT_EQ(result, kSentinel);
  Load(h, PointRecord(
              h, 1, {{1.0, 500.0}, {2.0, 502.5}, {3.0, 504.0}, {4.0, 506.5}}));
  ASSERT_EQ(CalibTestCalibrationFit(h, &result), 0u);
  EXPECT_NEAR(result, 0.0008664497741594518, 1e-12);
}

}  // namespace
