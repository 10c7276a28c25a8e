// Several host threads creating, using and destroying their own handles.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

TEST(HandleTableConcurrency, ThreadsNeverShareASlotOrAnObject) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 300;
  std::atomic<int> owners[kMaxCalibObjects] = {};
  std::atomic<int> failures{0};

  auto worker = [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      CalibHandle h = 0;
      if (CalibCreate(round % 2, &h) != 0) {
        ++failures;
        continue;
      }
      const KvxULong slot = h & 0xFF;
      if (owners[slot].exchange(thread + 1) != 0) ++failures;
      // Each object keeps what its own thread loaded.
      DetectorRecord d{};
      d.numPixels = 100 + thread * 1000 + round;
      d.pixelSize = 13.5;
      if (CalibLoadDetector(h, &d, sizeof d) != 0) ++failures;
      X_ROI mine = {thread + 1, 1 + round % 10, 4, 2};
      if (CalibAddX_ROI(h, &mine) != NqeSuccess) ++failures;
      std::this_thread::yield();
      X_ROI back{};
      if (CalibRetrieveX_ROI(h, thread + 1, &back, sizeof back) != NqeSuccess ||
          back.startPixel != mine.startPixel || back.width != 4) {
        ++failures;
      }
      double pixel = 0.0;
      if (CalibDataPointToPixel(h, 2.0, &pixel) != NqeSuccess ||
          pixel != 2.0 * 1.5 + (mine.startPixel - 0.5)) {
        ++failures;
      }
      if (owners[slot].exchange(0) != thread + 1) ++failures;
      if (CalibDestroy(h) != 0) ++failures;
    }
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(worker, t);
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failures.load(), 0);

  // Everything was released: the first slot is free again.
  CalibHandle h = 0;
  ASSERT_EQ(CalibCreate(0, &h), 0u);
  EXPECT_EQ(h, 0x08000000u);
  EXPECT_EQ(CalibDestroy(h), 0u);
}

}  // namespace
