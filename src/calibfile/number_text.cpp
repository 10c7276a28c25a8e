#include "calibfile/number_text.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>

namespace kvx {
namespace {

// Blanks as the C locale's isspace sees them, without consulting a locale.
bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' ||
         c == '\r';
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

const char* SkipBlanks(const char* p) {
  while (IsBlank(*p)) ++p;
  return p;
}

}  // namespace

int32_t ParseCount(const char* text) {
  if (text == nullptr) return 0;
  const char* p = SkipBlanks(text);
  bool negative = false;
  if (*p == '+' || *p == '-') {
    negative = *p == '-';
    ++p;
  }
  // Accumulate in 64 bits and stop growing once past the 32-bit range, so
  // any number of digits is read without overflow.
  constexpr int64_t kLimit = int64_t{std::numeric_limits<int32_t>::max()} + 1;
  int64_t magnitude = 0;
  for (; IsDigit(*p); ++p) {
    if (magnitude <= kLimit) magnitude = magnitude * 10 + (*p - '0');
  }
  if (negative) {
    return magnitude >= kLimit ? std::numeric_limits<int32_t>::min()
                               : static_cast<int32_t>(-magnitude);
  }
  return magnitude >= kLimit ? std::numeric_limits<int32_t>::max()
                             : static_cast<int32_t>(magnitude);
}

double ParseReal(const char* text) {
  if (text == nullptr) return 0.0;
  const char* p = SkipBlanks(text);
  // from_chars takes a '-' but no '+'; a '+' must be followed by the
  // number itself ("+-1" is not a number).
  if (*p == '+') {
    ++p;
    if (*p == '+' || *p == '-') return 0.0;
  }
  // Only decimal digits or a point can start a number here: this keeps out
  // "nan" and "inf" (which from_chars would accept) and hexadecimal forms.
  const char* first = p;
  if (*first == '-') ++first;
  if (!IsDigit(*first) && *first != '.') return 0.0;
  double value = 0.0;
  const std::from_chars_result r =
      std::from_chars(p, p + std::strlen(p), value, std::chars_format::general);
  if (r.ec != std::errc() || !std::isfinite(value)) return 0.0;
  return value;
}

}  // namespace kvx
