// Handles as a host sees them, also from several threads at once, and the
// module identification entry points.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

constexpr KvxULong kTag = 0x08000000;

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

TEST(HandleTable, CreateWithoutAPlaceForTheHandleTakesNoSlot) {
  EXPECT_EQ(CalibCreate(CalibModeManual, nullptr), 11000u);
  CalibHandle h = 0;
  ASSERT_EQ(CalibCreate(CalibModeManual, &h), 0u);
  EXPECT_EQ(h, kTag);  // slot 0 is still the lowest free one
  EXPECT_EQ(CalibDestroy(h), 0u);
}

// 200 devices; the name "Calibration" and its terminator (12 bytes, nothing
// after them), the handle tag and 8; no version whatever the first argument;
// null outputs are refused rather than written.
TEST(ModuleIdentity, CountNameCodesAndNoVersion) {
  KvxULong count = 0, type = 0, second = 0;
  EXPECT_EQ(GetDeviceCount(&count), 0u);
  EXPECT_EQ(count, 200u);
  char name[16];
  std::memset(name, 0x5A, sizeof name);
  EXPECT_EQ(GetDeviceID(name, &type, &second, 0xFFFFFFFF), 0u);
  EXPECT_EQ(std::memcmp(name, "Calibration\0\x5A\x5A\x5A\x5A", 16), 0);
  EXPECT_TRUE(type == kTag && second == 8u);
  for (KvxULong first : {KvxULong{0}, KvxULong{0x080000FF}}) {
    KvxULong a = 1, b = 2, c = 3, d = 4;
    EXPECT_EQ(CalibVerOfDLL(first, &a, &b, &c, &d), 5002u);
    EXPECT_EQ(a + b + c + d, 0u);
  }
  EXPECT_EQ(GetDeviceCount(nullptr), 11000u);
  EXPECT_EQ(GetDeviceID(nullptr, &type, &type, 0), 11000u);
  EXPECT_EQ(GetDeviceID(name, nullptr, &type, 0), 11000u);
  EXPECT_EQ(GetDeviceID(name, &type, nullptr, 0), 11000u);
  KvxULong b = 9;
  EXPECT_EQ(CalibVerOfDLL(0, nullptr, &b, nullptr, nullptr), 5002u);
  EXPECT_EQ(b, 0u);
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

TEST(HandleTableConcurrency, ThreadsNeverShareASlotOrAnObject) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 300;
  std::atomic<int> owners[kMaxCalibObjects] = {};
  std::atomic<int> failures{0};

  auto check = [&](bool ok) { failures += ok ? 0 : 1; };
  auto worker = [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      CalibHandle h = 0;
      check(CalibCreate(round % 2, &h) == 0);
      const KvxULong slot = h & 0xFF;
      check(owners[slot].exchange(thread + 1) == 0);
      // Each object keeps what its own thread loaded.
      DetectorRecord d{};
      d.numPixels = 100 + thread * 1000 + round;
      d.pixelSize = 13.5;
      check(CalibLoadDetector(h, &d, sizeof d) == 0);
      X_ROI mine = {thread + 1, 1 + round % 10, 4, 2}, back{};
      check(CalibAddX_ROI(h, &mine) == NqeSuccess);
      std::this_thread::yield();
      check(CalibRetrieveX_ROI(h, thread + 1, &back, sizeof back) ==
                NqeSuccess &&
            back.startPixel == mine.startPixel && back.width == 4);
      double pixel = 0.0;
      check(CalibDataPointToPixel(h, 2.0, &pixel) == NqeSuccess &&
            pixel == 2.0 * 1.5 + (mine.startPixel - 0.5));
      check(owners[slot].exchange(0) == thread + 1);
      check(CalibDestroy(h) == 0);
    }
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(worker, t);
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failures.load(), 0);

  // Everything was released: the first slot is free again.
  CalibHandle h = 0;
  ASSERT_EQ(CalibCreate(0, &h), 0u);
  EXPECT_EQ(h, kTag);
  EXPECT_EQ(CalibDestroy(h), 0u);
}

}  // namespace
