// Peak search through the exports. Expected positions come from a separate
// Python transcription of the search (/tmp/ref.py, pasted below):
//   flat 10.0 with samples 47..53 = 11 14 25 40 31 18 12 -> 51.23134328358209
//   spikes 2.5, 0.5, 1.5 at samples 20, 50, 80 on 0.0 -> positions 21, 51, 81,
//   curvature heights 5, 1, 3; a spike at k alone -> k + 1 (hand: the half
//   area is reached exactly at the spike).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace {

class Peaks : public ::testing::Test {
 protected:
  void SetUp() override {
    DetectorRecord d{};
    d.numPixels = 100;
    ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);
    // value = 400 + 0.5 * data point
    CalibrationRecord r{};
    CalibInitializeCalibration(h, &r, sizeof r);
    r.inputUnit = CalibUnitOffsetFactor;
    r.offset = 400.0;
    r.factor = 0.5;
    ASSERT_EQ(CalibLoadCalibration(h, &r, sizeof r), 0u);
  }
  SpectrumData Spectrum(std::vector<double>& d, KvxLong type = 5) {
    SpectrumData s{};
    s.data = d.data();
    s.count = static_cast<KvxLong>(d.size());
    s.dataType = type;
    return s;
  }
  static std::vector<double> Spikes(std::vector<std::pair<int, double>> at) {
    std::vector<double> d(100, 0.0);
    for (auto [k, v] : at) d[k] = v;
    return d;
  }
  kvx_test::Handle h;
};

TEST_F(Peaks, KeepsTheStrongestInPositionOrderAndCountsEveryPeak) {
  struct Case {
    std::vector<std::pair<int, double>> spikes;
    KvxLong maxPeaks;
    std::vector<double> positions;
    KvxLong count;
  } cases[] = {
      {{{20, 2.5}, {50, 0.5}, {80, 1.5}}, 2, {21.0, 81.0}, 3},
      {{{20, 1.0}, {50, 1.0}, {80, 1.0}}, 2, {21.0, 51.0}, 3},  // ties stay
      {{{20, 1.0}}, 3, {21.0, 0.0, 0.0}, 1},
      {{}, 2, {0.0, 0.0}, 0},  // all equal: nothing found
  };
  for (auto& c : cases) {
    std::vector<double> d = Spikes(c.spikes);
    SpectrumData s = Spectrum(d);
    std::vector<double> pos(c.maxPeaks, -7.0), val(c.maxPeaks, -7.0);
    KvxLong count = -1;
    ASSERT_EQ(CalibFindPeaks(h, &s, pos.data(), val.data(), c.maxPeaks, &count),
              0u);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(pos, c.positions);
    for (size_t j = 0; j < pos.size(); ++j) EXPECT_EQ(val[j], 400 + pos[j] / 2);
  }
}

TEST_F(Peaks, LocatesTheMedianOfTheBaselineCorrectedArea) {
  std::vector<double> d(100, 10.0);
  const double shape[] = {11, 14, 25, 40, 31, 18, 12};
  std::copy(std::begin(shape), std::end(shape), d.begin() + 47);
  SpectrumData s = Spectrum(d);
  double pos = 0, val = 0, near = 0;
  KvxLong count = 0;
  ASSERT_EQ(CalibFindPeaks(h, &s, &pos, &val, 1, &count), 0u);
  EXPECT_DOUBLE_EQ(pos, 51.23134328358209);
  ASSERT_EQ(CalibFindNearestPeak(h, &s, 10.0, &near), 0u);
  EXPECT_EQ(near, pos);
}

// Every sample type is read by value; unsigned types as unsigned, so an
// all-ones spike is a peak there. Unknown types read as zeros: no peak.
TEST_F(Peaks, ReadsEverySampleTypeByValue) {
  const struct {
    KvxLong type;
    size_t width;
    bool isFloat;
    KvxLong count;
  } cases[] = {{1, 1, false, 1}, {2, 2, false, 1}, {3, 4, false, 1},
               {4, 4, true, 1},  {5, 8, true, 1},  {6, 1, false, 1},
               {7, 2, false, 1}, {8, 4, false, 1}, {0, 4, false, 0},
               {9, 4, false, 0}, {-1, 4, false, 0}};
  for (const auto& c : cases) {
    std::vector<unsigned char> bytes(100 * c.width, 0);
    const bool isUnsigned = c.type >= 6 && c.type <= 8;
    const float f = 100.0f;
    const double dd = 100.0;
    unsigned char* spike = bytes.data() + 50 * c.width;
    if (isUnsigned)
      std::memset(spike, 0xFF, c.width);
    else if (c.type == 4)
      std::memcpy(spike, &f, 4);
    else if (c.type == 5)
      std::memcpy(spike, &dd, 8);
    else
      spike[0] = 100;
    SpectrumData s{};
    s.data = bytes.data();
    s.count = 100;
    s.dataType = c.type;
    double pos = -1;
    double val = 0;
    KvxLong count = -1;
    ASSERT_EQ(CalibFindPeaks(h, &s, &pos, &val, 1, &count), 0u) << c.type;
    EXPECT_EQ(count, c.count) << c.type;
    EXPECT_EQ(pos, c.count ? 51.0 : 0.0) << c.type;
  }
}

