#include "spectrograph/center_stepping.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "calibration/calibration_store.h"
#include "detector/detector_store.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

// Iterations of the effective center and the correction that ends them.
constexpr int kMaxCenterIterations = 10;
constexpr double kCenterTolerance = 1e-05;
// Takes a quotient of whole steps just above an integer as that integer.
constexpr double kStepRoundingMargin = 0.99999;

// Truncation toward zero as the processor's conversion does it: a NaN or a
// value outside int32 (a NaN span, an absurdly wide range) gives INT32_MIN
// instead of undefined behaviour, so such a count is stored and reported
// the way hosts have always seen it; no step array is made from it.
int32_t TruncateToInt32(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
  return static_cast<int32_t>(value);
}

// `value` from unit `source` to unit `target` through the active
// calibration's laser line. The statuses are ignored by every caller here:
// on failure the result is what the conversion left, the unconverted input
// when there is no active calibration.
void ConvertIgnoringStatus(const SpectrographModel& model, bool toDisplayUnit,
                           double value, double* result) {
  *result = value;
  const CalibrationStore* calibrations = model.Calibrations();
  if (calibrations == nullptr) return;
  const CalibrationRecord* record = calibrations->ActiveRecord();
  if (record == nullptr) return;
  const int32_t display = record->displayUnit;
  (void)calibrations->ConvertUnits(
      toDisplayUnit ? CalibUnitNanometers : display,
      toDisplayUnit ? display : CalibUnitNanometers, value, result);
}

// The calibrated value of a data point as the store reports it (the grating
// model at the effective center, in nm); the status is ignored and the
// value starts at 0.
double DataPointValue(const SpectrographModel& model, double dataPoint) {
  double value = 0.0;
  if (const CalibrationStore* calibrations = model.Calibrations()) {
    (void)calibrations->DataPointToCalibValue(dataPoint, &value, false);
  }
  return value;
}

// The number of data points, 0 when it cannot be counted (status ignored).
int32_t DataPointCount(const SpectrographModel& model) {
  int32_t count = 0;
  if (DetectorStore* detectors = model.Detectors()) {
    (void)detectors->CountDataPoints(&count);
  }
  return count;
}

// Centers the model on `center` (calibration units) and reads the values of
// the first and the last data point there: the span one spectrum covers.
void SpectrumEnds(SpectrographModel& model, double center, double* first,
                  double* last) {
  const int32_t count = DataPointCount(model);
  (void)SetCenterCalibValue(model, center);
  *first = DataPointValue(model, 1.0);
  *last = DataPointValue(model, static_cast<double>(count));
}

NqeErrorCode StoreCenter(SpectrographModel& model, double calibValue,
                         double wavelength) {
  const NqeErrorCode tested = TestWavelength(model, wavelength, nullptr);
  if (tested != NqeSuccess) return tested;
  model.center.centerCalibValue = calibValue;
  model.center.requestedCenter = wavelength;
  (void)ConvertCenterWavelength(model, wavelength, nullptr);
  return NqeSuccess;
}

}  // namespace

NqeErrorCode SetCenterWavelength(SpectrographModel& model, double wavelength) {
  double value = 0.0;
  ConvertIgnoringStatus(model, true, wavelength, &value);
  return StoreCenter(model, value, wavelength);
}

NqeErrorCode SetCenterCalibValue(SpectrographModel& model, double value) {
  double wavelength = 0.0;
  ConvertIgnoringStatus(model, false, value, &wavelength);
  return StoreCenter(model, value, wavelength);
}

NqeErrorCode ConvertCenterWavelength(SpectrographModel& model,
                                     double wavelength, double* driveValue) {
  const double c = model.geometry.centerPixel;
  const double r = model.geometry.regionCenterOffset;
  const double o = model.optics.centerPixelOffset;
  // The center of the active pixel range must see the requested wavelength;
  // with an offset, correct the center until it does.
  double effective = wavelength;
  if (o + r != 0.0) {
    for (int i = 0; i < kMaxCenterIterations; ++i) {
      double seen = 0.0;
      if (PixelWavelength(model, effective, r + c, &seen) != NqeSuccess) break;
      const double correction = wavelength - seen;
      effective = effective + correction;
      if (std::fabs(correction) < kCenterTolerance) break;
    }
  }
  model.center.effectiveCenter = effective;
  double atCenter = 0.0;
  const NqeErrorCode status = PixelWavelength(model, effective, c, &atCenter);
  model.center.centerPixelWavelength = atCenter;
  model.center.driveValue = (model.optics.slopeAdjust + 1.0) * effective;
  if (driveValue != nullptr) *driveValue = model.center.driveValue;
  return status;
}

