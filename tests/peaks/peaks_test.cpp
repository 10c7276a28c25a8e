// Peak search through the exports. Expected values come from a separate
// Python transcription of the search (curvature, LocatePeak, threshold
// scan), inputs and outputs pasted here:
//   flat 10.0, samples 47..53 = 11 14 25 40 31 18 12 -> 51.23134328358209
//   spikes 2.5, 0.5, 1.5 at samples 20, 50, 80 -> positions 21, 51, 81,
//   curvature heights 5, 1, 3 (a lone spike at k: position k + 1 by hand)
//   spike 1.0 at 20 and x at 0, 60, 99 -> x = NaN: 2 peaks, inf: 1
//   spike 4.0 at the last sample -> no peak (no valley closes it)

#include <cmath>
#include <tuple>
#include <vector>

#include "calibration/calibration_fixtures.h"

namespace {

using namespace calibration_fixtures;

std::vector<double> Spikes(std::vector<std::pair<int, double>> at,
                           size_t n = 100, double base = 0.0) {
  std::vector<double> d(n, base);
  for (auto [k, v] : at) d[k] = v;
  return d;
}

class Peaks : public ::testing::Test {
 protected:
  void SetUp() override {  // value = 400 + 0.5 * data point
    LoadDetector(h, 100);
    Load(h, OffsetFactor(h, 400, 0.5));
  }
  // Runs both searches; *near stays -7 unless written.
  KvxLong Find(std::vector<double>& d, std::vector<double>* pos,
               double start = 0, KvxULong* code = nullptr,
               double* near = nullptr) {
    SpectrumData s{};
    std::tie(s.data, s.count, s.dataType) =
        std::make_tuple(d.data(), static_cast<KvxLong>(d.size()), 5);
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
  Handle h;
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
