// Seeded synthetic lamp spectra for the identification tests and
// benchmarks: the grating equation written out on its own here (not the
// library's), true optics a few percent off the nominal ones, the real
// center up to 30 pixels off the requested one, Gaussian lines of 2 to 3
// pixels FWHM integrated over each pixel, intensities x0.3..3 of the list,
// some lines missing, unknown lines added, a sloping continuum and Poisson
// noise.
#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx_test {

// The example instrument: 600 g/mm, f 320 mm, inclusion 30 deg, 2048
// pixels of 13.5 um (about 0.07 nm per pixel, 135 nm across).
struct Optics {
  double grooves = 600.0, focal = 320.0, inclusion = 30.0, detector = 0.0;
  double pixelUm = 13.5;
  int pixels = 2048;
};

// Wavelength at pixel p with `center` on the detector center.
inline double TrueWavelength(const Optics& o, double center, double p) {
  const double phi = o.inclusion * 0.008726646258333333;
  const double gamma = o.detector * 0.017453292516666667;
  const double theta =
      std::asin(o.grooves * center * 1e-6 / (2 * std::cos(phi)));
  const double x = o.pixelUm * (p - 0.5 * (o.pixels + 1)) * 0.001;
  const double delta =
      std::atan(x * std::cos(gamma) / (o.focal + x * std::sin(gamma)));
  return (std::sin(theta - phi) + std::sin(theta + phi + delta)) * 1e6 /
         o.grooves;
}

// Its inverse in closed form: sin(beta) from the equation, then the
// position on the tilted focal plane.
inline double TruePixel(const Optics& o, double center, double wavelength) {
  const double phi = o.inclusion * 0.008726646258333333;
  const double gamma = o.detector * 0.017453292516666667;
  const double theta =
      std::asin(o.grooves * center * 1e-6 / (2 * std::cos(phi)));
  const double beta =
      std::asin(wavelength * o.grooves * 1e-6 - std::sin(theta - phi));
  const double t = std::tan(beta - theta - phi);
  const double x = o.focal * t / (std::cos(gamma) - t * std::sin(gamma));
  return 0.5 * (o.pixels + 1) + x / (o.pixelUm * 0.001);
}

struct TrueLine {
  double pixel;
  double amplitude;  // peak counts above the continuum
  int listIndex;     // -1: an unknown line
};

struct LampSpectrum {
  Optics truth;           // the optics that made it
  double trueCenter = 0;  // nm on the detector center
  double fwhm = 0;
  std::vector<double> counts;
  std::vector<TrueLine> lines;
};

// The true optics of an instrument the host believes to be `nominal`: the
// focal length (so the dispersion) up to `dispersionOff` away, the detector
// angle up to half a degree.
inline Optics TrueOptics(const Optics& nominal, unsigned seed,
                         double dispersionOff = 0.03) {
  std::mt19937_64 rng(seed * 7919u + 1u);
  Optics truth = nominal;
  truth.focal *= 1.0 + std::uniform_real_distribution<double>(
                           -dispersionOff, dispersionOff)(rng);
  truth.detector += std::uniform_real_distribution<double>(-0.5, 0.5)(rng);
  return truth;
}

// A spectrum taken with the grating set for `center`: the real center is
// up to `shiftPixels` pixels off.
inline LampSpectrum MakeLampSpectrum(const Optics& truth, double center,
                                     const std::vector<KvxLampLine>& list,
                                     unsigned seed, double shiftPixels = 30.0) {
  std::mt19937_64 rng(seed);
  auto uniform = [&](double a, double b) {
    return std::uniform_real_distribution<double>(a, b)(rng);
  };
  LampSpectrum s;
  s.truth = truth;
  const double perPixel =
      TrueWavelength(truth, center, truth.pixels * 0.5 + 1) -
      TrueWavelength(truth, center, truth.pixels * 0.5);
  s.trueCenter = center + uniform(-shiftPixels, shiftPixels) * perPixel;
  s.fwhm = uniform(2.0, 3.0);
  const double sigma = s.fwhm / 2.354820045;
  const double peak = uniform(2e4, 5e4);
  double strongest = 0;
  for (size_t i = 0; i < list.size(); ++i) {
    const double p = TruePixel(s.truth, s.trueCenter, list[i].wavelength);
    if (std::isfinite(p) && p > -10 && p < s.truth.pixels + 10 &&
        uniform(0, 1) > 0.1) {
      s.lines.push_back(
          {p,
           list[i].intensity * std::exp(uniform(std::log(0.3), std::log(3.0))),
           static_cast<int>(i)});
      strongest = std::max(strongest, s.lines.back().amplitude);
    }
  }
  for (TrueLine& l : s.lines) l.amplitude *= peak / strongest;
  // Unknown lines away from every line of the list.
  for (int k = 0, extra = static_cast<int>(uniform(1, 5)); k < extra; ++k) {
    const double p = uniform(10, s.truth.pixels - 10);
    bool clear = true;
    for (const KvxLampLine& l : list) {
      clear = clear &&
              std::fabs(TruePixel(s.truth, s.trueCenter, l.wavelength) - p) > 6;
    }
    if (clear) s.lines.push_back({p, peak * uniform(0.02, 0.5), -1});
  }
  const double base = uniform(50, 300), slope = uniform(-0.5, 0.5);
  for (int k = 1; k <= s.truth.pixels; ++k) {
    double mean =
        base * (1 + slope * (k - 0.5 * s.truth.pixels) / s.truth.pixels);
    for (const TrueLine& l : s.lines) {
      if (std::fabs(k - l.pixel) > 8 * sigma) continue;
      const double area = l.amplitude * sigma * 2.5066282746310002;
      mean += 0.5 * area *
              (std::erf((k + 0.5 - l.pixel) / (sigma * 1.4142135623730951)) -
               std::erf((k - 0.5 - l.pixel) / (sigma * 1.4142135623730951)));
    }
    s.counts.push_back(
        static_cast<double>(std::poisson_distribution<long>(mean)(rng)));
  }
  return s;
}

}  // namespace kvx_test
