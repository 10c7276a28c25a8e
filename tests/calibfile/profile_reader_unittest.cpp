// The library's own initialisation-file reader against the table of file
// cases the platform functions satisfy, and its robustness on files no
// calibration point file should be.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "calibfile/profile_cases.h"
#include "calibfile/profile_reader.h"
#include "calibfile/temp_dir.h"

namespace {

using kvx::ProfileSection;
using kvx::ProfileString;
using kvx_test::TempDir;

constexpr char kUntouched = '#';  // fill the reader must not overwrite
const auto kByName = [](const auto& info) {
  return std::string(info.param.name);
};

std::string CaseFile(const TempDir& dir, std::string_view text) {
  if (text == kvx_test::kNoFile) return dir.Name("absent.ini");
  return dir.Write("case.ini", text);
}

void ExpectUntouchedFrom(const std::vector<char>& buffer, size_t from) {
  for (size_t i = from; i < buffer.size(); ++i)
    EXPECT_EQ(buffer[i], kUntouched) << i;
}

class ProfileStringTable
    : public ::testing::TestWithParam<kvx_test::StringCase> {};

TEST_P(ProfileStringTable, DeliversThePlatformsValue) {
  const kvx_test::StringCase& c = GetParam();
  TempDir dir;
  const std::string file = CaseFile(dir, kvx_test::FileBytes(c));
  std::vector<char> buffer(c.size + 8, kUntouched);
  const uint32_t n = ProfileString(c.section, c.key, c.defaultValue,
                                   buffer.data(), c.size, file.c_str());
  EXPECT_EQ(n, kvx_test::ExpectedText(c).size());
  EXPECT_EQ(std::string_view(buffer.data(), n), kvx_test::ExpectedText(c));
  EXPECT_EQ(buffer[n], '\0');
  ExpectUntouchedFrom(buffer, c.size);
}

INSTANTIATE_TEST_SUITE_P(FileCases, ProfileStringTable,
                         ::testing::ValuesIn(kvx_test::kStringCases), kByName);

class ProfileSectionTable
    : public ::testing::TestWithParam<kvx_test::SectionCase> {};

TEST_P(ProfileSectionTable, ListsThePlatformsLines) {
  const kvx_test::SectionCase& c = GetParam();
  TempDir dir;
  const std::string file = CaseFile(dir, c.file);
  std::vector<char> buffer(c.size + 8, kUntouched);
  EXPECT_EQ(
      ProfileSection(kvx_test::kSection, buffer.data(), c.size, file.c_str()),
      c.count);
  // The list as the table gives it, then the NUL that ends the list.
  EXPECT_EQ(std::string_view(buffer.data(), c.text.size() + 1),
            std::string(c.text) + '\0');
  ExpectUntouchedFrom(buffer, c.size);
}

INSTANTIATE_TEST_SUITE_P(FileCases, ProfileSectionTable,
                         ::testing::ValuesIn(kvx_test::kSectionCases), kByName);

TEST(ProfileReader, DirectoryDeviceAndUnreadableFileReadAsEmptyFiles) {
  TempDir dir;
  // /dev/zero is endless: it must not keep the reader busy.
  std::vector<std::string> names = {dir.Path().string(), "/dev/zero"};
  const std::string locked = dir.Write("locked.ini", "[s]\nk=1\n");
  ASSERT_EQ(chmod(locked.c_str(), 0), 0);
  // File permissions do not bind root.
  if (geteuid() != 0) names.push_back(locked);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    char buffer[16];
    EXPECT_EQ(ProfileSection("s", buffer, sizeof buffer, name.c_str()), 0u);
    EXPECT_EQ(
        ProfileString("s", "k", "dflt", buffer, sizeof buffer, name.c_str()),
        4u);
    EXPECT_STREQ(buffer, "dflt");
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

TEST(ProfileReader, BinaryGarbageNeverOverrunsTheBuffer) {
  TempDir dir;
  std::mt19937 random(20240318);
  for (int round = 0; round < 20; ++round) {
    std::string bytes(8192, '\0');
    for (char& b : bytes) b = static_cast<char>(random() & 0xFF);
    // Some structure, so that sections and keys are actually found.
    bytes.insert(0, "[s]\n");
    bytes.insert(bytes.size() / 2, "\n[s]\nk=");
    const std::string name = dir.Write("garbage.ini", bytes);
    for (uint32_t size : {1u, 2u, 3u, 16u, 255u}) {
      std::vector<char> buffer(size + 8, kUntouched);
      EXPECT_LT(ProfileSection("s", buffer.data(), size, name.c_str()), size);
      const uint32_t v =
          ProfileString("s", "k", "", buffer.data(), size, name.c_str());
      EXPECT_LT(v, size);
      EXPECT_EQ(std::strlen(buffer.data()), v);
      ExpectUntouchedFrom(buffer, size);
    }
  }
}

TEST(ProfileReader, RelativeNamesAreTakenFromTheCurrentDirectory) {
  TempDir dir;
  dir.Write("relative.ini", "[s]\nk=here\n");
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::current_path(dir.Path());
  char buffer[16];
  const uint32_t n =
      ProfileString("s", "k", "", buffer, sizeof buffer, "relative.ini");
  std::filesystem::current_path(previous);
  EXPECT_EQ(n, 4u);
  EXPECT_STREQ(buffer, "here");
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

}  // namespace
