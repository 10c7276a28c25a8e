// Unit codes, their names, and the conversion of one value between units.
//
// Every conversion is evaluated exactly in the order written in the table
// below (no folded constants), so that hosts comparing results against
// values they computed earlier get the same bits. Some entries are not the
// physical conversions; hosts depend on them, so they stay as they are
// (marked "kept" below).
#include "calibration/units.h"

#include <cstring>

namespace kvx {
namespace {

// All derived from 1239.841904 nm * eV; written out as the exact doubles
// hosts have always used.
constexpr double kNmEv = 1239.841904;             // nm * eV
constexpr double kAngstromEv = 12398.41904;       // A * eV
constexpr double kMicronEv = 1.2398419040000002;  // um * eV
constexpr double kEvPerWavenumber = 0.00012398419040000002;
constexpr double kWavenumberPerEv = 8065.544459933013;  // 1e7 / 1239.841904
constexpr double kNmWavenumber = 1e7;                   // nm * cm-1
constexpr double kAngstromWavenumber = 1e8;             // A * cm-1
constexpr double kMicronWavenumber = 10000.0;           // um * cm-1

constexpr int32_t kNm = CalibUnitNanometers;
constexpr int32_t kWavenumber = CalibUnitWavenumbers;
constexpr int32_t kRelWavenumber = CalibUnitRelativeWavenumbers;
constexpr int32_t kEv = CalibUnitElectronVolts;
constexpr int32_t kAngstrom = CalibUnitAngstroms;
constexpr int32_t kMicron = CalibUnitMicrons;

bool IsConvertible(int32_t unit) { return unit >= kNm && unit <= kMicron; }

// One cell of the conversion table: `v` in unit `source` to unit `target`,
// both 4..9 and different; `w` is the laser wavenumber. A division whose
// divisor (the transformed value at that moment) is exactly 0.0 yields 0.0.
double ConvertCell(int32_t target, int32_t source, double v, double w) {
  double d = 0.0;  // divisor of a division cell
  switch (target) {
    case kNm:
      switch (source) {
        case kWavenumber:
          d = v;
          return d == 0.0 ? 0.0 : kNmWavenumber / d;
        case kRelWavenumber:
          d = w - v;
          return d == 0.0 ? 0.0 : kNmWavenumber / d;
        case kEv:
          d = v;
          return d == 0.0 ? 0.0 : kNmEv / d;
        case kAngstrom:
          return v * 0.1;
        default:  // kMicron
          return v * 1000.0;
      }
    case kWavenumber:
      switch (source) {
        case kNm:
          d = v;
          return d == 0.0 ? 0.0 : kNmWavenumber / d;
        case kRelWavenumber:
          // Kept: treats the relative value as electron volts and ignores
          // the laser line.
          return v * kWavenumberPerEv;
        case kEv:
          return v * kWavenumberPerEv;
        case kAngstrom:
          d = v * 0.1;
          return d == 0.0 ? 0.0 : kNmWavenumber / d;
        default:  // kMicron
          d = v * 10000.0 * 0.1;
          return d == 0.0 ? 0.0 : kNmWavenumber / d;
      }
    case kRelWavenumber:
      switch (source) {
        case kNm:
          d = v;
          return d == 0.0 ? 0.0 : w - kNmWavenumber / d;
        case kWavenumber:
          return w - v;
        case kEv:
          return w - v * kWavenumberPerEv;
        case kAngstrom:
          d = v * 0.1;
          return d == 0.0 ? 0.0 : w - kNmWavenumber / d;
        default:  // kMicron
          d = v * 10000.0 * 0.1;
          return d == 0.0 ? 0.0 : w - kNmWavenumber / d;
      }
    case kEv:
      switch (source) {
        case kNm:
          d = v;
          return d == 0.0 ? 0.0 : kNmEv / d;
        case kWavenumber:
          return v * kEvPerWavenumber;
        case kRelWavenumber:
          return (w - v) * kEvPerWavenumber;
        case kAngstrom:
          d = v * 0.1;
          return d == 0.0 ? 0.0 : kNmEv / d;
        default:  // kMicron
          // Kept: the divisor is v * 100, ten times too small.
          d = v * 1000.0 * 0.1;
          return d == 0.0 ? 0.0 : kNmEv / d;
      }
    case kAngstrom:
      switch (source) {
        case kNm:
          return v * 10.0;
        case kWavenumber:
          d = v;
          return d == 0.0 ? 0.0 : kAngstromWavenumber / d;
        case kRelWavenumber:
          d = w - v;
          return d == 0.0 ? 0.0 : kAngstromWavenumber / d;
        case kEv:
          d = v;
          return d == 0.0 ? 0.0 : kAngstromEv / d;
        default:  // kMicron
          return v * 10000.0;
      }
    default:  // kMicron
      switch (source) {
        case kNm:
          return v * 0.001;
        case kWavenumber:
          d = v;
          return d == 0.0 ? 0.0 : kMicronWavenumber / d;
        case kRelWavenumber:
          d = w - v;
          return d == 0.0 ? 0.0 : kMicronWavenumber / d;
        case kEv:
          d = v;
          return d == 0.0 ? 0.0 : kMicronEv / d;
        default:  // kAngstrom
          // Kept: multiplies where dividing would be physical.
          return v * 10000.0;
      }
  }
}

}  // namespace

// Codes: 0; 11024 when a relative wavenumber is involved and there is no
// laser line (the converted number is still written); 11032 when either
// masked code is outside 4..9 and they differ (the value is written back
// unchanged). Equal masked codes always succeed with the value unchanged.
NqeErrorCode ConvertUnits(int32_t source, int32_t target, double value,
                          double* result, double laserLine) {
  // Not reachable from the exports (callers always pass their own output);
  // refuse rather than write through null.
  if (result == nullptr) return NqeNullPointer;
  *result = value;
  source = MaskUnit(source);
  target = MaskUnit(target);
  if (source == target) return NqeSuccess;

  // Without a laser line relative wavenumbers are computed from W = 0; the
  // caller gets both that number and 11024.
  NqeErrorCode status = NqeSuccess;
  if ((source == kRelWavenumber || target == kRelWavenumber) &&
      laserLine == 0.0) {
    status = NqeNoLaserLine;
  }
  const double w = laserLine != 0.0 ? kNmWavenumber / laserLine : 0.0;

  if (!IsConvertible(target) || !IsConvertible(source)) return NqeBadUnit;
  *result = ConvertCell(target, source, value, w);
  return status;
}

const char* UnitName(int32_t unit) {
  switch (MaskUnit(unit)) {
    case CalibUnitXValue:
      return "X_Value [i]";
    case kNm:
      return "Wavelength, nm";
    case kWavenumber:
      return "Wavenumber, cm-1";
    case kRelWavenumber:
      return "Relative Wavenumber, Rel cm-1";
    case kEv:
      return "Electron Volts, eV";
    case kAngstrom:
      return "Angstroms";
    case kMicron:
      return "Microns";
    default:
      return nullptr;
  }
}

NqeErrorCode SetUnitLabel(CalibrationRecord* record) {
  if (record == nullptr) return NqeNullPointer;
  const char* name = UnitName(record->displayUnit);
  if (name == nullptr) return NqeBadUnit;
  // The name and its terminator only; the bytes after it stay as they were
  // (the longest name, 29 characters, always fits the 128-byte field).
  const size_t length = std::strlen(name) + 1;
  static_assert(sizeof(record->unitLabel) >= 30);
  std::memcpy(record->unitLabel, name, length);
  return NqeSuccess;
}

NqeErrorCode ValidateUnit(int32_t unit) {
  // Microns and X values are refused here although conversions and labels
  // know them: hosts may only select 4 to 8.
  const int32_t masked = MaskUnit(unit);
  return masked >= kNm && masked <= kAngstrom ? NqeSuccess : NqeBadUnit;
}

}  // namespace kvx
