// Helpers shared by the black-box calibration tests: an object per test,
// a loaded detector and the calibration records the tests start from.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <tuple>
#include <utility>

#include "support/test_handle.h"

namespace calibration_fixtures {

constexpr KvxLong kRecordSize = static_cast<KvxLong>(sizeof(CalibrationRecord));
constexpr KvxULong kTableFlag = KVX_CALIB_TABLE_FLAG;
constexpr double kSentinel = -12345.0;

constexpr KvxULong Code(NqeErrorCode e) { return static_cast<KvxULong>(e); }

using kvx_test::Handle;

inline void LoadDetector(CalibHandle h, KvxLong pixels,
                         X_ROI* regions = nullptr, KvxLong regionCount = 0) {
  DetectorRecord d{};
  std::tie(d.numPixels, d.pixelSize, d.regions, d.regionCount, d.regionBytes) =
      std::make_tuple(pixels, 26.0, regions, regionCount,
                      regionCount * KvxLong{sizeof(X_ROI)});
  ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);
}

inline CalibrationRecord DefaultRecord(CalibHandle h) {
  CalibrationRecord r{};
  EXPECT_EQ(CalibInitializeCalibration(h, &r, 0), 0u);
  return r;
}

// Points (position, value) in slots 0, 1, ...
inline CalibrationRecord PointRecord(
    CalibHandle h, KvxLong order,
    std::initializer_list<std::pair<double, double>> points,
    KvxLong inputUnit = CalibUnitNanometers) {
  CalibrationRecord r = DefaultRecord(h);
  r.inputUnit = inputUnit;
  r.polyOrder = order;
  int slot = 0;
  for (const auto& [position, value] : points) {
    r.pointPosition[slot] = position;
    r.pointValue[slot] = value;
    ++slot;
  }
  return r;
}

// Pixels 1, 2, 3 at 500, 502, 504 nm: value = 498 + 2 p (by hand: the line
// through the points).
inline CalibrationRecord LinearNm(CalibHandle h) {
  return PointRecord(h, 1, {{1.0, 500.0}, {2.0, 502.0}, {3.0, 504.0}});
}

// value = offset + factor p; valid without a monotonic scan.
inline CalibrationRecord OffsetFactor(CalibHandle h, double offset,
                                      double factor) {
  CalibrationRecord r = DefaultRecord(h);
  std::tie(r.inputUnit, r.offset, r.factor) =
      std::make_tuple(CalibUnitOffsetFactor, offset, factor);
  return r;
}

// A table calibration: input and display units both flagged.
inline CalibrationRecord TableRecord(CalibHandle h, double* table,
                                     KvxLong length,
                                     KvxULong display = CalibUnitNanometers) {
  CalibrationRecord r = DefaultRecord(h);
  r.inputUnit = static_cast<KvxLong>(kTableFlag | CalibUnitNanometers);
  r.displayUnit = static_cast<KvxLong>(kTableFlag | display);
  std::tie(r.table, r.tableLength) = std::make_tuple(table, length);
  return r;
}

inline void Load(CalibHandle h, CalibrationRecord r) {
  ASSERT_EQ(CalibLoadCalibration(h, &r, kRecordSize), 0u);
}

inline KvxULong Add(CalibHandle h, CalibrationRecord r) {
  KvxULong id = 0;
  EXPECT_EQ(CalibAddCalibration(h, &r, kRecordSize, &id), 0u);
  return id;
}

inline KvxULong ActiveId(CalibHandle h) {
  KvxULong id = 0;
  EXPECT_EQ(CalibGetActiveCalibrationID(h, &id), 0u);
  return id;
}

inline double ValueAt(CalibHandle h, double pixel) {
  double v = 0.0;
  EXPECT_EQ(CalibPixelToCalibValue(h, pixel, &v), NqeSuccess);
  return v;
}

// An object with a loaded detector of 100 pixels and no regions.
class OnDetector : public ::testing::Test {
 protected:
  void SetUp() override { LoadDetector(h, 100); }
  Handle h;
};

// 100 pixels, one region: pixels 11 to 30 binned by 2, so data point d is
// pixel 2 d + 9.5 and there are 10 data points.
class OnRegion : public ::testing::Test {
 protected:
  void SetUp() override {
    X_ROI roi{1, 11, 20, 2};
    LoadDetector(h, 100, &roi, 1);
  }
  Handle h;
};

}  // namespace calibration_fixtures
