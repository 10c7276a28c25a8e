// Extension exports of the automatic calibration from lamp spectra: the
// lamp-line lists, the identification with its fit, the fitted axis and its
// installation.
#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "lineid/autocal_records.h"

extern "C" {

KVX_EXPORT KvxULong KVX_CALL KvxGetLampLines(const char* path,
                                             const char* elements,
                                             KvxLampLine* lines,
                                             KvxLong capacity, KvxLong* count) {
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    return kvx::GetLampLines(path, elements, lines, capacity, count);
  }));
}

KVX_EXPORT KvxULong KVX_CALL KvxInitAutocalOptions(KvxAutocalOptions* options) {
  return kvx::Plain(kvx::InitAutocalOptions(options));
}

KVX_EXPORT KvxULong KVX_CALL KvxAutoCalibrate(
    CalibHandle handle, KvxAutocalSpectrum* spectra, KvxLong spectrumCount,
    const KvxLampLine* lines, KvxLong lineCount,
    const KvxAutocalOptions* options, KvxAutocalResult* result,
    KvxIdentifiedLine* identified, KvxLong capacity) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeCalibrationAllocFailed,
      [&](kvx::SpectrographModel& m, kvx::CalibObject&) {
        return kvx::AutoCalibrateRecords(m, spectra, spectrumCount, lines,
                                         lineCount, options, result, identified,
                                         capacity);
      }));
}

KVX_EXPORT KvxULong KVX_CALL
KvxAutocalWavelengths(CalibHandle handle, const KvxAutocalResult* result,
                      double center, double* wavelengths, KvxLong count) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeCalibrationAllocFailed,
      [&](kvx::SpectrographModel& m, kvx::CalibObject&) {
        return kvx::AutocalWavelengths(m, result, center, wavelengths, count);
      }));
}

KVX_EXPORT KvxULong KVX_CALL KvxInstallAutocal(CalibHandle handle,
                                               const KvxAutocalResult* result) {
  return kvx::Plain(
      kvx::WithModel(handle, NqeCalibrationAllocFailed,
                     [&](kvx::SpectrographModel& m, kvx::CalibObject&) {
                       return kvx::InstallAutocal(m, result);
                     }));
}

}  // extern "C"
