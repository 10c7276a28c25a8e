// The library's own initialisation-file reader against the table of file
// cases the platform functions satisfy, its robustness on files no
// calibration point file should be, and the numbers in the file's texts.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "calibfile/number_text.h"
#include "calibfile/profile_cases.h"
#include "calibfile/profile_reader.h"

namespace {

using kvx::ProfileSection;
using kvx::ProfileString;
using kvx_test::TempDir;

constexpr char kUntouched = '#';  // fill the reader must not overwrite

void ExpectUntouchedFrom(const std::vector<char>& buffer, size_t from) {
  for (size_t i = from; i < buffer.size(); ++i)
    EXPECT_EQ(buffer[i], kUntouched) << i;
}

TEST(ProfileReader, DeliversThePlatformsValueForEveryStringCase) {
  TempDir dir;
  for (const kvx_test::StringCase& c : kvx_test::kStringCases) {
    SCOPED_TRACE(c.name);
    const std::string file = dir.Case(kvx_test::FileBytes(c));
    std::vector<char> buffer(c.size + 8, kUntouched);
    const uint32_t n = ProfileString(c.section, c.key, c.defaultValue,
                                     buffer.data(), c.size, file.c_str());
    EXPECT_EQ(std::string_view(buffer.data(), n), kvx_test::ExpectedText(c));
    EXPECT_EQ(buffer[n], '\0');
    ExpectUntouchedFrom(buffer, c.size);
  }
}

// The list as the table gives it, then the NUL that ends the list.
TEST(ProfileReader, ListsThePlatformsLinesForEverySectionCase) {
  TempDir dir;
  for (const kvx_test::SectionCase& c : kvx_test::kSectionCases) {
    SCOPED_TRACE(c.name);
    const std::string file = dir.Case(c.file);
    std::vector<char> buffer(c.size + 8, kUntouched);
    EXPECT_EQ(
        ProfileSection(kvx_test::kSection, buffer.data(), c.size, file.c_str()),
        c.count);
    EXPECT_EQ(std::string_view(buffer.data(), c.text.size() + 1),
              std::string(c.text) + '\0');
    ExpectUntouchedFrom(buffer, c.size);
  }
}

TEST(ProfileReader, LineLongerThanAnyBufferIsCutAndTheNextLineStillRead) {
  TempDir dir;
  const std::string name =
      dir.Write("long.ini", "[s]\nk=" + std::string(100000, 'x') + "\nj=2\n");
  char buffer[255];
  EXPECT_EQ(ProfileString("s", "k", "", buffer, sizeof buffer, name.c_str()),
            254u);
  EXPECT_EQ(std::string(buffer), std::string(254, 'x'));
  EXPECT_EQ(ProfileString("s", "j", "", buffer, sizeof buffer, name.c_str()),
            1u);
  EXPECT_STREQ(buffer, "2");
}

TEST(ProfileReader, NullNamesAndZeroSizeGiveNothingOrTheDefault) {
  TempDir dir;
  const std::string name = dir.Write("n.ini", "[s]\nk=v\n");
  char buffer[8] = {kUntouched};
  EXPECT_EQ(ProfileString("s", "k", "", buffer, 0, name.c_str()), 0u);
  EXPECT_EQ(ProfileSection("s", buffer, 0, name.c_str()), 0u);
  EXPECT_EQ(buffer[0], kUntouched);
  EXPECT_EQ(ProfileSection(nullptr, buffer, sizeof buffer, name.c_str()), 0u);
  EXPECT_EQ(ProfileSection("s", buffer, sizeof buffer, nullptr), 0u);
  EXPECT_EQ(
      ProfileString("s", nullptr, "d", buffer, sizeof buffer, name.c_str()),
      1u);
  EXPECT_EQ(ProfileString("s", "k", nullptr, buffer, sizeof buffer, nullptr),
            0u);
  EXPECT_STREQ(buffer, "");
}

// Each text is read both ways: as a count (a saturating atoi) and as a real
// (decimal only, never a non-finite value).
TEST(NumberText, ParsesAsCountAndAsReal) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  const struct {
    const char* text;
    int32_t count;
    double real;
  } cases[] = {
      {"+-1", 0, 0.0},  // two signs are not a number
      {"+8.25", 8, 8.25},
      {"585.249nm", 585, 585.249},  // stops at the first misfit character
      {"585,249", 585, 585.0},      // a decimal comma stops the number
      {"1.5e2", 1, 150.0},
      {"2147483648", kMax, 2147483648.0},  // counts clamp to int32
      {"-2147483649", kMin, -2147483649.0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(kvx::ParseCount(c.text), c.count) << c.text;
    EXPECT_EQ(kvx::ParseReal(c.text), c.real) << c.text;
  }
}

}  // namespace
