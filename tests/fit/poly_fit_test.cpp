// Polynomial calibrations of many points through the extension exports,
// against numpy (1.24) on the same data:
//   x = 1 + i * (2047/199), i = 0..199
//   y = 400 + 0.05 x + 1e-6 x^2 - 2e-10 x^3 + 0.01 sin(0.37 i)
//   p = numpy.polyfit(x, y, 9); value = numpy.polyval(p, x0)
//   standard error of the value: a^T C a, C = s^2 (A^T A)^-1 with A the
//   Legendre Vandermonde matrix of x scaled to [-1, 1] (numpy lstsq),
//   s^2 = residual sum of squares / (n - 10)
// The outlier case adds 5.0 to y[57] and fits without that point.

#include <cmath>
#include <vector>

#include "detector/detector_fixtures.h"

namespace {

struct Data {
  std::vector<double> x, y;
};

Data Points(int outlier = -1) {
  Data d;
  for (int i = 0; i < 200; ++i) {
    const double x = 1 + i * (2047.0 / 199);
    d.x.push_back(x);
    d.y.push_back(400 + 0.05 * x + 1e-6 * x * x - 2e-10 * x * x * x +
                  0.01 * std::sin(0.37 * i) + (i == outlier ? 5.0 : 0.0));
  }
  return d;
}

// Standard error of the fitted value at x from the record's covariance.
double ValueSigma(const KvxPolynomialFit& f, double x) {
  const double t = (x - f.xCenter) / f.xHalfRange;
  double b[10] = {1.0, t};
  for (int k = 2; k < 10; ++k) b[k] = 2 * t * b[k - 1] - b[k - 2];
  double var = 0.0;
  for (int i = 0; i <= f.order; ++i) {
    for (int j = 0; j <= f.order; ++j)
      var += b[i] * f.covariance[i * 10 + j] * b[j];
  }
  return std::sqrt(var);
}

struct Expected {
  double x, value, sigma;
};

struct Case {
  const char* name;
  int outlier;
  double rms;
  std::vector<Expected> at;
};
// Test parameters print as their names: their raw bytes include padding.
void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

class AgainstNumpy : public ::testing::TestWithParam<Case> {};

TEST_P(AgainstNumpy, OrderNineOfTwoHundredPoints) {
  const Case& c = GetParam();
  const Data d = Points(c.outlier);
  KvxPolynomialFit fit{};
  std::vector<KvxFitLineResult> points(200);
  ASSERT_EQ(KvxFitPolynomial(d.x.data(), d.y.data(), 200, 9, nullptr, &fit,
                             points.data()),
            0u);
  EXPECT_EQ(fit.pointsRejected, c.outlier < 0 ? 0 : 1);
  for (int i = 0; i < 200; ++i)
    EXPECT_EQ(points[static_cast<size_t>(i)].rejected, i == c.outlier ? 1 : 0);
  EXPECT_NEAR(fit.rms, c.rms, 1e-9);
  for (const Expected& e : c.at) {
    double value = 0.0;
    ASSERT_EQ(KvxEvaluatePolynomialFit(&fit, e.x, &value), 0u);
    EXPECT_NEAR(value, e.value, 1e-8) << e.x;
    EXPECT_NEAR(ValueSigma(fit, e.x), e.sigma, e.sigma * 1e-6) << e.x;
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Polyfit, AgainstNumpy, ::testing::Values(
    Case{"AllPoints", -1, 0.006944781976962302,
         {{1.0, 400.0587225340879, 0.004474461719660738},
          {333.3, 416.7688877883693, 0.001508387809435439},
          {1024.5, 452.05928639723214, 0.0012401153516722909},
          {1777.0, 490.8847189364137, 0.0015834181849975113},
          {2048.0, 504.8696597003278, 0.0044744617196607345}}},
    Case{"OutlierSetAside", 57, 0.006937925197232665,
         {{1.0, 400.0588670365616, 0.004472396852898237},
          {333.3, 416.76888462421647, 0.0015071003536019413},
          {1024.5, 452.05934296717044, 0.001240028763677004},
          {1777.0, 490.88470401914947, 0.0015821171183716622},
          {2048.0, 504.8696132734837, 0.004470817074180118}}}),
    [](const auto& info) { return info.param.name; });
// clang-format on

// A parabola through three points: exact, without uncertainty.
TEST(PolynomialFit, WithoutADegreeOfFreedomTheSigmasAreUndetermined) {
  const double x[3] = {1, 2, 3}, y[3] = {1, 4, 9};
  KvxPolynomialFit fit{};
  ASSERT_EQ(KvxFitPolynomial(x, y, 3, 2, nullptr, &fit, nullptr), 0u);
  double at4 = 0.0;
  ASSERT_EQ(KvxEvaluatePolynomialFit(&fit, 4.0, &at4), 0u);
  EXPECT_NEAR(at4, 16.0, 1e-12);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(fit.sigmas[k], -1.0);
}

struct Refusal {
  const char* name;
  std::vector<double> x;
  int order;
  KvxULong code;
};
void PrintTo(const Refusal& r, std::ostream* os) { *os << r.name; }

class PolynomialRefusals : public ::testing::TestWithParam<Refusal> {};

TEST_P(PolynomialRefusals, BadPointsOrOrderGiveTheirCode) {
  const Refusal& r = GetParam();
  const std::vector<double> y(r.x.size(), 500.0);
  KvxPolynomialFit fit{};
  fit.rms = -7;
  EXPECT_EQ(
      KvxFitPolynomial(r.x.data(), y.data(), static_cast<KvxLong>(r.x.size()),
                       r.order, nullptr, &fit, nullptr),
      r.code);
  EXPECT_EQ(fit.rms, -7);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Points, PolynomialRefusals, ::testing::Values(
    Refusal{"OrderTen", std::vector<double>(20, 1.0), 10, NqeBadPolyOrder},
    Refusal{"NegativeOrder", {1, 2, 3}, -1, NqeBadPolyOrder},
    Refusal{"NoMorePointsThanTerms", {1, 2, 3}, 3, NqeTooFewCalibrationPoints},
    Refusal{"TooFewDistinctAbscissae", {1, 1, 2, 2}, 2, NqeTooFewCalibrationPoints},
    Refusal{"OneAbscissaAboveOrderZero", {4, 4, 4}, 1, NqePointOutOfRange},
    Refusal{"NotANumber", {1, NAN, 3}, 1, NqePointOutOfRange}),
    [](const auto& info) { return info.param.name; });
// clang-format on

// The fit as a table calibration, read back through the conversions of the
// host interface (expected values: numpy.polyval of the first case at
// 100, 101 and 1500; between whole pixels the table interpolates linearly).
TEST(PolynomialTable, InstalledTableAnswersTheHostConversions) {
  kvx_test::Handle h;
  DetectorRecord det = kvx_detector_test::Detector(2048);
  ASSERT_EQ(CalibLoadDetector(h, &det, sizeof det), 0u);
  const Data d = Points();
  KvxPolynomialFit fit{};
  ASSERT_EQ(
      KvxFitPolynomial(d.x.data(), d.y.data(), 200, 9, nullptr, &fit, nullptr),
      0u);
  KvxULong id = 0, active = 0;
  ASSERT_EQ(KvxInstallPolynomialTable(h, &fit, &id), 0u);
  ASSERT_EQ(CalibGetActiveCalibrationID(h, &active), 0u);
  EXPECT_EQ(active, id);
  const KvxULong installed = id;
  const double y100 = 405.009551873934, y101 = 405.0597253270224;
  double value = 0.0, pixel = 0.0;
  ASSERT_EQ(CalibPixelToCalibValue(h, 100.0, &value), NqeSuccess);
  EXPECT_NEAR(value, y100, 1e-8);
  ASSERT_EQ(CalibPixelToCalibValue(h, 100.25, &value), NqeSuccess);
  EXPECT_NEAR(value, 0.75 * y100 + 0.25 * y101, 1e-8);
  ASSERT_EQ(CalibCalibValueToPixel(h, 476.5755250993544, &pixel), NqeSuccess);
  EXPECT_NEAR(pixel, 1500.0, 1e-6);

  // A parabola over the detector is no calibration: refused, nothing added.
  std::vector<double> bowl(d.x.size());
  for (size_t i = 0; i < bowl.size(); ++i)
    bowl[i] = 500 + 1e-5 * (d.x[i] - 1024) * (d.x[i] - 1024);
  ASSERT_EQ(
      KvxFitPolynomial(d.x.data(), bowl.data(), 200, 2, nullptr, &fit, nullptr),
      0u);
  EXPECT_EQ(KvxInstallPolynomialTable(h, &fit, &id), NqeNotMonotonic);
  EXPECT_EQ(id, 0u);
  ASSERT_EQ(CalibGetActiveCalibrationID(h, &active), 0u);
  EXPECT_EQ(active, installed);
  fit.xHalfRange = 0.0;
  EXPECT_EQ(KvxInstallPolynomialTable(h, &fit, &id), NqePointOutOfRange);
}

}  // namespace
