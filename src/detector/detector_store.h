// The detectors of one calibration object: the list of detector entries, the
// active one, and the X scan pattern (regions of interest) of each entry with
// the mapping between data points and pixels.
#pragma once

#include <cstdint>
#include <list>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx {

// One region of a detector's list. This is also the 32-byte element form
// that the internal region add takes (the list link is not kept here).
struct RegionEntry {
  int32_t id = 0;
  int32_t startPixel = 0;
  int32_t binning = 0;
  int32_t numGroups = 0;
  int32_t reserved[3] = {0, 0, 0};

  // startPixel + binning * numGroups - 1, computed without overflow.
  int64_t LastPixel() const {
    return int64_t{startPixel} + int64_t{binning} * numGroups - 1;
  }
};

struct DetectorEntry {
  int32_t position = 0;
  uint32_t detectorId = 0;
  char name[128] = {};
  // Kept sorted by start pixel. Its length and regionCounter can disagree
  // (region removal and pattern loads); each operation says which it uses.
  std::vector<RegionEntry> regions;
  int32_t regionCounter = 0;
  double pixelSize = 0.0;
  double secondarySize = 0.0;
  int32_t numPixels = 0;
  int32_t secondaryCount = 0;
  bool loaded = false;

  // Zero every field and release the regions, keeping nothing (the caller
  // restores what it must).
  void Blank();
};

class DetectorStore {
 public:
  DetectorStore();
  virtual ~DetectorStore();
  DetectorStore(const DetectorStore&) = delete;
  DetectorStore& operator=(const DetectorStore&) = delete;

  // --- detector records -------------------------------------------------
  static NqeErrorCode InitializeDetector(void* record, int32_t size);
  NqeErrorCode ValidateDetector(const void* record, int32_t size) const;
  NqeErrorCode LoadDetector(const void* record, int32_t size);
  NqeErrorCode DumpDetector(void* record, int32_t size);
  NqeErrorCode GetActiveDetectorId(uint32_t* id) const;
  NqeErrorCode SetActiveDetectorId(uint32_t id);
  NqeErrorCode AddDetector(const void* record, int32_t size, uint32_t* newId);
  NqeErrorCode RemoveDetectorId(uint32_t id);
  // Appends a blank entry with a fresh ID, as an add does before it loads
  // (the side exit of an exit mirror); the active entry does not change.
  // 11013 when memory runs out.
  NqeErrorCode AddBlankDetector(uint32_t* newId);

  // --- queries for the other parts --------------------------------------
  NqeErrorCode ValidateActiveDetector(bool checkRegions);
  NqeErrorCode GetNumPixels(int32_t* numPixels);
  NqeErrorCode GetPixelSize(double* pixelSize);
  NqeErrorCode GetDetectorCenter(double* center);
  int32_t ActiveNumPixels() const;  // -1 without an active entry
  double ActivePixelSize() const;   // 0.0 without an active entry
  void ClearAllDetectors();
  // Fills a record with the active entry's fields, without regions
  // (regions null, counts 0). False when there is no active entry.
  bool ExportActiveWithoutRegions(DetectorRecord* record) const;

  DetectorEntry* ActiveEntry() { return active_; }
  const DetectorEntry* ActiveEntry() const { return active_; }
  const std::list<DetectorEntry>& Entries() const { return entries_; }
  int32_t DetectorCount() const { return detectorCount_; }

  // --- X scan pattern ------------------------------------------------------
  // Element sizes of a region array: the X_ROI form and the 32-byte form
  // (link, id, startPixel, binning, numGroups, three reserved words).
  static constexpr int32_t kRegion16Bytes = 16;
  static constexpr int32_t kRegion32Bytes = 32;

  static NqeErrorCode ValidateRegionArray(const X_ROI* regions,
                                          int32_t regionBytes, int32_t count,
                                          int32_t numPixels);
  // A null region is refused with 11000.
  NqeErrorCode AddRegion16(const X_ROI* region);
  NqeErrorCode AddRegion32(const RegionEntry* region);
  NqeErrorCode RemoveRegion(int32_t id);
  NqeErrorCode RetrieveRegion(int32_t id, X_ROI* region, int32_t size) const;
  NqeErrorCode NumberOfRegions(int32_t* count) const;
  NqeErrorCode LoadScanPattern(const void* regions, int32_t count,
                               int32_t elementSize);
  NqeErrorCode DumpScanPattern(void* regions, int32_t count,
                               int32_t elementSize);
  NqeErrorCode DeleteScanPattern();
  void SetScanState(bool enabled) { scanPatternEnabled_ = enabled; }
  bool ScanState() const { return scanPatternEnabled_; }

  // --- data points ---------------------------------------------------------
  NqeErrorCode CountDataPoints(int32_t* count /* may be null */);
  NqeErrorCode GetFirstPixel(int32_t* pixel) const;
  NqeErrorCode GetLastPixel(int32_t* pixel) const;
  NqeErrorCode GetActiveCenter(double* center) const;
  NqeErrorCode GetCenterOffset(double* offset);
  NqeErrorCode DataPointToPixel(double dataPoint, double* pixel) const;
  NqeErrorCode PixelToDataPoint(double pixel, double* dataPoint) const;

  // --- flags of the store --------------------------------------------------
  bool automaticMode = false;
  bool auxFlag = false;
  int32_t dataPointCount = 0;

 private:
  // 11010 without an active entry, 11011 while it is not loaded, else 0.
  NqeErrorCode CheckActiveLoaded() const;
  DetectorEntry& AppendBlankEntry();
  NqeErrorCode LoadIntoActive(const void* record, int32_t size);
  // Adds `count` elements of `elementSize` bytes (16 or 32, else 11009) to
  // the active entry's regions in array order, stopping at the first
  // failure. The caller has reserved room for them.
  NqeErrorCode AddRegionArray(const void* regions, int32_t count,
                              int64_t elementSize);
  // The scan pattern decides the data points: enabled and not empty.
  bool PatternActive() const;

  std::list<DetectorEntry> entries_;
  DetectorEntry* active_ = nullptr;
  int32_t detectorCount_ = 0;
  bool scanPatternEnabled_ = true;
};

}  // namespace kvx
