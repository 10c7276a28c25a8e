// Least-squares fit of the grating model to any number of measured lines,
// possibly from spectra taken at several center wavelengths: the optics
// shared by all spectra (focal length, inclusion angle, detector angle) and,
// per spectrum, the wavelength that falls on the center of the active pixel
// range. The model is the library's own grating equation, evaluated by the
// same code as every other pixel computation.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

// One measured line: the pixel where it was found, its known wavelength,
// the spectrum (0-based) it was measured in and its weight in the fit, the
// inverse of the pixel's uncertainty in any unit common to all lines (a
// strong line's peak is found far more precisely than a faint one's).
struct FitLine {
  double pixel = 0.0;
  double wavelength = 0.0;  // nm
  int32_t spectrum = 0;
  double weight = 1.0;
};

// The three optics parameters the fit shares between spectra.
struct GratingOptics {
  double focalLength = 0.0;     // mm
  double inclusionAngle = 0.0;  // degrees
  double detectorAngle = 0.0;   // degrees
};

// Parameters held at their start values.
enum GratingFitFixed : uint32_t {
  kFixFocalLength = 1u,
  kFixInclusionAngle = 2u,
  kFixDetectorAngle = 4u,
  kFixCenters = 8u,
};

struct GratingFitOptions {
  uint32_t fixed = 0;  // GratingFitFixed bits
  // Lines whose residual exceeds clipSigmas robust standard deviations
  // (1.4826 x median absolute residual) and clipFloorPixels are rejected,
  // the worst one at a time; clipSigmas <= 0 rejects nothing.
  double clipSigmas = 4.0;
  double clipFloorPixels = 0.25;
  // Per least-squares run, the Jacobian's evaluations not counted.
  int32_t maxEvaluations = 400;
};

struct GratingFitLine {
  double fittedWavelength = 0.0;  // model wavelength at the line's pixel
  double residualNm = 0.0;        // known - fitted
  double residualPixels = 0.0;    // the same over the local dispersion
  bool rejected = false;
};

struct GratingFitResult {
  GratingOptics optics;
  GratingOptics sigma;  // standard uncertainties; -1.0: undetermined
  // Per spectrum: the fitted wavelength at the center of the active range
  // (what CalibSetCenterWavelength is to be given to reproduce it), its
  // uncertainty, the effective center of the fitted model and the lines
  // used.
  std::vector<double> centers;
  std::vector<double> centerSigmas;
  std::vector<double> effectiveCenters;
  std::vector<int32_t> linesUsed;
  std::vector<GratingFitLine> lines;  // in the order given
  double rmsNm = 0.0;                 // over the lines used
  double rmsPixels = 0.0;
  int32_t used = 0;
  int32_t rejected = 0;
  int32_t evaluations = 0;  // model evaluations of all least-squares runs
  uint32_t fixed = 0;       // the parameters held (GratingFitFixed bits)
};

// Fits the model's working optics (start values) and the per-spectrum
// centers (start values `startCenters`, one per spectrum) to `lines`.
// The model itself is not changed.
// 11000 null result; 11027 fewer than 3 lines, or fewer lines than free
// parameters (also after rejection); 11047 a spectrum index outside
// 0..startCenters.size()-1, no spectrum or a weight not above 0; 11016 a pixel
// outside 0.5..N+0.5 or not finite; 11065 a wavelength or center the grating
// cannot reach, or a model that turns unreachable; 11100 the fit did not
// converge.
NqeErrorCode FitGratingModel(const SpectrographModel& model,
                             std::span<const FitLine> lines,
                             std::span<const double> startCenters,
                             const GratingFitOptions& options,
                             GratingFitResult* result);

// The effective center for `optics` at which the center of the active pixel
// range sees `center` (the model's convention, iterated to convergence).
NqeErrorCode EffectiveCenterFor(const SpectrographModel& model,
                                const GratingOptics& optics, double center,
                                double* effective);

// Wavelength of one pixel, or of pixels 1..count into wavelengths[0..count),
// with `optics` and the model's other working values, for the spectrum whose
// active-range center sees `center`: a fitted spectrum with its fitted
// center, or any other grating position.
NqeErrorCode FittedWavelengthAt(const SpectrographModel& model,
                                const GratingOptics& optics, double center,
                                double pixel, double* wavelength);
NqeErrorCode FittedWavelengths(const SpectrographModel& model,
                               const GratingOptics& optics, double center,
                               int32_t count, double* wavelengths);

// Writes `optics` into the working optics and the active grating, as the
// installation of optimised dispersion parameters does.
void InstallFittedOptics(SpectrographModel& model, const GratingOptics& optics);

}  // namespace kvx
