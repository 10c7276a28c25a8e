// How well the fitted grating model predicts a true instrument, against the
// two-line optimisation of the host interface and against cubic
// polynomials of the same lines. Prints the tables of docs/fit.md and exits
// with 1 when a goal is missed: every pixel within 0.1 pixel of the truth
// at the measured centers and within 0.3 pixel (relative to the center
// pixel) 50 nm away, at least ten times better than the two-line
// optimisation, better than the cubics outside the span of their lines.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "fit_synthetic.h"

using namespace fit_synthetic;

namespace {

// Off the two-line optimisation's search grid (0.2 mm, 0.05 degrees), as a
// real instrument is. Its drive runs 0.12 % fast: the center it reaches is
// 1.0012 times the one requested (about 16 pixels at 500 nm).
const Optics kTruth{306.37, 30.523, 1.137};
constexpr double kDrive = 1.0012;
constexpr double kNoise = 0.03;  // pixels, every measured line
const std::vector<double> kRequested{500, 560, 620};

int failures = 0;

void Goal(bool met, const char* what, double center) {
  if (met) return;
  std::printf("  goal missed: %s at %.0f nm\n", what, center);
  ++failures;
}

// A handle with the nominal instrument, destroyed with the object.
struct Handle {
  CalibHandle h = 0;
  bool ok = CalibCreate(CalibModeAutomatic, &h) == 0 && LoadNominal(h);
  ~Handle() { CalibDestroy(h); }
};

std::vector<double> TrueCenters() {
  std::vector<double> c;
  for (double r : kRequested) c.push_back(r * kDrive);
  return c;
}

// The host interface's own route: two lines, four proposed settings, the
// cursors where the true instrument shows the lines (with the drive factor
// given and the same noise), the grid-scan optimisation installed; then the
// wavelengths of every pixel at `center`.
std::vector<double> TwoLineOptimisation(double first, double second,
                                        double center, double drive) {
  Handle h;
  std::mt19937 rng(99);
  std::normal_distribution<double> noise(0.0, kNoise);
  double f, psi, gamma, objective, pixelError;
  bool ok = h.ok && CalibCalcDispersionTargetData(h.h, first, second) == 0;
  for (int k = 1; ok && k <= 4; ++k) {
    double target = 0.0;
    ok = CalibGetTargetWaveLength(h.h, k, &target) == 0;
    const double found =
        Inverse(kTruth, target * drive, k <= 2 ? first : second) + noise(rng);
    ok = ok && CalibSetRefCursorPosition(h.h, k, found) == 0;
  }
  std::vector<double> w(kPixels);
  ok = ok &&
       CalibOptimizeSpectrograph(h.h, &f, &psi, &gamma, &objective,
                                 &pixelError) == 0 &&
       CalibInstallOptimDispParams(h.h, &objective, &pixelError) == 0 &&
       CalibSetCenterWavelength(h.h, center) == 0 &&
       CalibCalcCalibPixelArray(h.h, kPixels, w.data()) == NqeSuccess;
  if (!ok) w.clear();
  return w;
}

void AgainstTwoLineOptimisation() {
  Handle h;
  const auto lines = Lines(kTruth, TrueCenters(), 10, kNoise, 2024);
  const Fit r = FitLines(h.h, lines, kRequested);
  if (!h.ok || r.code != 0) {
    std::printf("fit failed: %lu\n", static_cast<unsigned long>(r.code));
    ++failures;
    return;
  }
  std::printf(
      "Fit of %zu lines in 3 spectra, noise %.2f px: f %.3f mm (true %.2f), "
      "psi %.4f deg (%.3f), gamma %.4f deg (%.3f), rms %.4f px\n\n",
      lines.size(), kNoise, r.fit.focalLength, kTruth.f, r.fit.inclusionAngle,
      kTruth.psi, r.fit.detectorAngle, kTruth.gamma, r.fit.rmsPixels);
  // Two of the same lines for the two-line optimisation: those nearest to
  // 530 and 590 nm.
  auto nearest = [&](double to) {
    return std::min_element(lines.begin(), lines.end(),
                            [&](const auto& a, const auto& b) {
                              return std::fabs(a.wavelength - to) <
                                     std::fabs(b.wavelength - to);
                            })
        ->wavelength;
  };
  const double first = nearest(530.0), second = nearest(590.0);
  std::printf(
      "Worst error over all pixels (pixels). Both models at the center the "
      "drive really reached:\nthe fitted one where it was measured, the "
      "true one elsewhere and for the two-line\noptimisation, whose cursors "
      "are measured with the same drive error or with an exact drive.\n\n"
      "| Requested center | fit | fit, from center pixel | two-line | "
      "two-line, exact drive |\n|---|---:|---:|---:|---:|\n");
  for (double c : {450.0, 500.0, 560.0, 620.0, 670.0}) {
    const auto it = std::find(kRequested.begin(), kRequested.end(), c);
    const bool measured = it != kRequested.end();
    const double reached = c * kDrive;
    const auto ours = Fitted(
        h.h, r.fit,
        measured
            ? r.spectra[static_cast<size_t>(it - kRequested.begin())].center
            : reached);
    const double o = WorstPixelError(ours, kTruth, reached);
    const double oRel = WorstPixelError(ours, kTruth, reached, true);
    const double t = WorstPixelError(
        TwoLineOptimisation(first, second, reached, kDrive), kTruth, reached);
    const double e = WorstPixelError(
        TwoLineOptimisation(first, second, reached, 1.0), kTruth, reached);
    std::printf("| %.0f (%s) | %.4f | %.4f | %.4f | %.4f |\n", c,
                measured ? "measured" : "50 nm away", o, oRel, t, e);
    Goal(measured ? o < 0.1 : oRel < 0.3, "accuracy", c);
    Goal(t > 10 * o, "ten times the two-line optimisation", c);
  }
}

// Lines only between pixels 600 and 1450 of each spectrum: the grating
// model of all three spectra against a cubic in pixel per spectrum.
void AgainstCubics() {
  Handle h;
  const auto lines = Lines(kTruth, TrueCenters(), 10, kNoise, 77, 600, 1450);
  const Fit r = FitLines(h.h, lines, kRequested);
  if (!h.ok || r.code != 0) {
    ++failures;
    return;
  }
  std::printf(
      "\n10 lines per spectrum between pixels 600 and 1450; worst error "
      "(pixels):\n\n| Center | pixels | fitted model | cubic |\n"
      "|---|---|---:|---:|\n");
  for (size_t s = 0; s < kRequested.size(); ++s) {
    std::vector<double> x, y;
    for (const auto& l : lines) {
      if (l.spectrum != static_cast<KvxLong>(s)) continue;
      x.push_back(l.pixel);
      y.push_back(l.wavelength);
    }
    KvxPolynomialFit cubic{};
    std::vector<double> cubicAt(kPixels);
    bool ok =
        KvxFitPolynomial(x.data(), y.data(), static_cast<KvxLong>(x.size()), 3,
                         nullptr, &cubic, nullptr) == 0;
    for (int p = 1; ok && p <= kPixels; ++p) {
      ok = KvxEvaluatePolynomialFit(&cubic, p,
                                    &cubicAt[static_cast<size_t>(p - 1)]) == 0;
    }
    if (!ok) cubicAt.clear();
    const auto modelAt = Fitted(h.h, r.fit, r.spectra[s].center);
    const double reached = kRequested[s] * kDrive;
    for (const auto& span : {std::pair{1, 599}, {600, 1450}, {1451, kPixels}}) {
      const double ours = WorstPixelError(modelAt, kTruth, reached, false,
                                          span.first, span.second);
      const double cubics = WorstPixelError(cubicAt, kTruth, reached, false,
                                            span.first, span.second);
      std::printf("| %.0f | %d-%d | %.4f | %.4f |\n", kRequested[s], span.first,
                  span.second, ours, cubics);
      if (span.first != 600) Goal(ours < cubics, "better than a cubic", 0);
    }
  }
}

}  // namespace

int main() {
  AgainstTwoLineOptimisation();
  AgainstCubics();
  std::printf("\n%s\n", failures == 0 ? "All goals met." : "Goals missed.");
  return failures == 0 ? 0 : 1;
}
