#include "fit/fit_records.h"

#include <cmath>
#include <span>
#include <vector>

#include "fit/grating_fit.h"
#include "fit/poly_fit.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

constexpr double kDefaultClipSigmas = 4.0;

// Zero fields of the options mean the defaults; a negative clipSigmas
// switches rejection off.
double ClipSigmas(const KvxFitOptions* options) {
  if (options == nullptr || options->clipSigmas == 0.0) {
    return kDefaultClipSigmas;
  }
  return options->clipSigmas;
}

GratingOptics OpticsOf(const KvxGratingFit& fit) {
  return {fit.focalLength, fit.inclusionAngle, fit.detectorAngle};
}

// The record's polynomial, checked: an order the record cannot hold or a
// degenerate scale would read outside it or divide by zero.
NqeErrorCode PolynomialOf(const KvxPolynomialFit* fit, PolyFitResult* out) {
  if (fit == nullptr) return NqeNullPointer;
  if (fit->order < 0 || fit->order > kMaxFitOrder) return NqeBadPolyOrder;
  if (!std::isfinite(fit->xCenter) || !std::isfinite(fit->xHalfRange) ||
      fit->xHalfRange == 0.0) {
    return NqePointOutOfRange;
  }
  out->order = fit->order;
  out->xCenter = fit->xCenter;
  out->xHalfRange = fit->xHalfRange;
  for (int k = 0; k < kFitTerms; ++k) {
    out->coefficients[static_cast<size_t>(k)] = fit->coefficients[k];
  }
  return NqeSuccess;
}

}  // namespace

NqeErrorCode FitGratingRecords(const SpectrographModel& model,
                               const KvxFitLine* lines, int32_t lineCount,
                               KvxFitSpectrum* spectra, int32_t spectrumCount,
                               const KvxFitOptions* options, KvxGratingFit* fit,
                               KvxFitLineResult* lineResults) {
  if (lines == nullptr || spectra == nullptr || fit == nullptr) {
    return NqeNullPointer;
  }
  if (spectrumCount < 1) return NqeBadNumber;
  if (lineCount < 3) return NqeTooFewCalibrationPoints;
  std::vector<FitLine> input(static_cast<size_t>(lineCount));
  for (size_t i = 0; i < input.size(); ++i) {
    input[i] = {lines[i].pixel, lines[i].wavelength, lines[i].spectrum};
  }
  std::vector<double> starts(static_cast<size_t>(spectrumCount));
  for (size_t s = 0; s < starts.size(); ++s) {
    starts[s] = spectra[s].requestedCenter;
  }
  GratingFitOptions settings;  // its defaults stand for zero fields
  settings.clipSigmas = ClipSigmas(options);
  if (options != nullptr) {
    settings.fixed = static_cast<uint32_t>(options->fixed) &
                     (kFixFocalLength | kFixInclusionAngle | kFixDetectorAngle |
                      kFixCenters);
    if (options->clipFloor != 0.0)
      settings.clipFloorPixels = options->clipFloor;
    if (options->maxEvaluations > 0) {
      settings.maxEvaluations = options->maxEvaluations;
    }
  }
  GratingFitResult result;
  const NqeErrorCode code =
      FitGratingModel(model, input, starts, settings, &result);
  if (code != NqeSuccess) return code;

  *fit = KvxGratingFit{};
  fit->focalLength = result.optics.focalLength;
  fit->inclusionAngle = result.optics.inclusionAngle;
  fit->detectorAngle = result.optics.detectorAngle;
  fit->focalLengthSigma = result.sigma.focalLength;
  fit->inclusionAngleSigma = result.sigma.inclusionAngle;
  fit->detectorAngleSigma = result.sigma.detectorAngle;
  fit->rmsNm = result.rmsNm;
  fit->rmsPixels = result.rmsPixels;
  fit->linesUsed = result.used;
  fit->linesRejected = result.rejected;
  fit->evaluations = result.evaluations;
  for (size_t s = 0; s < starts.size(); ++s) {
    spectra[s].center = result.centers[s];
    spectra[s].centerSigma = result.centerSigmas[s];
    spectra[s].effectiveCenter = result.effectiveCenters[s];
    spectra[s].linesUsed = result.linesUsed[s];
    spectra[s].reserved36 = 0;
  }
  if (lineResults != nullptr) {
    for (size_t i = 0; i < input.size(); ++i) {
      const GratingFitLine& line = result.lines[i];
      lineResults[i] = {line.fittedWavelength, line.residualNm,
                        line.residualPixels, line.rejected ? 1 : 0, 0};
    }
  }
  return NqeSuccess;
}

