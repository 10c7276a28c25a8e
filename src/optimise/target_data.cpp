#include "optimise/target_data.h"

#include <cmath>
#include <cstdint>

#include "detector/detector_store.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/spec_opt.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

// The proposal puts a line 45 % of the active width either side of the
// range center, and the centering iteration stops below this correction.
constexpr double kEdgeFraction = 0.45;
constexpr double kCenterTolerance = 1e-05;
constexpr int kMaxCenterIterations = 10;

}  // namespace

NqeErrorCode CalcDispersionTargetData(SpectrographModel& model,
                                      double firstLine, double secondLine) {
  NqeErrorCode code = TestWavelength(model, firstLine, nullptr);
  if (code != NqeSuccess) return code;
  code = TestWavelength(model, secondLine, nullptr);
  if (code != NqeSuccess) return code;
  model.targets[0].targetWavelength = firstLine;
  model.targets[1].targetWavelength = firstLine;
  model.targets[2].targetWavelength = secondLine;
  model.targets[3].targetWavelength = secondLine;

  const DetectorStore* detectors = model.Detectors();
  if (detectors == nullptr) return NqeNullPointer;
  for (int k = 0; k < 4; ++k) {
    TargetSlot& slot = model.targets[k];
    double activeCenter = 0.0;
    code = detectors->GetActiveCenter(&activeCenter);
    if (code != NqeSuccess) return code;
    int32_t first = 0;
    int32_t last = 0;
    (void)detectors->GetFirstPixel(&first);
    (void)detectors->GetLastPixel(&last);
    const double width = static_cast<double>(int64_t{last} - first + 1);
    const bool leftEdge = k % 2 == 0;
    slot.referenceCursor = leftEdge ? activeCenter - kEdgeFraction * width
                                    : activeCenter + kEdgeFraction * width;

    // Find the center that brings the line onto the cursor; the correction
    // is applied before the convergence test.
    double center = slot.targetWavelength;
    for (int i = 0; i < kMaxCenterIterations; ++i) {
      double seen = center;
      (void)PixelWavelength(model, center, slot.referenceCursor, &seen);
      const double d = seen - slot.targetWavelength;
      center = center - d;
      if (std::fabs(d) < kCenterTolerance) break;
    }
    slot.effectiveCenter = center;
    double atRangeCenter = center;
    (void)PixelWavelength(
        model, center,
        model.geometry.regionCenterOffset + model.geometry.centerPixel,
        &atRangeCenter);
    slot.targetCenter = atRangeCenter;
  }
  return NqeSuccess;
}

NqeErrorCode ValidateTargetData(const SpectrographModel& model) {
  const double pixels = static_cast<double>(model.geometry.numPixels);
  for (const TargetSlot& slot : model.targets) {
    // Negated so that a NaN cursor is refused as well.
    if (slot.referenceCursor < 1.0 || !(slot.referenceCursor < pixels)) {
      return NqePointOutOfRange;
    }
    NqeErrorCode code = TestWavelength(model, slot.targetWavelength, nullptr);
    if (code != NqeSuccess) return code;
    code = TestWavelength(model, slot.targetCenter, nullptr);
    if (code != NqeSuccess) return code;
    // A target center down to -3000 nm is accepted on purpose.
    if (slot.targetWavelength < 0.0 || slot.targetCenter < -3000.0) {
      return NqeWavelengthUnreachable;
    }
  }
  return NqeSuccess;
}

NqeErrorCode ValidateSpecOptStruct(const SpectrographModel& model) {
  const NqeErrorCode code = ValidateTargetData(model);
  if (code != NqeSuccess) return code;
  const SpecOptStruct* opt = model.optimisation.get();
  if (opt == nullptr) return NqeNoOptimisationData;
  // Written as range tests that a NaN fails: a NaN optic would leave every
  // search empty and report the setup values as optimised.
  const double f = opt->workingFocalLength;
  if (!(f > 0.0 && f <= 10000.0)) return NqeFocalLengthOutOfRange;
  const double detector = opt->workingDetectorAngle;
  if (!(detector < 90.0 && detector > -90.0)) return NqeAngleOutOfRange;
  const double inclusion = opt->workingInclusionAngle;
  if (!(inclusion < 90.0 && inclusion >= 0.0)) return NqeAngleOutOfRange;
  return NqeSuccess;
}

}  // namespace kvx
