// The parameter interface through the exports: which IDs each family
// accepts, the codes of every row on fresh objects, value rules, and the
// irregular behaviours hosts rely on.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "detector/detector_fixtures.h"

namespace {

using kvx_test::Handle;
using Ids = std::set<KvxLong>;

constexpr KvxULong Code(NqeErrorCode e) { return static_cast<KvxULong>(e); }

Ids Range(KvxLong first, KvxLong last, Ids more = {}) {
  for (KvxLong id = first; id <= last; ++id) more.insert(id);
  return more;
}

// The vocabulary written out by hand from the interface's parameter table.
const Ids kIntWrite =
    Range(3, 10,
          {12, 13, 16, 17, 18, 23, 24, 26, 30, 35, 37, 38, 40, 41, 67, 73, 74});
const Ids kIntRead = {1,  10, 12, 13, 16, 17, 18, 23, 24,
                      26, 27, 29, 67, 72, 73, 74, 76};
const Ids kDoubleWrite =
    Range(43, 65, Range(68, 71, {14, 15, 19, 20, 28, 31, 33}));
const Ids kDoubleRead =
    Range(43, 66, Range(68, 71, {14, 15, 19, 20, 28, 31, 33}));
const Ids kText = {2, 11, 21, 22, 36, 39, 42};
// Rows that need the model (for ints, with 35, 38, 41 and 73 kept off a
// manual object as well).
const Ids kModelInt = {35, 37, 38, 40, 41, 67, 72, 73};
const Ids kModelDouble = Range(43, 71);

// A detector with one region, so that its dump (which copies regions out)
// can serve as a snapshot.
void LoadDetector(CalibHandle h) {
  std::vector<X_ROI> region = {{1, 1, 2, 1}};  // still valid at 4 pixels
  DetectorRecord d = kvx_detector_test::Detector(1024, &region, 26.0);
  ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);
}

// What a refused call must leave alone.
std::string Snapshot(CalibHandle h) {
  X_ROI region{};
  DetectorRecord d{};
  d.regions = &region;
  d.regionCount = 1;
  d.regionBytes = sizeof region;
  CalibrationRecord c{};
  EXPECT_EQ(CalibDumpDetector(h, &d, sizeof d), 0u);
  EXPECT_EQ(CalibDumpCalibration(h, &c, sizeof c), 0u);
  d.regions = nullptr;
  return std::string(reinterpret_cast<const char*>(&d), sizeof d) +
         std::string(reinterpret_cast<const char*>(&c), sizeof c) +
         std::string(reinterpret_cast<const char*>(&region), sizeof region);
}

KvxULong Expected(const Ids& accepted, KvxLong id, KvxULong code) {
  return accepted.count(id) != 0 ? code : Code(NqeUnknownParameter);
}

// One call of a family: integers write 4, doubles 5.0, texts "abc".
using Call = KvxULong (*)(CalibHandle, KvxLong id, KvxLong*, double*, char*);
#define FAMILY_CALL(expr)                                         \
  [](CalibHandle h, KvxLong id, KvxLong* i, double* d, char* t) { \
    (void)i, (void)d, (void)t;                                    \
    return expr;                                                  \
  }
// Calls one family on a fresh object for every ID from -1 to 200.
void Sweep(KvxLong mode, Call call, KvxULong (*expected)(bool, KvxLong)) {
  for (KvxLong id = -1; id <= 200; ++id) {
    Handle h(mode);
    LoadDetector(h);
    const std::string before = Snapshot(h);
    KvxLong i = -77;
    double d = -77.0;
    char text[128] = "unchanged";
    const KvxULong code = call(h, id, &i, &d, text);
    EXPECT_EQ(code, expected(mode == CalibModeManual, id)) << "ID " << id;
    if (code != 0) {
      EXPECT_EQ(Snapshot(h), before) << id;
      EXPECT_EQ(i, -77) << id;
      EXPECT_EQ(d, -77.0) << id;
      EXPECT_STREQ(text, "unchanged") << id;
    }
  }
}

