// Unit codes, names and the conversion table, checked bit for bit.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "calibration/units.h"

namespace kvx {
namespace {

constexpr int32_t kFlag = INT32_MIN;  // the table-calibration bit

uint64_t Bits(double v) { return std::bit_cast<uint64_t>(v); }

// Converts with the table flag on neither, either and both codes (it must
// make no difference). Without a laser line, conversions to or from
// relative wavenumbers still deliver their number (W = 0) and report 11024.
void ExpectConversion(int32_t source, int32_t target, double v, double laser,
                      double expected) {
  const bool relative = (source == 6) != (target == 6);
  const NqeErrorCode status =
      relative && laser == 0.0 ? NqeNoLaserLine : NqeSuccess;
  const int32_t codes[][2] = {{source, target},
                              {source | kFlag, target},
                              {source, target | kFlag},
                              {source | kFlag, target | kFlag}};
  for (const auto& code : codes) {
    SCOPED_TRACE(::testing::Message() << code[0] << " -> " << code[1]
                                      << " v=" << v << " laser=" << laser);
    double result = -123.0;
    EXPECT_EQ(ConvertUnits(code[0], code[1], v, &result, laser), status);
    EXPECT_EQ(Bits(result), Bits(expected))
        << std::hexfloat << result << " vs " << expected;
  }
}

// Rows pasted unchanged from units_table_gen.py (next to this file), which
// evaluates each cell with binary64 floats in the written order. The inputs
// 604.07 and 1.5024 and the laser line 488 nm make any rewriting of a cell
// (v * 1000 * 0.1 as v * 100, 1e7 / (v * 0.1) as 1e8 / v, ...) change the
// last bit.
struct Cell {
  int32_t source, target;
  double atLaser[2], withoutLaser[2];
};
// clang-format off
const Cell kCells[] = {
    // {source, target, {at 488 nm}, {without laser line}}
    {4, 4, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}},
    {4, 5, {0x1.02a97dc922ca0p+14, 0x1.96404428596c4p+22}, {0x1.02a97dc922ca0p+14, 0x1.96404428596c4p+22}},
    {4, 6, {0x1.ec2dc62c6bc90p+11, -0x1.950014f1cabc0p+22}, {-0x1.02a97dc922ca0p+14, -0x1.96404428596c4p+22}},
    {4, 7, {0x1.06b7ae75539efp+1, 0x1.9c9ed548c5410p+9}, {0x1.06b7ae75539efp+1, 0x1.9c9ed548c5410p+9}},
    {4, 8, {0x1.798b333333334p+12, 0x1.e0c49ba5e353fp+3}, {0x1.798b333333334p+12, 0x1.e0c49ba5e353fp+3}},
    {4, 9, {0x1.3548a9bcfd4c0p-1, 0x1.89d85b76485bcp-10}, {0x1.3548a9bcfd4c0p-1, 0x1.89d85b76485bcp-10}},
    {5, 4, {0x1.02a97dc922ca0p+14, 0x1.96404428596c4p+22}, {0x1.02a97dc922ca0p+14, 0x1.96404428596c4p+22}},
    {5, 5, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}},
    {5, 6, {0x1.36beeee09bc84p+14, 0x1.402934198afd1p+14}, {-0x1.2e08f5c28f5c3p+9, -0x1.809d495182a99p+0}},
    {5, 7, {0x1.32c53c587446bp-4, 0x1.86a502ae6181ep-13}, {0x1.32c53c587446bp-4, 0x1.86a502ae6181ep-13}},
    {5, 8, {0x1.4353dd3b6b7c8p+17, 0x1.fbd055326fc75p+25}, {0x1.4353dd3b6b7c8p+17, 0x1.fbd055326fc75p+25}},
    {5, 9, {0x1.08deb60d737efp+4, 0x1.a00045cb1c14cp+12}, {0x1.08deb60d737efp+4, 0x1.a00045cb1c14cp+12}},
    {6, 4, {0x1.f6d290211eb89p+8, 0x1.e80928f7e8174p+8}, {-0x1.02a97dc922ca0p+14, -0x1.96404428596c4p+22}},
    {6, 5, {0x1.295f65c484829p+22, 0x1.7aad645854c85p+13}, {0x1.295f65c484829p+22, 0x1.7aad645854c85p+13}},
    {6, 6, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}},
    {6, 7, {0x1.3b9e2be3dc76cp+1, 0x1.452e3b32955f7p+1}, {-0x1.32c53c587446bp-4, -0x1.86a502ae6181ep-13}},
    {6, 8, {0x1.3a439a14b3336p+12, 0x1.3105b99af10e9p+12}, {-0x1.4353dd3b6b7c8p+17, -0x1.fbd055326fc75p+25}},
    {6, 9, {0x1.0171f3c73abcbp-1, 0x1.f3bfa6e12f327p-2}, {-0x1.08deb60d737efp+4, -0x1.a00045cb1c14cp+12}},
    {7, 4, {0x1.06b7ae75539efp+1, 0x1.9c9ed548c5410p+9}, {0x1.06b7ae75539efp+1, 0x1.9c9ed548c5410p+9}},
    {7, 5, {0x1.295f65c484829p+22, 0x1.7aad645854c85p+13}, {0x1.295f65c484829p+22, 0x1.7aad645854c85p+13}},
    {7, 6, {-0x1.281f368df5d25p+22, 0x1.05b108c50bbdfp+13}, {-0x1.295f65c484829p+22, -0x1.7aad645854c85p+13}},
    {7, 7, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}},
    {7, 8, {0x1.48659a12a886bp+4, 0x1.01e3454d7b48ap+13}, {0x1.48659a12a886bp+4, 0x1.01e3454d7b48ap+13}},
    {7, 9, {0x1.0d05d15d84bb5p-9, 0x1.a685f91f824edp-1}, {0x1.0d05d15d84bb5p-9, 0x1.a685f91f824edp-1}},
    {8, 4, {0x1.e34189374bc6cp+5, 0x1.33b107746887bp-3}, {0x1.e34189374bc6cp+5, 0x1.33b107746887bp-3}},
    {8, 5, {0x1.4353dd3b6b7c7p+17, 0x1.fbd055326fc74p+25}, {0x1.4353dd3b6b7c7p+17, 0x1.fbd055326fc74p+25}},
    {8, 6, {-0x1.1b4df66995741p+17, -0x1.fba84f4b9df13p+25}, {-0x1.4353dd3b6b7c7p+17, -0x1.fbd055326fc74p+25}},
    {8, 7, {0x1.48659a12a886ap+4, 0x1.01e3454d7b489p+13}, {0x1.48659a12a886ap+4, 0x1.01e3454d7b489p+13}},
    {8, 8, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}},
    {8, 9, {0x1.70b1f00000001p+22, 0x1.d580000000000p+13}, {0x1.70b1f00000001p+22, 0x1.d580000000000p+13}},
    {9, 4, {0x1.26f4c00000000p+19, 0x1.7799999999999p+10}, {0x1.26f4c00000000p+19, 0x1.7799999999999p+10}},
    {9, 5, {0x1.08deb60d737efp+4, 0x1.a00045cb1c14bp+12}, {0x1.08deb60d737efp+4, 0x1.a00045cb1c14bp+12}},
    {9, 6, {0x1.3fecfee12ce64p+14, 0x1.b05e4a37d27bep+13}, {-0x1.08deb60d737efp+4, -0x1.a00045cb1c14bp+12}},
    {9, 7, {0x1.504745b4e5ea3p-6, 0x1.0813bbb3b1715p+3}, {0x1.504745b4e5ea3p-6, 0x1.0813bbb3b1715p+3}},
    {9, 8, {0x1.70b1f00000001p+22, 0x1.d580000000000p+13}, {0x1.70b1f00000001p+22, 0x1.d580000000000p+13}},
    {9, 9, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}, {0x1.2e08f5c28f5c3p+9, 0x1.809d495182a99p+0}},
};
// clang-format on

