// The automatic calibration at the module's boundary: the records of the
// extension exports turned into the internal types and back.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

NqeErrorCode GetLampLines(const char* path, const char* elements,
                          KvxLampLine* lines, int32_t capacity, KvxLong* count);

NqeErrorCode InitAutocalOptions(KvxAutocalOptions* options);

NqeErrorCode AutoCalibrateRecords(
    const SpectrographModel& model, KvxAutocalSpectrum* spectra,
    int32_t spectrumCount, const KvxLampLine* lines, int32_t lineCount,
    const KvxAutocalOptions* options, KvxAutocalResult* result,
    KvxIdentifiedLine* identified, int32_t capacity);

NqeErrorCode AutocalWavelengths(const SpectrographModel& model,
                                const KvxAutocalResult* result, double center,
                                double* wavelengths, int32_t count);

NqeErrorCode InstallAutocal(SpectrographModel& model,
                            const KvxAutocalResult* result);

}  // namespace kvx
