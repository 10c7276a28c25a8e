// Exports of the peak family: the strongest peaks of a spectrum and the peak
// nearest to a data point.
#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "peaks/find_peaks.h"

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibFindPeaks(CalibHandle handle,
                                            SpectrumData* spectrum,
                                            double* positions, double* values,
                                            KvxLong maxPeaks,
                                            KvxLong* peakCount) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::FindPeaks(o.Calibrations(), spectrum, positions, values,
                              maxPeaks, peakCount);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibFindNearestPeak(CalibHandle handle,
                                                  SpectrumData* spectrum,
                                                  double start,
                                                  double* position) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::FindNearestPeak(o.Calibrations(), spectrum, start,
                                    position);
      }));
}

}  // extern "C"
