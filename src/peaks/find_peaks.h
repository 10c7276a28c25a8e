// Peak finding in a spectrum handed over as a raw sample array: the
// strongest peaks with their calibrated values, and the peak nearest to a
// data point. Thresholds come from the calibration store's
// peakThresholdPercent; positions are 1-based data points.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibrationStore;

NqeErrorCode FindPeaks(const CalibrationStore& store,
                       const SpectrumData* spectrum, double* positions,
                       double* values, int32_t maxPeaks, KvxLong* peakCount);

NqeErrorCode FindNearestPeak(const CalibrationStore& store,
                             const SpectrumData* spectrum, double start,
                             double* position);

}  // namespace kvx