// The codes on a fresh object (point cursor -1, no optimisation run).
KvxULong Int(bool manual, KvxLong id, const Ids& accepted) {
  if (manual && kModelInt.count(id) && accepted.count(id)) {
    return Code(NqeNoSpectrographModel);
  }
  return Expected(accepted, id, 0);
}
KvxULong Double(bool manual, KvxLong id, const Ids& accepted) {
  if (id == 19) return Code(NqeBadPointCursor);
  if (id == 20) return Code(NqeBadPointNumber);
  if (accepted.count(id) && manual && kModelDouble.count(id)) {
    return Code(NqeNoSpectrographModel);
  }
  return Expected(accepted, id, 0);
}
KvxULong Text(bool manual, KvxLong id) {
  if (manual && id == 36) return Code(NqeNoActiveSpectrograph);
  if (manual && id == 39) return Code(NqeNoActiveTurret);
  if (manual && id == 42) return Code(NqeNoGratingSelected);
  return Expected(kText, id, 0);
}

TEST(ParameterSweep, EveryFamilyOnFreshObjectsOfBothModes) {
  // On an automatic object 35 selects spectrograph 4 of 1.
  // clang-format off
  const std::pair<Call, KvxULong (*)(bool, KvxLong)> families[] = {
      {FAMILY_CALL(CalibSetIntParam(h, id, 4)), [](bool m, KvxLong id) {
         if (id == 12) return Code(NqeReadOnlyParameter);
         return !m && id == 35 ? Code(NqeBadNumber) : Int(m, id, kIntWrite); }},
      {FAMILY_CALL(CalibGetIntParam(h, id, i)), [](bool m, KvxLong id) {
         return id == 18 ? Code(NqeBadPointCursor) : Int(m, id, kIntRead); }},
      {FAMILY_CALL(CalibSetDoubleParam(h, id, 5.0)),
       [](bool m, KvxLong id) { return Double(m, id, kDoubleWrite); }},
      {FAMILY_CALL(CalibGetDoubleParam(h, id, d)), [](bool m, KvxLong id) {
         return !m && (id == 64 || id == 65) ? Code(NqeNoOptimisationData)
                                             : Double(m, id, kDoubleRead); }},
      {FAMILY_CALL(CalibSetStrParam(h, id, "abc", 3)), Text},
      {FAMILY_CALL(CalibGetStrParam(h, id, t, 128)), Text}};
  // clang-format on
  for (KvxLong mode : {CalibModeManual, CalibModeAutomatic}) {
    for (const auto& [call, expected] : families) Sweep(mode, call, expected);
  }
}

// --- values ------------------------------------------------------------------

TEST(IntegerParameters, RangesAndStoredValues) {
  const NqeErrorCode ok = NqeSuccess;  // readBack -1: the row is not read back
  // clang-format off
  const struct { KvxLong id, value; NqeErrorCode code; KvxLong readBack; } cases[] = {
      {18, 10, NqeBadPointCursor, -1}, {18, 9, ok, 9}, {26, 6, NqeBadPolyOrder, -1},
      {26, 0, ok, 0}, {30, 5, NqeBadNumber, -1}, {30, -1, NqeBadNumber, -1},
      {23, 9, NqeBadUnit, -1}, {23, 8, ok, 8}, {13, 7, ok, 1}, {13, 0, ok, 0},
      {74, -3, ok, 1}, {73, 9, ok, 1}, {17, 33, ok, 33}, {67, 3, NqeBadUnit, -1}};
  // clang-format on
  Handle h(CalibModeAutomatic);
  KvxLong flag = -1;  // the model's free flag starts cleared
  ASSERT_EQ(CalibGetIntParam(h, 73, &flag), 0u);
  EXPECT_EQ(flag, 0);
  for (const auto& c : cases) {
    EXPECT_EQ(CalibSetIntParam(h, c.id, c.value), Code(c.code)) << c.id;
    if (c.readBack < 0) continue;
    KvxLong v = -1;
    EXPECT_EQ(CalibGetIntParam(h, c.id, &v), 0u) << c.id;
    EXPECT_EQ(v, c.readBack) << c.id;
  }
}

