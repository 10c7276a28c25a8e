// File cases for the profile functions the point file code reads through:
// what GetPrivateProfileStringA / GetPrivateProfileSectionA deliver, run
// against the platform under Windows and the library's own reader anywhere.
// Where the two differ a case names both (docs/calibfile.md).
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace kvx_test {

using namespace std::string_view_literals;

// No file at all (as opposed to an empty one).
inline constexpr std::string_view kNoFile = "<no file>"sv;

// Unless a case says otherwise it reads the point count of segment 1, so
// that it can also be run through the file exports, which read only the
// names of the calibration point file.
#define SEC "Seg1_Pixel_Calib"
#define KEY "Number_Points"
inline constexpr const char* kSection = SEC;
inline constexpr const char* kKey = KEY;

struct StringCase {
  const char* name;  // test name: the behaviour
  std::string_view file;
  std::string_view text;  // delivered; the count returned is its length
  const char* defaultValue = "";
  uint32_t size = 255;
  const char* section = kSection;
  const char* key = kKey;
  // What the library's own reader delivers where it differs (nullptr: the
  // same as the platform).
  const char* ownReaderText = nullptr;
  bool utf16 = false;  // the file is written as UTF-16LE with a byte order mark
};

// clang-format off
inline constexpr StringCase kStringCases[] = {
    {"BlanksAroundKeyAndValueAreRemoved", "[" SEC "]\n \t " KEY " \t= \t 12 text \t\n", "12 text"},
    {"BlanksAroundTheSectionNameAreIgnored", "  [ \t " SEC " \t]\n" KEY "=4\n", "4"},
    {"NamesIgnoreCase", "[SEG1_pixel_CALIB]\nnumber_POINTS=3\n", "3"},
    // A name only matches as a whole, whichever side is longer.
    {"NamePrefixesDoNotMatch",
     "[Seg1_Pixel]\n" KEY "=5\n[" SEC "_Old]\n" KEY "=1\n[" SEC "]\n" KEY "_Old=2\nNumber_Point=3\n", "d", "d"},
    {"MissingKeyGivesTheDefault", "[" SEC "]\nj=1\n", "0", "0"},
    {"MissingFileGivesTheDefault", kNoFile, "0", "0"},
    {"MissingKeyWithEmptyDefaultDeliversNothing", "[" SEC "]\n", ""},
    {"TrailingSpacesOfTheDefaultAreDropped", "[" SEC "]\n", "0", "0  "},
    {"BlankValueDeliversNoCharacters", "[" SEC "]\n" KEY "= \t \n", "", "0"},
    {"CommentLineIsNotAKey", "[" SEC "]\n  ; " KEY "=1\n" KEY "=2\n", "2"},
    {"HashLineIsNoComment", "[" SEC "]\n#" KEY "=1\n" KEY "=2\n", "1", "", 255, SEC, "#" KEY},
    // A line without '=' is a key without a value: it gives the default and,
    // as the first of its name, hides a later line with a value.
    {"LineWithoutEqualsSignIsAKeyWithoutValue", "[" SEC "]\n" KEY "\n" KEY "=3\n", "d", "d"},
    {"LineWithoutEqualsSignHidesNoOtherKey", "[" SEC "]\nnote\n" KEY "=3\n", "3"},
    {"FirstOfDuplicateKeysWins", "[" SEC "]\n" KEY "=1\n" KEY "=2\n", "1"},
    {"OnlyTheFirstOfDuplicateSectionsIsRead", "[" SEC "]\na=1\n[t]\n" KEY "=9\n[" SEC "]\n" KEY "=2\n", "d", "d"},
    {"KeysBeforeTheFirstSectionBelongToNone", KEY "=1\n[" SEC "]\n", "d", "d"},
    {"KeysOfAnotherSectionAreNotFound", "[t]\n" KEY "=1\n[" SEC "]\nj=2\n", "d", "d"},
    {"HeaderWithoutClosingBracketIsAnOrdinaryLine", "[" SEC "]\n[t\n" KEY "=1\n", "1"},
    {"TextAfterTheClosingBracketIsIgnored", "[" SEC "] ; note\n" KEY "=1\n", "1"},
    {"CrLfLineEndsAreAccepted", "[" SEC "]\r\n" KEY "=5\r\nj=6\r\n", "5"},
    {"LastLineNeedsNoLineEnd", "[" SEC "]\n" KEY "=7", "7"},
    {"Utf8ByteOrderMarkIsSkipped", "\xEF\xBB\xBF[" SEC "]\n" KEY "=1\n", "1"},
    // Windows reads UTF-16 files that start with a byte order mark; the
    // library's own reader reads bytes and finds no section in them.
    {"Utf16FileWithByteOrderMark", "[" SEC "]\r\n" KEY "=7\r\n", "7", "d", 255, SEC, KEY, "d", true},
    {"ValueIsCutToSizeMinusOne", "[" SEC "]\n" KEY "=123456\n", "123", "", 4},
    {"ValueMayHoldEqualsSigns", "[" SEC "]\n" KEY "=8=9\n", "8=9"},
    {"SemicolonInAValueIsNoComment", "[" SEC "]\n" KEY "=1 ; note\n", "1 ; note"},
    {"QuotesAreStrippedAndTheBlanksInsideKept", "[" SEC "]\n" KEY "=  \" 42 \"  \n", " 42 "},
    {"SingleQuotesAreStripped", "[" SEC "]\n" KEY "='7'\n", "7"},
    {"OnlyOnePairOfQuotesIsStripped", "[" SEC "]\n" KEY "=\"\"7\"\"\n", "\"7\""},
    {"MismatchedQuotesAreKept", "[" SEC "]\n" KEY "=\"7'\n", "\"7'"},
    {"LoneQuoteIsKept", "[" SEC "]\n" KEY "=\"\n", "\""},
    {"NulByteEndsTheLinesText", "[" SEC "]\n" KEY "=12\0 34\nj=5\n"sv, "12"},
    {"LineAfterANulByteIsRead", "[" SEC "]\nj=12\0 34\n" KEY "=5\n"sv, "5"},
};
// clang-format on

// All read section kSection.
struct SectionCase {
  const char* name;
  std::string_view file;
  uint32_t size;
  uint32_t count;         // characters delivered, final NUL not counted
  std::string_view text;  // with the NULs between lines, final NUL excluded
};

// clang-format off
inline constexpr SectionCase kSectionCases[] = {
    {"MissingFileGivesZero", kNoFile, 255, 0, ""sv},
    {"SectionOfCommentsAndBlankLinesGivesZero", "k=0\n[" SEC "]\n; note\n\n  \t\n[t]\nk=1\n", 255, 0, ""sv},
    {"LinesAreListedTrimmedAndNulSeparated", "[SEG1_PIXEL_CALIB]\n k = v \nline\n", 255, 9, "k=v\0line\0"sv},
    {"OnlyTheFirstOfDuplicateSectionsIsListed",
     "[" SEC "]\na=1\n[t]\nb=2\n[seg1_pixel_calib]\nc=3\n", 255, 4, "a=1\0"sv},
    {"EmptyFirstSectionHidesALaterOne", "[" SEC "]\n[" SEC "]\nk=2\n", 255, 0, ""sv},
    // The platform keeps one character spare: a list filling the buffer
    // exactly is cut to size - 2 characters and two NULs.
    {"ListWithASpareCharacterIsNotCut", "[" SEC "]\nk=v\n", 6, 4, "k=v\0"sv},
    {"ListFillingTheBufferExactlyCountsAsCut", "[" SEC "]\nk=v\n", 5, 3, "k=v\0"sv},
};
// clang-format on

#undef SEC
#undef KEY

// The bytes of the case's file (kNoFile stays as it is).
inline std::string FileBytes(const StringCase& c) {
  if (!c.utf16 || c.file == kNoFile) return std::string(c.file);
  std::string bytes = "\xFF\xFE";
  for (char ch : c.file) bytes += {ch, '\0'};
  return bytes;
}

// What this platform's reader delivers for the case.
inline std::string_view ExpectedText(const StringCase& c) {
#if defined(_WIN32)
  return c.text;
#else
  return c.ownReaderText != nullptr ? std::string_view(c.ownReaderText)
                                    : c.text;
#endif
}

// A private directory for a test's files, removed with its content when the
// test ends.
class TempDir {
 public:
  // A fresh name each time (no mkdtemp on Windows): create_directory
  // reports whether the folder is new, so a name already taken is retried.
  TempDir() {
    std::random_device seed;
    std::mt19937 random(seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
      path_ = std::filesystem::temp_directory_path() /
              ("kvx-calibfile-" + std::to_string(random()));
      std::error_code ec;
      if (std::filesystem::create_directory(path_, ec)) return;
    }
    path_.clear();  // not ours: nothing to remove
    ADD_FAILURE() << "no temporary folder in "
                  << std::filesystem::temp_directory_path();
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // Writes `text` byte for byte (NULs kept); returns the file's full name.
  std::string Write(const std::string& name, std::string_view text) const {
    std::ofstream out(path_ / name, std::ios::binary);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    EXPECT_TRUE(out.good()) << name;
    return Name(name);
  }
  std::string Name(const std::string& name) const {
    return (path_ / name).string();
  }
  // A file holding `text`, or the name of none for kNoFile.
  std::string Case(std::string_view text) const {
    return text == kNoFile ? Name("absent.cal") : Write("case.cal", text);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace kvx_test
