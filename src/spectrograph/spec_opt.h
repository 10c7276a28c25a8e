// The optimisation's own state, created (and replaced) by every dispersion
// optimisation run. Sixteen doubles, in the order hosts of the interface
// know them from the parameter set exports.
#pragma once

namespace kvx {

struct SpecOptStruct {
  double workingFocalLength = 0.0;  // mm; moved by the focal-length search
  double initialFocalLength = 0.0;
  double bestFocalLength = 0.0;
  // The focal-plane scale factor is copied in but never searched.
  double workingScaleFactor = 0.0;
  double initialScaleFactor = 0.0;
  double bestScaleFactor = 0.0;
  double workingDetectorAngle = 0.0;  // degrees
  double initialDetectorAngle = 0.0;
  double bestDetectorAngle = 0.0;
  double workingInclusionAngle = 0.0;  // degrees
  double initialInclusionAngle = 0.0;
  double bestInclusionAngle = 0.0;
  double initialObjective = 0.0;  // nm
  double initialObjectiveCopy = 0.0;
  double resetObjective = 0.0;  // written on every scan turn, never read
  double bestObjective = 0.0;
};

}  // namespace kvx
