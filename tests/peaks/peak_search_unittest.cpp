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
// n - 2, n - 1 over a flat line.
template <class T>
std::vector<T> Make(int pattern, int n) {
  using L = std::numeric_limits<T>;
  const T special[8] = {L::quiet_NaN(),       L::infinity(),    -L::infinity(),
                        static_cast<T>(-0.0), L::max(),         L::lowest(),
                        static_cast<T>(1),    static_cast<T>(0)};
  const int spike[5] = {0, 1, n / 2, n - 2, n - 1};
  std::mt19937_64 rng(static_cast<uint64_t>(pattern * 1000 + n));
  std::vector<T> v(static_cast<size_t>(n));
  for (int k = 0; k < n; ++k) {
    const uint64_t r = rng();
    if (pattern == 0) v[k] = r & 1 ? L::max() : L::lowest();
    if (pattern == 1) std::memcpy(&v[k], &r, sizeof(T));
    if (pattern == 2 || pattern == 3) {
      v[k] = r % 8 ? static_cast<T>(r >> 54)
                   : special[pattern == 2 ? (r >> 3) % 8 : 0];
    }
    if (pattern == 4) v[k] = static_cast<T>(-0.0);
    if (pattern >= 5) v[k] = k == spike[pattern - 5] ? L::max() : T(3);
  }
  return v;
}

template <class T>
void CheckAllSpectra(int32_t dataType) {
  std::vector<int> lengths(64);
  for (int n = 1; n <= 64; ++n) lengths[n - 1] = n;
  lengths.push_back(1037);
  for (int n : lengths) {
    for (int pattern = 0; pattern < 10; ++pattern) {
      std::vector<T> raw = Make<T>(pattern, n);
      std::vector<double> d(raw.begin(), raw.end());
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
      const double got = search.Threshold();
      EXPECT_EQ(0, std::memcmp(&got, &threshold, sizeof got))
          << "type " << dataType << " n " << n << " pattern " << pattern << ": "
          << got << " vs " << threshold;
      for (bool curvature : {true, false}) {
        if (!curvature) search.LoadSamples(s);
        EXPECT_EQ(0, std::memcmp(search.Samples(), d.data(), d.size() * 8))
            << "type " << dataType << " n " << n << " pattern " << pattern;
      }
    }
  }
}

TEST(PeakSearchPaths, EveryPathMatchesTheScalarComputation) {
  for (Path path : {Path::kBaseline, Path::kAvx2, Path::kAvx512}) {
    if (!kvx::PeakSearch::ForcePath(path)) continue;  // not on this machine
    SCOPED_TRACE(static_cast<int>(path));
    CheckAllSpectra<int8_t>(1);
    CheckAllSpectra<int16_t>(2);
    CheckAllSpectra<int32_t>(3);
    CheckAllSpectra<float>(4);
    CheckAllSpectra<double>(5);
    CheckAllSpectra<uint8_t>(6);
    CheckAllSpectra<uint16_t>(7);
    CheckAllSpectra<uint32_t>(8);
  }
  kvx::PeakSearch::ForcePath(Path::kAuto);
}

}  // namespace
