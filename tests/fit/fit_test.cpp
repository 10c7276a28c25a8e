// The extension fits through the exports: the grating model fitted to lines
// of a known true instrument (tools/fit_synthetic.h), and polynomials of
// many points against numpy (1.24) on the same data:
//   x = 1 + i * (2047/199), i = 0..199
//   y = 400 + 0.05 x + 1e-6 x^2 - 2e-10 x^3 + 0.01 sin(0.37 i)
//   p = numpy.polyfit(x, y, 9); value = numpy.polyval(p, x0)
//   standard error of the value: a^T C a, C = s^2 (A^T A)^-1 with A the
//   Legendre Vandermonde matrix of x scaled to [-1, 1] (numpy lstsq),
//   s^2 = residual sum of squares / (n - 10)
// The outlier case adds 5.0 to y[57] and fits without that point.

#include <cmath>
#include <vector>

#include "../../tools/fit_synthetic.h"
#include "detector/detector_fixtures.h"

namespace {

using namespace fit_synthetic;
using V = std::vector<double>;

// The synthetic instrument in a handle owned by one test.
struct Instrument : kvx_test::Handle {
  explicit Instrument(double offset = 0.0) : Handle(CalibModeAutomatic) {
    EXPECT_TRUE(LoadNominal(*this, offset));
  }
};

// Worst pixel error of a fit at `fitted` against the truth at `center`.
double WorstError(CalibHandle h, const KvxGratingFit& fit, double fitted,
                  const Optics& truth, double center, bool relative = false) {
  return WorstPixelError(Fitted(h, fit, fitted), truth, center, relative);
}

// The drive misses the requested centers; noise in pixels.
TEST(Recovery, FitFindsTheTrueInstrumentFromTheNominalOne) {
  // clang-format off
  const struct { const char* name; Optics optics; V trueCenters, requested; int perSpectrum; double noise; } cases[] = {
      {"exact, three spectra", {306.0, 30.5, 2.0}, {500.6, 559.5, 620.9}, {500, 560, 620}, 10, 0.0},
      {"noisy, three spectra", {294.0, 29.4, -1.5}, {450.3, 530.0, 611.2}, {450, 530, 610}, 10, 0.03},
      {"noisy, two spectra, many lines", {309.0, 30.9, 0.5}, {700.8, 760.4}, {700, 760}, 40, 0.05}};
  // clang-format on
  for (const auto& t : cases) {
    SCOPED_TRACE(t.name);
    Instrument h;
    const auto lines =
        Lines(t.optics, t.trueCenters, t.perSpectrum, t.noise, 7);
    const Fit r = FitLines(h, lines, t.requested);
    ASSERT_EQ(r.code, 0u);
    EXPECT_EQ(r.fit.linesRejected, 0);
    // Within four standard uncertainties of the truth (exact data: 1e-6).
    const double slack = t.noise > 0 ? 4.0 : 0.0;
    auto near = [&](double fitted, double truth, double sigma) {
      EXPECT_NEAR(fitted, truth, slack * sigma + 1e-6 * std::fabs(truth));
    };
    near(r.fit.focalLength, t.optics.f, r.fit.focalLengthSigma);
    near(r.fit.inclusionAngle, t.optics.psi, r.fit.inclusionAngleSigma);
    near(r.fit.detectorAngle, t.optics.gamma, r.fit.detectorAngleSigma);
    for (size_t s = 0; s < t.trueCenters.size(); ++s) {
      near(r.spectra[s].center, t.trueCenters[s], r.spectra[s].centerSigma);
      // Every pixel within 0.1 pixel's width of the truth.
      EXPECT_LT(
          WorstError(h, r.fit, r.spectra[s].center, t.optics, t.trueCenters[s]),
          0.1);
    }
    // 50 nm beyond the measured centers, each pixel from the center pixel.
    const double away = t.trueCenters.back() + 50;
    EXPECT_LT(WorstError(h, r.fit, away, t.optics, away, true), 0.3);
    EXPECT_NEAR(r.fit.rmsPixels, t.noise, 0.3 * t.noise + 1e-6);
  }
}

// Nominal start, true instrument and 30 noisy lines in three spectra.
const Optics kTruth{306.0, 30.5, 1.0};
const std::vector<double> kTrueCenters{500.6, 559.5, 620.9};
const std::vector<double> kRequested{500, 560, 620};

TEST(Rejection, WrongLinesAreSetAsideAndDoNotPullTheFit) {
  Instrument h;
  auto lines = Lines(kTruth, kTrueCenters, 10, 0.03, 11);
  lines[4].wavelength += 0.5;  // a misidentified line, about 14 pixels off
  lines[17].pixel -= 3.0;      // a blend found 3 pixels off
  const Fit r = FitLines(h, lines, kRequested);
  ASSERT_EQ(r.code, 0u);
  EXPECT_EQ(r.fit.linesRejected * 100 + r.fit.linesUsed, 2 * 100 + 28);
  for (size_t i = 0; i < lines.size(); ++i)
    EXPECT_EQ(r.lines[i].rejected, i == 4 || i == 17 ? 1 : 0) << i;
  EXPECT_NEAR(r.lines[4].residual, 0.5, 0.01);
  // Found 3 pixels low: its wavelength lies 3 pixels' worth above the
  // model's there.
  EXPECT_NEAR(r.lines[17].residualPixels, 3.0, 0.1);
  EXPECT_EQ(r.spectra[0].linesUsed + r.spectra[1].linesUsed, 18);
  for (size_t s = 0; s < 3; ++s) {
    EXPECT_LT(
        WorstError(h, r.fit, r.spectra[s].center, kTruth, kTrueCenters[s]),
        0.1);
  }
  // Without rejection the same lines pull the fit away.
  const KvxFitOptions keepAll{0, 0, -1.0, 0.0};
  const Fit pulled = FitLines(h, lines, kRequested, &keepAll);
  ASSERT_EQ(pulled.code, 0u);
  EXPECT_EQ(pulled.fit.linesRejected, 0);
  EXPECT_GT(pulled.fit.rmsPixels, 0.3);
}

TEST(FixedParameters, HeldParametersKeepTheirStartValuesExactly) {
  Instrument h;
  const auto lines = Lines(kTruth, kTrueCenters, 10, 0.03, 5);
  const KvxLong masks[] = {
      KVX_FIX_FOCAL_LENGTH, KVX_FIX_INCLUSION_ANGLE, KVX_FIX_DETECTOR_ANGLE,
      KVX_FIX_INCLUSION_ANGLE | KVX_FIX_DETECTOR_ANGLE, KVX_FIX_CENTERS};
  for (KvxLong mask : masks) {
    const KvxFitOptions options{mask, 0, 0.0, 0.0};
    const Fit r = FitLines(h, lines, kRequested, &options);
    ASSERT_EQ(r.code, 0u) << mask;
    const double fitted[] = {r.fit.focalLength, r.fit.inclusionAngle,
                             r.fit.detectorAngle};
    const double sigma[] = {r.fit.focalLengthSigma, r.fit.inclusionAngleSigma,
                            r.fit.detectorAngleSigma};
    const double start[] = {300.0, 30.0, 0.0};
    for (int k = 0; k < 3; ++k) {
      if (mask & (1 << k)) {
        EXPECT_EQ(fitted[k], start[k]) << mask;
        EXPECT_EQ(sigma[k], 0.0) << mask;
      } else {
        EXPECT_NE(fitted[k], start[k]) << mask;
        EXPECT_GT(sigma[k], 0.0) << mask;
      }
    }
    for (size_t s = 0; s < 3; ++s) {
      EXPECT_EQ(r.spectra[s].center == kRequested[s],
                (mask & KVX_FIX_CENTERS) != 0);
    }
  }
}

// The reported uncertainties agree with the scatter of the fitted values
// over many noise draws (Monte Carlo, 200 draws: the sample standard
// deviation of a normal variable is then known to 5 %).
TEST(Uncertainties, MatchTheScatterOfRepeatedFits) {
  Instrument h;
  constexpr int kDraws = 200;
  double sum[4] = {}, sum2[4] = {}, reported[4] = {};
  for (int draw = 0; draw < kDraws; ++draw) {
    const auto lines = Lines(kTruth, kTrueCenters, 10, 0.05, 100 + draw);
    const Fit r = FitLines(h, lines, kRequested);
    ASSERT_EQ(r.code, 0u);
    const double v[4] = {r.fit.focalLength, r.fit.inclusionAngle,
                         r.fit.detectorAngle, r.spectra[1].center};
    const double s[4] = {r.fit.focalLengthSigma, r.fit.inclusionAngleSigma,
                         r.fit.detectorAngleSigma, r.spectra[1].centerSigma};
    for (int k = 0; k < 4; ++k) {
      sum[k] += v[k];
      sum2[k] += v[k] * v[k];
      reported[k] += s[k] / kDraws;
    }
  }
  for (int k = 0; k < 4; ++k) {
    const double mean = sum[k] / kDraws;
    const double scatter =
        std::sqrt((sum2[k] - kDraws * mean * mean) / (kDraws - 1));
    EXPECT_NEAR(reported[k] / scatter, 1.0, 0.15) << k;
  }
}

// As many lines as free parameters: a solution, but no uncertainty.
TEST(Uncertainties, WithoutADegreeOfFreedomTheyAreUndetermined) {
  Instrument h;
  const Fit r = FitLines(h, Lines(kTruth, {500.6}, 4, 0.0, 1), {500});
  ASSERT_EQ(r.code, 0u);
  EXPECT_EQ(V({r.fit.focalLengthSigma, r.fit.inclusionAngleSigma,
               r.fit.detectorAngleSigma, r.spectra[0].centerSigma}),
            V(4, -1.0));
}

class Install : public ::testing::TestWithParam<double> {};

// With a center pixel offset o the focal-plane center sits at pixel
// c + o: lines of the fixture's instrument moved by o pixels. The fitted
// center is the wavelength at the center of the active range (pixel c),
// o pixels below the focal-plane center; the host reproduces the fit from
// it through its own effective-center iteration (to 1e-5 nm).
TEST_P(Install, FittedOpticsReproduceTheFitThroughTheHostInterface) {
  const double o = GetParam();
  Instrument h(o);
  auto lines = Lines(kTruth, kTrueCenters, 10, 0.0, 3);
  for (auto& line : lines) line.pixel += o;
  const Fit r = FitLines(h, lines, kRequested);
  ASSERT_EQ(r.code, 0u);
  ASSERT_EQ(KvxInstallFittedOptics(h, &r.fit), 0u);
  // Selecting the grating again copies its optics into the working ones:
  // the grating holds the fit too.
  ASSERT_EQ(CalibSelectGrating(h, 1), 0u);
  for (size_t s = 0; s < 3; ++s) {
    EXPECT_NEAR(r.spectra[s].center,
                Forward(kTruth, kTrueCenters[s], kCenterPixel - o), 1e-7);
    EXPECT_NEAR(r.spectra[s].effectiveCenter, kTrueCenters[s], 1e-7);
    ASSERT_EQ(CalibSetCenterWavelength(h, r.spectra[s].center), 0u);
    std::vector<double> host(kPixels), fitted(kPixels);
    ASSERT_EQ(CalibCalcCalibPixelArray(h, kPixels, host.data()), NqeSuccess);
    ASSERT_EQ(KvxFittedWavelengths(h, &r.fit, r.spectra[s].center, kPixels,
                                   fitted.data()),
              0u);
    for (size_t p = 0; p < host.size(); p += 97)
      EXPECT_NEAR(host[p], fitted[p], o == 0 ? 0.0 : 1e-5);
    for (size_t i = 0; i < lines.size(); ++i) {
      if (lines[i].spectrum != static_cast<KvxLong>(s)) continue;
      double value = 0.0;
      ASSERT_EQ(CalibPixelToCalibValue(h, lines[i].pixel, &value), NqeSuccess);
      EXPECT_NEAR(value, lines[i].wavelength, 1e-5);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(CenterPixelOffsets, Install,
                         ::testing::Values(0.0, 12.0));

// Each bad input gives its code and writes nothing.
TEST(Refusals, BadInputGivesItsCodeAndWritesNothing) {
  using L = std::vector<KvxFitLine>;
  // clang-format off
  const struct { const char* name; void (*spoil)(L&, KvxLong& count, KvxLong& spectra); KvxULong code; } cases[] = {
      {"two lines", [](L&, KvxLong& n, KvxLong&) { n = 2; }, NqeTooFewCalibrationPoints},
      {"no spectrum", [](L&, KvxLong&, KvxLong& s) { s = 0; }, NqeBadNumber},
      {"spectrum index beyond the spectra", [](L& l, KvxLong&, KvxLong&) { l[2].spectrum = 1; }, NqeBadNumber},
      {"spectrum without lines", [](L&, KvxLong&, KvxLong& s) { s = 2; }, NqeTooFewCalibrationPoints},
      {"pixel below the detector", [](L& l, KvxLong&, KvxLong&) { l[0].pixel = 0.4; }, NqePointOutOfRange},
      {"pixel not a number", [](L& l, KvxLong&, KvxLong&) { l[0].pixel = NAN; }, NqePointOutOfRange},
      {"wavelength beyond the grating", [](L& l, KvxLong&, KvxLong&) { l[1].wavelength = 2000; }, NqeWavelengthUnreachable},
      {"fewer lines than parameters", [](L& l, KvxLong& n, KvxLong& s) { s = 2, n = 4, l[3].spectrum = 1; },
       NqeTooFewCalibrationPoints}};
  // clang-format on
  Instrument h;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto lines = Lines(kTruth, {500.6}, 6, 0.0, 1);
    KvxLong count = 6, spectra = 1;
    c.spoil(lines, count, spectra);
    KvxFitSpectrum spectrum[2] = {{500, -7, -7, -7, -7, -7},
                                  {560, -7, -7, -7, -7, -7}};
    KvxGratingFit fit{};
    fit.focalLength = -7;
    EXPECT_EQ(KvxFitGratingModel(h, lines.data(), count, spectrum, spectra,
                                 nullptr, &fit, nullptr),
              c.code);
    EXPECT_EQ(fit.focalLength, -7);
    EXPECT_EQ(spectrum[0].center, -7);
  }
}

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

// Order nine through 200 points, all of them and with the outlier set aside.
TEST(PolynomialFit, AgainstNumpy) {
  struct Expected {
    double x, value, sigma;
  };
  // clang-format off
  const struct { int outlier; double rms; std::vector<Expected> at; } cases[] = {
      {-1, 0.006944781976962302,
       {{1.0, 400.0587225340879, 0.004474461719660738},
        {333.3, 416.7688877883693, 0.001508387809435439},
        {1024.5, 452.05928639723214, 0.0012401153516722909},
        {1777.0, 490.8847189364137, 0.0015834181849975113},
        {2048.0, 504.8696597003278, 0.0044744617196607345}}},
      {57, 0.006937925197232665,
       {{1.0, 400.0588670365616, 0.004472396852898237},
        {333.3, 416.76888462421647, 0.0015071003536019413},
        {1024.5, 452.05934296717044, 0.001240028763677004},
        {1777.0, 490.88470401914947, 0.0015821171183716622},
        {2048.0, 504.8696132734837, 0.004470817074180118}}}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.outlier);
    const Data d = Points(c.outlier);
    KvxPolynomialFit fit{};
    std::vector<KvxFitLineResult> points(200);
    ASSERT_EQ(KvxFitPolynomial(d.x.data(), d.y.data(), 200, 9, nullptr, &fit,
                               points.data()),
              0u);
    EXPECT_EQ(fit.pointsRejected, c.outlier < 0 ? 0 : 1);
    for (int i = 0; i < 200; ++i)
      EXPECT_EQ(points[size_t(i)].rejected, i == c.outlier ? 1 : 0) << i;
    EXPECT_NEAR(fit.rms, c.rms, 1e-9);
    for (const Expected& e : c.at) {
      double value = 0.0;
      ASSERT_EQ(KvxEvaluatePolynomialFit(&fit, e.x, &value), 0u);
      EXPECT_NEAR(value, e.value, 1e-8) << e.x;
      EXPECT_NEAR(ValueSigma(fit, e.x), e.sigma, e.sigma * 1e-6) << e.x;
    }
  }
}

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

TEST(PolynomialFit, BadPointsOrOrderGiveTheirCodeAndWriteNothing) {
  // clang-format off
  const struct { const char* name; std::vector<double> x; int order; KvxULong code; } cases[] = {
      {"order ten", std::vector<double>(20, 1.0), 10, NqeBadPolyOrder},
      {"negative order", {1, 2, 3}, -1, NqeBadPolyOrder},
      {"no more points than terms", {1, 2, 3}, 3, NqeTooFewCalibrationPoints},
      {"too few distinct abscissae", {1, 1, 2, 2}, 2, NqeTooFewCalibrationPoints},
      {"one abscissa above order zero", {4, 4, 4}, 1, NqePointOutOfRange},
      {"not a number", {1, NAN, 3}, 1, NqePointOutOfRange}};
  // clang-format on
  for (const auto& c : cases) {
    const std::vector<double> y(c.x.size(), 500.0);
    KvxPolynomialFit fit{};
    fit.rms = -7;
    EXPECT_EQ(KvxFitPolynomial(c.x.data(), y.data(), KvxLong(c.x.size()),
                               c.order, nullptr, &fit, nullptr),
              c.code)
        << c.name;
    EXPECT_EQ(fit.rms, -7) << c.name;
  }
}

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
