// Calibration records through the exports: initialisation, the list of
// calibrations (add, select, remove, load, dump) and the tables a host
// hands over.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "KelvoCalibrate.h"
#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

TEST(CalibrationRecordInit, WritesTheDefaultRecordOnlyForTheRightSize) {
  Handle h;
  // By hand: all zero, every point slot -1.0, enabled, nanometres.
  CalibrationRecord expected;
  std::memset(&expected, 0, sizeof expected);
  for (int i = 0; i < 10; ++i) {
    expected.pointPosition[i] = expected.pointValue[i] = -1.0;
  }
  expected.inputUnit = expected.displayUnit = 4;
  expected.enabled = 1;
  std::strcpy(expected.unitLabel, "Wavelength, nm");

  CalibrationRecord r;
  std::memset(&r, 0x5A, sizeof r);
  const CalibrationRecord garbage = r;
  EXPECT_EQ(CalibInitializeCalibration(h, &r, kRecordSize - 1),
            Code(NqeBadCalibrationSize));
  EXPECT_EQ(std::memcmp(&r, &garbage, sizeof r), 0);
  EXPECT_EQ(CalibInitializeCalibration(h, nullptr, 0), Code(NqeNullPointer));
  for (KvxLong size : {KvxLong{0}, kRecordSize}) {
    std::memset(&r, 0x5A, sizeof r);
    ASSERT_EQ(CalibInitializeCalibration(h, &r, size), 0u);
    EXPECT_EQ(std::memcmp(&r, &expected, sizeof r), 0) << size;
  }
}

// --- the list of calibrations ---

using CalibrationList = OnDetector;

TEST_F(CalibrationList, AddLeavesTheActiveCalibrationAndReturnsASelectableId) {
  const KvxULong first = ActiveId(h);
  const KvxULong added = Add(h, LinearNm(h));
  EXPECT_NE(added, 0u);
  EXPECT_NE(added, first);
  EXPECT_EQ(ActiveId(h), first);
  double v = 0.0;  // the active one is still the default record: not valid
  EXPECT_EQ(CalibPixelToCalibValue(h, 2.0, &v), NqeCalibrationNotValid);
  // An unknown ID changes nothing.
  EXPECT_EQ(CalibSetActiveCalibrationID(h, added ^ first ^ 0x5A5A5A5Au),
            Code(NqeCalibrationNotFound));
  EXPECT_EQ(ActiveId(h), first);
  ASSERT_EQ(CalibSetActiveCalibrationID(h, added), 0u);
  EXPECT_EQ(ActiveId(h), added);
  EXPECT_NEAR(ValueAt(h, 2.5), 503.0, 1e-9);
  // A failed add reports ID 0.
  CalibrationRecord bad = LinearNm(h);
  bad.polyOrder = 0;
  KvxULong id = 12345;
  EXPECT_EQ(CalibAddCalibration(h, &bad, kRecordSize, &id),
            Code(NqeBadPolyOrder));
  EXPECT_EQ(id, 0u);
}

TEST_F(CalibrationList, AddWithSizeZeroValidatesButKeepsTheDefaultRecord) {
  CalibrationRecord r = LinearNm(h);
  r.laserLine = 532.0;
  KvxULong id = 0;
  ASSERT_EQ(CalibAddCalibration(h, &r, 0, &id), 0u);
  EXPECT_EQ(r.valid, 1);  // the caller's record was validated
  ASSERT_EQ(CalibSetActiveCalibrationID(h, id), 0u);
  CalibrationRecord dumped{};
  ASSERT_EQ(CalibDumpCalibration(h, &dumped, kRecordSize), 0u);
  const CalibrationRecord fresh = DefaultRecord(h);
  EXPECT_EQ(std::memcmp(&dumped, &fresh, sizeof dumped), 0);
}

