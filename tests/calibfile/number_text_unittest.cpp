// Counts and reals as the calibration point file writes them. Each text is
// read both ways: as a count (a saturating atoi) and as a real (decimal
// only, never a non-finite value).
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>

#include "calibfile/number_text.h"

namespace {

using kvx::ParseCount;
using kvx::ParseReal;

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

struct NumberCase {
  const char* name;
  const char* text;
  int32_t count;
  double real;
};

void PrintTo(const NumberCase& c, std::ostream* os) { *os << c.name; }

const NumberCase kNumberCases[] = {
    {"TwoSignsAreNotANumber", "+-1", 0, 0.0},
    {"PlusSignIsAccepted", "+8.25", 8, 8.25},
    {"StopsAtTheFirstCharacterThatDoesNotFit", "585.249nm", 585, 585.249},
    {"DecimalCommaStopsTheNumber", "585,249", 585, 585.0},
    {"ExponentIsRead", "1.5e2", 1, 150.0},
    {"CountJustAboveInt32IsClamped", "2147483648", kMax, 2147483648.0},
    {"CountJustBelowInt32IsClamped", "-2147483649", kMin, -2147483649.0},
};

class NumberText : public ::testing::TestWithParam<NumberCase> {};

TEST_P(NumberText, ParsesAsCountAndAsReal) {
  EXPECT_EQ(ParseCount(GetParam().text), GetParam().count);
  EXPECT_EQ(ParseReal(GetParam().text), GetParam().real);
}

INSTANTIATE_TEST_SUITE_P(Texts, NumberText, ::testing::ValuesIn(kNumberCases),
                         [](const auto& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
