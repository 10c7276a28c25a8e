// The glue exports as a host calls them: range and step set through the
// double parameters 68 to 70, then glued all at once or block by block.

#include <cmath>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include "support/test_handle.h"

namespace {

using V = std::vector<double>;
using XV = std::pair<V, V>;  // a block's X values and data

struct Block {
  V x, v;
  GlueSpectrum g{};
  explicit Block(const XV& b, int32_t frames = 1) : x(b.first), v(b.second) {
    const auto n = static_cast<int32_t>(x.size());
    g = {v.data(), n, frames, 5, 1, x.data(), 0, nullptr, 0};
  }
};

class Glue : public ::testing::Test {
 protected:
  void SetUp() override { Range(0.0, 10.0, 1.0); }
  void Range(double start, double end, double step) {
    ASSERT_EQ(CalibSetDoubleParam(h_, 68, start) +
                  CalibSetDoubleParam(h_, 69, end) +
                  CalibSetDoubleParam(h_, 70, step),
              0u);
  }
  // Validates, supplies output arrays, glues; returns the glue's code.
  KvxULong All(std::vector<Block*> in, int32_t frames = 1) {
    std::vector<GlueSpectrum> g;
    for (Block* b : in) g.push_back(b->g);
    auto n = static_cast<int32_t>(g.size());
    EXPECT_EQ(CalibValidateGlue(h_, g.data(), n, &out_), 0u);
    Supply(frames, -1.0);
    return CalibGlueInput(h_, g.data(), n, &out_);
  }
  // The output's data and X arrays, as a host supplies them.
  void Supply(int32_t frames, double fill) {
    data_.assign(static_cast<size_t>(out_.numPoints * frames), fill);
    x_.assign(static_cast<size_t>(out_.numPoints), fill);
    out_.data = data_.data();
    out_.xValues = x_.data();
  }
  // Initialises, then glues blocks one by one; the sum of the codes.
  KvxULong Start(const std::vector<XV>& blocks) {
    KvxULong sum = CalibInitIncStepAndGlue(h_, &out_, 1);
    Supply(1, 0.0);
    for (const XV& xv : blocks) {
      Block b(xv);
      sum += CalibGlueIncInput(h_, &out_, &b.g);
    }
    return sum;
  }
  void ExpectData(const V& want, size_t from = 0) {
    for (size_t i = 0; i < want.size(); ++i) {
      EXPECT_NEAR(data_[from + i], want[i], 1e-9 * (1 + std::fabs(want[i])))
          << "point " << i;
    }
  }