TEST_F(CalibrationList, LoadReplacesTheActiveRecordAndKeepsItsId) {
  const KvxULong id = ActiveId(h);
  CalibrationRecord r = LinearNm(h);
  std::snprintf(r.calibLabel, sizeof r.calibLabel, "lamp");
  ASSERT_EQ(CalibLoadCalibration(h, &r, kRecordSize), 0u);
  EXPECT_EQ(ActiveId(h), id);
  CalibrationRecord dumped{};
  ASSERT_EQ(CalibDumpCalibration(h, &dumped, kRecordSize), 0u);
  EXPECT_EQ(std::memcmp(&dumped, &r, sizeof r), 0);
  for (KvxLong size : {KvxLong{0}, kRecordSize + 1}) {
    EXPECT_EQ(CalibDumpCalibration(h, &dumped, size),
              Code(NqeBadCalibrationSize));
  }
}

TEST_F(CalibrationList, LoadWithSizeZeroValidatesTheCallersRecordThenRefuses) {
  CalibrationRecord r = LinearNm(h);
  EXPECT_EQ(CalibLoadCalibration(h, &r, 0), Code(NqeBadCalibrationSize));
  EXPECT_EQ(r.valid, 1);
  EXPECT_NEAR(r.coefficients[1], 2.0, 1e-12);
  double v = 0.0;  // the active record did not change
  EXPECT_EQ(CalibPixelToCalibValue(h, 2.0, &v), NqeCalibrationNotValid);
}

// --- removal ---

// Three calibrations; removing the first or the second reports 11023 and
// still removes it; removing the last reports 0; an unknown ID (3) reports
// 0 and removes nothing.
class RemovalResults
    : public ::testing::TestWithParam<std::pair<int, NqeErrorCode>> {};

TEST_P(RemovalResults, RemovalReportsNotFoundUnlessTheNodeWasTheLast) {
  Handle h;
  LoadDetector(h, 100);
  const KvxULong ids[3] = {ActiveId(h), Add(h, LinearNm(h)),
                           Add(h, LinearNm(h))};
  const int removed = GetParam().first;
  const KvxULong id = removed < 3 ? ids[removed] : ids[0] ^ ids[1] ^ ids[2];
  EXPECT_EQ(CalibRemoveCalibrationID(h, id), Code(GetParam().second));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(CalibSetActiveCalibrationID(h, ids[i]),
              i == removed ? Code(NqeCalibrationNotFound) : 0u)
        << i;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Calibration, RemovalResults,
    ::testing::Values(std::make_pair(0, NqeCalibrationNotFound),
                      std::make_pair(1, NqeCalibrationNotFound),
                      std::make_pair(2, NqeSuccess),
                      std::make_pair(3, NqeSuccess)));

using CalibrationRemoval = OnDetector;

// Decision: the node left without a record refuses load, dump and
// conversions with 11000, and unit conversions see no laser line.
TEST_F(CalibrationRemoval, TheOnlyCalibrationStaysAsANodeWithoutRecord) {
  const KvxULong id = ActiveId(h);
  for (int i = 0; i < 2; ++i) {  // a second removal reports the same
    EXPECT_EQ(CalibRemoveCalibrationID(h, id), Code(NqeCalibrationNotFound));
  }
  EXPECT_EQ(ActiveId(h), id);
  ASSERT_EQ(CalibSetActiveCalibrationID(h, id), 0u);  // found, no record

  CalibrationRecord r = LinearNm(h);
  EXPECT_EQ(CalibDumpCalibration(h, &r, kRecordSize), Code(NqeNullPointer));
  EXPECT_EQ(CalibLoadCalibration(h, &r, kRecordSize), Code(NqeNullPointer));
  EXPECT_EQ(r.valid, 1);  // validation ran first
  double v = 0.0;
  EXPECT_EQ(CalibPixelToCalibValue(h, 2.0, &v), NqeNullPointer);
  EXPECT_EQ(v, 2.0);
  EXPECT_EQ(CalibCalibValueToPixel(h, 503.0, &v), NqeNullPointer);
  double ref = 0.0, fit = 0.0, err = 0.0;
  EXPECT_EQ(CalibTestCalibPointFit(h, 1, &ref, &fit, &err),
            Code(NqeNullPointer));
  EXPECT_EQ(CalibTestCalibrationFit(h, &v), Code(NqeNullPointer));
  CalibrationRecord raman =
      PointRecord(h, 2, {{1.0, 100.0}, {2.0, 200.0}, {3.0, 300.0}},
                  CalibUnitRelativeWavenumbers);
  raman.laserLine = 532.0;
  EXPECT_EQ(CalibValidateCalibration(h, &raman, 0), Code(NqeNoLaserLine));

  // Adding brings a record back into the list; selecting it works again.
  ASSERT_EQ(CalibSetActiveCalibrationID(h, Add(h, LinearNm(h))), 0u);
  EXPECT_NEAR(ValueAt(h, 2.5), 503.0, 1e-9);
}