TEST(DoubleParameters, RoundTripsAndAdjustedValues) {
  // clang-format off
  const struct { KvxLong id; double value, readBack; } cases[] = {
      {33, 250.0, 100.0}, {33, -5.0, 0.0}, {33, 12.5, 12.5}, {49, 0.0, 1.0},
      {53, 0.0, 0.0}, {49, 1.5, 1.5}, {43, 1200.0, 1200.0}, {46, 300.0, 300.0},
      {50, 500.0, 500.0}, {57, 550.0, 550.0}, {62, 100.5, 100.5}, {70, 0.25, 0.25},
      {68, 400.0, 400.0}, {71, 2.0, 2.0}, {15, 7.0, 7.0}};
  // clang-format on
  Handle h(CalibModeAutomatic);
  for (const auto& c : cases) {
    EXPECT_EQ(CalibSetDoubleParam(h, c.id, c.value), 0u) << c.id;
    double v = -1.0;
    EXPECT_EQ(CalibGetDoubleParam(h, c.id, &v), 0u) << c.id;
    EXPECT_EQ(v, c.readBack) << c.id;
  }
  // 54 writes the target wavelength of slots 1 and 2 and reads slot 1's.
  double t = -1.0;
  EXPECT_EQ(CalibSetDoubleParam(h, 54, 500.0), 0u);
  EXPECT_EQ(CalibGetDoubleParam(h, 54, &t), 0u);
  EXPECT_EQ(t, 500.0);
  EXPECT_EQ(CalibGetDoubleParam(h, 55, &t), 0u);
  EXPECT_EQ(t, 0.0);
  // A writable objective accepts a value and keeps none.
  EXPECT_EQ(CalibSetDoubleParam(h, 64, 3.0), 0u);
  EXPECT_EQ(CalibGetDoubleParam(h, 64, &t), Code(NqeNoOptimisationData));
}

TEST(DoubleParameters, CursorsAddressPointsAndCoefficients) {
  Handle h;
  ASSERT_EQ(CalibSetIntParam(h, 18, 3), 0u);
  ASSERT_EQ(CalibSetIntParam(h, 30, 2), 0u);
  EXPECT_EQ(CalibSetDoubleParam(h, 19, 100.0), 0u);
  EXPECT_EQ(CalibSetDoubleParam(h, 20, 546.07), 0u);
  EXPECT_EQ(CalibSetDoubleParam(h, 31, 0.125), 0u);
  CalibrationRecord r{};
  ASSERT_EQ(CalibDumpCalibration(h, &r, sizeof r), 0u);
  EXPECT_EQ(r.pointPosition[3], 100.0);
  EXPECT_EQ(r.pointValue[3], 546.07);
  EXPECT_EQ(r.coefficients[2], 0.125);
  EXPECT_EQ(r.pointValue[2], -1.0);
}

TEST(SelectionParameters, ResultsIgnoredExceptTheSpectrographIndex) {
  Handle h(CalibModeAutomatic);
  EXPECT_EQ(CalibSetIntParam(h, 41, 9), 0u);  // no grating 9: ignored
  EXPECT_EQ(CalibSetIntParam(h, 38, 9), 0u);
  EXPECT_EQ(CalibSetIntParam(h, 35, 2), Code(NqeBadNumber));
  EXPECT_EQ(CalibSetIntParam(h, 35, 1), 0u);
  char name[8];  // selecting a spectrograph leaves no turret selected
  EXPECT_EQ(CalibGetStrParam(h, 39, name, 8), Code(NqeNoActiveTurret));
  EXPECT_EQ(CalibSetDoubleParam(h, 43, 1.0), Code(NqeNoGratingSelected));
}

// --- kept behaviours ---------------------------------------------------------

TEST(KeptBehaviour, DisplayUnitLabelNamesThePreviousUnit) {
  Handle h;
  char label[128];
  ASSERT_EQ(CalibSetIntParam(h, 24, 5), 0u);
  ASSERT_EQ(CalibGetStrParam(h, 21, label, 128), 0u);
  EXPECT_STREQ(label, "Wavelength, nm");
  ASSERT_EQ(CalibSetIntParam(h, 24, 5), 0u);
  ASSERT_EQ(CalibGetStrParam(h, 21, label, 128), 0u);
  EXPECT_STREQ(label, "Wavenumber, cm-1");
}

TEST(KeptBehaviour, ACutTextReadCarriesNoTerminator) {
  Handle h;
  ASSERT_EQ(CalibSetStrParam(h, 22, "abc", 2), 0u);
  char buf[4] = {'x', 'x', 'x', 'x'};
  ASSERT_EQ(CalibGetStrParam(h, 22, buf, 2), 0u);
  EXPECT_EQ(std::string(buf, 4), "abxx");
  ASSERT_EQ(CalibGetStrParam(h, 22, buf, 3), 0u);
  EXPECT_EQ(std::string(buf, 4), std::string("ab\0x", 4));
}

