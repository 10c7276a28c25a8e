// The shared table of profile file cases run through the file exports: on
// Windows they reach the platform's GetPrivateProfileStringA and
// GetPrivateProfileSectionA, elsewhere the library's own reader. Each case
// is read as the point count of segment 1 (CalibGetNumPoints), so what shows
// is whether the section has lines, whether a value was delivered and the
// count parsed from it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"
#include "calibfile/profile_cases.h"
#include "calibfile/temp_dir.h"

namespace {

using kvx_test::kNoFile;

constexpr KvxLong kUnwritten = -7;

// The cases the exports can express: a buffer of 255 characters and the
// names of segment 1's point count.
bool Fits(const kvx_test::StringCase& c) {
  return c.size == 255 && std::strcmp(c.section, kvx_test::kSection) == 0 &&
         std::strcmp(c.key, kvx_test::kKey) == 0;
}
bool Fits(const kvx_test::SectionCase& c) { return c.size == 255; }

template <class Case, size_t N>
std::vector<Case> Expressible(const Case (&cases)[N]) {
  std::vector<Case> fitting;
  for (const Case& c : cases)
    if (Fits(c)) fitting.push_back(c);
  return fitting;
}

KvxULong NumPoints(const kvx_test::TempDir& dir, const std::string& bytes,
                   KvxLong* count) {
  const std::string file =
      bytes == kNoFile ? dir.Name("absent.cal") : dir.Write("case.cal", bytes);
  return CalibGetNumPoints(file.c_str(), 1, 1, count);
}

class StringCaseThroughExports
    : public ::testing::TestWithParam<kvx_test::StringCase> {};

TEST_P(StringCaseThroughExports, GivesTheCountOfTheDeliveredText) {
  const kvx_test::StringCase& c = GetParam();
  const std::string_view text = kvx_test::ExpectedText(c);
  // The exports read the count with an empty default: a case that delivers
  // its own default found no key, and an export then sees nothing.
  std::string_view fallback = c.defaultValue;
  while (!fallback.empty() && fallback.back() == ' ') fallback.remove_suffix(1);
  const bool delivered = !text.empty() && text != fallback;

  kvx_test::TempDir dir;
  KvxLong n = kUnwritten;
  const KvxULong code = NumPoints(dir, kvx_test::FileBytes(c), &n);
  if (delivered) {
    EXPECT_EQ(code, static_cast<KvxULong>(NqeSuccess));
    // atoi reads the text as the file format's counts are documented.
    EXPECT_EQ(n, std::atoi(std::string(text).c_str()));
  } else {
    EXPECT_TRUE(code == NqeNoPointCount || code == NqeBadSegment) << code;
    EXPECT_EQ(n, kUnwritten);
  }
}

INSTANTIATE_TEST_SUITE_P(
    FileCases, StringCaseThroughExports,
    ::testing::ValuesIn(Expressible(kvx_test::kStringCases)),
    [](const auto& info) { return std::string(info.param.name); });

class SectionCaseThroughExports
    : public ::testing::TestWithParam<kvx_test::SectionCase> {};

TEST_P(SectionCaseThroughExports, SegmentIsPresentExactlyWhenItHasLines) {
  const kvx_test::SectionCase& c = GetParam();
  kvx_test::TempDir dir;
  KvxLong n = kUnwritten;
  const KvxULong code = NumPoints(dir, std::string(c.file), &n);
  // None of these sections has a count: present gives 11088, absent 11083.
  EXPECT_EQ(code, static_cast<KvxULong>(c.count != 0 ? NqeNoPointCount
                                                     : NqeBadSegment));
}

INSTANTIATE_TEST_SUITE_P(
    FileCases, SectionCaseThroughExports,
    ::testing::ValuesIn(Expressible(kvx_test::kSectionCases)),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