TEST(ConvertUnits, EveryCellOfTheTableMatchesBitForBit) {
  const double inputs[] = {604.07, 1.5024};
  for (const Cell& c : kCells) {
    for (int i = 0; i < 2; ++i) {
      ExpectConversion(c.source, c.target, inputs[i], 488.0, c.atLaser[i]);
      ExpectConversion(c.source, c.target, inputs[i], 0.0, c.withoutLaser[i]);
    }
  }
}

// The cells that are not the physical conversions, by hand:
// 100 * 8065.544459933013 = 806554.4459933013 (laser line not used);
// 1239.841904 / (2 * 1000 * 0.1) = 6.19920952 (divisor v * 100);
// 5000 A * 10000 = 5e7 um, while 0.5 um * 10000 = 5000 A.
TEST(ConvertUnits, KeptCellsAreComputedAsTheyStand) {
  // clang-format off
  const struct { int32_t source, target; double v, expected; } cells[] = {
      {6, 5, 100.0, 806554.4459933013},  // relative cm-1 to cm-1: the eV factor
      {9, 7, 2.0, 6.19920952},           // um to eV: divides by 100 v
      {8, 9, 5000.0, 5e7},               // A to um: times 10000
      {9, 8, 0.5, 5000.0}};              // um to A: times 10000
  // clang-format on
  for (const auto& c : cells) {
    for (double laser : {0.0, 532.0}) {
      double result = 0.0;
      ConvertUnits(c.source, c.target, c.v, &result, laser);
      EXPECT_EQ(result, c.expected)
          << c.source << "->" << c.target << " " << laser;
    }
  }
}

