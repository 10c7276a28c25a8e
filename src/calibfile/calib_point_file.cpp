#include "calibfile/calib_point_file.h"

#include <array>
#include <cstdio>

#include "calibfile/number_text.h"
#include "calibfile/profile_reader.h"
#include "calibration/calibration_store.h"

namespace kvx {
namespace {

constexpr char kHeaderSection[] = "CCD_Info";
constexpr int16_t kFileVersion = 1;
// Every value is read into a buffer of this many characters (terminator
// included).
constexpr uint32_t kValueSize = 255;
// Presence tests: only whether anything comes back matters.
constexpr uint32_t kHeaderProbeSize = 3;
constexpr uint32_t kSegmentProbeSize = 255;
// A calibration record has this many point slots.
constexpr int32_t kRecordPoints =
    static_cast<int32_t>(sizeof(CalibrationRecord::pointPosition) /
                         sizeof(CalibrationRecord::pointPosition[0]));

// Header keys that belong to the format but carry nothing the library uses.
constexpr const char* kIgnoredHeaderKeys[] = {
    "LastChanged",   "FileName",      "Customer", "Job_Number",
    "Serial_Number", "Pixel_Size_um", "Ver"};

using Name = std::array<char, 48>;

Name SegmentSection(int32_t segment) {
  Name name{};
  std::snprintf(name.data(), name.size(), "Seg%d_Pixel_Calib",
                static_cast<int>(segment));
  return name;
}

Name PointKey(int32_t point, const char* what) {
  Name name{};
  std::snprintf(name.data(), name.size(), "Point%d_%s", static_cast<int>(point),
                what);
  return name;
}

bool HasSection(const char* fileName, const char* section, uint32_t probe) {
  char buffer[kSegmentProbeSize];
  return ProfileSection(section, buffer, probe, fileName) != 0;
}

NqeErrorCode CheckCommon(const char* fileName, int16_t version) {
  if (fileName == nullptr) return NqeNoFileName;
  if (version != kFileVersion) return NqeBadFileVersion;
  return NqeSuccess;
}

// "Num_Segments" of the header. A missing key counts 0 segments.
NqeErrorCode ReadNumSegments(const char* fileName, int32_t* count) {
  if (!HasSection(fileName, kHeaderSection, kHeaderProbeSize)) {
    return NqeNoDetectorSection;
  }
  char value[kValueSize];
  ProfileString(kHeaderSection, "Num_Segments", "", value, kValueSize,
                fileName);
  *count = ParseCount(value);
  return NqeSuccess;
}

// "Number_Points" of a segment; the segment number is not range-checked.
NqeErrorCode ReadNumPoints(const char* fileName, int32_t segment,
                           int32_t* count) {
  const Name section = SegmentSection(segment);
  if (!HasSection(fileName, section.data(), kSegmentProbeSize)) {
    return NqeBadSegment;
  }
  char value[kValueSize];
  if (ProfileString(section.data(), "Number_Points", "", value, kValueSize,
                    fileName) == 0) {
    return NqeNoPointCount;
  }
  *count = ParseCount(value);
  return NqeSuccess;
}

// Reads point `point` of the section. The default decides what a missing
// key gives: "0" reads it as 0.0, "" makes it an error like an empty value.
NqeErrorCode ReadPoint(const char* fileName, const char* section, int32_t point,
                       const char* defaultValue, double* pixel,
                       double* wavelength) {
  char value[kValueSize];
  if (ProfileString(section, PointKey(point, "Pixel").data(), defaultValue,
                    value, kValueSize, fileName) == 0) {
    return NqeBadPointPixel;
  }
  *pixel = ParseReal(value);
  if (ProfileString(section, PointKey(point, "Wave").data(), defaultValue,
                    value, kValueSize, fileName) == 0) {
    return NqeBadPointWave;
  }
  *wavelength = ParseReal(value);
  return NqeSuccess;
}

}  // namespace

// A null output pointer is refused with 11000 rather than written through.
NqeErrorCode GetNumSegments(const char* fileName, int16_t version,
                            int32_t* numSegments) {
  NqeErrorCode code = CheckCommon(fileName, version);
  if (code != NqeSuccess) return code;
  if (numSegments == nullptr) return NqeNullPointer;
  int32_t count = 0;
  code = ReadNumSegments(fileName, &count);
  if (code == NqeSuccess) *numSegments = count;
  return code;
}

NqeErrorCode GetNumPoints(const char* fileName, int16_t version,
                          int32_t segment, int32_t* numPoints) {
  NqeErrorCode code = CheckCommon(fileName, version);
  if (code != NqeSuccess) return code;
  if (numPoints == nullptr) return NqeNullPointer;
  int32_t count = 0;
  code = ReadNumPoints(fileName, segment, &count);
  if (code == NqeSuccess) *numPoints = count;
  return code;
}

NqeErrorCode LoadCalibPoints(const char* fileName, int16_t version,
                             int32_t segment, CalibPoint* points,
                             int32_t maxPoints) {
  NqeErrorCode code = CheckCommon(fileName, version);
  if (code != NqeSuccess) return code;

  int32_t segments = 0;
  const NqeErrorCode header = ReadNumSegments(fileName, &segments);
  // The range test comes before the header's result. Without a header there
  // is no count to compare with: a segment below 1 is still out of range,
  // any other segment reports the missing header.
  if (segment < 1) return NqeBadSegment;
  if (header != NqeSuccess) return header;
  if (segment > segments) return NqeBadSegment;

  int32_t count = 0;
  code = ReadNumPoints(fileName, segment, &count);
  if (code != NqeSuccess) return code;
  if (count == 0) return NqeNoPoints;
  if (count == 1) return NqeOnePoint;

  // Not limited to the record's ten slots: the caller's array decides. A
  // negative count or capacity writes nothing.
  const int32_t n = count < maxPoints ? count : maxPoints;
  if (n < 1) return NqeSuccess;
  if (points == nullptr) return NqeNullPointer;

  const Name section = SegmentSection(segment);
  for (int32_t i = 1; i <= n; ++i) {
    CalibPoint point{};
    code = ReadPoint(fileName, section.data(), i, "0", &point.pixel,
                     &point.wavelength);
    if (code != NqeSuccess) return code;
    points[i - 1] = point;
  }
  return NqeSuccess;
}

NqeErrorCode LoadCalibFile(CalibrationStore& calibrations, const char* fileName,
                           int16_t version, int32_t segment,
                           double wavelengthOffset, double laserLine) {
  NqeErrorCode code = CheckCommon(fileName, version);
  if (code != NqeSuccess) return code;

  // Header. Its descriptive keys are read and dropped; only the segment
  // count is used.
  NqeErrorCode header = NqeSuccess;
  int32_t segments = 0;
  if (!HasSection(fileName, kHeaderSection, kHeaderProbeSize)) {
    header = NqeNoDetectorSection;
  } else {
    char scratch[kValueSize];
    for (const char* key : kIgnoredHeaderKeys) {
      ProfileString(kHeaderSection, key, "", scratch, kValueSize, fileName);
    }
    ProfileString(kHeaderSection, "Num_Segments", "0", scratch, kValueSize,
                  fileName);
    segments = ParseCount(scratch);
  }
  // The count is compared as a 16-bit value (65537 segments allow only
  // segment 1); without a header the count is 0, so a missing file reports
  // a bad segment rather than the missing header.
  if (segment < 1 || segment > static_cast<int16_t>(segments)) {
    return NqeBadSegment;
  }
  if (header != NqeSuccess) return header;

  int32_t n = 0;
  code = ReadNumPoints(fileName, segment, &n);
  if (code != NqeSuccess) return code;
  if (n == 0) return NqeNoPoints;
  if (n == 1) return NqeOnePoint;
  // A negative count means there are no points.
  if (n < 0) return NqeNoPoints;
  // The record has ten point slots; a longer segment is refused as a
  // whole, before anything is read or loaded, rather than cut silently.
  if (n > kRecordPoints) return NqeBadSegment;

  const Name section = SegmentSection(segment);
  std::array<double, kRecordPoints> pixels{};
  std::array<double, kRecordPoints> wavelengths{};
  for (int16_t i = 1; i <= n; ++i) {
    code = ReadPoint(fileName, section.data(), i, "", &pixels[i - 1],
                     &wavelengths[i - 1]);
    if (code != NqeSuccess) return code;
  }

  CalibrationRecord record;
  CalibrationStore::DefaultRecord(&record);
  record.inputUnit = CalibUnitNanometers;
  record.displayUnit = CalibUnitNanometers;
  record.polyOrder = n - 1 < 2 ? n - 1 : 2;
  for (int32_t i = 0; i < n; ++i) {
    record.pointPosition[i] = pixels[i];
    record.pointValue[i] = wavelengthOffset + wavelengths[i];
  }
  record.laserLine = laserLine;
  record.pointCount = n;
  return calibrations.LoadCalibration(&record,
                                      static_cast<int32_t>(sizeof record));
}

}  // namespace kvx
