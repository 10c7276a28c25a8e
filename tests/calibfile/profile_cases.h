// What the calibration point file code expects of the profile functions, as
// a table of file cases. The expectations are those of the Windows platform
// functions GetPrivateProfileStringA / GetPrivateProfileSectionA, so the same
// table can be run against either the platform or the library's own reader.
#pragma once

#include <cstdint>
#include <ostream>
#include <string_view>

namespace kvx_test {

using namespace std::string_view_literals;

// No file at all (as opposed to an empty one).
inline constexpr std::string_view kNoFile = "<no file>"sv;

struct StringCase {
  const char* name;  // test name: the behaviour
  std::string_view file;
  std::string_view text;  // delivered; the count returned is its length
  const char* defaultValue = "";
  uint32_t size = 255;
  const char* section = "s";
  const char* key = "k";
};

// Test output names the case instead of dumping its bytes.
inline void PrintTo(const StringCase& c, std::ostream* os) { *os << c.name; }

inline constexpr StringCase kStringCases[] = {
    {"BlanksAroundKeyAndValueAreRemoved", "[s]\n \t k \t= \t value text \t\n",
     "value text"},
    {"BlanksAroundTheSectionNameAreIgnored", "  [ \t s \t]\nk=v\n", "v"},
    {"NamesIgnoreCase", "[CCD_INFO]\nNUM_segments=3\n", "3", "", 255,
     "CCD_Info", "Num_Segments"},
    // A name only matches as a whole, whichever side is longer.
    {"NamePrefixesDoNotMatch",
     "[Seg1_Pixel_Calib_Old]\nPoint1_Pixel=1\n"
     "[Seg1_Pixel_Calib]\nPoint1_Pixel_Old=2\nPoint1_Pix=3\n",
     "d", "d", 255, "Seg1_Pixel_Calib", "Point1_Pixel"},
    {"MissingKeyGivesTheDefault", "[s]\nj=1\n", "0", "0"},
    {"MissingFileGivesTheDefault", kNoFile, "0", "0"},
    {"MissingKeyWithEmptyDefaultDeliversNothing", "[s]\n", ""},
    {"TrailingSpacesOfTheDefaultAreDropped", "[s]\n", "0", "0  "},
    {"BlankValueDeliversNoCharacters", "[s]\nk= \t \n", "", "0"},
    {"CommentLineIsNotAKey", "[s]\n  ; k=1\nk=2\n", "2"},
    {"LineWithoutEqualsSignIsNotAKey", "[s]\nk\nk=3\n", "3"},
    {"FirstOfDuplicateKeysWins", "[s]\nk=1\nk=2\n", "1"},
    {"DuplicateSectionsReadAsOne", "[s]\na=1\n[t]\nk=9\n[s]\nk=2\n", "2"},
    {"KeysBeforeTheFirstSectionBelongToNone", "k=1\n[s]\n", "d", "d"},
    {"KeysOfAnotherSectionAreNotFound", "[t]\nk=1\n[s]\nj=2\n", "d", "d"},
    {"HeaderWithoutClosingBracketIsAnOrdinaryLine", "[s]\n[t\nk=1\n", "1"},
    {"TextAfterTheClosingBracketIsIgnored", "[s] ; note\nk=1\n", "1"},
    {"CrLfLineEndsAreAccepted", "[s]\r\nk=v\r\nj=w\r\n", "v"},
    {"LastLineNeedsNoLineEnd", "[s]\nk=7", "7"},
    {"Utf8ByteOrderMarkIsSkipped", "\xEF\xBB\xBF[s]\nk=1\n", "1"},
    {"ValueIsCutToSizeMinusOne", "[s]\nk=abcdef\n", "abc", "", 4},
    {"ValueMayHoldEqualsSigns", "[s]\nk=a=b\n", "a=b"},
    {"QuotesAreStrippedAndTheBlanksInsideKept", "[s]\nk=  \" padded \"  \n",
     " padded "},
    {"SingleQuotesAreStripped", "[s]\nk='x'\n", "x"},
    {"OnlyOnePairOfQuotesIsStripped", "[s]\nk=\"\"x\"\"\n", "\"x\""},
    {"MismatchedQuotesAreKept", "[s]\nk=\"x'\n", "\"x'"},
    {"LoneQuoteIsKept", "[s]\nk=\"\n", "\""},
    {"NulByteEndsTheLinesText", "[s]\nk=12\0 34\nj=5\n"sv, "12"},
    {"LineAfterANulByteIsRead", "[s]\nk=12\0 34\nj=5\n"sv, "5", "", 255, "s",
     "j"},
};

// All read section "s".
struct SectionCase {
  const char* name;
  std::string_view file;
  uint32_t size;
  uint32_t count;         // characters delivered, final NUL not counted
  std::string_view text;  // with the NULs between lines, final NUL excluded
};

inline void PrintTo(const SectionCase& c, std::ostream* os) { *os << c.name; }

inline constexpr SectionCase kSectionCases[] = {
    {"MissingFileGivesZero", kNoFile, 255, 0, ""sv},
    {"SectionOfCommentsAndBlankLinesGivesZero",
     "k=0\n[s]\n; note\n\n  \t\n[t]\nk=1\n", 255, 0, ""sv},
    {"LinesAreListedTrimmedAndNulSeparated", "[S]\n k = v \nline\n", 255, 9,
     "k=v\0line\0"sv},
    {"DuplicateSectionsAreListedAsOne", "[s]\na=1\n[t]\nb=2\n[S]\nc=3\n", 255,
     8, "a=1\0c=3\0"sv},
    // The platform keeps one character spare: a list filling the buffer
    // exactly is cut to size - 2 characters and two NULs.
    {"ListWithASpareCharacterIsNotCut", "[s]\nk=v\n", 6, 4, "k=v\0"sv},
    {"ListFillingTheBufferExactlyCountsAsCut", "[s]\nk=v\n", 5, 3, "k=v\0"sv},
};

}  // namespace kvx_test
