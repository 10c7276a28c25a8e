#include "api/calib_object.h"

#include <cstring>

#include "calibfile/calib_point_file.h"
#include "calibration/units.h"
#include "spectrograph/grating_equation.h"

namespace kvx {

namespace {
constexpr char kAutomaticName[] = "Automatic Calibration";
constexpr char kManualName[] = "Manual Calibration";
}  // namespace

CalibObject::CalibObject()
    : detectors_(std::make_unique<DetectorStore>()),
      calibrations_(std::make_unique<CalibrationStore>()) {
  calibrations_->SetDetectors(detectors_.get());
}

// Members are declared detectors, calibrations, model, so the model (which
// refers to both stores) would go first; release in the documented order.
CalibObject::~CalibObject() {
  detectors_.reset();
  calibrations_.reset();
  spectrograph_.reset();
}

bool CalibObject::SetupForMode(bool automatic) {
  detectors_->automaticMode = false;
  std::unique_ptr<SpectrographModel> model;
  if (automatic) {
    model.reset(new (std::nothrow) SpectrographModel());
    if (!model) {
      spectrograph_.reset();
      calibrations_->SetModel(nullptr);
      isAutomatic_ = 0;
      std::memcpy(name_, kManualName, sizeof kManualName);
      return false;
    }
  }
  // A model this object had before (object copy) is replaced and released.
  spectrograph_ = std::move(model);
  if (spectrograph_) {
    detectors_->automaticMode = true;
    spectrograph_->SetStores(detectors_.get(), calibrations_.get());
    if (Spectrograph* active = spectrograph_->ActiveSpectrograph()) {
      uint32_t detectorId = 0;
      uint32_t calibrationId = 0;
      // With no active detector or calibration the ID written is 0.
      (void)detectors_->GetActiveDetectorId(&detectorId);
      (void)calibrations_->GetActiveCalibrationId(&calibrationId);
      active->mainExitDetectorId = detectorId;
      active->mainExitCalibrationId = calibrationId;
      active->sideExitDetectorId = 0;
      active->sideExitCalibrationId = 0;
    }
  }
  calibrations_->SetModel(spectrograph_.get());
  isAutomatic_ = spectrograph_ ? 1U : 0U;
  if (spectrograph_) {
    std::memcpy(name_, kAutomaticName, sizeof kAutomaticName);
  } else {
    std::memcpy(name_, kManualName, sizeof kManualName);
  }
  return true;
}

NqeErrorCode CalibObject::CopyFrom(CalibObject& source) {
  // A copy needs the source's active detector and active calibration record;
  // copying an object onto itself would empty the source before reading it.
  // In those cases there is nothing to take and the target stays unchanged.
  if (&source == this) return NqeSuccess;
  DetectorRecord detector{};
  if (!source.detectors_->ExportActiveWithoutRegions(&detector)) {
    return NqeSuccess;
  }
  const CalibrationRecord* calibration = source.calibrations_->ActiveRecord();
  if (calibration == nullptr) return NqeSuccess;
  const CalibrationRecord sourceRecord = *calibration;

  detectors_->ClearAllDetectors();
  uint32_t newDetectorId = 0;
  (void)detectors_->AddDetector(&detector, sizeof detector, &newDetectorId);
  (void)detectors_->SetActiveDetectorId(newDetectorId);

  calibrations_->ClearAllCalibrations();
  if (const CalibrationNode* node = calibrations_->CreateNode(true)) {
    (void)calibrations_->SetActiveCalibrationId(node->id);
    calibrations_->ReplaceActiveRecord(sourceRecord);
  }

  if (spectrograph_) spectrograph_->RemoveAllSpectrographs();
  if (source.spectrograph_) (void)SetupForMode(true);
  return NqeSuccess;
}

NqeErrorCode CalibObject::RemoveDetectorId(uint32_t id) {
  const NqeErrorCode result = detectors_->RemoveDetectorId(id);
  // The model's exit ports must not keep naming a removed detector; this
  // runs whatever the store answered. Without an active spectrograph (after
  // a copy from a manual object) there are no exit IDs to clear.
  if (spectrograph_) {
    if (Spectrograph* active = spectrograph_->ActiveSpectrograph()) {
      if (active->mainExitDetectorId == id) active->mainExitDetectorId = 0;
      if (active->sideExitDetectorId == id) active->sideExitDetectorId = 0;
    }
  }
  return result;
}

NqeErrorCode CalibObject::DataPointToCalibValue(double dataPoint,
                                                double* value) {
  // With a model: its data-point wavelength at the effective center, in
  // nanometres whatever the display unit.
  if (spectrograph_) {
    if (value == nullptr) return NqeNullPointer;
    return spectrograph_->EffectiveWavelengthAtDataPoint(dataPoint, value);
  }
  return calibrations_->DataPointToCalibValue(dataPoint, value, false);
}

NqeErrorCode CalibObject::PixelToCalibValue(double pixel, double* value) {
  return calibrations_->PixelToCalibValue(pixel, value, false);
}

NqeErrorCode CalibObject::CalibratedDataPointArray(int32_t count,
                                                   double* values) {
  int32_t dataPoints = 0;
  const NqeErrorCode counted = detectors_->CountDataPoints(&dataPoints);
  if (counted != NqeSuccess) return counted;
  if (dataPoints != count) return NqeDataPointCountMismatch;
  // A null array cannot take the values: refuse it instead of faulting.
  if (values == nullptr && count > 0) return NqeNullPointer;
  for (int32_t i = 0; i < count; ++i) {
    const NqeErrorCode code =
        DataPointToCalibValue(static_cast<double>(i) + 1.0, &values[i]);
    if (code != NqeSuccess) return code;
  }
  return NqeSuccess;
}

NqeErrorCode CalibObject::CalibratedPixelArray(int32_t count, double* values) {
  if (detectors_->ActiveNumPixels() != count) return NqePixelCountMismatch;
  if (values == nullptr && count > 0) return NqeNullPointer;
  for (int32_t i = 0; i < count; ++i) {
    const NqeErrorCode code =
        PixelToCalibValue(static_cast<double>(i) + 1.0, &values[i]);
    if (code != NqeSuccess) return code;
  }
  return NqeSuccess;
}

NqeErrorCode CalibObject::InitializeCalibration(void* record, int32_t size) {
  return calibrations_->InitializeCalibration(
      record,
      size == 0 ? static_cast<int32_t>(sizeof(CalibrationRecord)) : size);
}

NqeErrorCode CalibObject::ValidateCalibration(void* record, int32_t size) {
  return calibrations_->Validate(
      static_cast<CalibrationRecord*>(record),
      size == 0 ? static_cast<int32_t>(sizeof(CalibrationRecord)) : size,
      /*fitting=*/true, /*dataPoints=*/false);
}

NqeErrorCode CalibObject::LoadCalibFile(const char* fileName, int16_t version,
                                        int32_t segment,
                                        double wavelengthOffset,
                                        double laserLine) {
  return kvx::LoadCalibFile(*calibrations_, fileName, version, segment,
                            wavelengthOffset, laserLine);
}

}  // namespace kvx

