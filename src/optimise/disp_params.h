// The dispersion optimisation run and the two parameter sets it produces
// (the initial optics and the optimised ones): reading them with their
// objective and pixel error, and installing either into the model.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

// One parameter set as the exports hand it out. Any pointer may be null for
// OptimizeSpectrograph (then nothing is written); the readers refuse nulls.
struct DispParamsOut {
  double* focalLength;
  double* inclusionAngle;
  double* detectorAngle;
  double* objective;
  double* pixelError;
};

// Replaces the optimisation state, validates it and runs the scans. The
// model's working optics stay as they are. `evaluations` (may be null)
// receives the number of objective evaluations of the scans.
NqeErrorCode OptimizeSpectrograph(SpectrographModel& model,
                                  const DispParamsOut& out,
                                  uint64_t* evaluations = nullptr);

// The objective of a set expressed in pixels near the middle of the two
// target lines. Writes -1.0 first; a failing grating evaluation is returned.
NqeErrorCode PixelError(const SpectrographModel& model, double focalLength,
                        double inclusion, double detectorAngle,
                        double objective, double* pixelError);

NqeErrorCode GetOrigDispParams(const SpectrographModel& model,
                               const DispParamsOut& out);
// The working values of the optimisation state, not the best ones.
NqeErrorCode GetOptimDispParams(const SpectrographModel& model,
                                const DispParamsOut& out);
NqeErrorCode InstallOrigDispParams(SpectrographModel& model, double* objective,
                                   double* pixelError);
NqeErrorCode InstallOptimDispParams(SpectrographModel& model, double* objective,
                                    double* pixelError);

// Writes a focal length, inclusion angle and detector angle into the working
// optics and into the active grating (when there is one): what installing a
// parameter set means.
void InstallOpticsSet(SpectrographModel& model, double focalLength,
                      double inclusion, double detectorAngle);

// The objective of the model's working optics with freshly computed cursor
// offsets (the parameter interface's view of the fit).
double CurrentDispersionObjective(SpectrographModel& model);

}  // namespace kvx
