// Detector entries: creation, the exchange record (initialize, validate,
// load, dump, add, remove), the active entry and the queries that the other
// parts of the library ask of it.
#include "detector/detector_store.h"

#include <cstddef>
#include <cstring>
#include <iterator>
#include <new>

#include "common/ids.h"

namespace kvx {

namespace {

constexpr int32_t kRecordBytes = static_cast<int32_t>(sizeof(DetectorRecord));

// Caller records may sit at any address: copy them instead of casting.
DetectorRecord ReadRecord(const void* record) {
  DetectorRecord copy;
  std::memcpy(&copy, record, sizeof copy);
  return copy;
}

template <class T>
void WriteField(void* record, std::size_t offset, const T& value) {
  std::memcpy(static_cast<unsigned char*>(record) + offset, &value,
              sizeof value);
}

// The checks every record passes before it is kept. A size of 0 stands for
// the standard size here.
NqeErrorCode ValidateRecord(const void* record, int32_t size,
                            bool automaticMode) {
  if (size != 0 && size != kRecordBytes) return NqeBadDetectorSize;
  if (record == nullptr) return NqeNullPointer;
  const DetectorRecord r = ReadRecord(record);
  // Only zero is refused; a negative count is kept as given.
  if (r.numPixels == 0) return NqeNoPixels;
  if (automaticMode && r.pixelSize == 0.0) return NqeZeroPixelSize;
  if (r.regions != nullptr && r.regionCount != 0) {
    return DetectorStore::ValidateRegionArray(
        static_cast<const X_ROI*>(r.regions), r.regionBytes, r.regionCount,
        r.numPixels);
  }
  return NqeSuccess;
}

}  // namespace

void DetectorEntry::Blank() {
  position = 0;
  detectorId = 0;
  std::memset(name, 0, sizeof name);
  regions = std::vector<RegionEntry>();
  regionCounter = 0;
  pixelSize = 0.0;
  secondarySize = 0.0;
  numPixels = 0;
  secondaryCount = 0;
  loaded = false;
}

DetectorStore::DetectorStore() {
  DetectorEntry& first = AppendBlankEntry();
  first.position = 1;
  active_ = &first;
  detectorCount_ = 1;
}

DetectorStore::~DetectorStore() { ClearAllDetectors(); }

DetectorEntry& DetectorStore::AppendBlankEntry() {
  entries_.emplace_back();
  DetectorEntry& entry = entries_.back();
  entry.detectorId = NextObjectId();
  return entry;
}

NqeErrorCode DetectorStore::CheckActiveLoaded() const {
  if (active_ == nullptr) return NqeNoActiveDetector;
  if (!active_->loaded) return NqeDetectorNotLoaded;
  return NqeSuccess;
}

// --- records -----------------------------------------------------------------

NqeErrorCode DetectorStore::InitializeDetector(void* record, int32_t size) {
  if (size != 0 && size != kRecordBytes) return NqeBadDetectorSize;
  if (record == nullptr) return NqeNullPointer;
  std::memset(record, 0, sizeof(DetectorRecord));
  return NqeSuccess;
}

NqeErrorCode DetectorStore::ValidateDetector(const void* record,
                                             int32_t size) const {
  return ValidateRecord(record, size, automaticMode);
}

NqeErrorCode DetectorStore::LoadDetector(const void* record, int32_t size) {
  return LoadIntoActive(record, size);
}

NqeErrorCode DetectorStore::LoadIntoActive(const void* record, int32_t size) {
  const NqeErrorCode valid = ValidateRecord(record, size, automaticMode);
  if (valid != NqeSuccess) return valid;
  // Only an emptied store (object copy) has no active entry; the load then
  // has no entry to fill.
  if (active_ == nullptr) return NqeNoActiveDetector;
  const DetectorRecord r = ReadRecord(record);
  const bool withRegions = r.regions != nullptr && r.regionCount != 0;

  // Room for the regions is taken before the entry changes, so running out
  // of memory leaves the entry as it was.
  std::vector<RegionEntry> room;
  if (withRegions && r.regionCount > 0) {
    room.reserve(static_cast<std::size_t>(r.regionCount));
  }

  DetectorEntry& entry = *active_;
  const uint32_t id = entry.detectorId;
  entry.Blank();
  entry.detectorId = id;
  std::memcpy(entry.name, r.name, sizeof entry.name);
  entry.pixelSize = r.pixelSize;
  entry.secondarySize = r.secondarySize;
  entry.numPixels = r.numPixels;
  entry.secondaryCount = r.secondaryCount;

  if (!withRegions) {
    entry.loaded = true;
    return CountDataPoints(nullptr);
  }
  entry.regions = std::move(room);
  const int64_t elementSize = int64_t{r.regionBytes} / r.regionCount;
  const NqeErrorCode added =
      AddRegionArray(r.regions, r.regionCount, elementSize);
  if (added != NqeSuccess) {
    // Deliberately left blank, unloaded and with ID 0: the entry stays in
    // the list and stays active, but loses its identity. Keep it so.
    entry.Blank();
    return added;
  }
  entry.loaded = true;
  (void)CountDataPoints(nullptr);
  return NqeSuccess;
}

NqeErrorCode DetectorStore::DumpDetector(void* record, int32_t size) {
  if (const NqeErrorCode code = CheckActiveLoaded(); code != NqeSuccess) {
    return code;
  }
  if (size != kRecordBytes) return NqeBadDetectorSize;
  // Not checked by the interface's contract; refused rather than faulting.
  if (record == nullptr) return NqeNullPointer;
  const DetectorRecord r = ReadRecord(record);
  if (r.regionCount != active_->regionCounter) return NqeRegionCountMismatch;
  // A count of 0 gives no element size: the dump is only defined for a
  // non-zero count, so this is refused as a bad element size and the record
  // is left untouched.
  if (r.regionCount == 0) return NqeBadRegionSize;
  const int64_t elementSize = int64_t{r.regionBytes} / r.regionCount;
  // A quotient beyond 32 bits is no valid size either; 0 makes the pattern
  // dump refuse it in its own order of checks.
  const int32_t passedSize =
      (elementSize == kRegion16Bytes || elementSize == kRegion32Bytes)
          ? static_cast<int32_t>(elementSize)
          : 0;
  const NqeErrorCode dumped =
      DumpScanPattern(r.regions, r.regionCount, passedSize);
  if (dumped != NqeSuccess) return dumped;

  const DetectorEntry& entry = *active_;
  WriteField(record, offsetof(DetectorRecord, detectorId),
             static_cast<KvxULong>(entry.detectorId));
  WriteField(record, offsetof(DetectorRecord, name), entry.name);
  WriteField(record, offsetof(DetectorRecord, pixelSize), entry.pixelSize);
  WriteField(record, offsetof(DetectorRecord, secondarySize),
             entry.secondarySize);
  WriteField(record, offsetof(DetectorRecord, numPixels),
             static_cast<KvxLong>(entry.numPixels));
  WriteField(record, offsetof(DetectorRecord, secondaryCount),
             static_cast<KvxLong>(entry.secondaryCount));
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetActiveDetectorId(uint32_t* id) const {
  if (active_ == nullptr) return NqeNoActiveDetector;
  if (id == nullptr) return NqeNullPointer;
  *id = active_->detectorId;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::SetActiveDetectorId(uint32_t id) {
  for (DetectorEntry& entry : entries_) {
    if (entry.detectorId == id) {
      active_ = &entry;
      return NqeSuccess;
    }
  }
  return NqeDetectorNotFound;
}

NqeErrorCode DetectorStore::AddDetector(const void* record, int32_t size,
                                        uint32_t* newId) {
  if (size != kRecordBytes) {
    if (newId != nullptr) *newId = 0;
    return NqeBadDetectorSize;
  }
  // Without a place for the new ID the host could never address the entry,
  // so nothing is added.
  if (newId == nullptr) return NqeNullPointer;
  DetectorEntry* added = nullptr;
  try {
    added = &AppendBlankEntry();
  } catch (const std::bad_alloc&) {
    *newId = 0;
    return NqeDetectorAllocFailed;
  }
  ++detectorCount_;
  const uint32_t id = added->detectorId;

  DetectorEntry* const remembered = active_;
  active_ = added;
  NqeErrorCode loaded = NqeSuccess;
  try {
    loaded = LoadIntoActive(record, kRecordBytes);
  } catch (const std::bad_alloc&) {
    // The entry stays blank, as after any other failed load.
    loaded = NqeDetectorAllocFailed;
  }
  active_ = remembered;
  // Reported even when the load failed: the blank entry stays in the list.
  *newId = id;
  return loaded;
}

NqeErrorCode DetectorStore::AddBlankDetector(uint32_t* newId) {
  try {
    const uint32_t id = AppendBlankEntry().detectorId;
    ++detectorCount_;
    if (newId != nullptr) *newId = id;
    return NqeSuccess;
  } catch (const std::bad_alloc&) {
    return NqeDetectorAllocFailed;
  }
}

NqeErrorCode DetectorStore::RemoveDetectorId(uint32_t id) {
  if (entries_.empty()) return NqeDetectorNotFound;
  auto found = entries_.begin();
  while (found != entries_.end() && found->detectorId != id) ++found;
  // An unknown ID is not an error while the list has entries.
  if (found == entries_.end()) return NqeSuccess;

  const bool wasActive = &*found == active_;
  if (detectorCount_ > 1) {
    entries_.erase(found);
    --detectorCount_;
  } else {
    // The last detector is kept as a blank, unloaded entry with its ID.
    const int32_t place =
        static_cast<int32_t>(std::distance(entries_.begin(), found)) + 1;
    found->Blank();
    found->detectorId = id;
    found->position = place;
  }
  if (wasActive) active_ = entries_.empty() ? nullptr : &entries_.front();
  return NqeSuccess;
}

// --- queries
// -------------------------------------------------------------------

NqeErrorCode DetectorStore::ValidateActiveDetector(bool checkRegions) {
  if (active_ == nullptr) return NqeNullPointer;
  DetectorEntry& entry = *active_;
  if (entry.numPixels == 0) return NqeNoPixels;
  if (automaticMode && entry.pixelSize == 0.0) return NqeZeroPixelSize;
  if (checkRegions && !entry.regions.empty()) {
    // Only the first region's ID is compared with the others; IDs shared by
    // two later regions go unnoticed. Kept narrow on purpose.
    const int32_t firstId = entry.regions.front().id;
    if (firstId != 0) {
      for (std::size_t i = 1; i < entry.regions.size(); ++i) {
        if (entry.regions[i].id == firstId) return NqeDuplicateRegionId;
      }
    }
    // Stricter than adding a region: a region may not end on the last pixel,
    // yet it may begin on the pixel where the previous one ended.
    int64_t bound = 1;
    for (const RegionEntry& region : entry.regions) {
      if (region.startPixel < 1) return NqeRegionOutOfRange;
      if (region.startPixel < bound) return NqeRegionOverlap;
      bound = region.LastPixel();
      if (bound >= entry.numPixels) return NqeRegionOutOfRange;
    }
  }
  entry.loaded = true;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetNumPixels(int32_t* numPixels) {
  const NqeErrorCode valid = ValidateActiveDetector(true);
  if (valid != NqeSuccess) return valid;
  if (numPixels == nullptr) return NqeNullPointer;
  *numPixels = active_->numPixels;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetPixelSize(double* pixelSize) {
  const NqeErrorCode valid = ValidateActiveDetector(true);
  if (valid != NqeSuccess) return valid;
  if (pixelSize == nullptr) return NqeNullPointer;
  *pixelSize = active_->pixelSize;
  return NqeSuccess;
}

NqeErrorCode DetectorStore::GetDetectorCenter(double* center) {
  int32_t numPixels = 0;
  const NqeErrorCode got = GetNumPixels(&numPixels);
  if (got != NqeSuccess) return got;
  if (center == nullptr) return NqeNullPointer;
  *center = static_cast<double>(int64_t{numPixels} + 1) * 0.5;
  return NqeSuccess;
}

int32_t DetectorStore::ActiveNumPixels() const {
  return active_ == nullptr ? -1 : active_->numPixels;
}

double DetectorStore::ActivePixelSize() const {
  return active_ == nullptr ? 0.0 : active_->pixelSize;
}

void DetectorStore::ClearAllDetectors() {
  // detectorCount_ is left as it is: removal decisions follow that count.
  entries_.clear();
  active_ = nullptr;
}

bool DetectorStore::ExportActiveWithoutRegions(DetectorRecord* record) const {
  if (active_ == nullptr || record == nullptr) return false;
  std::memset(record, 0, sizeof *record);
  record->detectorId = active_->detectorId;
  std::memcpy(record->name, active_->name, sizeof record->name);
  record->pixelSize = active_->pixelSize;
  record->secondarySize = active_->secondarySize;
  record->numPixels = active_->numPixels;
  record->secondaryCount = active_->secondaryCount;
  return true;
}

}  // namespace kvx
