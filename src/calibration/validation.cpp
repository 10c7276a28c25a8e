// Validation of calibration records: the checks, the polynomial fit of point
// calibrations and the monotonicity test over the detector's pixels.
#include <cstring>

#include "calibration/calibration_store.h"
#include "calibration/polynomial_fit.h"
#include "detector/detector_store.h"

namespace kvx {

namespace {

constexpr int32_t kRecordSize = static_cast<int32_t>(sizeof(CalibrationRecord));
constexpr int kSlots = 10;

bool HoldsMinusOne(double value) {
  static constexpr double kUnused = -1.0;
  return std::memcmp(&value, &kUnused, sizeof value) == 0;
}

}  // namespace

bool IsUnusedSlot(const CalibrationRecord& record, int slot) {
  return HoldsMinusOne(record.pointPosition[slot]) &&
         HoldsMinusOne(record.pointValue[slot]);
}

NqeErrorCode CalibrationStore::Validate(CalibrationRecord* record, int32_t size,
                                        bool fitting, bool dataPoints) {
  if (record == nullptr) return NqeNullPointer;
  // A buffer of another size may be too short to hold `valid`, so it is left
  // untouched. Every later outcome is recorded in `valid`.
  if (size != 0 && size != kRecordSize) return NqeBadCalibrationSize;
  const auto finish = [record](NqeErrorCode result) {
    record->valid = result == NqeSuccess ? 1 : 0;
    return result;
  };

  int32_t dataPointCount = 0;
  if (detectors_ == nullptr ||
      detectors_->CountDataPoints(&dataPointCount) != NqeSuccess) {
    return finish(NqeNoActiveDetector);
  }

  const int32_t inputUnit = record->inputUnit;
  if (inputUnit < 0) {  // table calibration
    if (record->table == nullptr) return finish(NqeNoTable);
    if (record->tableLength != dataPointCount) {
      return finish(NqeTableLengthMismatch);
    }
    // Required behaviour: a table that is not monotonic is reported, yet the
    // record stays valid.
    record->valid = 1;
    return CheckMonotonic(record);
  }
  // Angstroms, microns and unknown input units are accepted as they stand,
  // without a fit.
  if (inputUnit < CalibUnitFixedPolynomial || inputUnit > 7) {
    return finish(NqeSuccess);
  }
  if (inputUnit == CalibUnitFixedPolynomial) {
    record->coefficients[0] = 1.0;
    record->coefficients[1] = 1.0;
    record->polyOrder = 1;
    return finish(NqeSuccess);
  }
  if (inputUnit == CalibUnitOffsetFactor) {
    if (record->factor == 0.0) return finish(NqeZeroFactor);
    record->coefficients[0] = record->offset;
    record->coefficients[1] = record->factor;
    record->polyOrder = 1;
    return finish(NqeSuccess);
  }

  // Units 3 to 7: fit the polynomial to the points.
  record->pointCount = 0;
  if (inputUnit == CalibUnitRelativeWavenumbers && record->laserLine == 0.0) {
    return finish(NqeNoLaserLine);
  }
  const int32_t order = record->polyOrder;
  if (order < 1 || order > 5) return finish(NqeBadPolyOrder);

  NqeErrorCode pending = NqeSuccess;
  const double lastDataPoint = static_cast<double>(dataPointCount);
  for (int slot = 0; slot < kSlots && pending == NqeSuccess; ++slot) {
    if (IsUnusedSlot(*record, slot)) continue;
    ++record->pointCount;
    const double position = record->pointPosition[slot];
    if (!(1.0 <= position && position <= lastDataPoint)) {
      pending = NqePointOutOfRange;
    }
  }
  if (pending != NqeSuccess) return finish(pending);
  const int32_t pointCount = record->pointCount;
  if (pointCount == 0) return finish(NqeNoCalibrationPoints);
  if (pointCount <= order) return finish(NqeTooFewCalibrationPoints);
  if (!fitting) return finish(NqeSuccess);

  double x[kSlots];
  double y[kSlots];
  int32_t n = 0;
  NqeErrorCode status = NqeSuccess;
  for (int slot = 0; slot < kSlots && n < pointCount; ++slot) {
    if (IsUnusedSlot(*record, slot)) continue;
    x[n] = record->pointPosition[slot];
    if (dataPoints) (void)detectors_->DataPointToPixel(x[n], &x[n]);
    // Only the last point's status counts. The laser line is the active
    // record's, not this record's: relative wavenumbers are read against
    // the calibration in use (required behaviour).
    status = ConvertUnits(inputUnit, CalibUnitNanometers,
                          record->pointValue[slot], &y[n]);
    ++n;
  }
  if (status != NqeSuccess) return finish(status);
  const NqeErrorCode fitted =
      FitPolynomial(x, y, n, order, record->coefficients);
  if (fitted != NqeSuccess) return finish(fitted);
  record->valid = 1;
  return finish(CheckMonotonic(record));
}

NqeErrorCode CalibrationStore::CheckMonotonic(CalibrationRecord* record) {
  if (record == nullptr) return NqeNullPointer;
  // The conversions work on the active record, so the record stands in for
  // it during the scan; the previous one comes back on every path.
  struct RestoreActive {
    CalibrationRecord*& slot;
    CalibrationRecord* saved;
    ~RestoreActive() { slot = saved; }
  } restore{activeRecord_, activeRecord_};
  activeRecord_ = record;

  const int64_t numPixels =
      detectors_ != nullptr ? detectors_->ActiveNumPixels() : -1;
  double first = 0.0;
  double last = 0.0;
  NqeErrorCode code = PixelToCalibValue(1.0, &first, true);
  if (code != NqeSuccess) return code;
  code = PixelToCalibValue(static_cast<double>(numPixels), &last, true);
  if (code != NqeSuccess) return code;

  // Equal ends count as decreasing. An increasing calibration may repeat a
  // value, a decreasing one may not (required behaviour).
  const bool increasing = first < last;
  const auto scan = [&](auto valueAt) {
    double previous = first;
    for (int64_t p = 2; p <= numPixels; ++p) {
      const double v = valueAt(static_cast<double>(p));
      if (increasing ? v < previous : v >= previous) return NqeNotMonotonic;
      previous = v;
    }
    return NqeSuccess;
  };
  // The record passed the checks above, so every pixel gets the value that
  // PixelToCalibValue would report without repeating them. Where that value
  // is the polynomial itself (nanometres need no conversion) it is taken
  // directly: the scan runs over every pixel of every validation.
  switch (record->displayUnit) {
    case CalibUnitOffsetFactor:
    case CalibUnitPolynomial:
    case CalibUnitNanometers:
      return scan(
          [record](double p) { return EvaluatePolynomial(*record, p); });
    default:
      return scan([this, record](double p) {
        double v = 0.0;
        (void)RecordValue(*record, p, &v);
        return v;
      });
  }
}

}  // namespace kvx
