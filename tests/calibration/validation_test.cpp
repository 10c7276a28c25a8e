// Validation of calibration records through the exports: the checks and
// their order, the fit written back into the caller's record, the
// monotonic scan, the laser line relative wavenumbers are read against, and
// positions taken as pixels or data points.

#include <cstring>
#include <string>

#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

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
    {"OrderSix", [](R& r) { r.polyOrder = 6; }, NqeBadPolyOrder},
    {"ThreePointsOrderThree", [](R& r) { r.polyOrder = 3; }, NqeTooFewCalibrationPoints},
    {"PositionPastTheLastDataPoint", [](R& r) { r.pointPosition[2] = 100.5; }, NqePointOutOfRange},
    {"RelativeWavenumbersWithoutLaserLine", [](R& r) { r.inputUnit = 6; }, NqeNoLaserLine},
    {"ZeroFactor", [](R& r) { r.inputUnit = 2; r.factor = 0.0; }, NqeZeroFactor},
    {"TableWithoutTable", [](R& r) { r.inputUnit = kTableNm; }, NqeNoTable},
    {"TableLengthDiffersFromTheDataPoints",
     [](R& r) { r.inputUnit = kTableNm; r.table = table99; r.tableLength = 99; }, NqeTableLengthMismatch},
    {"FlatFitIsNotMonotonic", [](R& r) { r.pointValue[1] = r.pointValue[2] = 500.0; }, NqeNotMonotonic},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(
    Calibration, ValidationCodes, ::testing::ValuesIn(kValidationCases),
    [](const ::testing::TestParamInfo<ValidationCase>& info) {
      return std::string(info.param.name);
    });

using CalibrationValidation = OnDetector;

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

}  // namespace
