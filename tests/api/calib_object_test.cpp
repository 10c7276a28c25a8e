// Copying one calibration object into another.
#include <gtest/gtest.h>

#include <cstring>

#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

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
