// The center wavelength of the spectrograph (effective center, drive value),
// the center-offset and slope calibrations, the stepping of a wide range
// into several centers, and the calibration made from the grating model.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

NqeErrorCode SetCenterWavelength(SpectrographModel& model, double wavelength);
NqeErrorCode SetCenterCalibValue(SpectrographModel& model, double value);
// driveValue may be null.
NqeErrorCode ConvertCenterWavelength(SpectrographModel& model,
                                     double wavelength, double* driveValue);
NqeErrorCode CalcCenterOffset(SpectrographModel& model, double dataPoint);
NqeErrorCode CalcSlopeAdjust(SpectrographModel& model, double a, double b);
NqeErrorCode GetNumberSteps(SpectrographModel& model, double start, double end,
                            double overlap, int32_t* steps);
NqeErrorCode GetStepCenterValues(SpectrographModel& model, int32_t count,
                                 double* values);
NqeErrorCode SetupSpecCalArray(SpectrographModel& model);

}  // namespace kvx
