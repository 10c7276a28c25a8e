// Validation of calibration records through the exports: the checks and
// their order, the fit written back into the caller's record, the
// monotonic scan, the laser line relative wavenumbers are read against, and
// positions taken as pixels or data points.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "KelvoCalibrate.h"
#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

// --- the codes, in order ---

struct ValidationCase {
  const char* name;
  void (*prepare)(CalibrationRecord&);
  NqeErrorCode expected;
};

class ValidationCodes : public ::testing::TestWithParam<ValidationCase> {};

// Starts from LinearNm (three points, order 1) on 100 pixels.
TEST_P(ValidationCodes, ReportsTheFirstFailureAndRecordsItInValid) {
  Handle h;
  LoadDetector(h, 100);
  CalibrationRecord r = LinearNm(h);
  r.valid = 7;  // shows whether validation wrote the flag
  GetParam().prepare(r);
  EXPECT_EQ(CalibValidateCalibration(h, &r, 0), Code(GetParam().expected));
  EXPECT_EQ(r.valid, GetParam().expected == NqeSuccess ? 1 : 0);
}

using R = CalibrationRecord;
void ClearPoints(R& r) {
  for (int i = 0; i < 3; ++i) r.pointPosition[i] = r.pointValue[i] = -1.0;
}
constexpr KvxLong kTableNm = static_cast<KvxLong>(kTableFlag | 4u);
double table99[99];