TEST_F(Peaks, SpectraWithoutSamplesWriteNothing) {
  std::vector<double> d = Spikes({{20, 1.0}});
  for (KvxLong n : {0, -1, -100000}) {
    SpectrumData s = Spectrum(d);
    s.count = n;
    double pos = -7, val = -7, near = -7;
    KvxLong count = -7;
    EXPECT_EQ(CalibFindPeaks(h, &s, &pos, &val, 1, &count), 0u);
    EXPECT_EQ(CalibFindNearestPeak(h, &s, 21.0, &near), 0u);
    s.data = nullptr;
    s.count = 100;
    EXPECT_EQ(CalibFindPeaks(h, &s, &pos, &val, 1, &count), 0u);
    EXPECT_EQ(pos + val + near + count, -28.0);
  }
  double pos[2] = {-7, -7}, val[2] = {-7, -7};
  KvxLong count = 0;
  SpectrumData s = Spectrum(d);
  EXPECT_EQ(CalibFindPeaks(h, &s, pos, val, 0, &count), 0u);  // counts only
  EXPECT_EQ(count, 1);
  EXPECT_EQ(pos[0] + val[0], -14.0);
  EXPECT_EQ(CalibFindPeaks(h, nullptr, pos, val, 2, &count), 11000u);
  EXPECT_EQ(CalibFindPeaks(h, &s, nullptr, val, 2, &count), 11000u);
  EXPECT_EQ(CalibFindPeaks(h, &s, pos, val, 2, nullptr), 11000u);
  EXPECT_EQ(CalibFindNearestPeak(h, &s, 21.0, nullptr), 11000u);
}

TEST_F(Peaks, NearestPeakGoesForwardOnTiesAndChecksTheStart) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<double> d = Spikes({{20, 1.0}, {60, 1.0}});
  std::vector<double> flat(100, 3.0);
  const struct {
    std::vector<double>* data;
    double start;
    KvxULong code;
    double position;
  } cases[] = {
      {&d, 41.0, 0, 61.0},  {&d, 40.9, 0, 21.0},    {&d, 21.0, 0, 21.0},
      {&d, 99.0, 0, 61.0},  {&d, 1.0, 0, 21.0},     {&d, 100.99, 0, 61.0},
      {&d, 0.5, 11063, -7}, {&d, 101.0, 11063, -7}, {&d, -3.0, 11063, -7},
      {&d, nan, 11063, -7}, {&d, inf, 11063, -7},   {&flat, 5.0, 11064, -7},
  };
  for (const auto& c : cases) {
    SpectrumData s = Spectrum(*c.data);
    double pos = -7;
    EXPECT_EQ(CalibFindNearestPeak(h, &s, c.start, &pos), c.code) << c.start;
    EXPECT_EQ(pos, c.position) << c.start;
  }
}

// Short spectra and a peak at the end have no closing valley: the nearest
// peak is then reported at 0.0, and the search finds nothing.
TEST_F(Peaks, ShortSpectraAndUnclosedPeaksStayInsideTheData) {
  for (size_t n = 1; n <= 3; ++n) {
    std::vector<double> d(n, 0.0);
    d[n / 2] = 5.0;
    SpectrumData s = Spectrum(d);
    double pos = -7, val = -7, near = -7;
    KvxLong count = -7;
    EXPECT_EQ(CalibFindPeaks(h, &s, &pos, &val, 1, &count), 0u);
    EXPECT_EQ(count, 0);
    // One sample has no curvature at all: no peak on either side.
    EXPECT_EQ(CalibFindNearestPeak(h, &s, n / 2 + 1.0, &near),
              n == 1 ? 11064u : 0u);
    EXPECT_EQ(near, n == 1 ? -7.0 : 0.0);
  }
  std::vector<double> d = Spikes({{99, 4.0}});
  SpectrumData s = Spectrum(d);
  double near = -7;
  EXPECT_EQ(CalibFindNearestPeak(h, &s, 100.0, &near), 0u);
  EXPECT_EQ(near, 0.0);
}

// NaN curvature is never above the threshold for the nearest peak; an
// infinite sample makes the threshold infinite (hand-derived).
TEST_F(Peaks, NonFiniteSamplesAreSearchedWithoutFault) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    double bad;
    KvxULong code;
    double near;
  } cases[] = {{std::numeric_limits<double>::quiet_NaN(), 0, 21.0},
               {inf, 11064, -7},
               {-inf, 11064, -7}};
  for (const auto& c : cases) {
    std::vector<double> d = Spikes({{20, 1.0}, {60, c.bad}, {99, c.bad}});
    d[0] = c.bad;
    SpectrumData s = Spectrum(d);
    double pos[3], val[3], near = -7;
    KvxLong count = -1;
    EXPECT_EQ(CalibFindPeaks(h, &s, pos, val, 3, &count), 0u);
    EXPECT_GE(count, 0);
    EXPECT_EQ(CalibFindNearestPeak(h, &s, 50.0, &near), c.code);
    EXPECT_EQ(near, c.near);
  }
}

}  // namespace
