// Peak search through the exports. Expected values come from a separate
// Python transcription of the search (curvature, LocatePeak, threshold
// scan), inputs and outputs pasted here:
//   flat 10.0, samples 47..53 = 11 14 25 40 31 18 12 -> 51.23134328358209
//   spikes 2.5, 0.5, 1.5 at samples 20, 50, 80 -> positions 21, 51, 81,
//   curvature heights 5, 1, 3 (a lone spike at k: position k + 1 by hand)
//   spike 1.0 at 20 and x at 0, 60, 99 -> x = NaN: 2 peaks, inf: 1
//   spike 4.0 at the last sample -> no peak (no valley closes it)
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

#include "KelvoCalibrate.h"
#include "support/test_handle.h"

namespace {

std::vector<double> Spikes(std::vector<std::pair<int, double>> at,
                           size_t n = 100, double base = 0.0) {
  std::vector<double> d(n, base);
  for (auto [k, v] : at) d[k] = v;
  return d;
}
SpectrumData Spectrum(void* data, KvxLong n, KvxLong type = 5) {
  SpectrumData s{};
  std::tie(s.data, s.count, s.dataType) = std::tie(data, n, type);
  return s;
}

class Peaks : public ::testing::Test {
 protected:
  void SetUp() override {  // value = 400 + 0.5 * data point
    DetectorRecord d{};
    d.numPixels = 100;
    ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);
    CalibrationRecord r{};
    CalibInitializeCalibration(h, &r, sizeof r);
    std::tie(r.inputUnit, r.offset, r.factor) =
        std::make_tuple(CalibUnitOffsetFactor, 400.0, 0.5);
    ASSERT_EQ(CalibLoadCalibration(h, &r, sizeof r), 0u);
  }
  // Runs both searches; *near stays -7 unless written.
  KvxLong Find(std::vector<double>& d, std::vector<double>* pos,
               double start = 0, KvxULong* code = nullptr,
               double* near = nullptr) {
    SpectrumData s = Spectrum(d.data(), static_cast<KvxLong>(d.size()));
    std::vector<double> val(pos->size(), -7.0);
    KvxLong count = -1;
    EXPECT_EQ(CalibFindPeaks(h, &s, pos->data(), val.data(),
                             static_cast<KvxLong>(pos->size()), &count),
              0u);
    for (size_t j = 0; j < pos->size(); ++j) {
      const double want = 400 + (*pos)[j] / 2;  // unfilled: data point 0
      EXPECT_TRUE(val[j] == want || (std::isnan(val[j]) && std::isnan(want)));
    }
    if (code != nullptr) *code = CalibFindNearestPeak(h, &s, start, near);
    return count;
  }
  kvx_test::Handle h;
};

// Ties keep the earlier peak; unfilled slots hold data point 0.0.
TEST_F(Peaks, KeepsTheStrongestInPositionOrderAndCountsEveryPeak) {
  // clang-format off
  const struct { std::vector<double> data, positions; KvxLong count; } cases[] = {
      {Spikes({{20, 2.5}, {50, 0.5}, {80, 1.5}}), {21.0, 81.0}, 3},
      {Spikes({{20, 1.0}, {50, 1.0}, {80, 1.0}}), {21.0, 51.0}, 3},
      {Spikes({}), {0.0, 0.0}, 0}};  // all equal: nothing found
  // clang-format on
  for (auto c : cases) {
    std::vector<double> pos(c.positions.size(), -7.0);
    EXPECT_EQ(Find(c.data, &pos), c.count);
    EXPECT_EQ(pos, c.positions);
  }
}

// Every type is read by value (unsigned ones as unsigned) and, at a
// threshold of 50 %, only curvature above half the largest is a peak. By
// hand: 50 0 100 0 50 has curvature 200 - 50 - 50 = 100 at its middle and
// at most 0 elsewhere; a lone v has 2 v. So beside it 30 is a peak (60 >
// 50) and 25 is not (50 = 50); beside a lone all-ones unsigned spike
// (curvature 2 * max) neither is. Unknown types read as zeros.
TEST_F(Peaks, ReadsEverySampleTypeByValueAndThresholdsOnTheLargestCurvature) {
  ASSERT_EQ(CalibSetDoubleParam(h, CalibParamPeakThreshold, 50.0), 0u);
  // clang-format off
  const struct { KvxLong type; size_t width; double top, side; KvxLong count; }
      cases[] = {{1, 1, 100, 50, 2}, {2, 2, 100, 50, 2}, {3, 4, 100, 50, 2},
                 {4, 4, 100, 50, 2}, {5, 8, 100, 50, 2}, {6, 1, -1, 0, 1},
                 {7, 2, -1, 0, 1}, {8, 4, -1, 0, 1}, {0, 4, 100, 50, 0},
                 {9, 4, 100, 50, 0}};
  // clang-format on
  for (const auto& c : cases) {
    for (int at : {5, 50, 94}) {  // the largest at the start, middle, end
      std::vector<unsigned char> bytes(100 * c.width, 0);
      const auto put = [&](int k, double v) {
        const float f = static_cast<float>(v);
        const auto i = static_cast<long long>(v);
        const void* x[] = {&i, &i, &i, &i, &f, &v};
        std::memcpy(&bytes[k * c.width],
                    x[c.type == 4 || c.type == 5 ? c.type : 0], c.width);
      };
      put(at - 2, c.side), put(at, c.top), put(at + 2, c.side);
      put((at + 33) % 100, 30), put((at + 66) % 100, 25);
      SpectrumData s = Spectrum(bytes.data(), 100, c.type);
      KvxLong count = -1;
      ASSERT_EQ(CalibFindPeaks(h, &s, nullptr, nullptr, 0, &count), 0u);
      EXPECT_EQ(count, c.count) << c.type << " " << at;
    }
  }
}

