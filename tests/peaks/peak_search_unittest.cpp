// Every vector path of the load must give, bit for bit, the samples and the
// threshold of the plain two-pass computation below: convert, then take the
// largest clamped curvature with c > largest (NaN never counts, nor -0.0).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "peaks/peak_search.h"

namespace {

using Path = kvx::PeakSearch::Path;

// Patterns: 0 extremes, 1 random bits, 2 special values amid small ones,
// 3 NaN alone amid them, 4 all -0.0, then one largest spike at 0, 1, n / 2,
// n - 2, n - 1 over a flat line. Lengths 1 to 64, then 1037.
template <class T>
void Check(int32_t dataType) {
  using L = std::numeric_limits<T>;
  const T special[] = {L::quiet_NaN(),       L::infinity(), -L::infinity(),
                       static_cast<T>(-0.0), L::max(),      L::lowest()};
  for (int n = 1; n <= 1037; n += n < 64 ? 1 : 973) {
    const int spike[5] = {0, 1, n / 2, n - 2, n - 1};
    for (int pattern = 0; pattern < 10; ++pattern) {
      std::mt19937_64 rng(static_cast<uint64_t>(pattern * 1000 + n));
      std::vector<T> raw(static_cast<size_t>(n), static_cast<T>(-0.0));
      for (int k = 0; k < n; ++k) {
        const uint64_t r = rng();
        if (pattern == 0) raw[k] = r & 1 ? L::max() : L::lowest();
        if (pattern == 1) std::memcpy(&raw[k], &r, sizeof(T));
        if (pattern == 2 || pattern == 3) {
          raw[k] = r % 8 ? static_cast<T>(r >> 54)
                         : special[pattern == 2 ? (r >> 3) % 6 : 0];
        }
        if (pattern >= 5) raw[k] = k == spike[pattern - 5] ? L::max() : T(3);
      }
      const std::vector<double> d(raw.begin(), raw.end());
      double largest = 0.0;
      for (int k = 0; k < n; ++k) {
        const double c =
            2.0 * d[k] - d[std::max(k - 2, 0)] - d[std::min(k + 2, n - 1)];
        if (c > largest) largest = c;
      }
      const double threshold = largest * 37.5 * 0.01;
      SpectrumData s{};
      s.data = raw.data();
      s.count = n;
      s.dataType = dataType;
      kvx::PeakSearch search;
      search.LoadPeakData(s, 37.5);
      SCOPED_TRACE(testing::Message() << "type " << dataType << " n " << n
                                      << " pattern " << pattern);
      const double got = search.Threshold();
      EXPECT_EQ(0, std::memcmp(&got, &threshold, sizeof got));
      EXPECT_EQ(0, std::memcmp(search.Samples(), d.data(), 8 * d.size()));
      search.LoadSamples(s);
      EXPECT_EQ(0, std::memcmp(search.Samples(), d.data(), 8 * d.size()));
    }
  }
}

TEST(PeakSearchPaths, EveryPathMatchesTheScalarComputation) {
  for (Path path : {Path::kBaseline, Path::kAvx2, Path::kAvx512}) {
    if (!kvx::PeakSearch::ForcePath(path)) continue;  // not on this machine
    SCOPED_TRACE(static_cast<int>(path));
    Check<int8_t>(1);
    Check<int16_t>(2);
    Check<int32_t>(3);
    Check<float>(4);
    Check<double>(5);
    Check<uint8_t>(6);
    Check<uint16_t>(7);
    Check<uint32_t>(8);
  }
  kvx::PeakSearch::ForcePath(Path::kAuto);
}

}  // namespace
