#include "peaks/find_peaks.h"

#include <algorithm>

#include "calibration/calibration_store.h"
#include "peaks/peak_search.h"
#include "peaks/strongest_peaks.h"

namespace kvx {

NqeErrorCode FindPeaks(const CalibrationStore& store,
                       const SpectrumData* spectrum, double* positions,
                       double* values, int32_t maxPeaks, KvxLong* peakCount) {
  if (spectrum == nullptr) return NqeNullPointer;
  // No samples: success with nothing written.
  if (!PeakSearch::HasData(*spectrum)) return NqeSuccess;
  if (peakCount == nullptr) return NqeNullPointer;
  if (maxPeaks > 0 && (positions == nullptr || values == nullptr)) {
    return NqeNullPointer;
  }
  PeakSearch search;
  search.LoadPeakData(*spectrum, store.peakThresholdPercent);
  if (maxPeaks > 0) {
    std::fill_n(positions, maxPeaks, 0.0);
    std::fill_n(values, maxPeaks, 0.0);
  }

  const int64_t n = search.Count();
  const double threshold = search.Threshold();
  StrongestPeaks strongest(std::max<int32_t>(maxPeaks, 0));
  int32_t found = 0;
  int64_t i = 0;
  for (;;) {
    // A curvature equal to the threshold counts as below it.
    while (i < n && search.Curvature(i) <= threshold) ++i;
    if (i >= n) break;
    PeakSearch::Peak peak;
    const int64_t r = search.LocatePeak(i, &peak);
    if (r < 0) break;
    if (maxPeaks > 0) strongest.Offer(peak.position, peak.height);
    ++found;  // dropped peaks count too
    i = r;
  }

  if (maxPeaks > 0) {
    strongest.WriteTo(positions, values);
    // Every slot, also the unfilled ones at data point 0.0, gets the
    // calibrated value of its position; a failed conversion is ignored.
    for (int32_t j = 0; j < maxPeaks; ++j) {
      (void)store.DataPointToCalibValue(positions[j], &values[j], true);
    }
  }
  *peakCount = found;
  return NqeSuccess;
}

NqeErrorCode FindNearestPeak(const CalibrationStore& store,
                             const SpectrumData* spectrum, double start,
                             double* position) {
  if (spectrum == nullptr) return NqeNullPointer;
  if (!PeakSearch::HasData(*spectrum)) return NqeSuccess;
  if (position == nullptr) return NqeNullPointer;
  // The start's sample is start truncated toward zero, minus 1; it must lie
  // in the data (NaN and infinities do not).
  const int64_t n = spectrum->count;
  if (!(start >= 1.0 && start < static_cast<double>(n) + 1.0)) {
    return NqePeakStartOutOfRange;
  }
  const auto s = static_cast<int64_t>(start) - 1;
  PeakSearch search;
  search.LoadPeakData(*spectrum, store.peakThresholdPercent);
  const double threshold = search.Threshold();

  PeakSearch::Peak peak;
  if (search.Curvature(s) > threshold) {
    // The start lies on a peak.
    (void)search.LocatePeak(s, &peak);
  } else {
    int64_t forward = s + 1;
    while (forward < n && !(search.Curvature(forward) > threshold)) ++forward;
    int64_t back = s - 1;
    while (back >= 0 && !(search.Curvature(back) > threshold)) --back;
    if (back < 0) {
      if (forward >= n) return NqeNoPeakFound;
      (void)search.LocatePeak(forward, &peak);
    } else if (forward < n && forward - s <= s - back) {
      // Equal distances go forward.
      (void)search.LocatePeak(forward, &peak);
    } else {
      // Back to where the earlier peak begins.
      int64_t k = back;
      while (k >= 0 && search.Curvature(k) >= threshold) --k;
      (void)search.LocatePeak(std::max<int64_t>(k, 0), &peak);
    }
  }
  // Without a valley after the start the position is 0.0 (no data point).
  *position = peak.position;
  return NqeSuccess;
}

}  // namespace kvx
