#include "optimise/disp_params.h"

#include <cmath>
#include <memory>

#include "optimise/dispersion_objective.h"
#include "optimise/dispersion_search.h"
#include "optimise/target_data.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/spec_opt.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

// Spectrograph default angles beyond a full turn are taken as a fault of the
// host: the scans step 0.05 degrees at a time up to bounds derived from
// them and would not end in any useful time.
constexpr double kMaxDefaultAngle = 360.0;

bool AllSet(const DispParamsOut& out) {
  return out.focalLength != nullptr && out.inclusionAngle != nullptr &&
         out.detectorAngle != nullptr && out.objective != nullptr &&
         out.pixelError != nullptr;
}

void SetDescriptors(OptimisationDescriptors& d, const WorkingOptics& optics,
                    const Spectrograph& spectrograph) {
  d.focalStep = 0.2;
  d.focalStop = 1.2;
  d.focalUpper = 1.25 * optics.focalLength;
  d.focalLower = 0.75 * optics.focalLength;
  // The angle bounds come from the spectrograph's defaults, not from the
  // grating's working values.
  d.detectorAngleStep = 0.05;
  d.detectorAngleStop = 1.02;
  d.detectorAngleUpper = spectrograph.detectorAngle + 10.0;
  d.detectorAngleLower = spectrograph.detectorAngle - 10.0;
  // Prepared for a scale-factor search that no scan runs; its stop factor
  // is left as it was.
  d.scaleStep = 0.01;
  d.scaleUpper = 1.25 * optics.scaleFactor;
  d.scaleLower = 0.75 * optics.scaleFactor;
  d.inclusionStep = 0.05;
  d.inclusionUpper = 1.1 * spectrograph.inclusionAngle;
  d.inclusionLower = 0.9 * spectrograph.inclusionAngle;
}

std::unique_ptr<SpecOptStruct> StartingState(SpectrographModel& model) {
  const WorkingOptics& optics = model.optics;
  auto opt = std::make_unique<SpecOptStruct>();
  opt->workingFocalLength = opt->initialFocalLength = opt->bestFocalLength =
      optics.focalLength;
  opt->workingScaleFactor = opt->initialScaleFactor = opt->bestScaleFactor =
      optics.scaleFactor;
  opt->workingDetectorAngle = opt->initialDetectorAngle =
      opt->bestDetectorAngle = optics.detectorAngle;
  opt->workingInclusionAngle = opt->initialInclusionAngle =
      opt->bestInclusionAngle = optics.inclusionAngle;
  UpdateCursorOffsets(model);
  opt->initialObjective = opt->initialObjectiveCopy = opt->bestObjective =
      DispersionObjective(model, optics.focalLength, optics.inclusionAngle,
                          optics.detectorAngle);
  opt->resetObjective = 10000.0;
  return opt;
}

// Focal length, inclusion angle and detector angle of one parameter set.
struct Triple {
  double focalLength;
  double inclusion;
  double detectorAngle;
};

Triple Initial(const SpecOptStruct& o) {
  return {o.initialFocalLength, o.initialInclusionAngle,
          o.initialDetectorAngle};
}
Triple Best(const SpecOptStruct& o) {
  return {o.bestFocalLength, o.bestInclusionAngle, o.bestDetectorAngle};
}

NqeErrorCode PixelErrorOf(const SpectrographModel& model, const Triple& set,
                          double objective, double* pixelError) {
  return PixelError(model, set.focalLength, set.inclusion, set.detectorAngle,
                    objective, pixelError);
}

// Writes `shown` with the objective and the pixel error of `measured`;
// returns the pixel-error status.
NqeErrorCode WriteSet(const SpectrographModel& model, const DispParamsOut& out,
                      const Triple& shown, double objective,
                      const Triple& measured) {
  *out.focalLength = shown.focalLength;
  *out.inclusionAngle = shown.inclusion;
  *out.detectorAngle = shown.detectorAngle;
  *out.objective = objective;
  return PixelErrorOf(model, measured, objective, out.pixelError);
}

NqeErrorCode Install(SpectrographModel& model, const Triple& set,
                     double objective, double* objectiveOut,
                     double* pixelError) {
  if (objectiveOut == nullptr || pixelError == nullptr) return NqeNullPointer;
  InstallOpticsSet(model, set.focalLength, set.inclusion, set.detectorAngle);
  *objectiveOut = objective;
  return PixelErrorOf(model, set, objective, pixelError);
}

}  // namespace

