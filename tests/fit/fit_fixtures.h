// A host with a 2048-pixel detector behind the nominal instrument (300 mm,
// inclusion 30 deg, detector angle 0, 1200 g/mm), and synthetic lines from
// a true instrument that differs from it. The truth is computed here with
// a transcription of the grating equation and its inverse solved in closed
// form, not with the library's code.
#pragma once

#include <cmath>
#include <random>
#include <vector>

#include "spectrograph/hardware_fixtures.h"

namespace kvx_fit_test {

constexpr int kPixels = 2048;
constexpr double kPixelUm = 13.5;
constexpr double kGroove = 1200.0;
constexpr double kCenterPixel = 1024.5;
constexpr double kHalfDeg = 0.008726646258333333;
constexpr double kDeg = 0.017453292516666667;

struct Optics {
  double f, psi, gamma;
};

inline double Theta(const Optics& o, double center) {
  return std::asin(kGroove * center * 1e-6 /
                   (2.0 * std::cos(o.psi * kHalfDeg)));
}

// Wavelength at a pixel when the focal-plane center sees `center`.
inline double Forward(const Optics& o, double center, double pixel) {
  const double phi = o.psi * kHalfDeg, g = o.gamma * kDeg;
  const double theta = Theta(o, center);
  const double x = kPixelUm * (pixel - kCenterPixel) * 1e-3;
  const double delta = std::atan(x * std::cos(g) / (o.f + x * std::sin(g)));
  return (std::sin(theta - phi) + std::sin(theta + phi + delta)) * 1e6 /
         kGroove;
}

// The pixel where `wavelength` falls.
inline double Inverse(const Optics& o, double center, double wavelength) {
  const double phi = o.psi * kHalfDeg, g = o.gamma * kDeg;
  const double theta = Theta(o, center);
  const double beta =
      std::asin(wavelength * kGroove * 1e-6 - std::sin(theta - phi));
  const double t = std::tan(beta - theta - phi);
  const double x = o.f * t / (std::cos(g) - t * std::sin(g));
  return x / (kPixelUm * 1e-3) + kCenterPixel;
}

// Lines spread at random over pixels first..last of each spectrum, their
// pixels disturbed by Gaussian noise.
inline std::vector<KvxFitLine> Lines(const Optics& truth,
                                     const std::vector<double>& centers,
                                     int perSpectrum, double noisePixels,
                                     unsigned seed, double first = 40.0,
                                     double last = 2008.0) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> noise(0.0, noisePixels);
  std::vector<KvxFitLine> lines;
  for (size_t s = 0; s < centers.size(); ++s) {
    std::uniform_real_distribution<double> where(
        Forward(truth, centers[s], first), Forward(truth, centers[s], last));
    for (int k = 0; k < perSpectrum; ++k) {
      const double wavelength = where(rng);
      lines.push_back({Inverse(truth, centers[s], wavelength) + noise(rng),
                       wavelength, static_cast<KvxLong>(s), 0});
    }
  }
  return lines;
}

// An automatic object holding the nominal instrument.
// `offset`: the grating's center pixel offset (pixels).
struct Instrument : kvx_test::Handle {
  explicit Instrument(double offset = 0.0) : Handle(CalibModeAutomatic) {
    DetectorRecord d = kvx_detector_test::Detector(kPixels, nullptr, kPixelUm);
    SpectrographRecord s = kvx_hardware_test::Spectrograph(1);
    TurretRecord t = kvx_hardware_test::Turret(1, 1);
    GratingRecord g = kvx_hardware_test::Grating(1, kGroove);
    g.centerPixelOffset = offset;
    EXPECT_EQ(CalibLoadDetector(*this, &d, sizeof d) +
                  CalibLoadSpectrograph(*this, &s, sizeof s) +
                  CalibLoadTurrets(*this, &t, sizeof t, 1) +
                  CalibLoadGratings(*this, &g, sizeof g, 1) +
                  CalibSelectGrating(*this, 1),
              0u);
  }
};

// The fit of `lines` with nominal start values `starts`.
struct Fit {
  KvxULong code = 0;
  KvxGratingFit fit{};
  std::vector<KvxFitSpectrum> spectra;
  std::vector<KvxFitLineResult> lines;
};

inline Fit FitLines(CalibHandle h, const std::vector<KvxFitLine>& lines,
                    const std::vector<double>& starts,
                    const KvxFitOptions* options = nullptr) {
  Fit r;
  for (double c : starts) r.spectra.push_back({c, 0, 0, 0, 0, 0});
  r.lines.resize(lines.size());
  r.code = KvxFitGratingModel(
      h, lines.data(), static_cast<KvxLong>(lines.size()), r.spectra.data(),
      static_cast<KvxLong>(r.spectra.size()), options, &r.fit, r.lines.data());
  return r;
}

// Largest distance (pixels of the true dispersion) between the fitted and
// the true wavelengths of every pixel; `relative` compares each pixel's
// distance from the center pixel instead.
inline double WorstPixelError(CalibHandle h, const KvxGratingFit& fit,
                              double fittedCenter, const Optics& truth,
                              double trueCenter, bool relative = false) {
  std::vector<double> fitted(kPixels);
  EXPECT_EQ(KvxFittedWavelengths(h, &fit, fittedCenter, kPixels, fitted.data()),
            0u);
  const double c = kCenterPixel;
  const double fitC = relative ? (fitted[1023] + fitted[1024]) / 2 : 0.0;
  const double trueC = relative ? Forward(truth, trueCenter, c) : 0.0;
  double worst = 0.0;
  for (int p = 1; p <= kPixels; ++p) {
    const double perPixel = Forward(truth, trueCenter, p + 0.5) -
                            Forward(truth, trueCenter, p - 0.5);
    const double error = (fitted[static_cast<size_t>(p - 1)] - fitC) -
                         (Forward(truth, trueCenter, p) - trueC);
    worst = std::max(worst, std::fabs(error / perPixel));
  }
  return worst;
}

}  // namespace kvx_fit_test
