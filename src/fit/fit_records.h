// The fits as the extension exports hand them out: the interface's records
// in, the fit, the records out. Nothing is written on a failure.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;
class CalibrationStore;

NqeErrorCode FitGratingRecords(const SpectrographModel& model,
                               const KvxFitLine* lines, int32_t lineCount,
                               KvxFitSpectrum* spectra, int32_t spectrumCount,
                               const KvxFitOptions* options, KvxGratingFit* fit,
                               KvxFitLineResult* lineResults);
NqeErrorCode InstallFittedOpticsRecord(SpectrographModel& model,
                                       const KvxGratingFit* fit);
// count must be the pixel count of the model's detector geometry.
NqeErrorCode FittedWavelengthsRecord(const SpectrographModel& model,
                                     const KvxGratingFit* fit, double center,
                                     int32_t count, double* wavelengths);

NqeErrorCode FitPolynomialRecords(const double* x, const double* y,
                                  int32_t count, int32_t order,
                                  const KvxFitOptions* options,
                                  KvxPolynomialFit* fit,
                                  KvxFitLineResult* pointResults);
NqeErrorCode EvaluatePolynomialRecord(const KvxPolynomialFit* fit, double x,
                                      double* y);
NqeErrorCode InstallPolynomialRecord(CalibrationStore& store,
                                     const KvxPolynomialFit* fit,
                                     uint32_t* newId);

}  // namespace kvx