TEST(KeptBehaviour, ArrayCallsOnlyWritePointValues) {
  Handle h;
  CalibrationRecord before{};
  ASSERT_EQ(CalibDumpCalibration(h, &before, sizeof before), 0u);
  double buf[11] = {1.5, 2.5, 3.5};
  EXPECT_EQ(CalibGetDoubleArray(h, 20, buf, 11), Code(NqeBadPointCursor));
  EXPECT_EQ(CalibSetDoubleArray(h, 19, buf, 0), Code(NqeBadPointCursor));
  EXPECT_EQ(CalibGetDoubleArray(h, 31, buf, 6), Code(NqeBadCoefficientIndex));
  EXPECT_EQ(CalibGetDoubleArray(h, 5, buf, 3), 0u);
  EXPECT_EQ(CalibSetDoubleArray(h, 21, nullptr, -4), 0u);
  CalibrationRecord r{};
  ASSERT_EQ(CalibDumpCalibration(h, &r, sizeof r), 0u);
  EXPECT_EQ(std::memcmp(&r, &before, sizeof r), 0);
  for (KvxLong id : {19, 31}) {  // positions and coefficients stay
    buf[0] = static_cast<double>(id);
    EXPECT_EQ(CalibGetDoubleArray(h, id, buf, 3), 0u);
    ASSERT_EQ(CalibDumpCalibration(h, &r, sizeof r), 0u);
    EXPECT_EQ(r.pointValue[0], id);
    EXPECT_EQ(r.pointValue[2], 3.5);
    EXPECT_EQ(r.pointValue[3], -1.0);
    EXPECT_EQ(std::memcmp(r.pointPosition, before.pointPosition, 80), 0);
    EXPECT_EQ(std::memcmp(r.coefficients, before.coefficients, 48), 0);
  }
  EXPECT_EQ(buf[1], 2.5);  // nothing is read out
}

TEST(KeptBehaviour, PixelCountStaysWhenTheGeometryRefreshFails) {
  Handle h(CalibModeAutomatic);  // the default detector is not loaded
  EXPECT_EQ(CalibSetIntParam(h, 16, 2048), Code(NqeDetectorNotLoaded));
  KvxLong n = 0;
  double size = -1.0;
  EXPECT_EQ(CalibGetIntParam(h, 16, &n), 0u);
  EXPECT_EQ(n, 2048);
  EXPECT_EQ(CalibGetDoubleParam(h, 14, &size), 0u);
  EXPECT_EQ(size, 0.0);  // the stand-in pixel size is put back
  Handle manual;         // no geometry to refresh
  EXPECT_EQ(CalibSetIntParam(manual, 16, 2048), 0u);
  EXPECT_EQ(CalibGetIntParam(manual, 16, &n), 0u);
  EXPECT_EQ(n, 2048);
}

// --- texts -------------------------------------------------------------------

TEST(TextParameters, LengthsAndNullBuffers) {
  Handle h;
  const std::string longText(200, 'q');
  char buf[200];
  ASSERT_EQ(CalibSetStrParam(h, 11, longText.c_str(), 200), 0u);
  std::memset(buf, 'z', sizeof buf);
  ASSERT_EQ(CalibGetStrParam(h, 11, buf, 200), 0u);  // 127 at most
  EXPECT_EQ(std::string(buf, 128), std::string(127, 'q') + 'z');
  std::memset(buf, 'z', sizeof buf);
  ASSERT_EQ(CalibGetStrParam(h, 11, buf, -1), 0u);  // whole text, terminated
  EXPECT_EQ(std::string(buf), std::string(127, 'q'));
  ASSERT_EQ(CalibSetStrParam(h, 11, "abc", -5), 0u);  // clears, copies none
  ASSERT_EQ(CalibGetStrParam(h, 11, buf, 10), 0u);
  EXPECT_STREQ(buf, "");
  ASSERT_EQ(CalibSetStrParam(h, 2, "Named", 100), 0u);
  EXPECT_EQ(CalibSetStrParam(h, 2, nullptr, 3), Code(NqeNullPointer));
  EXPECT_EQ(CalibGetStrParam(h, 2, nullptr, 3), Code(NqeNullPointer));
  EXPECT_EQ(CalibGetIntParam(h, 1, nullptr), Code(NqeNullPointer));
  ASSERT_EQ(CalibGetStrParam(h, 2, buf, 0), 0u);
  ASSERT_EQ(CalibGetStrParam(h, 2, buf, 100), 0u);
  EXPECT_STREQ(buf, "Named");
}

}  // namespace
