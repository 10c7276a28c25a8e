// Units of calibrated values and the conversion of one value between them.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

// Masks the table flag off a unit code.
inline int32_t MaskUnit(int32_t unit) {
  return static_cast<int32_t>(static_cast<uint32_t>(unit) & 0x7FFFFFFFU);
}

// Converts `value` from unit `source` to unit `target`; `laserLine` (nm) is
// the reference of relative wavenumbers (0.0 = none). The result is always
// written; see the implementation for the codes.
NqeErrorCode ConvertUnits(int32_t source, int32_t target, double value,
                          double* result, double laserLine);

// Writes the name of the record's display unit into its unitLabel.
NqeErrorCode SetUnitLabel(CalibrationRecord* record);

// 0 for the units a host may select (4 to 8), else 11032.
NqeErrorCode ValidateUnit(int32_t unit);

// The name text of a unit, or null for units without one.
const char* UnitName(int32_t unit);

}  // namespace kvx
