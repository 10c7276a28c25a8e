// Calibration point files: a "CCD_Info" header section and one
// "Seg%d_Pixel_Calib" section per segment, each listing pixel positions and
// wavelengths of calibration points.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibrationStore;

NqeErrorCode GetNumSegments(const char* fileName, int16_t version,
                            int32_t* numSegments);
NqeErrorCode GetNumPoints(const char* fileName, int16_t version,
                          int32_t segment, int32_t* numPoints);
NqeErrorCode LoadCalibPoints(const char* fileName, int16_t version,
                             int32_t segment, CalibPoint* points,
                             int32_t maxPoints);
// Builds a calibration record from one segment and loads it into the
// store's active calibration as CalibLoadCalibration does.
NqeErrorCode LoadCalibFile(CalibrationStore& calibrations,
                           const char* fileName, int16_t version,
                           int32_t segment, double wavelengthOffset,
                           double laserLine);

}  // namespace kvx
