// Conversions between pixels, data points and calibrated values through the
// active calibration, and the tests of how well a calibration reproduces its
// own points.
#include <cmath>

#include "calibration/calibration_store.h"
#include "calibration/polynomial_fit.h"
#include "calibration/units.h"
#include "calibration/wavelength_source.h"
#include "detector/detector_store.h"

namespace kvx {

namespace {

constexpr int kSlots = 10;

// Linear interpolation in a per-pixel table of display values; `value`
// already holds the pixel.
NqeErrorCode TableLookup(const CalibrationRecord& record,
                         const DetectorStore* detectors, double pixel,
                         double* value) {
  // A table of no entries (or a negative length) has nothing to look up.
  if (record.table == nullptr || record.tableLength <= 0) return NqeSuccess;
  if (detectors == nullptr) return NqeNoActiveDetector;
  double dataPoint = 0.0;  // only checks that the pixel lies in a region
  const NqeErrorCode inside = detectors->PixelToDataPoint(pixel, &dataPoint);
  if (inside != NqeSuccess) return inside;
  double t = pixel - 1.0;
  // A NaN pixel has no place in the table: it comes back unchanged.
  if (std::isnan(t)) return NqeSuccess;
  const int32_t lastIndex = record.tableLength - 1;
  if (t < 0.0) t = 0.0;
  if (t > static_cast<double>(lastIndex)) t = static_cast<double>(lastIndex);
  const auto i = static_cast<int32_t>(t);
  const double f = t - i;
  const double* table = record.table;
  if (f != 0.0 && i < lastIndex) {
    *value = table[i] + f * (table[i + 1] - table[i]);
  } else {
    *value = table[i];
  }
  return NqeSuccess;
}

}  // namespace

NqeErrorCode CalibrationStore::ConvertUnits(int32_t source, int32_t target,
                                            double value,
                                            double* result) const {
  // Without an active record there is no laser line: relative wavenumbers
  // then report 11024 like a record whose laser line is 0.0.
  const double laserLine =
      activeRecord_ != nullptr ? activeRecord_->laserLine : 0.0;
  return kvx::ConvertUnits(source, target, value, result, laserLine);
}

NqeErrorCode CalibrationStore::PixelToCalibValue(double pixel, double* value,
                                                 bool recordOnly) const {
  if (value == nullptr) return NqeNullPointer;
  *value = pixel;
  // In automatic mode the grating model answers, in nanometres.
  if (!recordOnly && model_ != nullptr) {
    return model_->EffectiveWavelengthAtPixel(pixel, value);
  }
  const CalibrationRecord* record = activeRecord_;
  if (record == nullptr) return NqeNullPointer;
  if (record->valid == 0) return NqeCalibrationNotValid;
  if (record->enabled == 0) return NqeCalibrationDisabled;
  return RecordValue(*record, pixel, value);
}

NqeErrorCode CalibrationStore::RecordValue(const CalibrationRecord& record,
                                           double pixel, double* value) const {
  *value = pixel;
  const int32_t displayUnit = record.displayUnit;
  if (displayUnit < 0) return TableLookup(record, detectors_, pixel, value);
  switch (displayUnit) {
    case CalibUnitOffsetFactor:
    case CalibUnitPolynomial:
    case CalibUnitNanometers:  // the polynomial's own unit: nothing to convert
      *value = EvaluatePolynomial(record, pixel);
      return NqeSuccess;
    case CalibUnitWavenumbers:
    case CalibUnitRelativeWavenumbers:
    case CalibUnitElectronVolts:
    case CalibUnitAngstroms:
    case CalibUnitMicrons:
      return ConvertUnits(CalibUnitNanometers, displayUnit,
                          EvaluatePolynomial(record, pixel), value);
    default:  // 0, 1 and unknown units report the position itself
      return NqeSuccess;
  }
}

NqeErrorCode CalibrationStore::CalibValueToPixel(double value,
                                                 double* pixel) const {
  if (pixel == nullptr) return NqeNullPointer;
  *pixel = value;
  const int32_t numPixels =
      detectors_ != nullptr ? detectors_->ActiveNumPixels() : -1;
  const double top = static_cast<double>(numPixels) + 0.5;
  if (!(top > 0.0)) return NqeNoPixels;

  double vLo = 0.0;
  double vHi = 0.0;
  NqeErrorCode code = PixelToCalibValue(0.5, &vLo, false);
  if (code != NqeSuccess) return code;
  code = PixelToCalibValue(top, &vHi, false);
  if (code != NqeSuccess) return code;

  const bool increasing = vHi > vLo;
  const double rangeMin = increasing ? vLo : vHi;
  const double rangeMax = increasing ? vHi : vLo;
  // Values outside the calibrated range are clamped, not reported.
  if (value < rangeMin) {
    *pixel = 0.5;
    return NqeSuccess;
  }
  if (value > rangeMax) {
    *pixel = top;
    return NqeSuccess;
  }

  // Bisection over whole pixels. The values at 0.5 and N + 0.5 are paired
  // with the indices 0 and N on purpose; results depend on it. Indices are
  // 64-bit so lo + hi cannot overflow, and every pass halves the bracket
  // whatever the values compare like (NaN included), so the loop ends.
  int64_t lo = 0;
  int64_t hi = numPixels;
  do {
    if (value == vLo) {
      *pixel = static_cast<double>(lo);
      return NqeSuccess;
    }
    if (value == vHi) {
      *pixel = static_cast<double>(hi);
      return NqeSuccess;
    }
    const int64_t mid = (lo + hi) / 2;
    double v = 0.0;
    (void)PixelToCalibValue(static_cast<double>(mid), &v, false);
    if ((increasing && value <= v) || (!increasing && value > v)) {
      hi = mid;
      vHi = v;
    } else {
      lo = mid;
      vLo = v;
    }
  } while (hi - lo > 1);

  if (lo == hi) {
    *pixel = static_cast<double>(lo);
  } else {
    *pixel = static_cast<double>(lo) + (value - vLo) / (vHi - vLo);
  }
  return NqeSuccess;
}

NqeErrorCode CalibrationStore::DataPointToCalibValue(double dataPoint,
                                                     double* value,
                                                     bool recordOnly) const {
  if (value == nullptr) return NqeNullPointer;
  *value = dataPoint;
  if (detectors_ == nullptr) return NqeNoActiveDetector;
  double pixel = dataPoint;
  const NqeErrorCode code = detectors_->DataPointToPixel(dataPoint, &pixel);
  if (code != NqeSuccess) return code;
  return PixelToCalibValue(pixel, value, recordOnly);
}

NqeErrorCode CalibrationStore::CalibValueToDataPoint(double value,
                                                     double* dataPoint) const {
  if (dataPoint == nullptr) return NqeNullPointer;
  *dataPoint = value;
  double pixel = value;
  const NqeErrorCode code = CalibValueToPixel(value, &pixel);
  if (code != NqeSuccess) return code;
  if (detectors_ == nullptr) return NqeNoActiveDetector;
  return detectors_->PixelToDataPoint(pixel, dataPoint);
}

NqeErrorCode CalibrationStore::TestCalibPointFit(int32_t pointNumber,
                                                 double* reference,
                                                 double* fitted,
                                                 double* relativeError) const {
  if (reference == nullptr || fitted == nullptr || relativeError == nullptr) {
    return NqeNullPointer;
  }
  const CalibrationRecord* record = activeRecord_;
  if (record == nullptr) return NqeNullPointer;
  if (record->valid == 0) return NqeCalibrationNotValid;
  const int64_t slot = int64_t{pointNumber} - 1;
  if (slot < 0 || slot >= kSlots) return NqeBadPointNumber;
  const int index = static_cast<int>(slot);
  if (IsUnusedSlot(*record, index)) return NqeBadPointNumber;
  const int32_t inputUnit = record->inputUnit;
  if (inputUnit < CalibUnitPolynomial || inputUnit > CalibUnitMicrons) {
    return NqeSuccess;
  }
  // The reference goes from nanometres into the input unit, the opposite of
  // what validation does with the same values; the two agree only for
  // nanometres (required behaviour).
  double ref = 0.0;
  (void)ConvertUnits(CalibUnitNanometers, inputUnit, record->pointValue[index],
                     &ref);
  *reference = ref;
  double value = 0.0;
  (void)DataPointToCalibValue(record->pointPosition[index], &value, true);
  double fit = 0.0;
  const NqeErrorCode code =
      ConvertUnits(record->displayUnit, inputUnit, value, &fit);
  *fitted = fit;
  *relativeError = (ref - fit) / ref;
  return code;
}

NqeErrorCode CalibrationStore::TestCalibrationFit(double* result) {
  if (result == nullptr) return NqeNullPointer;
  const NqeErrorCode validated = Validate(activeRecord_, 0, false, false);
  if (validated != NqeSuccess) return validated;
  const CalibrationRecord& record = *activeRecord_;
  // pointCount is the host's own number on paths that do not count points;
  // the slots end at 10 whatever it says.
  const int32_t slots = record.pointCount < kSlots ? record.pointCount : kSlots;
  double sum = 0.0;
  double e = 0.0;
  for (int32_t i = 0; i < slots; ++i) {
    if (record.pointValue[i] == -1.0 || record.pointPosition[i] == -1.0) {
      continue;
    }
    // Required behaviour: the slot index itself is passed as the point
    // number, so slot i tests point i (slot i - 1) and slot 0 fails. A
    // failed test leaves e at its previous value.
    double reference = 0.0;
    double fitted = 0.0;
    double error = e;
    if (TestCalibPointFit(i, &reference, &fitted, &error) == NqeSuccess) {
      e = error;
    }
    sum = sum + e * e;
  }
  // The root of the summed squares, deliberately not divided by the count.
  *result = std::sqrt(sum);
  return validated;
}

}  // namespace kvx
