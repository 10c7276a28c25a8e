#include "optimise/dispersion_search.h"

#include <cmath>

#include "spectrograph/spec_opt.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

// The start of every search's own best; any real objective is below it.
constexpr double kNoObjective = 10000.0;

}  // namespace

double DispersionSearch::LineSearch() {
  const double step = descriptors_.focalStep;
  const double stop = descriptors_.focalStop;
  const double upper = descriptors_.focalUpper;
  const double lower = descriptors_.focalLower;
  objective_.SetDetectorAngle(state_.workingDetectorAngle);
  const double start = state_.workingFocalLength;
  double best = kNoObjective;
  double bestF = start;
  // Keeps the better point; false once the objective has risen past the
  // stop factor.
  auto visit = [&](double f) {
    const double e = objective_.Evaluate(f);
    if (e < best) {
      best = e;
      bestF = f;
    } else if (e > best * stop) {
      return false;
    }
    return true;
  };
  double f = start;
  if (f < upper) {
    do {
      if (!visit(f)) break;
      f = f + step;
    } while (f < upper);
  }
  f = start;
  if (f > lower) {
    do {
      if (!visit(f)) break;
      f = f - step;
    } while (f > lower);
  }
  state_.workingFocalLength = bestF;
  if (state_.bestObjective > best) {
    state_.bestObjective = best;
    state_.bestFocalLength = bestF;
    state_.bestInclusionAngle = state_.workingInclusionAngle;
    state_.bestDetectorAngle = state_.workingDetectorAngle;
  }
  return best;
}

void DispersionSearch::DetectorAngleSearch() {
  const double step = descriptors_.detectorAngleStep;
  const double stop = descriptors_.detectorAngleStop;
  const double upper = descriptors_.detectorAngleUpper;
  const double lower = descriptors_.detectorAngleLower;
  const double start = state_.workingDetectorAngle;
  double best = kNoObjective;
  double bestD = start;
  auto visit = [&](double d) {
    state_.workingDetectorAngle = d;
    const double e = LineSearch();
    if (e < best) {
      best = e;
      bestD = d;
    } else if (e > best * stop) {
      return false;
    }
    return true;
  };
  double d = start;
  if (d < upper) {
    do {
      if (!visit(d)) break;
      d = d + step;
    } while (d < upper);
  }
  d = start;
  if (d > lower) {
    do {
      if (!visit(d)) break;
      d = d - step;
    } while (d > lower);
  }
  state_.workingDetectorAngle = bestD;
  state_.workingFocalLength = state_.initialFocalLength;
}

void DispersionSearch::InclusionAngleScan() {
  const double upper = descriptors_.inclusionUpper;
  const double lower = descriptors_.inclusionLower;
  double& sigma = descriptors_.inclusionStep;
  for (;;) {
    const double p = state_.workingInclusionAngle;
    const bool inRange =
        (sigma > 0.0 && p <= upper) || (sigma < 0.0 && p >= lower);
    if (!inRange) break;
    objective_.SetInclusionAngle(p);
    DetectorAngleSearch();
    state_.workingInclusionAngle = p + sigma;
    if (state_.workingInclusionAngle > upper) {
      // Turn round: the downward half starts again from the initial set.
      state_.workingFocalLength = state_.initialFocalLength;
      state_.workingDetectorAngle = state_.initialDetectorAngle;
      state_.workingInclusionAngle = state_.initialInclusionAngle;
      state_.resetObjective = kNoObjective;
      sigma = -sigma;
    }
  }
  sigma = std::fabs(sigma);
}

}  // namespace kvx