NqeErrorCode InstallFittedOpticsRecord(SpectrographModel& model,
                                       const KvxGratingFit* fit) {
  if (fit == nullptr) return NqeNullPointer;
  InstallFittedOptics(model, OpticsOf(*fit));
  return NqeSuccess;
}

NqeErrorCode FittedWavelengthsRecord(const SpectrographModel& model,
                                     const KvxGratingFit* fit, double center,
                                     int32_t count, double* wavelengths) {
  if (fit == nullptr || wavelengths == nullptr) return NqeNullPointer;
  if (count != model.geometry.numPixels) return NqePixelCountMismatch;
  return FittedWavelengths(model, OpticsOf(*fit), center, count, wavelengths);
}

NqeErrorCode FitPolynomialRecords(const double* x, const double* y,
                                  int32_t count, int32_t order,
                                  const KvxFitOptions* options,
                                  KvxPolynomialFit* fit,
                                  KvxFitLineResult* pointResults) {
  if (x == nullptr || y == nullptr || fit == nullptr) return NqeNullPointer;
  if (order < 0 || order > kMaxFitOrder) return NqeBadPolyOrder;
  if (count < order + 1) return NqeTooFewCalibrationPoints;
  PolyFitOptions settings;
  settings.clipSigmas = ClipSigmas(options);
  if (options != nullptr) settings.clipFloor = options->clipFloor;
  PolyFitResult result;
  const size_t n = static_cast<size_t>(count);
  const NqeErrorCode code = FitOrthogonalPolynomial(
      std::span<const double>(x, n), std::span<const double>(y, n), order,
      settings, &result);
  if (code != NqeSuccess) return code;
  *fit = KvxPolynomialFit{};
  for (int k = 0; k < kFitTerms; ++k) {
    fit->coefficients[k] = result.coefficients[static_cast<size_t>(k)];
    fit->sigmas[k] = k <= order ? result.sigmas[static_cast<size_t>(k)] : 0.0;
  }
  for (int k = 0; k < kFitTerms * kFitTerms; ++k) {
    fit->covariance[k] = result.covariance[static_cast<size_t>(k)];
  }
  fit->xCenter = result.xCenter;
  fit->xHalfRange = result.xHalfRange;
  fit->rms = result.rms;
  fit->order = result.order;
  fit->pointsUsed = result.used;
  fit->pointsRejected = result.rejectedCount;
  if (pointResults != nullptr) {
    for (size_t i = 0; i < n; ++i) {
      pointResults[i] = {result.fitted[i], result.residuals[i], 0.0,
                         result.rejected[i] ? 1 : 0, 0};
    }
  }
  return NqeSuccess;
}

NqeErrorCode EvaluatePolynomialRecord(const KvxPolynomialFit* fit, double x,
                                      double* y) {
  PolyFitResult polynomial;
  const NqeErrorCode code = PolynomialOf(fit, &polynomial);
  if (code != NqeSuccess) return code;
  if (y == nullptr) return NqeNullPointer;
  *y = polynomial.Evaluate(x);
  return NqeSuccess;
}

NqeErrorCode InstallPolynomialRecord(CalibrationStore& store,
                                     const KvxPolynomialFit* fit,
                                     uint32_t* newId) {
  if (newId != nullptr) *newId = 0;
  PolyFitResult polynomial;
  const NqeErrorCode code = PolynomialOf(fit, &polynomial);
  if (code != NqeSuccess) return code;
  return InstallPolynomialTable(store, polynomial, newId);
}

}  // namespace kvx