// Decision: the removed active record stays in use until another
// calibration is selected (under the sanitizers, never released memory).
TEST_F(CalibrationRemoval, RemovingTheActiveCalibrationKeepsItsRecordInUse) {
  const KvxULong first = ActiveId(h);
  Load(h, LinearNm(h));
  const KvxULong second =
      Add(h, PointRecord(h, 1, {{1.0, 700.0}, {2.0, 701.0}, {3.0, 702.0}}));
  EXPECT_EQ(CalibRemoveCalibrationID(h, first), Code(NqeCalibrationNotFound));
  EXPECT_EQ(ActiveId(h), second);  // the first node of the list
  EXPECT_NEAR(ValueAt(h, 2.5), 503.0, 1e-9);
  double pixel = 0.0;
  EXPECT_EQ(CalibCalibValueToPixel(h, 503.0, &pixel), NqeSuccess);
  EXPECT_NEAR(pixel, 2.5, 1e-9);
  CalibrationRecord dumped{};
  ASSERT_EQ(CalibDumpCalibration(h, &dumped, kRecordSize), 0u);
  EXPECT_NEAR(dumped.coefficients[0], 498.0, 1e-9);
  ASSERT_EQ(CalibSetActiveCalibrationID(h, second), 0u);
  EXPECT_NEAR(ValueAt(h, 2.5), 701.5, 1e-9);
}

TEST_F(CalibrationRemoval, RemovedActiveRecordSurvivesFurtherRemovals) {
  const KvxULong first = ActiveId(h);
  Load(h, LinearNm(h));
  const KvxULong second = Add(h, LinearNm(h));
  ASSERT_EQ(CalibRemoveCalibrationID(h, first), Code(NqeCalibrationNotFound));
  // The only remaining node loses its record too.
  ASSERT_EQ(CalibRemoveCalibrationID(h, second), Code(NqeCalibrationNotFound));
  EXPECT_NEAR(ValueAt(h, 2.5), 503.0, 1e-9);
}

// --- tables handed over by the host ---

// Decision: load and add keep a copy of the host's table; the host may
// change or release its array afterwards, and a dumped table pointer (the
// store's copy) stays readable across later loads.
TEST(CalibrationTables, LoadAndAddKeepACopyOfTheHostsTable) {
  Handle h;
  LoadDetector(h, 4);
  auto table = std::make_unique<double[]>(4);
  for (int i = 0; i < 4; ++i) table[i] = 10.0 * (i + 1);
  CalibrationRecord r = TableRecord(h, table.get(), 4);
  ASSERT_EQ(CalibLoadCalibration(h, &r, kRecordSize), 0u);
  EXPECT_EQ(r.table, table.get());  // the caller's record is not redirected
  std::vector<double> other = {4.0, 3.0, 2.0, 1.0};
  const KvxULong id = Add(h, TableRecord(h, other.data(), 4));

  CalibrationRecord dumped{};
  ASSERT_EQ(CalibDumpCalibration(h, &dumped, kRecordSize), 0u);
  ASSERT_NE(dumped.table, nullptr);
  EXPECT_NE(dumped.table, table.get());
  EXPECT_EQ(dumped.tableLength, 4);
  table.reset();
  other.assign(4, 0.0);
  EXPECT_EQ(ValueAt(h, 2.5), 25.0);
  Load(h, LinearNm(h));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(dumped.table[i], 10.0 * (i + 1));
  ASSERT_EQ(CalibSetActiveCalibrationID(h, id), 0u);
  EXPECT_EQ(ValueAt(h, 1.5), 3.5);
}

}  // namespace
