// Iterative rejection shared by the fits: one wrong point must not pull a
// least-squares fit, so after each fit the worst point beyond a robust
// threshold is set aside and points back within it are taken again.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kvx {

struct ClipRule {
  double sigmas = 4.0;  // <= 0: never reject
  double floor = 0.0;   // never reject a residual within this
};

// 1.4826 times the median absolute residual of the points not rejected
// (the standard deviation of normal residuals); 0.0 without points.
double RobustSigma(std::span<const double> residuals,
                   const std::vector<uint8_t>& rejected);

// One rejection step: points rejected earlier whose residual is back within
// the threshold are taken again, and the worst remaining point beyond it is
// rejected unless that would leave fewer than `minUsed` points. Returns
// true when the set of points changed (the caller then fits again).
bool ClipStep(std::span<const double> residuals, const ClipRule& rule,
              int32_t minUsed, std::vector<uint8_t>* rejected);

}  // namespace kvx
