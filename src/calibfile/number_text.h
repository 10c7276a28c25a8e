// Decimal numbers as the calibration point file writes them. Both parsers
// skip leading blanks, stop at the first character that does not fit and
// read text that is not a number as 0. They never depend on the process
// locale (a host may have set one with a decimal comma).
#pragma once

#include <cstdint>

namespace kvx {

// Decimal integer with an optional sign. Values beyond the 32-bit range are
// clamped to INT32_MIN / INT32_MAX (the host runtime's atoi saturates the
// same way) instead of overflowing.
int32_t ParseCount(const char* text);

// Decimal floating-point number with an optional sign, fraction and
// exponent. Only finite values are delivered: "nan", "inf" and numbers too
// large or too small for a double read as 0, like any other text that is not
// a usable number, so that no non-finite value reaches a calibration.
double ParseReal(const char* text);

}  // namespace kvx
