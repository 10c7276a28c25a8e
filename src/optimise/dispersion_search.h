// The three nested searches of the dispersion optimisation: a focal-length
// line search inside a detector-angle search inside a scan over the
// inclusion angle. They move the optimisation state's working values and
// record the best triple seen; what each search leaves behind in the
// working values is part of the interface (the optimised parameter set that
// hosts read is the working set).
#pragma once

#include "optimise/dispersion_objective.h"

namespace kvx {

struct OptimisationDescriptors;
struct SpecOptStruct;

class DispersionSearch {
 public:
  // `objective` must have been made from the model whose slots and optics
  // the search is to fit.
  DispersionSearch(SpecOptStruct& state, OptimisationDescriptors& descriptors,
                   ObjectiveEvaluator& objective)
      : state_(state), descriptors_(descriptors), objective_(objective) {}

  // Focal length up from the working value, then down from it, each way
  // until the bound or until the objective rises past 1.2 x the best. Leaves
  // the working focal length at the best one; returns the best objective.
  double LineSearch();
  // The same over the detector angle (stop factor 1.02), one line search
  // per angle. Leaves the best angle and the initial focal length.
  void DetectorAngleSearch();
  // Every inclusion angle from the working one up to the upper bound, then
  // from it down to the lower bound, one detector-angle search each.
  void InclusionAngleScan();

 private:
  SpecOptStruct& state_;
  OptimisationDescriptors& descriptors_;
  ObjectiveEvaluator& objective_;
};

}  // namespace kvx