// --- grating model -----------------------------------------------------------

namespace kvx {

NqeErrorCode CalibObject::ToDisplayUnit(double wavelength,
                                        double* value) const {
  *value = wavelength;
  const CalibrationRecord* record = calibrations_->ActiveRecord();
  if (record == nullptr) return NqeNullPointer;
  return calibrations_->ConvertUnits(CalibUnitNanometers, record->displayUnit,
                                     wavelength, value);
}

NqeErrorCode CalibObject::CalcPxlWavLngth(double center, double pixel,
                                          double* value) {
  if (!spectrograph_) return NqeNoSpectrographModel;
  if (value == nullptr) return NqeNullPointer;
  return PixelWavelength(*spectrograph_, center, pixel, value);
}

NqeErrorCode CalibObject::CalcDataPointWaveLength(double center,
                                                  double dataPoint,
                                                  double* value) {
  if (!spectrograph_) return NqeNoSpectrographModel;
  if (value == nullptr) return NqeNullPointer;
  return DataPointWavelength(*spectrograph_, center, dataPoint, value);
}

NqeErrorCode CalibObject::CalcDataPointCalibValue(double center,
                                                  double dataPoint,
                                                  double* value) {
  if (!spectrograph_) return NqeNoSpectrographModel;
  if (value == nullptr) return NqeNullPointer;
  double wavelength = 0.0;
  const NqeErrorCode code =
      DataPointWavelength(*spectrograph_, center, dataPoint, &wavelength);
  if (code != NqeSuccess) return code;  // the caller's value stays
  return ToDisplayUnit(wavelength, value);
}

NqeErrorCode CalibObject::CalcDataPointCalibArray(int32_t count,
                                                  double* values) {
  if (!spectrograph_) return NqeNoSpectrographModel;
  int32_t dataPoints = 0;
  const NqeErrorCode counted = detectors_->CountDataPoints(&dataPoints);
  if (counted != NqeSuccess) return counted;
  if (dataPoints != count) return NqeDataPointCountMismatch;
  if (detectors_->ActivePixelSize() == 0.0) return NqeZeroPixelSize;
  if (values == nullptr && count > 0) return NqeNullPointer;
  const double center = spectrograph_->center.effectiveCenter;
  // Stops at the first failure, unlike the pixel array.
  for (int32_t i = 0; i < count; ++i) {
    const NqeErrorCode code = CalcDataPointCalibValue(
        center, static_cast<double>(i) + 1.0, &values[i]);
    if (code != NqeSuccess) return code;
  }
  return NqeSuccess;
}

NqeErrorCode CalibObject::CalcCalibPixelArray(int32_t count, double* values) {
  if (!spectrograph_) return NqeNoSpectrographModel;
  if (detectors_->ActiveNumPixels() != count) return NqePixelCountMismatch;
  if (detectors_->ActivePixelSize() == 0.0) return NqeZeroPixelSize;
  if (values == nullptr && count > 0) return NqeNullPointer;
  // Failures of single pixels are ignored and the array always succeeds,
  // unlike the data-point array: a pixel the grating cannot reach keeps the
  // caller's value, a failed unit conversion leaves what it wrote.
  const double center = spectrograph_->center.effectiveCenter;
  if (PixelWavelengths(*spectrograph_, center, count, values) != NqeSuccess) {
    return NqeSuccess;
  }
  const CalibrationRecord* record = calibrations_->ActiveRecord();
  // Nanometres need no conversion (it would return every value unchanged).
  if (record == nullptr ||
      MaskUnit(record->displayUnit) == CalibUnitNanometers) {
    return NqeSuccess;
  }
  for (int32_t i = 0; i < count; ++i) {
    (void)ToDisplayUnit(values[i], &values[i]);
  }
  return NqeSuccess;
}

}  // namespace kvx
