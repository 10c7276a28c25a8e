// Data points and pixels. While the scan pattern is enabled and not empty,
// data points are numbered through the regions in list order, each region
// giving numGroups points of `binning` pixels; otherwise data points are
// pixels.
#include <cstdint>
#include <limits>

#include "detector/detector_store.h"

namespace kvx {

namespace {

bool FitsInt32(int64_t value) {
  return value >= std::numeric_limits<int32_t>::min() &&
         value <= std::numeric_limits<int32_t>::max();
}

}  // namespace

bool DetectorStore::PatternActive() const {
  return scanPatternEnabled_ && active_ != nullptr && !active_->regions.empty();
}

NqeErrorCode DetectorStore::CountDataPoints(int32_t* count) {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  int64_t total = active_->numPixels;
  if (PatternActive()) {
    total = 0;
    for (const RegionEntry& region : active_->regions) {
      total += region.numGroups;
    }
    // Only regions with negative group counts can push the sum past 32
    // bits; such a pattern has no usable count and is refused as a bad
    // region shape, leaving the last count as it was.
    if (!FitsInt32(total)) return NqeBadRegionShape;
  }
  dataPointCount = static_cast<int32_t>(total);
  if (count != nullptr) *count = dataPointCount;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetFirstPixel(int32_t* pixel) const {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  if (pixel == nullptr) return NqeNullPointer;
  *pixel = PatternActive() ? active_->regions.front().startPixel : 1;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetLastPixel(int32_t* pixel) const {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  if (pixel == nullptr) return NqeNullPointer;
  int64_t last = active_->numPixels;
  if (PatternActive()) {
    last = active_->regions.back().LastPixel();
    // A region with a negative extent can end below any 32-bit pixel.
    if (!FitsInt32(last)) return NqeRegionOutOfRange;
  }
  *pixel = static_cast<int32_t>(last);
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetActiveCenter(double* center) const {
  int32_t first = 0;
  int32_t last = 0;
  NqeErrorCode code = GetFirstPixel(&first);
  if (code != NqeSuccess) return code;
  code = GetLastPixel(&last);
  if (code != NqeSuccess) return code;
  if (center == nullptr) return NqeNullPointer;
  // The integer sum comes first, as the interface defines it.
  *center = static_cast<double>(int64_t{first} + last) * 0.5;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetCenterOffset(double* offset) {
  double active = 0.0;
  double detector = 0.0;
  NqeErrorCode code = GetActiveCenter(&active);
  if (code != NqeSuccess) return code;
  code = GetDetectorCenter(&detector);
  if (code != NqeSuccess) return code;
  if (offset == nullptr) return NqeNullPointer;
  *offset = active - detector;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::DataPointToPixel(double dataPoint,
                                             double* pixel) const {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  if (pixel == nullptr) return NqeNullPointer;
  if (!PatternActive()) {
    *pixel = dataPoint;
    return NqeSuccess;
  }
  double x = dataPoint;
  for (const RegionEntry& region : active_->regions) {
    if (x <= region.numGroups) {
      *pixel = region.binning * (x - 0.5) + (region.startPixel - 0.5);
      return NqeSuccess;
    }
    x = x - region.numGroups;
  }
  // Beyond the last region the data point comes back unchanged; this
  // direction has no range error.
  *pixel = dataPoint;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::PixelToDataPoint(double pixel,
                                             double* dataPoint) const {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  if (dataPoint == nullptr) return NqeNullPointer;
  if (!PatternActive()) {
    *dataPoint = pixel;
    return NqeSuccess;
  }
  double before = 0.0;  // data points of the regions passed so far
  for (const RegionEntry& region : active_->regions) {
    if (region.startPixel > pixel) {
      *dataPoint = before;
      return NqePixelOutsideRegions;
    }
    if (static_cast<double>(region.LastPixel()) >= pixel) {
      *dataPoint =
          (pixel - region.startPixel + 0.5) / region.binning + before + 0.5;
      return NqeSuccess;
    }
    before = before + region.numGroups;
  }
  *dataPoint = before;
  // Past the last region the pixel is compared with the number of data
  // points, not with a pixel bound. Required behaviour.
  return pixel <= before ? NqeSuccess : NqePixelOutsideRegions;
}

}  // namespace kvx
