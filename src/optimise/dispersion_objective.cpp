#include "optimise/dispersion_objective.h"

#include <cmath>

#include "spectrograph/grating_equation.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

// Sum of the errors plus the largest one (taken only when strictly larger),
// times 0.2.
struct ErrorSum {
  double sum = 0.0;
  double worst = 0.0;
  void Add(double target, double predicted) {
    const double e = std::fabs(target - predicted);
    sum += e;
    if (e > worst) worst = e;
  }
  double Objective() const { return (sum + worst) * 0.2; }
};

}  // namespace

void UpdateCursorOffsets(SpectrographModel& model) {
  const double origin =
      model.geometry.centerPixel + model.optics.centerPixelOffset;
  for (TargetSlot& slot : model.targets) {
    slot.cursorOffset = slot.referenceCursor - origin;
  }
}

double DispersionObjective(const SpectrographModel& model, double focalLength,
                           double inclusion, double detectorAngle) {
  ErrorSum errors;
  for (const TargetSlot& slot : model.targets) {
    double predicted = slot.effectiveCenter;
    // On failure the equation leaves the center in `predicted`.
    (void)WavelengthAtPixel(model, slot.effectiveCenter, slot.cursorOffset,
                            inclusion, detectorAngle, focalLength, &predicted);
    errors.Add(slot.targetWavelength, predicted);
  }
  return errors.Objective();
}

ObjectiveEvaluator::ObjectiveEvaluator(const SpectrographModel& model) {
  const WorkingOptics& optics = model.optics;
  const double order = static_cast<double>(optics.order);
  equationActive_ = optics.order != 0 && optics.grooveDensity != 0.0;
  if (equationActive_) scale_ = 1000000.0 / (order * optics.grooveDensity);
  for (int k = 0; k < 4; ++k) {
    const TargetSlot& source = model.targets[k];
    Slot& slot = slots_[k];
    slot.target = source.targetWavelength;
    slot.center = source.effectiveCenter;
    slot.lineTerm =
        order * optics.grooveDensity * source.effectiveCenter * 1e-06;
    slot.x = optics.scaleFactor * model.geometry.pixelWidth *
             source.cursorOffset * 0.001;
  }
}

void ObjectiveEvaluator::SetInclusionAngle(double inclusion) {
  const double phi = inclusion * kHalfDegree;
  const double divisor = 2.0 * std::cos(phi);
  for (Slot& slot : slots_) {
    const double s = slot.lineTerm / divisor;
    slot.reachable = equationActive_ && std::fabs(s) < 1.0;
    if (!slot.reachable) continue;
    const double theta = std::asin(s);
    slot.sinAlpha = std::sin(theta - phi);
    slot.thetaPhi = theta + phi;
  }
}

void ObjectiveEvaluator::SetDetectorAngle(double detectorAngle) {
  const double gamma = detectorAngle * kDegree;
  gammaZero_ = gamma == 0.0;
  const double c = std::cos(gamma);
  const double s = std::sin(gamma);
  for (Slot& slot : slots_) {
    slot.xCos = slot.x * c;
    slot.xSin = slot.x * s;
  }
}

double ObjectiveEvaluator::Evaluate(double focalLength) {
  ++evaluations_;
  ErrorSum errors;
  for (const Slot& slot : slots_) {
    double predicted = slot.center;
    if (slot.reachable) {
      const double delta =
          gammaZero_ ? std::atan(slot.x / focalLength)
                     : std::atan(slot.xCos / (focalLength + slot.xSin));
      predicted = (slot.sinAlpha + std::sin(slot.thetaPhi + delta)) * scale_;
    }
    errors.Add(slot.target, predicted);
  }
  return errors.Objective();
}

}  // namespace kvx
