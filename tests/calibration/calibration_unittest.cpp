// Calibration internals the exports cannot reach: the polynomial fit
// (normal equations, Gauss-Jordan without pivoting) and the calibration
// store's starting state and refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "calibration/calibration_store.h"
#include "calibration/polynomial_fit.h"
#include "detector/detector_store.h"

namespace kvx {
namespace {

constexpr double kUntouched = 99.0;

struct Coefficients {
  double c[6] = {99, 99, 99, 99, 99, 99};  // kUntouched
};

// The order is checked before the number of points.
TEST(FitPolynomial, BadOrderOrTooFewPointsAreRefusedWithoutWriting) {
  const double x[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  // clang-format off
  const struct { int32_t n, order; NqeErrorCode expected; } cases[] = {
      {8, 0, NqeBadPolyOrder}, {0, 0, NqeBadPolyOrder}, {8, 6, NqeBadPolyOrder},
      {8, INT32_MIN, NqeBadPolyOrder}, {8, INT32_MAX, NqeBadPolyOrder},
      {1, 1, NqeTooFewCalibrationPoints}, {-5, 1, NqeTooFewCalibrationPoints},
      {3, 3, NqeTooFewCalibrationPoints}, {5, 5, NqeTooFewCalibrationPoints}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << "n=" << c.n << " order=" << c.order);
    Coefficients out;
    EXPECT_EQ(FitPolynomial(x, x, c.n, c.order, out.c), c.expected);
    for (double v : out.c) EXPECT_EQ(v, kUntouched);
  }
}

// Decision: null arrays are refused with 11000 (internal callers always
// pass them).
TEST(FitPolynomial, NullArraysAreRefused) {
  const double v[3] = {1, 2, 3};
  Coefficients out;
  EXPECT_EQ(FitPolynomial(nullptr, v, 3, 1, out.c), NqeNullPointer);
  EXPECT_EQ(FitPolynomial(v, nullptr, 3, 1, out.c), NqeNullPointer);
  EXPECT_EQ(FitPolynomial(v, v, 3, 1, nullptr), NqeNullPointer);
}

struct FitCase {
  const char* name;
  std::vector<double> x, y;
  int32_t order;
  std::vector<double> expected;
  double relativeTolerance;  // 0: bit-exact, and higher coefficients kept
};

void PrintTo(const FitCase& c, std::ostream* os) { *os << c.name; }

class Fits : public ::testing::TestWithParam<FitCase> {};

TEST_P(Fits, MatchTheIndependentSolution) {
  const FitCase& c = GetParam();
  Coefficients out;
  ASSERT_EQ(FitPolynomial(c.x.data(), c.y.data(),
                          static_cast<int32_t>(c.x.size()), c.order, out.c),
            NqeSuccess);
  for (size_t i = 0; i < c.expected.size(); ++i) {
    const double scale = std::max(std::abs(c.expected[i]), 1e-300);
    EXPECT_LE(std::abs(out.c[i] - c.expected[i]) / scale, c.relativeTolerance)
        << "c" << i << " = " << out.c[i] << ", expected " << c.expected[i];
  }
  if (c.relativeTolerance == 0.0) {
    for (size_t i = c.expected.size(); i < 6; ++i)
      EXPECT_EQ(out.c[i], kUntouched) << i;
  }
}

// Least squares: exact rational solutions of the given doubles (python3
// fractions.Fraction on the normal equations), rounded to double. The cubic
// over 1024 pixels is the worst conditioned; the tolerances leave about a
// factor ten over the rounding of the elimination.
// clang-format off
INSTANTIATE_TEST_SUITE_P(LeastSquares, Fits, ::testing::Values(
    // By hand: S0 3, S1 6, S2 14, sums 1506 and 3016; every step exact.
    FitCase{"LineThroughThreePoints", {1, 2, 3}, {500, 502, 504}, 1, {498.0, 2.0}, 0.0},
    FitCase{"Cubic", {1, 100, 250, 400, 512, 700, 850, 1024},
            {435.8, 452.1, 478.6, 504.9, 524.2, 556.8, 583.0, 614.3}, 3,
            {435.2871457629213, 0.17379512405039657, -2.453223994136008e-06,
             3.2556943010886157e-09}, 1e-9},
    // y = 1 + x/2 - x^2/4 + x^3/8 - x^4/16 + x^5/32.
    FitCase{"Quintic", {1, 2, 3, 4, 5, 6, 7, 8},
            {1.34375, 2.0, 6.15625, 23.0, 71.46875, 184.0, 410.28125, 821.0}, 5,
            {1.0, 0.5, -0.25, 0.125, -0.0625, 0.03125}, 1e-8}),
    [](const auto& info) { return std::string(info.param.name); });

// Deliberate: a zero pivot stops the elimination without an error, and the
// right-hand side is not cleared, so the coefficients come from a partly
// eliminated system. By hand:
// - x = 2 2 2, y = 1 2 6, order 1: after step 0 row 0 = (2 | 3), row 1 =
//   (0 | 0); step 1 stops: c = (3, 0).
// - x = 1 and y = 0.3 six times, order 1: step 0 leaves the pivot 6 - 6 = 0
//   and the rhs s - (s/6)*6 with s six additions of 0.3; python3: s = 1.8,
//   s/6 = 0.3, s - (s/6)*6 = 2.220446049250313e-16.
// - x = 0 0 1 1, y = 1 3 6 10, order 2: matrix [[4,2,2],[2,2,2],[2,2,2]],
//   rhs (20, 16, 16); after steps 0 and 1 the rhs is (2, 6, 0) and A[2][2]
//   = 0 stops step 2: c = (2, 6, 0).
INSTANTIATE_TEST_SUITE_P(ZeroPivotStopsTheEliminationAndStillSucceeds, Fits, ::testing::Values(
    FitCase{"AllPositionsEqual", {2, 2, 2}, {1, 2, 6}, 1, {3.0, 0.0}, 0.0},
    FitCase{"KeepsTheResidueOfTheRightHandSide", {1, 1, 1, 1, 1, 1},
            {0.3, 0.3, 0.3, 0.3, 0.3, 0.3}, 1, {0.3, 0x1p-52}, 0.0},
    FitCase{"ReadsThePartlyEliminatedRightHandSide", {0, 0, 1, 1}, {1, 3, 6, 10}, 2,
            {2.0, 6.0, 0.0}, 0.0}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DetectorRecord d{};
    d.numPixels = 100;
    ASSERT_EQ(detectors.LoadDetector(&d, sizeof d), NqeSuccess);
    store.SetDetectors(&detectors);
  }

  // 498 + 2 p nm.
  static CalibrationRecord Linear() {
    CalibrationRecord r;
    CalibrationStore::DefaultRecord(&r);
    r.polyOrder = 1;
    for (int i = 0; i < 3; ++i) {
      r.pointPosition[i] = i + 1.0;
      r.pointValue[i] = 500.0 + 2.0 * i;
    }
    return r;
  }

  DetectorStore detectors;
  CalibrationStore store;
};

// Decision: the cursors the constructor leaves open start at 0.
TEST_F(StoreTest, StartsWithOneActiveDefaultCalibration) {
  EXPECT_EQ(store.Count(), 1);
  ASSERT_NE(store.ActiveNode(), nullptr);
  EXPECT_EQ(store.ActiveNode()->initialNode, 1);
  EXPECT_NE(store.ActiveNode()->id, 0u);
  EXPECT_EQ(store.ActiveRecord(), store.ActiveNode()->record.get());
  CalibrationRecord fresh;
  CalibrationStore::DefaultRecord(&fresh);
  EXPECT_EQ(std::memcmp(store.ActiveRecord(), &fresh, sizeof fresh), 0);
  EXPECT_EQ(store.pointCursor, -1);
  EXPECT_EQ(store.coefficientCursor, 0);
  EXPECT_EQ(store.peakThresholdPercent, 2.0);
}

// Decision: null outputs of the internal operations are refused with 11000.
TEST_F(StoreTest, NullOutputsAreRefused) {
  EXPECT_EQ(store.PixelToCalibValue(1.0, nullptr, false), NqeNullPointer);
  EXPECT_EQ(store.CalibValueToPixel(1.0, nullptr), NqeNullPointer);
  EXPECT_EQ(store.DataPointToCalibValue(1.0, nullptr, false), NqeNullPointer);
  EXPECT_EQ(store.CalibValueToDataPoint(1.0, nullptr), NqeNullPointer);
  EXPECT_EQ(store.TestCalibrationFit(nullptr), NqeNullPointer);
  EXPECT_EQ(store.GetActiveCalibrationId(nullptr), NqeNullPointer);
  CalibrationRecord r = Linear();
  EXPECT_EQ(store.AddCalibration(&r, sizeof r, nullptr), NqeNullPointer);
  EXPECT_EQ(store.Count(), 1);
}

}  // namespace
}  // namespace kvx
