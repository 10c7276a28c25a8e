// The calibrations of one calibration object: the list of calibration
// records, the active one, validation of records, and the conversions
// between pixels, data points and calibrated values.
//
// Tables: a record's `table` is a pointer handed over by the host. The store
// never frees memory it did not allocate, so whenever a record with a table
// enters the store (load, add, replace) the table is copied into an array
// the store owns and the stored record points to that copy; the host's array
// stays the host's. The copies live until ClearAllCalibrations or the
// store's destruction (removing one calibration keeps its table), so a table
// pointer handed out by a dump stays valid that long.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx {

class DetectorStore;
class WavelengthSource;

struct CalibrationNode {
  uint32_t id = 0;
  int32_t initialNode = 0;
  // Null after the node's calibration was removed while it was the only one.
  std::unique_ptr<CalibrationRecord> record;
};

// True when the slot is unused: position and value both hold exactly the
// bits of -1.0.
bool IsUnusedSlot(const CalibrationRecord& record, int slot);

class CalibrationStore {
 public:
  CalibrationStore();
  virtual ~CalibrationStore();
  CalibrationStore(const CalibrationStore&) = delete;
  CalibrationStore& operator=(const CalibrationStore&) = delete;

  void SetDetectors(DetectorStore* detectors) { detectors_ = detectors; }
  void SetModel(const WavelengthSource* model) { model_ = model; }
  DetectorStore* Detectors() const { return detectors_; }
  const WavelengthSource* Model() const { return model_; }

  // --- records ---------------------------------------------------------------
  static void DefaultRecord(CalibrationRecord* record);
  // size must be 528 (the object maps a caller's 0 to 528).
  static NqeErrorCode InitializeCalibration(void* record, int32_t size);
  // Checks the record and, for point calibrations, fits its polynomial; the
  // results (coefficients, pointCount, valid) are written into `record`.
  NqeErrorCode Validate(CalibrationRecord* record, int32_t size, bool fitting,
                        bool dataPoints);
  // 11034 unless the record's values over the active detector's pixels are
  // monotonic (increasing may repeat a value, decreasing may not).
  NqeErrorCode CheckMonotonic(CalibrationRecord* record);
  NqeErrorCode LoadCalibration(void* record, int32_t size);
  NqeErrorCode DumpCalibration(void* record, int32_t size) const;
  NqeErrorCode GetActiveCalibrationId(uint32_t* id) const;
  NqeErrorCode SetActiveCalibrationId(uint32_t id);
  NqeErrorCode AddCalibration(void* record, int32_t size, uint32_t* newId);
  NqeErrorCode RemoveCalibrationId(uint32_t id);
  void ClearAllCalibrations();
  // Appends a node holding the default record; the active calibration does
  // not change. Null when memory runs out.
  CalibrationNode* CreateNode(bool initialNode);
  // Replaces the active record's contents by a copy of `source`; a table the
  // source refers to is duplicated into this store. Nothing happens without
  // an active record.
  void ReplaceActiveRecord(const CalibrationRecord& source);

  CalibrationRecord* ActiveRecord() const { return activeRecord_; }
  const CalibrationNode* ActiveNode() const { return activeNode_; }
  const std::list<CalibrationNode>& Nodes() const { return nodes_; }
  int32_t Count() const { return count_; }

  // --- conversions -----------------------------------------------------------
  NqeErrorCode PixelToCalibValue(double pixel, double* value,
                                 bool recordOnly) const;
  NqeErrorCode CalibValueToPixel(double value, double* pixel) const;
  NqeErrorCode DataPointToCalibValue(double dataPoint, double* value,
                                     bool recordOnly) const;
  NqeErrorCode CalibValueToDataPoint(double value, double* dataPoint) const;
  NqeErrorCode TestCalibPointFit(int32_t pointNumber, double* reference,
                                 double* fitted, double* relativeError) const;
  NqeErrorCode TestCalibrationFit(double* result);
  // ConvertUnits with the laser line of the active record (0.0 without one).
  NqeErrorCode ConvertUnits(int32_t source, int32_t target, double value,
                            double* result) const;

  // --- state of the parameter interface -------------------------------------
  int32_t pointCursor = -1;
  int32_t coefficientCursor = 0;
  // Percentage of the largest curvature a peak must exceed; read by the peak
  // search, set (clamped to 0 to 100) by the parameter interface.
  double peakThresholdPercent = 2.0;

 private:
  // A copy of the record's table, or null when it has none (null pointer or
  // no entries). Throws std::bad_alloc when memory runs out.
  static std::unique_ptr<double[]> DuplicateTable(
      const CalibrationRecord& record);
  // Makes room in the table pool so that KeepTable cannot fail.
  void ReserveTableSlot();
  // Points the record at `table` (if any) and keeps the table in the pool.
  // ReserveTableSlot must have run first.
  void KeepTable(std::unique_ptr<double[]> table, CalibrationRecord* record);
  // The value of a pixel through a valid, enabled record, as
  // PixelToCalibValue reports it (the value is the pixel when the lookup
  // fails).
  NqeErrorCode RecordValue(const CalibrationRecord& record, double pixel,
                           double* value) const;
  void SetActive(CalibrationNode* node);
  CalibrationNode* FindNode(uint32_t id);

  std::list<CalibrationNode> nodes_;
  int32_t count_ = 0;
  CalibrationNode* activeNode_ = nullptr;
  CalibrationRecord* activeRecord_ = nullptr;
  DetectorStore* detectors_ = nullptr;
  const WavelengthSource* model_ = nullptr;
  // A record released by a removal while the cached active record still
  // designates it; freed once the active record moves elsewhere. Only the
  // active record can be retired, so one slot suffices.
  std::unique_ptr<CalibrationRecord> retired_;
  // Tables owned by this store (copies of the tables handed over by hosts).
  std::vector<std::unique_ptr<double[]>> tables_;
};

}  // namespace kvx
