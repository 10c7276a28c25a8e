// The grating model fitted to synthetic lines of a known true instrument,
// through the extension exports as a host calls them.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "fit/fit_fixtures.h"

namespace kvx_fit_test {
namespace {

struct Truth {
  const char* name;
  Optics optics;
  std::vector<double> trueCenters;  // the drive misses the requested ones
  std::vector<double> requested;
  int perSpectrum;
  double noise;  // pixels
};

class Recovery : public ::testing::TestWithParam<Truth> {};

TEST_P(Recovery, FitFindsTheTrueInstrumentFromTheNominalOne) {
  const Truth& t = GetParam();
  Instrument h;
  const auto lines = Lines(t.optics, t.trueCenters, t.perSpectrum, t.noise, 7);
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
    EXPECT_LT(WorstPixelError(h, r.fit, r.spectra[s].center, t.optics,
                              t.trueCenters[s]),
              0.1);
  }
  EXPECT_NEAR(r.fit.rmsPixels, t.noise, 0.3 * t.noise + 1e-6);
}

INSTANTIATE_TEST_SUITE_P(Instruments, Recovery,
                         ::testing::Values(Truth{"ExactThreeSpectra",
                                                 {306.0, 30.5, 2.0},
                                                 {500.6, 559.5, 620.9},
                                                 {500, 560, 620},
                                                 10,
                                                 0.0},
                                           Truth{"NoisyThreeSpectra",
                                                 {294.0, 29.4, -1.5},
                                                 {450.3, 530.0, 611.2},
                                                 {450, 530, 610},
                                                 10,
                                                 0.03},
                                           Truth{"NoisyTwoSpectraManyLines",
                                                 {309.0, 30.9, 0.5},
                                                 {700.8, 760.4},
                                                 {700, 760},
                                                 40,
                                                 0.05}),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace kvx_fit_test
