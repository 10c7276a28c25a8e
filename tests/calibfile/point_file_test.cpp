// The exports that read a calibration point file, also over the shared
// table of profile file cases (on Windows through the platform's profile
// functions, elsewhere through the library's own reader), each case read as
// the point count of segment 1: whether the section has lines, whether a
// value was delivered and the count parsed from it.

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include "calibfile/profile_cases.h"
#include "calibration/calibration_fixtures.h"

namespace {

constexpr KvxULong kOk = NqeSuccess;
constexpr KvxLong kSentinel = -7;
constexpr double kUnwritten = -123.0;

#define SEG1 "[CCD_Info]\nNum_Segments=1\n[Seg1_Pixel_Calib]\n"
// Straight line through (100, 500) and (900, 600): c0 = 487.5, c1 = 0.125.
#define TWO_POINTS                                                    \
  "Number_Points=2\nPoint1_Pixel=100\nPoint1_Wave=500\nPoint2_Pixel=" \
  "900\nPoint2_Wave=600\n"
#define POINT1 "Point1_Pixel=1\nPoint1_Wave=500\n"

class PointFile : public ::testing::Test {
 protected:
  void SetUp() override {
    calibration_fixtures::LoadDetector(h, 1024);
    for (CalibPoint& p : points) p = {kUnwritten, kUnwritten};
  }

  // nullptr: a file that does not exist.
  std::string File(const char* text, const char* name = "f.cal") {
    return text ? dir.Write(name, text) : dir.Name("absent.cal");
  }
  KvxULong LoadPoints(const char* text, KvxLong segment, KvxLong max = 12) {
    return CalibLoadCalibPoints(File(text).c_str(), 1, segment, points, max);
  }
  CalibrationRecord Dump() {
    CalibrationRecord r;
    std::memset(&r, 0x5A, sizeof r);
    EXPECT_EQ(CalibDumpCalibration(h, &r, sizeof r), kOk);
    return r;
  }
  double ValueAt(double pixel) {
    return calibration_fixtures::ValueAt(h, pixel);
  }

