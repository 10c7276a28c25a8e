// How well a trial set of optics (focal length, inclusion angle, detector
// angle) predicts the four measured target lines: the mean of the four
// wavelength errors with the worst counted twice, in nanometres.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

// Sets every slot's cursor offset Q = U - (c + o) from its reference cursor.
void UpdateCursorOffsets(SpectrographModel& model);

// The objective through the grating equation itself, one full evaluation per
// slot. A slot whose line cannot be reached counts with its effective center
// as the predicted wavelength (the equation's status is ignored on purpose).
double DispersionObjective(const SpectrographModel& model, double focalLength,
                           double inclusion, double detectorAngle);

// The same objective for the searches, which hold the inclusion angle for a
// whole detector-angle search and the detector angle for a whole focal-length
// search: the arcsine and incidence terms are taken once per inclusion angle,
// the detector angle's sine and cosine once per detector angle, so a
// focal-length step costs one arctangent and one sine per slot. Every result
// is bit-identical to DispersionObjective: the same operations in the same
// order, only computed earlier. Reads the model's slots and optics once, at
// construction.
class ObjectiveEvaluator {
 public:
  explicit ObjectiveEvaluator(const SpectrographModel& model);

  void SetInclusionAngle(double inclusion);
  void SetDetectorAngle(double detectorAngle);
  double Evaluate(double focalLength);

  // Objective evaluations made so far.
  uint64_t Evaluations() const { return evaluations_; }

 private:
  struct Slot {
    double target = 0.0;
    double center = 0.0;
    double lineTerm = 0.0;  // m G E 1e-06, the numerator of the arcsine
    double x = 0.0;         // distance along the focal plane, mm
    bool reachable = false;
    double sinAlpha = 0.0;  // sine of the angle of incidence
    double thetaPhi = 0.0;  // rotation angle plus half the inclusion angle
    double xCos = 0.0;      // x cos(gamma)
    double xSin = 0.0;      // x sin(gamma)
  };

  Slot slots_[4];
  bool equationActive_ = false;  // order and groove density both non-zero
  bool gammaZero_ = true;
  double scale_ = 0.0;  // 1000000 / (m G)
  uint64_t evaluations_ = 0;
};

}  // namespace kvx
