#include "fit/robust_clip.h"

#include <algorithm>
#include <cmath>

namespace kvx {

namespace {

// Normal consistency factor of the median absolute deviation.
constexpr double kMadToSigma = 1.4826;

}  // namespace

double RobustSigma(std::span<const double> residuals,
                   const std::vector<uint8_t>& rejected) {
  std::vector<double> magnitudes;
  magnitudes.reserve(residuals.size());
  for (size_t i = 0; i < residuals.size(); ++i) {
    if (!rejected[i]) magnitudes.push_back(std::fabs(residuals[i]));
  }
  if (magnitudes.empty()) return 0.0;
  const size_t n = magnitudes.size();
  const auto middle = magnitudes.begin() + static_cast<std::ptrdiff_t>(n / 2);
  std::nth_element(magnitudes.begin(), middle, magnitudes.end());
  double median = *middle;
  if (n % 2 == 0) {
    median = 0.5 * (median + *std::max_element(magnitudes.begin(), middle));
  }
  return kMadToSigma * median;
}

bool ClipStep(std::span<const double> residuals, const ClipRule& rule,
              int32_t minUsed, std::vector<uint8_t>* rejected) {
  if (!(rule.sigmas > 0.0)) return false;
  std::vector<uint8_t>& out = *rejected;
  const double threshold =
      std::max(rule.sigmas * RobustSigma(residuals, out), rule.floor);
  bool changed = false;
  int32_t used = 0;
  for (size_t i = 0; i < residuals.size(); ++i) {
    if (out[i] && std::fabs(residuals[i]) <= threshold) {
      out[i] = 0;
      changed = true;
    }
    if (!out[i]) ++used;
  }
  // One at a time: the worst point pulls the fit most, and once it is gone
  // the others may fall back within the threshold.
  size_t worst = residuals.size();
  double worstSize = threshold;
  for (size_t i = 0; i < residuals.size(); ++i) {
    const double size = std::fabs(residuals[i]);
    if (!out[i] && !(size <= worstSize)) {
      worst = i;
      worstSize = size;
    }
  }
  if (worst < residuals.size() && used - 1 >= minUsed) {
    out[worst] = 1;
    changed = true;
  }
  return changed;
}

}  // namespace kvx