// clang-format off
const ValidationCase kValidationCases[] = {
    {"NoPointsInUse", [](R& r) { ClearPoints(r); r.polyOrder = 2; }, NqeNoCalibrationPoints},
    {"OrderZeroIsCheckedBeforeThePoints", [](R& r) { ClearPoints(r); r.polyOrder = 0; }, NqeBadPolyOrder},
    {"OrderSix", [](R& r) { r.polyOrder = 6; }, NqeBadPolyOrder},
    {"ThreePointsOrderThree", [](R& r) { r.polyOrder = 3; }, NqeTooFewCalibrationPoints},
    {"FourPointsOrderThree",
     [](R& r) { r.polyOrder = 3; r.pointPosition[3] = 4.0; r.pointValue[3] = 506.0; }, NqeSuccess},
    {"PositionHalfAPixelBeforeTheFirst", [](R& r) { r.pointPosition[1] = 0.5; }, NqePointOutOfRange},
    {"PositionOnTheLastDataPoint",
     [](R& r) { r.pointPosition[2] = 100.0; r.pointValue[2] = 696.0; }, NqeSuccess},
    {"PositionPastTheLastDataPoint", [](R& r) { r.pointPosition[2] = 100.5; }, NqePointOutOfRange},
    {"SlotWithOnlyItsValueSetCountsAsUsed", [](R& r) { r.pointValue[5] = 600.0; }, NqePointOutOfRange},
    {"RelativeWavenumbersWithoutLaserLine", [](R& r) { r.inputUnit = 6; }, NqeNoLaserLine},
    {"InputUnitThreeFailsAtTheConversion", [](R& r) { r.inputUnit = 3; }, NqeBadUnit},
    {"ZeroFactor", [](R& r) { r.inputUnit = 2; r.factor = 0.0; }, NqeZeroFactor},
    {"TableWithoutTable", [](R& r) { r.inputUnit = kTableNm; }, NqeNoTable},
    {"TableLengthDiffersFromTheDataPoints",
     [](R& r) { r.inputUnit = kTableNm; r.table = table99; r.tableLength = 99; }, NqeTableLengthMismatch},
    {"FlatFitIsNotMonotonic", [](R& r) { r.pointValue[1] = r.pointValue[2] = 500.0; }, NqeNotMonotonic},
    // 500, 550, 500 nm at 1, 50, 100: the parabola turns at pixel 50.5.
    {"ParabolaTurningInsideTheDetectorIsNotMonotonic", [](R& r) {
       r.polyOrder = 2; r.pointPosition[1] = 50.0; r.pointValue[1] = 550.0;
       r.pointPosition[2] = 100.0; r.pointValue[2] = 500.0; }, NqeNotMonotonic},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(
    Calibration, ValidationCodes, ::testing::ValuesIn(kValidationCases),
    [](const ::testing::TestParamInfo<ValidationCase>& info) {
      return std::string(info.param.name);
    });

using CalibrationValidation = OnDetector;

TEST_F(CalibrationValidation, SizeOtherThanTheRecordLeavesTheBufferUntouched) {
  CalibrationRecord r = LinearNm(h);
  const CalibrationRecord before = r;
  EXPECT_EQ(CalibValidateCalibration(h, &r, 100), Code(NqeBadCalibrationSize));
  EXPECT_EQ(std::memcmp(&r, &before, sizeof r), 0);
  EXPECT_EQ(CalibValidateCalibration(h, nullptr, 0), Code(NqeNullPointer));
}

TEST(CalibrationValidationDetector, NeedsALoadedDetector) {
  Handle h;  // the initial detector is blank, not loaded
  CalibrationRecord r = LinearNm(h);
  r.valid = 1;
  EXPECT_EQ(CalibValidateCalibration(h, &r, 0), Code(NqeNoActiveDetector));
  EXPECT_EQ(r.valid, 0);
}

// Slots 0, 4 and 9 (unused slots between them): pixels 10, 20, 30 at
// 500 + 2 (x - 10) nm, so c0 = 480 and c1 = 2 by hand.
TEST_F(CalibrationValidation, WritesTheFitIntoTheCallersRecord) {
  CalibrationRecord r = DefaultRecord(h);
  r.polyOrder = 1;
  const int slots[] = {0, 4, 9};
  for (int i = 0; i < 3; ++i) {
    r.pointPosition[slots[i]] = 10.0 * (i + 1);
    r.pointValue[slots[i]] = 500.0 + 20.0 * i;
  }
  // Coefficients above the order keep what the caller put there.
  r.coefficients[2] = 7.0;
  r.coefficients[5] = -3.0;
  r.pointCount = 9;
  ASSERT_EQ(CalibValidateCalibration(h, &r, kRecordSize), 0u);
  EXPECT_NEAR(r.coefficients[0], 480.0, 1e-9);
  EXPECT_NEAR(r.coefficients[1], 2.0, 1e-12);
  EXPECT_EQ(r.coefficients[2], 7.0);
  EXPECT_EQ(r.coefficients[5], -3.0);
  EXPECT_EQ(r.pointCount, 3);
  EXPECT_EQ(r.valid, 1);
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

TEST_F(CalibrationValidation, AngstromInputIsAcceptedWithoutAFit) {
  CalibrationRecord r = LinearNm(h);
  r.inputUnit = CalibUnitAngstroms;
  r.polyOrder = 99;  // not looked at either
  r.coefficients[0] = 11.0;
  r.coefficients[1] = 12.0;
  r.pointCount = 42;
  ASSERT_EQ(CalibValidateCalibration(h, &r, 0), 0u);
  EXPECT_EQ(r.valid, 1);
  EXPECT_EQ(r.coefficients[0], 11.0);
  EXPECT_EQ(r.coefficients[1], 12.0);
  EXPECT_EQ(r.pointCount, 42);
}

// --- tables: the monotonic scan ---

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
  double rising[] = {1.0, 2.0, 2.0, 3.0};
  double falling[] = {3.0, 2.0, 2.0, 1.0};
  EXPECT_EQ(Validate(rising), 0u);
  EXPECT_EQ(Validate(falling), Code(NqeNotMonotonic));
}

TEST_F(CalibrationMonotonic, TableThatIsNotMonotonicStaysValid) {
  double zigzag[] = {1.0, 3.0, 2.0, 4.0};
  EXPECT_EQ(Validate(zigzag), Code(NqeNotMonotonic));
}

// --- relative wavenumbers read the active record's laser line ---

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

// --- positions: data points for add and load, pixels for validate ---

// Points at 1, 2, 3 with 500, 502, 504 nm: as pixels c0 = 498, c1 = 2; as
// data points (pixels 11.5, 13.5, 15.5) c1 = 1 and c0 = 500 - 11.5 = 488.5.
using RegionCalibration = OnRegion;

TEST_F(RegionCalibration, ValidateTakesPixelsWhileLoadAndAddTakeDataPoints) {
  CalibrationRecord r = LinearNm(h);
  ASSERT_EQ(CalibValidateCalibration(h, &r, 0), 0u);
  EXPECT_NEAR(r.coefficients[0], 498.0, 1e-9);
  EXPECT_NEAR(r.coefficients[1], 2.0, 1e-12);

  r = LinearNm(h);
  ASSERT_EQ(CalibLoadCalibration(h, &r, kRecordSize), 0u);
  EXPECT_NEAR(r.coefficients[0], 488.5, 1e-9);
  EXPECT_NEAR(r.coefficients[1], 1.0, 1e-12);
  EXPECT_NEAR(ValueAt(h, 13.5), 502.0, 1e-9);

  r = PointRecord(h, 1, {{1.0, 600.0}, {2.0, 602.0}, {3.0, 604.0}});
  KvxULong id = 0;
  ASSERT_EQ(CalibAddCalibration(h, &r, kRecordSize, &id), 0u);
  EXPECT_NEAR(r.coefficients[0], 588.5, 1e-9);
  ASSERT_EQ(CalibSetActiveCalibrationID(h, id), 0u);
  EXPECT_NEAR(ValueAt(h, 15.5), 604.0, 1e-9);
}

TEST_F(RegionCalibration, PositionsAreBoundedByTheDataPoints) {
  // Ten data points: 10 passes, 11 does not (although pixel 11 exists).
  CalibrationRecord r =
      PointRecord(h, 1, {{1.0, 500.0}, {5.0, 508.0}, {10.0, 518.0}});
  EXPECT_EQ(CalibValidateCalibration(h, &r, 0), 0u);
  r.pointPosition[2] = 11.0;
  EXPECT_EQ(CalibValidateCalibration(h, &r, 0), Code(NqePointOutOfRange));
}

}  // namespace
