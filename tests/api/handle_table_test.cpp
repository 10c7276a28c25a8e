// Handles as a host sees them: creation, validation, destruction and the
// module identification entry points.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

constexpr KvxULong kTag = 0x08000000;

TEST(HandleTable, TwoHundredFiftyFiveCreatesSucceedAndTheNextFindsNoSlot) {
  std::vector<CalibHandle> handles;
  for (KvxULong i = 0; i < 255; ++i) {
    CalibHandle h = 0;
    ASSERT_EQ(CalibCreate(CalibModeManual, &h), 0u);
    EXPECT_EQ(h, kTag + i);
    handles.push_back(h);
  }
  CalibHandle untouched = 0xDEADBEEF;
  EXPECT_EQ(CalibCreate(CalibModeManual, &untouched), 5010u);
  EXPECT_EQ(untouched, 0xDEADBEEFu);
  for (CalibHandle h : handles) EXPECT_EQ(CalibDestroy(h), 0u);
}

TEST(HandleTable, ADestroyedSlotIsTheNextOneHandedOut) {
  CalibHandle h[4];
  for (CalibHandle& handle : h) ASSERT_EQ(CalibCreate(0, &handle), 0u);
  ASSERT_EQ(h[3], kTag + 3);
  ASSERT_EQ(CalibDestroy(h[1]), 0u);
  CalibHandle again = 0;
  ASSERT_EQ(CalibCreate(1, &again), 0u);
  EXPECT_EQ(again, kTag + 1);
  h[1] = again;
  for (CalibHandle handle : h) EXPECT_EQ(CalibDestroy(handle), 0u);
}

TEST(HandleTable, OnlyTheLowByteOfAHandleSelectsTheSlot) {
  CalibHandle h[4];
  for (CalibHandle& handle : h) ASSERT_EQ(CalibCreate(0, &handle), 0u);
  KvxULong id = 0;
  ASSERT_EQ(CalibGetActiveDetectorID(kTag + 3, &id), 0u);
  for (KvxULong alias :
       {KvxULong{3}, KvxULong{0xFF000003}, KvxULong{0x7F000003}}) {
    KvxULong other = 0;
    EXPECT_EQ(CalibGetActiveDetectorID(alias, &other), 0u) << alias;
    EXPECT_EQ(other, id) << alias;
  }
  for (CalibHandle handle : h) EXPECT_EQ(CalibDestroy(handle), 0u);
}

struct BadHandleCase {
  KvxULong handle;
  KvxULong code;
};

class BadHandles : public ::testing::TestWithParam<BadHandleCase> {};

TEST_P(BadHandles, EveryCallOnABadHandleAnswersTheHandleCode) {
  const BadHandleCase c = GetParam();
  KvxULong id = 0;
  double value = 0.0;
  EXPECT_EQ(CalibDestroy(c.handle), c.code);
  EXPECT_EQ(CalibGetActiveDetectorID(c.handle, &id), c.code);
  EXPECT_EQ(CalibEnableScanPattern(c.handle), c.code);
  EXPECT_EQ(CalibPixelToDataPoint(c.handle, 1.0, &value), c.code);
  EXPECT_EQ(CalibPixelToCalibValue(c.handle, 1.0, &value), c.code);
  EXPECT_EQ(CalibLoadCalibFile(c.handle, "none", 1, 1, 0.0, 0.0), c.code);
}

// Slot 255 does not exist; slot 200 was never created in this process.
INSTANTIATE_TEST_SUITE_P(Codes, BadHandles,
                         ::testing::Values(BadHandleCase{0x080000FF, 11021},
                                           BadHandleCase{0xFF, 11021},
                                           BadHandleCase{0x080000C8, 11001},
                                           BadHandleCase{0xC8, 11001}));

TEST(HandleTable, ADestroyedHandleIsRefused) {
  CalibHandle h = 0;
  ASSERT_EQ(CalibCreate(0, &h), 0u);
  ASSERT_EQ(CalibDestroy(h), 0u);
  KvxULong id = 0;
  EXPECT_EQ(CalibGetActiveDetectorID(h, &id), 11001u);
  EXPECT_EQ(CalibDestroy(h), 11001u);
}

TEST(HandleTable, AnInvalidModeStillHandsOutAHandleThatMustBeDestroyed) {
  for (KvxLong mode : {KvxLong{2}, KvxLong{-1}}) {
    CalibHandle h = 0;
    EXPECT_EQ(CalibCreate(mode, &h), 11068u);
    EXPECT_EQ(h & 0xFFFFFF00u, kTag);
    // The unconfigured object is usable like a manual one.
    KvxULong id = 0;
    EXPECT_EQ(CalibGetActiveDetectorID(h, &id), 0u);
    EXPECT_NE(id, 0u);
    EXPECT_EQ(CalibDestroy(h), 0u);
  }
}

TEST(ModuleIdentity, DeviceCountIsTwoHundred) {
  KvxULong count = 0;
  EXPECT_EQ(GetDeviceCount(&count), 0u);
  EXPECT_EQ(count, 200u);
}

TEST(ModuleIdentity, DeviceIdWritesExactlyTwelveBytesAndTheTwoCodes) {
  char name[16];
  std::memset(name, 0x5A, sizeof name);
  KvxULong type = 0;
  KvxULong second = 0;
  EXPECT_EQ(GetDeviceID(name, &type, &second, 0xFFFFFFFF), 0u);
  EXPECT_EQ(std::memcmp(name, "Calibration\0", 12), 0);
  for (int i = 12; i < 16; ++i) EXPECT_EQ(name[i], 0x5A) << i;
  EXPECT_EQ(type, kTag);
  EXPECT_EQ(second, 8u);
}

TEST(ModuleIdentity, VersionQueryReportsNoVersionWhateverItsFirstArgument) {
  for (KvxULong first : {KvxULong{0}, KvxULong{0x080000FF}, KvxULong{12345}}) {
    KvxULong a = 1, b = 2, c = 3, d = 4;
    EXPECT_EQ(CalibVerOfDLL(first, &a, &b, &c, &d), 5002u);
    EXPECT_EQ(a + b + c + d, 0u);
  }
}

TEST(ModuleIdentity, NullOutputsAreRefusedInsteadOfWritten) {
  KvxULong value = 0;
  char name[12];
  EXPECT_EQ(GetDeviceCount(nullptr), 11000u);
  EXPECT_EQ(GetDeviceID(nullptr, &value, &value, 0), 11000u);
  EXPECT_EQ(GetDeviceID(name, nullptr, &value, 0), 11000u);
  EXPECT_EQ(GetDeviceID(name, &value, nullptr, 0), 11000u);
  KvxULong b = 9;
  EXPECT_EQ(CalibVerOfDLL(0, nullptr, &b, nullptr, nullptr), 5002u);
  EXPECT_EQ(b, 0u);
}

TEST(HandleTable, CreateWithoutAPlaceForTheHandleTakesNoSlot) {
  EXPECT_EQ(CalibCreate(CalibModeManual, nullptr), 11000u);
  CalibHandle h = 0;
  ASSERT_EQ(CalibCreate(CalibModeManual, &h), 0u);
  EXPECT_EQ(h, kTag);  // slot 0 is still the lowest free one
  EXPECT_EQ(CalibDestroy(h), 0u);
}

}  // namespace
