// A synthetic instrument for the fits: a 2048-pixel detector of 13.5 um
// behind a 1200 g/mm grating, nominal optics 300 mm, 30 and 0 degrees, and
// lines of a true instrument that differs from them. The truth is computed
// here with a transcription of the grating equation and its inverse solved
// in closed form, not with the library's code. Used by the fit comparison
// and the fit tests.
#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "KelvoCalibrate.h"
#include "one_grating.h"

namespace fit_synthetic {

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

// Loads the nominal instrument into an automatic object; `offset` is the
// grating's center pixel offset.
inline bool LoadNominal(CalibHandle h, double offset = 0.0) {
  return LoadOneGrating(
             h, {kPixels, kPixelUm, kGroove, 0.0, 0.0, 0.0, offset}) == 0;
}

// A fit of `lines` with start centers `starts`.
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

// Worst distance (pixels of the true dispersion) over pixels first..last
// between `wavelengths` (of pixels 1..2048) and the truth at `center`;
// `relative` measures each pixel from the center pixel.
inline double WorstPixelError(const std::vector<double>& wavelengths,
                              const Optics& truth, double center,
                              bool relative = false, int first = 1,
                              int last = kPixels) {
  if (wavelengths.size() != static_cast<size_t>(kPixels)) return INFINITY;
  const double ownC =
      relative ? (wavelengths[1023] + wavelengths[1024]) / 2 : 0.0;
  const double trueC = relative ? Forward(truth, center, kCenterPixel) : 0.0;
  double worst = 0.0;
  for (int p = first; p <= last; ++p) {
    const double perPixel =
        Forward(truth, center, p + 0.5) - Forward(truth, center, p - 0.5);
    const double error = (wavelengths[static_cast<size_t>(p - 1)] - ownC) -
                         (Forward(truth, center, p) - trueC);
    worst = std::max(worst, std::fabs(error / perPixel));
  }
  return worst;
}

// The wavelengths of every pixel under a fit at `center`; empty on failure.
inline std::vector<double> Fitted(CalibHandle h, const KvxGratingFit& fit,
                                  double center) {
  std::vector<double> w(kPixels);
  if (KvxFittedWavelengths(h, &fit, center, kPixels, w.data()) != 0) w.clear();
  return w;
}

}  // namespace fit_synthetic
