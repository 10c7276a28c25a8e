// The calibrations of one calibration object: the list of calibration
// records, the active one, validation of records, and the conversions
// between pixels, data points and calibrated values.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx {

class DetectorStore;
class SpectrographModel;

struct CalibrationNode {
  uint32_t id = 0;
  int32_t initialNode = 0;
  // Null after the node's calibration was removed while it was the only one.
  std::unique_ptr<CalibrationRecord> record;
};

class CalibrationStore {
 public:
  CalibrationStore();
  virtual ~CalibrationStore();
  CalibrationStore(const CalibrationStore&) = delete;
  CalibrationStore& operator=(const CalibrationStore&) = delete;

  void SetDetectors(DetectorStore* detectors) { detectors_ = detectors; }
  void SetModel(SpectrographModel* model) { model_ = model; }
  DetectorStore* Detectors() const { return detectors_; }
  SpectrographModel* Model() const { return model_; }

  // --- records ---------------------------------------------------------------
  static void DefaultRecord(CalibrationRecord* record);
  // size must be 528 (the object maps a caller's 0 to 528).
  static NqeErrorCode InitializeCalibration(void* record, int32_t size);
  NqeErrorCode Validate(CalibrationRecord* record, int32_t size, bool fitting,
                        bool dataPoints);
  NqeErrorCode CheckMonotonic(CalibrationRecord* record);
  NqeErrorCode LoadCalibration(void* record, int32_t size);
  NqeErrorCode DumpCalibration(void* record, int32_t size) const;
  NqeErrorCode GetActiveCalibrationId(uint32_t* id) const;
  NqeErrorCode SetActiveCalibrationId(uint32_t id);
  NqeErrorCode AddCalibration(void* record, int32_t size, uint32_t* newId);
  NqeErrorCode RemoveCalibrationId(uint32_t id);
  void ClearAllCalibrations();
  // Appends a node holding the default record; null when memory runs out.
  CalibrationNode* CreateNode(bool initialNode);
  // Replaces the active record's contents by a copy of `source`; a table the
  // source refers to is duplicated into this store.
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
  // ConvertUnits with the laser line of the active record.
  NqeErrorCode ConvertUnits(int32_t source, int32_t target, double value,
                            double* result) const;

  // --- state of the parameter interface and the peak search ------------------
  int32_t pointCursor = -1;
  int32_t coefficientCursor = 0;
  double peakThresholdPercent = 2.0;
  int32_t peakDataCount = 0;
  std::vector<double> peakData;
  std::vector<double> peakCurvature;

 private:
  // Copies the caller's table into storage owned by this store and points
  // the record at the copy.
  void AdoptTable(CalibrationRecord* record);
  void SetActive(CalibrationNode* node);
  void ReleaseRetiredRecords();

  std::list<CalibrationNode> nodes_;
  int32_t count_ = 0;
  CalibrationNode* activeNode_ = nullptr;
  CalibrationRecord* activeRecord_ = nullptr;
  DetectorStore* detectors_ = nullptr;
  SpectrographModel* model_ = nullptr;
  // Records released by a removal while the cached active record still
  // designates them; freed once the active record moves elsewhere.
  std::vector<std::unique_ptr<CalibrationRecord>> retired_;
  // Tables owned by this store (copies of the tables handed over by hosts).
  std::vector<std::unique_ptr<double[]>> tables_;
};

}  // namespace kvx
