// Calibration records through the exports: the list of calibrations (add,
// select, remove, load, dump), the tables a host hands over, and copying one
// calibration object into another.

#include <cstring>
#include <memory>
#include <vector>

#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

// Three calibrations; removing the first or the second reports 11023 and
// still removes it; removing the last reports 0; an unknown ID (3) reports
// 0 and removes nothing.
TEST(CalibrationRemovalCodes, NotFoundUnlessTheNodeWasTheLast) {
  const NqeErrorCode codes[4] = {NqeCalibrationNotFound, NqeCalibrationNotFound,
                                 NqeSuccess, NqeSuccess};
  for (int removed = 0; removed < 4; ++removed) {
    Handle h;
    LoadDetector(h, 100);
    const KvxULong ids[3] = {ActiveId(h), Add(h, LinearNm(h)),
                             Add(h, LinearNm(h))};
    const KvxULong id = removed < 3 ? ids[removed] : ids[0] ^ ids[1] ^ ids[2];
    EXPECT_EQ(CalibRemoveCalibrationID(h, id), Code(codes[removed]));
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(CalibSetActiveCalibrationID(h, ids[i]),
                i == removed ? Code(NqeCalibrationNotFound) : 0u)
          << removed << " " << i;
    }
  }
}

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

TEST(CalibObjectCopy, TargetGetsOneCalibrationWithTheSourcesContentsAndANewId) {
  Handle source, target;
  LoadDetector(source, 100);
  Load(source, LinearNm(source));  // 498 + 2 p nm
  Add(source, LinearNm(source));
  LoadDetector(target, 64);
  const KvxULong oldTarget = ActiveId(target);
  ASSERT_EQ(CalibCopyCalibObject(target, source), 0u);
  EXPECT_NE(ActiveId(target), ActiveId(source));
  EXPECT_EQ(CalibSetActiveCalibrationID(target, oldTarget), 11023u);
  CalibrationRecord a{}, b{};
  ASSERT_EQ(CalibDumpCalibration(source, &a, sizeof a), 0u);
  ASSERT_EQ(CalibDumpCalibration(target, &b, sizeof b), 0u);
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
  EXPECT_EQ(ValueAt(target, 2.5), 503.0);
}

}  // namespace
