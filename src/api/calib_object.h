// The object behind a calibration handle: it owns the detector store, the
// calibration store and, in automatic mode, the spectrograph model, wires
// them to one another and offers one operation per exported function.
#pragma once

#include <cstdint>
#include <memory>

#include "KelvoCalibrate.h"
#include "calibration/calibration_store.h"
#include "detector/detector_store.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

class CalibObject {
 public:
  // Builds the stores, without a mode (no model, no name).
  CalibObject();
  virtual ~CalibObject();
  CalibObject(const CalibObject&) = delete;
  CalibObject& operator=(const CalibObject&) = delete;

  // False only when automatic mode was asked for and the model could not be
  // created.
  bool SetupForMode(bool automatic);
  NqeErrorCode CopyFrom(CalibObject& source);

  DetectorStore& Detectors() { return *detectors_; }
  CalibrationStore& Calibrations() { return *calibrations_; }
  SpectrographModel* Model() { return spectrograph_.get(); }
  bool IsAutomatic() const { return isAutomatic_ != 0; }
  const char* Name() const { return name_; }
  // The 128-character name field, written by the text parameter 2.
  char* NameField() { return name_; }

  // --- operations with logic of their own ------------------------------------
  NqeErrorCode RemoveDetectorId(uint32_t id);
  NqeErrorCode CalibratedDataPointArray(int32_t count, double* values);
  NqeErrorCode CalibratedPixelArray(int32_t count, double* values);
  NqeErrorCode DataPointToCalibValue(double dataPoint, double* value);
  NqeErrorCode PixelToCalibValue(double pixel, double* value);
  NqeErrorCode InitializeCalibration(void* record, int32_t size);
  NqeErrorCode ValidateCalibration(void* record, int32_t size);
  NqeErrorCode LoadCalibFile(const char* fileName, int16_t version,
                             int32_t segment, double wavelengthOffset,
                             double laserLine);

  // --- grating model: single values with the center the frame passes, and
  // whole arrays at the model's effective center (11054 without a model) ---
  NqeErrorCode CalcPxlWavLngth(double center, double pixel, double* value);
  NqeErrorCode CalcDataPointWaveLength(double center, double dataPoint,
                                       double* value);
  NqeErrorCode CalcDataPointCalibValue(double center, double dataPoint,
                                       double* value);
  NqeErrorCode CalcDataPointCalibArray(int32_t count, double* values);
  NqeErrorCode CalcCalibPixelArray(int32_t count, double* values);

 private:
  // A nanometre value in the active calibration's display unit; 11000
  // without an active calibration (result: the input).
  NqeErrorCode ToDisplayUnit(double wavelength, double* value) const;

  std::unique_ptr<DetectorStore> detectors_;
  std::unique_ptr<CalibrationStore> calibrations_;
  std::unique_ptr<SpectrographModel> spectrograph_;
  uint32_t isAutomatic_ = 0;
  char name_[128] = {};
};

}  // namespace kvx