  kvx_test::TempDir dir;
  kvx_test::Handle h;
  CalibPoint points[12];
};

constexpr KvxULong kBadSeg = NqeBadSegment, kNoPts = NqeNoPoints,
                   kBadPx = NqeBadPointPixel;

struct SegmentCase {
  const char* name;
  KvxLong segment;
  KvxULong points;   // code of CalibLoadCalibPoints
  KvxULong load;     // code of CalibLoadCalibFile, a failure in every row
  const char* file;  // nullptr: no file
};

const SegmentCase kSegmentCases[] = {
    {"LowerRangeTestComesBeforeTheMissingHeader", 0, kBadSeg, kBadSeg,
     "[Seg1_Pixel_Calib]\n" TWO_POINTS},
    // 65537 segments read as 1 for the load only.
    {"SegmentCountIsComparedOnItsLow16BitsByTheLoad", 2, kOk, kBadSeg,
     "[CCD_Info]\nNum_Segments=65537\n[Seg2_Pixel_Calib]\n" TWO_POINTS},
    {"OnePointIsTooFew", 1, NqeOnePoint, NqeOnePoint,
     SEG1 "Number_Points=1\n" POINT1},
    {"NegativeCountMeansNoPointsToTheLoad", 1, kOk, kNoPts,
     SEG1 "Number_Points=-3\n"},
    // Ten point slots: the load refuses a longer segment before reading any
    // point; the handle-free reader reads the missing points as 0.
    {"MoreThanTenPointsAreRefusedByTheLoad", 1, kOk, kBadSeg,
     SEG1 "Number_Points=11\n"},
    {"MissingPixelKeyFailsOnlyTheLoad", 1, kOk, kBadPx,
     SEG1 "Number_Points=2\n" POINT1 "Point2_Wave=501\n"},
    // Validation of the record built from the file: the parabola through
    // these points turns at pixel 512.5.
    {"CalibrationThatTurnsBack", 1, kOk, NqeNotMonotonic,
     SEG1
     "Number_Points=3\n" POINT1
     "Point2_Pixel=512\nPoint2_Wave=600\nPoint3_Pixel=1024\nPoint3_Wave=500"},
};

TEST_F(PointFile, EachLoaderGivesItsCodeAndAFailedLoadChangesNothing) {
  const std::string good = File(SEG1 TWO_POINTS, "good.cal");
  for (const SegmentCase& c : kSegmentCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(LoadPoints(c.file, c.segment), c.points);
    ASSERT_EQ(CalibLoadCalibFile(h, good.c_str(), 1, 1, 0.0, 0.0), kOk);
    const CalibrationRecord before = Dump();
    const std::string file = File(c.file);
    EXPECT_EQ(CalibLoadCalibFile(h, file.c_str(), 1, c.segment, 0.5, 532.0),
              c.load);
    const CalibrationRecord after = Dump();
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
  }
}

TEST_F(PointFile, PointsAreWrittenUpToMaxPointsEvenBeyondTen) {
  std::string text = SEG1 "Number_Points=12\n";
  for (int i = 1; i <= 12; ++i) {
    const std::string n = std::to_string(i);
    text +=
        "Point" + n + "_Pixel=" + n + ".5\nPoint" + n + "_Wave=4" + n + "\n";
  }
  ASSERT_EQ(LoadPoints(text.c_str(), 1, 11), kOk);
  EXPECT_EQ(std::tie(points[0].pixel, points[0].wavelength, points[10].pixel,
                     points[10].wavelength),
            std::tuple(1.5, 41.0, 11.5, 411.0));
  EXPECT_EQ(std::tie(points[11].pixel, points[11].wavelength),
            std::tie(kUnwritten, kUnwritten));
}

// The least-squares quadratic through each segment of examples/neon-1024.cal
// and its values at pixels 1, 512 and 1024, solved exactly with python3
// fractions (normal equations, Gaussian elimination); outputs in the table.
// Segment 1 is neon, segment 2 mercury.
TEST_F(PointFile, SampleFileSegmentsFitTheDispersionOfTheirLines) {
  // clang-format off
  const struct { KvxLong segment, points; double c[3], at[3]; } segments[] = {
      {1, 10, {582.0007824271398, 0.0599980696004088, 2.0049060987671094e-06},
       {582.0607825016464, 613.2453681669043, 645.5411021153793}},
      {2, 5, {394.997250739375, 0.18005887941239807, -2.0652060076694576e-06},
       {395.17730755358133, 486.64601563484825, 577.2120178029726}}};
  // clang-format on
  const std::string file = std::string(KVX_EXAMPLES_DIR) + "/neon-1024.cal";
  const double tolerance[3] = {1e-7, 1e-9, 1e-12}, pixel[3] = {1, 512, 1024};
  for (const auto& s : segments) {
    SCOPED_TRACE(s.segment);
    ASSERT_EQ(CalibLoadCalibFile(h, file.c_str(), 1, s.segment, 0, 0), kOk);
    const CalibrationRecord r = Dump();
    EXPECT_EQ(r.polyOrder, 2);
    EXPECT_EQ(r.pointCount, s.points);
    for (int k = 0; k < 3; ++k) {
      EXPECT_NEAR(r.coefficients[k], s.c[k], tolerance[k]) << k;
      EXPECT_NEAR(ValueAt(pixel[k]), s.at[k], 1e-7) << pixel[k];
    }
  }
}

TEST_F(PointFile, TwoPointsLoadAsAStraightLineWithTheOffsetOnEveryWavelength) {
  // A header value longer than any buffer is tolerated.
  const std::string text = "[CCD_Info]\nCustomer=" + std::string(5000, 'c') +
                           "\nNum_Segments=1\n[Seg1_Pixel_Calib]\n" TWO_POINTS;
  ASSERT_EQ(CalibLoadCalibFile(h, File(text.c_str()).c_str(), 1, 1, 0.5, 532.0),
            kOk);
  const CalibrationRecord r = Dump();
  const KvxLong nm = CalibUnitNanometers;
  EXPECT_EQ(std::tie(r.inputUnit, r.displayUnit, r.polyOrder, r.pointCount),
            std::tuple(nm, nm, 1, 2));
  EXPECT_STREQ(r.unitLabel, "Wavelength, nm");
  // Unused slots keep their initial value -1.
  EXPECT_EQ(std::tie(r.pointPosition[0], r.pointValue[0], r.pointValue[1],
                     r.pointValue[2], r.laserLine),
            std::tuple(100.0, 0.5 + 500.0, 0.5 + 600.0, -1.0, 532.0));
  EXPECT_NEAR(r.coefficients[1], 0.125, 1e-12);
  EXPECT_NEAR(ValueAt(512.0), 552.0, 1e-9);  // 488.0 + 0.125 * 512
}

KvxULong NumPoints(const kvx_test::TempDir& dir, std::string_view bytes,
                   KvxLong* count) {
  return CalibGetNumPoints(dir.Case(bytes).c_str(), 1, 1, count);
}

// The cases the exports can express: a buffer of 255 characters and the
// names of segment 1's point count.
TEST(FileCases, StringCasesGiveTheCountOfTheDeliveredText) {
  kvx_test::TempDir dir;
  for (const kvx_test::StringCase& c : kvx_test::kStringCases) {
    if (c.size != 255 || std::strcmp(c.section, kvx_test::kSection) != 0 ||
        std::strcmp(c.key, kvx_test::kKey) != 0)
      continue;
    SCOPED_TRACE(c.name);
    const std::string_view text = kvx_test::ExpectedText(c);
    // The exports read the count with an empty default: a case that
    // delivers its own default found no key, and an export sees nothing.
    std::string_view fallback = c.defaultValue;
    while (!fallback.empty() && fallback.back() == ' ')
      fallback.remove_suffix(1);
    KvxLong n = kSentinel;
    const KvxULong code = NumPoints(dir, kvx_test::FileBytes(c), &n);
    if (!text.empty() && text != fallback) {
      EXPECT_EQ(code, static_cast<KvxULong>(NqeSuccess));
      // atoi reads the text as the file format's counts are documented.
      EXPECT_EQ(n, std::atoi(std::string(text).c_str()));
    } else {
      EXPECT_TRUE(code == NqeNoPointCount || code == NqeBadSegment) << code;
      EXPECT_EQ(n, kSentinel);
    }
  }
}

// None of these sections has a count: present gives 11088, absent 11083.
TEST(FileCases, SegmentIsPresentExactlyWhenItsSectionHasLines) {
  kvx_test::TempDir dir;
  for (const kvx_test::SectionCase& c : kvx_test::kSectionCases) {
    if (c.size != 255) continue;
    KvxLong n = kSentinel;
    EXPECT_EQ(NumPoints(dir, c.file, &n),
              KvxULong(c.count != 0 ? NqeNoPointCount : NqeBadSegment))
        << c.name;
  }
}

}  // namespace