TEST_F(Peaks, SpectraWithoutSamplesWriteNothingAndNullOutputsAreRefused) {
  std::vector<double> d = Spikes({{20, 1.0}});
  double pos[2] = {-7, -7}, val[2] = {-7, -7}, near = -7;
  KvxLong count = -7;
  for (auto [data, n] :
       {std::pair(d.data(), 0), {d.data(), -1}, {nullptr, 100}}) {
    SpectrumData s = Spectrum(data, n);
    EXPECT_EQ(CalibFindPeaks(h, &s, pos, val, 1, &count), 0u);
    EXPECT_EQ(CalibFindNearestPeak(h, &s, 21.0, &near), 0u);
  }
  SpectrumData s = Spectrum(d.data(), 100);
  EXPECT_EQ(CalibFindPeaks(h, &s, pos, val, 0, &count), 0u);  // counts only
  EXPECT_EQ(pos[0] + val[0] + near + count, -20.0);
  EXPECT_EQ(CalibFindPeaks(h, nullptr, pos, val, 2, &count), 11000u);
  EXPECT_EQ(CalibFindPeaks(h, &s, nullptr, val, 2, &count), 11000u);
  EXPECT_EQ(CalibFindPeaks(h, &s, pos, val, 2, nullptr), 11000u);
  EXPECT_EQ(CalibFindNearestPeak(h, &s, 21.0, nullptr), 11000u);
}

// The position is where the baseline-corrected area is split in half.
// Nearest peak: ties go forward; a peak no valley closes is reported at
// 0.0; NaN curvature is never above the threshold, an infinite sample makes
// the threshold infinite (hand-derived).
TEST_F(Peaks, NearestPeakAndSpectraAtTheEdges) {
  const std::vector<double> two = Spikes({{20, 1}, {60, 1}});
  const std::vector<double> one = Spikes({{20, 1}});
  // clang-format off
  const struct { std::vector<double> data; double start; KvxULong code;
                 double near; KvxLong count; } cases[] = {
      {Spikes({{47, 11}, {48, 14}, {49, 25}, {50, 40}, {51, 31}, {52, 18},
               {53, 12}}, 100, 10.0), 10.0, 0, 51.23134328358209, 1},
      {two, 41.0, 0, 61.0, 2}, {two, 40.9, 0, 21.0, 2}, {two, 21.0, 0, 21.0, 2},
      {two, 99.0, 0, 61.0, 2}, {two, 1.0, 0, 21.0, 2}, {two, 100.99, 0, 61.0, 2},
      {one, 0.5, 11063, -7, 1}, {one, 101.0, 11063, -7, 1},
      {one, NAN, 11063, -7, 1}, {one, INFINITY, 11063, -7, 1},
      {Spikes({}), 5.0, 11064, -7, 0},
      {Spikes({{0, 5}}, 1), 1.0, 11064, -7, 0},
      {Spikes({{1, 5}}, 2), 2.0, 0, 0.0, 0},
      {Spikes({{99, 4}}), 100.0, 0, 0.0, 0},
      {Spikes({{0, NAN}, {20, 1}, {60, NAN}, {99, NAN}}), 50.0, 0, 21.0, 2},
      {Spikes({{0, INFINITY}, {20, 1}, {60, INFINITY}, {99, INFINITY}}), 50.0, 11064, -7, 1}};
  // clang-format on
  for (auto c : cases) {
    std::vector<double> pos(4);
    KvxULong code = 1;
    double near = -7;
    EXPECT_EQ(Find(c.data, &pos, c.start, &code, &near), c.count) << c.start;
    EXPECT_EQ(code, c.code) << c.start;
    EXPECT_EQ(near, c.near) << c.start;
  }
}

}  // namespace