NqeErrorCode OptimizeSpectrograph(SpectrographModel& model,
                                  const DispParamsOut& out,
                                  uint64_t* evaluations) {
  const Spectrograph* spectrograph = model.ActiveSpectrograph();
  if (spectrograph == nullptr) return NqeNoActiveSpectrograph;
  SetDescriptors(model.descriptors, model.optics, *spectrograph);
  model.optimisation = StartingState(model);
  if (const NqeErrorCode code = ValidateSpecOptStruct(model);
      code != NqeSuccess) {
    return code;
  }
  if (!(std::fabs(spectrograph->inclusionAngle) <= kMaxDefaultAngle) ||
      !(std::fabs(spectrograph->detectorAngle) <= kMaxDefaultAngle)) {
    return NqeAngleOutOfRange;
  }
  SpecOptStruct& opt = *model.optimisation;
  ObjectiveEvaluator objective(model);
  DispersionSearch(opt, model.descriptors, objective).InclusionAngleScan();
  if (evaluations != nullptr) *evaluations = objective.Evaluations();

  // The results stay in the state when the host asks for none of them.
  if (!AllSet(out)) return NqeSuccess;
  return WriteSet(model, out, Best(opt), opt.bestObjective, Best(opt));
}

NqeErrorCode PixelError(const SpectrographModel& model, double focalLength,
                        double inclusion, double detectorAngle,
                        double objective, double* pixelError) {
  *pixelError = -1.0;
  const double middle =
      (model.targets[0].targetWavelength + model.targets[2].targetWavelength) *
      0.5;
  double below = middle;
  double above = middle;
  NqeErrorCode code = WavelengthAtPixel(model, middle, -0.5, inclusion,
                                        detectorAngle, focalLength, &below);
  if (code != NqeSuccess) return code;
  code = WavelengthAtPixel(model, middle, 0.5, inclusion, detectorAngle,
                           focalLength, &above);
  if (code != NqeSuccess) return code;
  const double perPixel = above - below;
  if (perPixel != 0.0) *pixelError = std::fabs(objective / perPixel);
  return NqeSuccess;
}

NqeErrorCode GetOrigDispParams(const SpectrographModel& model,
                               const DispParamsOut& out) {
  const SpecOptStruct* opt = model.optimisation.get();
  if (opt == nullptr) return NqeNoOptimisationData;
  if (!AllSet(out)) return NqeNullPointer;
  return WriteSet(model, out, Initial(*opt), opt->initialObjective,
                  Initial(*opt));
}

NqeErrorCode GetOptimDispParams(const SpectrographModel& model,
                                const DispParamsOut& out) {
  const SpecOptStruct* opt = model.optimisation.get();
  if (opt == nullptr) return NqeNoOptimisationData;
  if (!AllSet(out)) return NqeNullPointer;
  // Hosts of the interface read here the working values the scans left
  // behind, while objective and pixel error are those of the best set.
  const Triple working{opt->workingFocalLength, opt->workingInclusionAngle,
                       opt->workingDetectorAngle};
  return WriteSet(model, out, working, opt->bestObjective, Best(*opt));
}

NqeErrorCode InstallOrigDispParams(SpectrographModel& model, double* objective,
                                   double* pixelError) {
  const SpecOptStruct* opt = model.optimisation.get();
  if (opt == nullptr) return NqeNoOptimisationData;
  return Install(model, Initial(*opt), opt->initialObjective, objective,
                 pixelError);
}

NqeErrorCode InstallOptimDispParams(SpectrographModel& model, double* objective,
                                    double* pixelError) {
  const SpecOptStruct* opt = model.optimisation.get();
  if (opt == nullptr) return NqeNoOptimisationData;
  return Install(model, Best(*opt), opt->bestObjective, objective, pixelError);
}

void InstallOpticsSet(SpectrographModel& model, double focalLength,
                      double inclusion, double detectorAngle) {
  model.optics.focalLength = focalLength;
  model.optics.inclusionAngle = inclusion;
  model.optics.detectorAngle = detectorAngle;
  // Without an active grating (all spectrographs removed) only the working
  // optics take the set.
  if (Grating* grating = model.ActiveGrating(); grating != nullptr) {
    grating->focalLength = focalLength;
    grating->inclusionAngle = inclusion;
    grating->detectorAngle = detectorAngle;
  }
}

double CurrentDispersionObjective(SpectrographModel& model) {
  UpdateCursorOffsets(model);
  return DispersionObjective(model, model.optics.focalLength,
                             model.optics.inclusionAngle,
                             model.optics.detectorAngle);
}

}  // namespace kvx