NqeErrorCode CalcCenterOffset(SpectrographModel& model, double dataPoint) {
  const NqeErrorCode refreshed = model.RefreshDetectorGeometry();
  if (refreshed != NqeSuccess) return refreshed;
  double pixel = 0.0;
  const NqeErrorCode mapped =
      model.Detectors()->DataPointToPixel(dataPoint, &pixel);
  if (mapped != NqeSuccess) return mapped;
  const double d =
      pixel - (model.geometry.regionCenterOffset + model.geometry.centerPixel);
  if (d != 0.0) {
    // Without an active grating (after a spectrograph add, say) only the
    // working value changes.
    if (Grating* grating = model.ActiveGrating()) {
      grating->centerPixelOffset += d;
    }
    model.optics.centerPixelOffset += d;
  }
  return NqeSuccess;
}

NqeErrorCode CalcSlopeAdjust(SpectrographModel& model, double a, double b) {
  // No argument check: a = 0 gives an infinite slope, as hosts expect.
  const double slope = (model.optics.slopeAdjust + 1.0) * b / a - 1.0;
  // Without an active grating only the working value changes.
  if (Grating* grating = model.ActiveGrating()) grating->slopeAdjust = slope;
  model.optics.slopeAdjust = slope;
  return NqeSuccess;
}

NqeErrorCode GetNumberSteps(SpectrographModel& model, double start, double end,
                            double overlap, int32_t* steps) {
  if (steps == nullptr) return NqeNullPointer;
  const double a = start > end ? end : start;
  const double b = start > end ? start : end;
  double first = 0.0;
  double last = 0.0;
  SpectrumEnds(model, b + overlap, &first, &last);
  const double span = last - first - overlap;
  if (span <= 0.0) return NqeOverlapTooLarge;
  const double quotient = (b - a - overlap) / span + kStepRoundingMargin;
  SteppingState& stepping = model.stepping;
  stepping.rangeStart = a;
  stepping.rangeEnd = b;
  stepping.overlap = overlap;
  stepping.numSteps = TruncateToInt32(quotient);
  stepping.stepsValid = true;
  *steps = stepping.numSteps;
  return NqeSuccess;
}

NqeErrorCode GetStepCenterValues(SpectrographModel& model, int32_t count,
                                 double* values) {
  SteppingState& stepping = model.stepping;
  int32_t counted = 0;
  const NqeErrorCode recount =
      GetNumberSteps(model, stepping.rangeStart, stepping.rangeEnd,
                     stepping.overlap, &counted);
  if (count != stepping.numSteps) return NqeStepCountMismatch;
  const int32_t steps = std::max(stepping.numSteps, 0);
  if (values == nullptr && steps > 0) return NqeNullPointer;
  stepping.stepCenters.assign(static_cast<size_t>(steps), 0.0);
  double first = 0.0;
  double last = 0.0;
  SpectrumEnds(model, stepping.rangeEnd + stepping.overlap, &first, &last);
  const double width = last - first;
  const double increment = width - stepping.overlap;
  // Adjacent spectra overlap by the overlap; the first begins at A - O.
  double x = (stepping.rangeStart - stepping.overlap) + width * 0.5;
  for (int32_t i = 0; i < steps; ++i) {
    stepping.stepCenters[static_cast<size_t>(i)] = x;
    values[i] = x;
    x = x + increment;
  }
  return recount;
}

NqeErrorCode SetupSpecCalArray(SpectrographModel& model) {
  DetectorStore* detectors = model.Detectors();
  CalibrationStore* calibrations = model.Calibrations();
  if (detectors == nullptr || calibrations == nullptr) return NqeNullPointer;
  const NqeErrorCode valid = detectors->ValidateActiveDetector(true);
  if (valid != NqeSuccess) return valid;
  const int32_t pixels = detectors->ActiveNumPixels();

  CalibrationRecord record;
  CalibrationStore::DefaultRecord(&record);
  record.tableLength = pixels;
  // First pixel, quarter points and last pixel: (4 + i (N - 1)) / 4.
  constexpr int kPoints = 5;
  for (int i = 0; i < kPoints; ++i) {
    const int64_t quarters = 4 + int64_t{i} * (int64_t{pixels} - 1);
    const double position = static_cast<double>(quarters) * 0.25;
    record.pointPosition[i] = position;
    const NqeErrorCode code = PixelWavelength(
        model, model.center.effectiveCenter, position, &record.pointValue[i]);
    if (code != NqeSuccess) return code;
  }
  record.enabled = 1;
  record.pointCount = kPoints;
  record.polyOrder = 4;
  const NqeErrorCode validated =
      calibrations->Validate(&record, sizeof record, /*fitting=*/true,
                             /*dataPoints=*/false);
  if (validated != NqeSuccess) return validated;

  const CalibrationRecord* active = calibrations->ActiveRecord();
  if (active == nullptr) return NqeNullPointer;
  record.displayUnit = active->displayUnit;
  record.laserLine = active->laserLine;
  std::memcpy(record.unitLabel, active->unitLabel, sizeof record.unitLabel);
  calibrations->ReplaceActiveRecord(record);
  return NqeSuccess;
}

}  // namespace kvx
