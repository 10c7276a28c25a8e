// Calibration point files: a "CCD_Info" header section and one
// "Seg%d_Pixel_Calib" section per segment, each listing pixel positions and
// wavelengths of calibration points. Every function first refuses a null
// file name (11089), then a version other than 1 (11081).
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibrationStore;

// "Num_Segments" of the header (0 when the key is missing).
NqeErrorCode GetNumSegments(const char* fileName, int16_t version,
                            int32_t* numSegments);
// "Number_Points" of a segment; the segment is not range-checked.
NqeErrorCode GetNumPoints(const char* fileName, int16_t version,
                          int32_t segment, int32_t* numPoints);
// Up to maxPoints points of a segment; a missing point key reads as 0.
NqeErrorCode LoadCalibPoints(const char* fileName, int16_t version,
                             int32_t segment, CalibPoint* points,
                             int32_t maxPoints);
// Builds a calibration record from one segment (at most 10 points) and
// loads it into the store's active calibration as CalibLoadCalibration
// does. A failure leaves every calibration as it was.
NqeErrorCode LoadCalibFile(CalibrationStore& calibrations, const char* fileName,
                           int16_t version, int32_t segment,
                           double wavelengthOffset, double laserLine);

}  // namespace kvx
