// Extension exports of the fits: the grating model fitted to measured lines,
// its installation and predictions, and polynomial calibrations of any
// number of points.
#include <cstdint>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "fit/fit_records.h"

using kvx::CalibObject;
using kvx::SpectrographModel;

extern "C" {

KVX_EXPORT KvxULong KVX_CALL
KvxFitGratingModel(CalibHandle handle, const KvxFitLine* lines,
                   KvxLong lineCount, KvxFitSpectrum* spectra,
                   KvxLong spectrumCount, const KvxFitOptions* options,
                   KvxGratingFit* fit, KvxFitLineResult* lineResults) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeCalibrationAllocFailed,
      [&](SpectrographModel& m, CalibObject&) {
        return kvx::FitGratingRecords(m, lines, lineCount, spectra,
                                      spectrumCount, options, fit, lineResults);
      }));
}

KVX_EXPORT KvxULong KVX_CALL KvxInstallFittedOptics(CalibHandle handle,
                                                    const KvxGratingFit* fit) {
  return kvx::Plain(kvx::WithModel(handle, NqeCalibrationAllocFailed,
                                   [&](SpectrographModel& m, CalibObject&) {
                                     return kvx::InstallFittedOpticsRecord(m,
                                                                           fit);
                                   }));
}

KVX_EXPORT KvxULong KVX_CALL KvxFittedWavelengths(CalibHandle handle,
                                                  const KvxGratingFit* fit,
                                                  double center, KvxLong count,
                                                  double* wavelengths) {
  return kvx::Plain(kvx::WithModel(handle, NqeCalibrationAllocFailed,
                                   [&](SpectrographModel& m, CalibObject&) {
                                     return kvx::FittedWavelengthsRecord(
                                         m, fit, center, count, wavelengths);
                                   }));
}

KVX_EXPORT KvxULong KVX_CALL KvxFitPolynomial(const double* x, const double* y,
                                              KvxLong count, KvxLong order,
                                              const KvxFitOptions* options,
                                              KvxPolynomialFit* fit,
                                              KvxFitLineResult* pointResults) {
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    return kvx::FitPolynomialRecords(x, y, count, order, options, fit,
                                     pointResults);
  }));
}

KVX_EXPORT KvxULong KVX_CALL
KvxEvaluatePolynomialFit(const KvxPolynomialFit* fit, double x, double* y) {
  return kvx::Plain(kvx::EvaluatePolynomialRecord(fit, x, y));
}

KVX_EXPORT KvxULong KVX_CALL KvxInstallPolynomialTable(
    CalibHandle handle, const KvxPolynomialFit* fit, KvxULong* newId) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeCalibrationAllocFailed, [&](CalibObject& o) {
        return kvx::WithId(newId, [&](uint32_t* out) {
          return kvx::InstallPolynomialRecord(o.Calibrations(), fit, out);
        });
      }));
}

}  // extern "C"