  kvx_test::Handle h_{CalibModeAutomatic};
  GlueSpectrum out_{};
  V data_, x_;
};

// Expected values: the output of glue_expected.py (/usr/bin/python3), A, C
// and A + inside as printed.
const V kA = {1, 2, 3, 5.5, 10, 20.25, 35, 45, 55, 65, 0};
// clang-format off
const V kC = {0, 9, 9, 8.736714975845425, 8, 7.6219512195121935, 7,
              6.544334975369456, 6, 5.504975124378107, 5, 4.505025125628126, 4,
              3.5456852791878193, 3, 2.628205128205118, 2, 1.7538860103626939,
              1, 0, 0};
// clang-format on
const XV kA1 = {{0, 1, 2, 3, 4, 5}, {1, 2, 3, 4, 5, 6}};
const XV kA2 = {{3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5},
                {10, 20, 30, 40, 50, 60, 70}};

TEST_F(Glue, TwoBlocksAreRebinnedAndCrossfadedFrameByFrame) {
  // Two frames: the second is ten times the first, blended alike.
  Block a({kA1.first, {1, 2, 3, 4, 5, 6, 10, 20, 30, 40, 50, 60}}, 2);
  Block b({kA2.first,
           {10, 20, 30, 40, 50, 60, 70, 100, 200, 300, 400, 500, 600, 700}},
          2);
  ASSERT_EQ(All({&a, &b}, 2), 0u);
  ExpectData(kA);
  V tenfold;
  for (double d : kA) tenfold.push_back(10 * d);
  ExpectData(tenfold, 11);
  EXPECT_EQ(x_, V({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(CalibCleanupIncGlue(h_), 11074u);  // the whole glue ended
}

TEST_F(Glue, BlocksOutsideTheRangeAreSkippedAndADescendingAxisRunsDown) {
  Block a(kA1), b(kA2), far({{40, 41, 42}, {1, 1, 1}});
  EXPECT_EQ(All({&a, &far}), 0u);
  ExpectData({1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0});
  Range(10.0, 0.0, 1.0);
  ASSERT_EQ(All({&a, &b}), 0u);
  ExpectData(V(kA.rbegin(), kA.rend()));
  EXPECT_EQ(x_, V({10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}));
}

TEST_F(Glue, WavelengthInputOntoWavenumberAxisIsTurnedAround) {
  Range(19000.0, 21000.0, 100.0);
  ASSERT_EQ(CalibSetIntParam(h_, 24, CalibUnitWavenumbers), 0u);
  CalibrationRecord nm;
  ASSERT_EQ(CalibInitializeCalibration(h_, &nm, sizeof nm), 0u);
  Block c({{480, 485, 490, 495, 500, 505, 510, 515, 520},
           {1, 2, 3, 4, 5, 6, 7, 8, 9}});
  c.g.calibration = &nm;
  ASSERT_EQ(All({&c}), 0u);
  ExpectData(kC);
}

TEST_F(Glue, BlocksAtTheEndsOfTheRange) {
  const std::pair<std::vector<XV>, V> cases[] = {
      // Kept: the run at output point 0 is not taken as the block's start,
      // so it is averaged, not faded.
      {{{{0, 1, 2, 3}, {10, 10, 10, 10}},
        {{-2, -1, 0, 1, 2, 3, 4, 5, 6}, {1, 1, 2, 4, 6, 8, 5, 5, 5}}},
       {6, 7, 8, 9, 5, 5, 5, 0}},
      // Kept: a first cell on the range's last point merges nothing.
      {{{{10, 11, 12}, {7, 7, 7}}}, V(11, 0.0)},
      // The middle bin (-5e7 + 2.5 .. 5e7 + 2.5) covers the whole range.
      {{{{-1e8, 5, 1e8}, {1, 3, 9}}}, V(11, 3.0)},
  };
  for (const auto& [blocks, want] : cases) {
    ASSERT_EQ(Start(blocks), 0u);
    ExpectData(want);
  }
}

TEST_F(Glue, FailedValidationIsHiddenUnlessOutputDataIsRemembered) {
  // Kept: without remembered output data a failed check answers 11078.
  Block noX(kA1);
  noX.g.xValues = nullptr;
  EXPECT_EQ(CalibGlueInput(h_, &noX.g, 1, &out_), 11078u);
  ASSERT_EQ(Start({kA1}), 0u);
  EXPECT_EQ(CalibGlueInput(h_, &noX.g, 1, &out_), 11077u);
}

TEST_F(Glue, PointCountFollowsTheRangeAndStepsBelowAMinimumAreRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::tuple<double, double, double, KvxULong, int32_t> cases[] = {
      {500, 600, 0.5, 0, 201},    {500, 600, 0.3, 0, 335},
      {600, 500, 0.3, 0, 335},    {0, 1.0005, 1, 0, 2},
      {0, 1.002, 1, 0, 3},        {500, 600, 0.00005, 11079u, 0},
      {500, 500, 1, 11079u, 0},   {500, 600, -1, 11079u, 0},
      {500, 600, nan, 11079u, 0}, {0, 1e9, 0.0001, 11079u, 0},
  };
  Block a({{500, 501}, {1, 1}});
  for (const auto& [start, end, step, code, count] : cases) {
    Range(start, end, step);
    GlueSpectrum out{};
    EXPECT_EQ(CalibValidateGlue(h_, &a.g, 1, &out), code) << step;
    EXPECT_EQ(out.numPoints, count) << start << " " << end;
  }
}

}  // namespace