// Also with a relative wavenumber and no laser line: the unit error wins.
// Bit 31 alone masks to 0; -1 masks to 0x7FFFFFFF.
TEST(ConvertUnits, CodesOutsideFourToNineLeaveTheValueAndReturnBadUnit) {
  const int32_t pairs[][2] = {
      {4, 3},  {3, 4}, {4, 0}, {0, 9},     {1, 5},  {5, 2},        {4, 10},
      {10, 4}, {6, 3}, {3, 6}, {kFlag, 4}, {-1, 4}, {4, INT32_MAX}};
  for (const auto& pair : pairs) {
    for (double laser : {0.0, 532.0}) {
      double result = 0.0;
      EXPECT_EQ(ConvertUnits(pair[0], pair[1], 3.5, &result, laser), NqeBadUnit)
          << pair[0] << "->" << pair[1];
      EXPECT_EQ(result, 3.5);
    }
  }
  // Decision: a null result is refused (internal callers never pass one).
  EXPECT_EQ(ConvertUnits(4, 5, 500.0, nullptr, 0.0), NqeNullPointer);
}

// Codes without a name (nullptr) return 11032 and keep the label.
TEST(SetUnitLabel, WritesTheNameAndTerminatorOnly) {
  // clang-format off
  const std::pair<int32_t, const char*> names[] = {
      {0, "X_Value [i]"}, {4, "Wavelength, nm"}, {5, "Wavenumber, cm-1"},
      {6, "Relative Wavenumber, Rel cm-1"}, {7, "Electron Volts, eV"},
      {8, "Angstroms"}, {9, "Microns"}, {kFlag, "X_Value [i]"},
      {5 | kFlag, "Wavenumber, cm-1"},  // a table is named after its unit
      {1, nullptr}, {2, nullptr}, {3, nullptr}, {10, nullptr},
      {INT32_MAX, nullptr}, {-1, nullptr}, {3 | kFlag, nullptr}};
  // clang-format on
  for (const auto& [unit, name] : names) {
    SCOPED_TRACE(unit);
    CalibrationRecord record{};
    std::memset(record.unitLabel, 'x', sizeof(record.unitLabel) - 1);
    record.unitLabel[sizeof(record.unitLabel) - 1] = '\0';
    const std::string before = record.unitLabel;
    ASSERT_EQ(UnitName(unit) == nullptr, name == nullptr);
    record.displayUnit = unit;
    EXPECT_EQ(SetUnitLabel(&record), name ? NqeSuccess : NqeBadUnit);
    const std::string label = record.unitLabel;
    EXPECT_EQ(label, name ? std::string(name) : before);
    // The bytes after the terminator are not touched.
    for (size_t i = label.size() + 1; i + 1 < sizeof(record.unitLabel); ++i)
      ASSERT_EQ(record.unitLabel[i], 'x') << i;
  }
  EXPECT_EQ(SetUnitLabel(nullptr), NqeNullPointer);
}

// Deliberate: microns and X values have names and convert, yet a host may
// not select them.
TEST(ValidateUnit, RefusesMicronsAndXValuesAlthoughTheyHaveNames) {
  for (int32_t unit : {CalibUnitMicrons, CalibUnitXValue}) {
    EXPECT_EQ(ValidateUnit(unit), NqeBadUnit) << unit;
    EXPECT_NE(UnitName(unit), nullptr) << unit;
  }
}

}  // namespace
}  // namespace kvx
