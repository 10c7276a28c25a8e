// The module as a host sees it: handles (also from several threads at once),
// the module identification entry points, and the parameter interface with
// its value rules, texts and the irregular behaviours hosts rely on.
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/test_handle.h"

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

  // Everything was released, and a create without a place for the handle
  // takes no slot: the first slot is free again.
  EXPECT_EQ(CalibCreate(CalibModeManual, nullptr), 11000u);
  CalibHandle h = 0;
  ASSERT_EQ(CalibCreate(0, &h), 0u);
  EXPECT_EQ(h, kTag);
  EXPECT_EQ(CalibDestroy(h), 0u);
}

using kvx_test::Handle;

constexpr KvxULong Code(NqeErrorCode e) { return static_cast<KvxULong>(e); }

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
      {68, 400.0, 400.0}, {71, 2.0, 2.0}, {15, 7.0, 7.0}, {54, 500.0, 500.0}};
  // clang-format on
  Handle h(CalibModeAutomatic);
  for (const auto& c : cases) {
    EXPECT_EQ(CalibSetDoubleParam(h, c.id, c.value), 0u) << c.id;
    double v = -1.0;
    EXPECT_EQ(CalibGetDoubleParam(h, c.id, &v), 0u) << c.id;
    EXPECT_EQ(v, c.readBack) << c.id;
  }
  // 54 (the last row) writes the target wavelength of slots 1 and 2 and
  // reads slot 1's.
  double t = -1.0;
  EXPECT_EQ(CalibGetDoubleParam(h, 55, &t), 0u);
  EXPECT_EQ(t, 0.0);
  // A writable objective accepts a value and keeps none.
  EXPECT_EQ(CalibSetDoubleParam(h, 64, 3.0), 0u);
  EXPECT_EQ(CalibGetDoubleParam(h, 64, &t), Code(NqeNoOptimisationData));
}

TEST(KeptBehaviour, DisplayUnitLabelNamesThePreviousUnit) {
  Handle h;
  char label[128];
  for (const char* previous : {"Wavelength, nm", "Wavenumber, cm-1"}) {
    ASSERT_EQ(CalibSetIntParam(h, 24, 5), 0u);
    ASSERT_EQ(CalibGetStrParam(h, 21, label, 128), 0u);
    EXPECT_STREQ(label, previous);
  }
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
    EXPECT_EQ(std::tie(r.pointValue[0], r.pointValue[2], r.pointValue[3]),
              std::tuple(static_cast<double>(id), 3.5, -1.0));
    EXPECT_EQ(std::memcmp(r.pointPosition, before.pointPosition, 80), 0);
    EXPECT_EQ(std::memcmp(r.coefficients, before.coefficients, 48), 0);
  }
  EXPECT_EQ(buf[1], 2.5);  // nothing is read out
}

TEST(KeptBehaviour, PixelCountStaysWhenTheGeometryRefreshFails) {
  Handle h(CalibModeAutomatic);  // the default detector is not loaded
  EXPECT_EQ(CalibSetIntParam(h, 16, 2048), Code(NqeDetectorNotLoaded));
  KvxLong n = 0;
  double size = -1.0;  // the stand-in pixel size is put back: 0
  EXPECT_EQ(CalibGetIntParam(h, 16, &n) + CalibGetDoubleParam(h, 14, &size),
            0u);
  EXPECT_EQ(std::tuple(n, size), std::tuple(KvxLong{2048}, 0.0));
  Handle manual;  // no geometry to refresh
  EXPECT_EQ(CalibSetIntParam(manual, 16, 2048), 0u);
  EXPECT_EQ(CalibGetIntParam(manual, 16, &n), 0u);
  EXPECT_EQ(n, 2048);
}

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
