// The X scan pattern of the active detector: the sorted list of regions of
// interest, its checks, and the loads and dumps through caller arrays.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "detector/detector_store.h"

namespace kvx {

namespace {

// Caller arrays may sit at any address: elements are copied, not cast.
X_ROI ReadRegion16(const void* base, int64_t index) {
  X_ROI region;
  std::memcpy(&region,
              static_cast<const unsigned char*>(base) +
                  index * DetectorStore::kRegion16Bytes,
              sizeof region);
  return region;
}

// The 32-byte form: a link word (ignored), id, startPixel, binning,
// numGroups and three reserved words, each 32 bits.
RegionEntry ReadRegion32(const void* base, int64_t index) {
  const unsigned char* element = static_cast<const unsigned char*>(base) +
                                 index * DetectorStore::kRegion32Bytes;
  int32_t words[8];
  std::memcpy(words, element, sizeof words);
  RegionEntry region;
  region.id = words[1];
  region.startPixel = words[2];
  region.binning = words[3];
  region.numGroups = words[4];
  region.reserved[0] = words[5];
  region.reserved[1] = words[6];
  region.reserved[2] = words[7];
  return region;
}

// X_ROI to list form. A binning of 0 divides by 1 (the add refuses it
// afterwards); the quotient is taken in 64 bits so that INT32_MIN / -1 is
// defined, and wraps into 32 bits like every other stored value.
RegionEntry FromRoi(const X_ROI& roi) {
  RegionEntry region;
  region.id = roi.id;
  region.startPixel = roi.startPixel;
  region.binning = roi.binning;
  const int64_t divisor = roi.binning == 0 ? 1 : roi.binning;
  region.numGroups = static_cast<int32_t>(int64_t{roi.width} / divisor);
  return region;
}

X_ROI ToRoi(const RegionEntry& region) {
  X_ROI roi;
  roi.id = region.id;
  roi.startPixel = region.startPixel;
  roi.width = static_cast<KvxLong>(int64_t{region.numGroups} * region.binning);
  roi.binning = region.binning;
  return roi;
}

int64_t RoiLastPixel(const X_ROI& roi) {
  return int64_t{roi.startPixel} + roi.width - 1;
}

}  // namespace

NqeErrorCode DetectorStore::ValidateRegionArray(const X_ROI* regions,
                                                int32_t regionBytes,
                                                int32_t count,
                                                int32_t numPixels) {
  if (regions == nullptr) return NqeNullPointer;
  if (count == 0) return NqeBadRegionShape;
  if (numPixels == 0) return NqeNoPixels;
  // Integer division: 50 bytes for 3 regions passes as 16 each.
  if (int64_t{regionBytes} / count != kRegion16Bytes) return NqeBadRegionSize;
  for (int32_t i = 0; i < count; ++i) {
    const X_ROI region = ReadRegion16(regions, i);
    // A start of 0 passes here; adding the region refuses it later.
    if (region.startPixel < 0) return NqeRegionOutOfRange;
    if (RoiLastPixel(region) > numPixels) return NqeRegionOutOfRange;
    if (region.binning == 0) return NqeBadRegionShape;
    if (int64_t{region.width} % region.binning != 0) return NqeBadRegionShape;
    for (int32_t j = i + 1; j < count; ++j) {
      const X_ROI later = ReadRegion16(regions, j);
      if (region.startPixel <= RoiLastPixel(later) &&
          RoiLastPixel(region) >= later.startPixel) {
        return NqeRegionOverlap;
      }
    }
  }
  return NqeSuccess;
}

NqeErrorCode DetectorStore::AddRegion16(const X_ROI* region) {
  // The interface leaves a null region undefined; it is refused as the
  // 32-byte add refuses it.
  if (region == nullptr) return NqeNullPointer;
  X_ROI roi;
  std::memcpy(&roi, region, sizeof roi);
  const RegionEntry converted = FromRoi(roi);
  return AddRegion32(&converted);
}

NqeErrorCode DetectorStore::AddRegion32(const RegionEntry* region) {
  if (region == nullptr) return NqeNullPointer;
  const RegionEntry added = *region;
  if (added.numGroups == 0 || added.binning == 0) return NqeBadRegionShape;
  if (active_ == nullptr) return NqeNoActiveDetector;
  DetectorEntry& entry = *active_;
  const int64_t last = added.LastPixel();
  // A region may end on the detector's last pixel.
  if (added.startPixel < 1 || last > entry.numPixels) {
    return NqeRegionOutOfRange;
  }
  if (added.id != 0) {
    for (const RegionEntry& r : entry.regions) {
      if (r.id == added.id) return NqeDuplicateRegionId;
    }
  }
  auto place = entry.regions.begin();
  for (; place != entry.regions.end(); ++place) {
    if (place->startPixel > last) break;
    if (added.startPixel <= place->LastPixel()) {
      // The detector must be validated again before it is used.
      entry.loaded = false;
      return NqeRegionOverlap;
    }
  }
  entry.regions.insert(place, added);
  ++entry.regionCounter;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::RemoveRegion(int32_t id) {
  if (active_ == nullptr) return NqeNoActiveDetector;
  DetectorEntry& entry = *active_;
  if (entry.regions.empty()) return NqeRegionNotFound;
  // The search advances the list's own head: every region passed over
  // leaves the pattern with the found one, and an unknown ID empties it.
  // Only the found region lowers the counter. Required behaviour.
  auto found = std::find_if(entry.regions.begin(), entry.regions.end(),
                            [id](const RegionEntry& r) { return r.id == id; });
  if (found == entry.regions.end()) {
    entry.regions.clear();
    return NqeRegionNotFound;
  }
  entry.regions.erase(entry.regions.begin(), found + 1);
  --entry.regionCounter;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::RetrieveRegion(int32_t id, X_ROI* region,
                                           int32_t size) const {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  const auto& regions = active_->regions;
  auto found = std::find_if(regions.begin(), regions.end(),
                            [id](const RegionEntry& r) { return r.id == id; });
  if (found == regions.end()) return NqeRegionNotFound;
  if (size != kRegion16Bytes) return NqeBadRegionSize;
  if (region == nullptr) return NqeNullPointer;
  const X_ROI out = ToRoi(*found);
  std::memcpy(region, &out, sizeof out);
  return NqeSuccess;
}

NqeErrorCode DetectorStore::NumberOfRegions(int32_t* count) const {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  if (count == nullptr) return NqeNullPointer;
  // The list's length, not regionCounter.
  *count = static_cast<int32_t>(active_->regions.size());
  return NqeSuccess;
}

NqeErrorCode DetectorStore::AddRegionArray(const void* regions, int32_t count,
                                           int64_t elementSize) {
  if (elementSize != kRegion16Bytes && elementSize != kRegion32Bytes) {
    return NqeBadRegionSize;
  }
  if (count > 0 && regions == nullptr) return NqeNullPointer;
  for (int32_t i = 0; i < count; ++i) {
    NqeErrorCode code = NqeSuccess;
    if (elementSize == kRegion16Bytes) {
      const X_ROI roi = ReadRegion16(regions, i);
      code = AddRegion16(&roi);
    } else {
      const RegionEntry region = ReadRegion32(regions, i);
      code = AddRegion32(&region);
    }
    if (code != NqeSuccess) return code;
  }
  return NqeSuccess;
}

NqeErrorCode DetectorStore::LoadScanPattern(const void* regions, int32_t count,
                                            int32_t elementSize) {
  const NqeErrorCode valid = ValidateActiveDetector(true);
  if (valid != NqeSuccess) return valid;
  DetectorEntry& entry = *active_;
  // Room for the new list is taken first, so running out of memory leaves
  // the pattern as it was.
  std::vector<RegionEntry> fresh;
  if (count > 0 &&
      (elementSize == kRegion16Bytes || elementSize == kRegion32Bytes)) {
    fresh.reserve(static_cast<std::size_t>(count));
  }
  std::vector<RegionEntry> old = std::move(entry.regions);
  entry.regions = std::move(fresh);
  const NqeErrorCode added = AddRegionArray(regions, count, elementSize);
  if (added != NqeSuccess) entry.regions = std::move(old);
  // Zero after every load, whatever the number of regions: a later dump
  // must be asked for 0 regions. Required behaviour.
  entry.regionCounter = 0;
  return added;
}

NqeErrorCode DetectorStore::DumpScanPattern(void* regions, int32_t count,
                                            int32_t elementSize) {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  if (count != active_->regionCounter) return NqeRegionCountMismatch;
  const NqeErrorCode valid = ValidateActiveDetector(true);
  if (valid != NqeSuccess) return valid;
  if (elementSize == kRegion32Bytes) return NqeSuccess;  // writes nothing
  if (elementSize != kRegion16Bytes) return NqeBadRegionSize;
  // A null array with a non-zero count is refused rather than written to.
  if (count != 0 && regions == nullptr) return NqeNullPointer;
  const auto& list = active_->regions;
  const std::size_t n =
      count > 0 ? std::min(static_cast<std::size_t>(count), list.size()) : 0;
  for (std::size_t i = 0; i < n; ++i) {
    const X_ROI out = ToRoi(list[i]);
    std::memcpy(static_cast<unsigned char*>(regions) + i * sizeof out, &out,
                sizeof out);
  }
  return NqeSuccess;
}

NqeErrorCode DetectorStore::DeleteScanPattern() {
  if (active_ == nullptr) return NqeNullPointer;
  active_->regions.clear();
  active_->regionCounter = 0;
  return NqeSuccess;
}

}  // namespace kvx
