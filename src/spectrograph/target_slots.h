// The four target slots through which a dispersion measurement is organised:
// a target wavelength with the center it was measured at and the reference
// cursor pixel where the host saw it. Slots are 1 to 4 at the interface.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

NqeErrorCode SetRefCursorPosition(SpectrographModel& model, int32_t slot,
                                  double pixel);
NqeErrorCode GetRefCursorPosition(SpectrographModel& model, int32_t slot,
                                  double* pixel);
NqeErrorCode SetTargetWaveLength(SpectrographModel& model, int32_t slot,
                                 double wavelength);
NqeErrorCode GetTargetWaveLength(SpectrographModel& model, int32_t slot,
                                 double* wavelength);

}  // namespace kvx
