#include "peaks/peak_search.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kvx {

namespace {

// Caller arrays may sit at any address: samples are copied, not cast.
template <class T>
void Convert(const void* data, int64_t begin, int64_t end, double* out) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (int64_t k = begin; k < end; ++k) {
    T sample;
    std::memcpy(&sample, bytes + k * static_cast<int64_t>(sizeof(T)),
                sizeof sample);
    out[k] = static_cast<double>(sample);
  }
}

void ConvertRange(const SpectrumData& spectrum, int64_t begin, int64_t end,
                  double* out) {
  const void* data = spectrum.data;
  switch (spectrum.dataType) {
    case 1:
      return Convert<int8_t>(data, begin, end, out);
    case 2:
      return Convert<int16_t>(data, begin, end, out);
    case 3:
      return Convert<int32_t>(data, begin, end, out);
    case 4:
      return Convert<float>(data, begin, end, out);
    case 5:
      return Convert<double>(data, begin, end, out);
    case 6:
      return Convert<uint8_t>(data, begin, end, out);
    case 7:
      return Convert<uint16_t>(data, begin, end, out);
    case 8:
      return Convert<uint32_t>(data, begin, end, out);
    default:
      // An unknown sample type has no defined values: zeros, a flat line.
      std::fill(out + begin, out + end, 0.0);
      return;
  }
}

// Samples converted per block, so that the curvature pass reads them while
// they are still in the cache.
constexpr int64_t kBlock = 1024;

}  // namespace

bool PeakSearch::HasData(const SpectrumData& spectrum) {
  return spectrum.data != nullptr && spectrum.count > 0;
}

double PeakSearch::LargestCurvature(int64_t begin, int64_t end,
                                    double largest) const {
  // The largest value does not depend on the order it is looked for in
  // (NaN never counts, and -0.0 never beats the starting 0.0), so the
  // interior, where no index is clamped, runs in parallel lanes.
  const int64_t innerBegin = std::clamp<int64_t>(begin, 2, end);
  const int64_t innerEnd = std::max(innerBegin, std::min(end, n_ - 2));
  for (int64_t k = begin; k < innerBegin; ++k) {
    const double c = Curvature(k);
    if (c > largest) largest = c;
  }
  const double* d = d_.get();
  int64_t k = innerBegin;
#if defined(__SSE2__)
  // maxpd(c, lane) is c > lane ? c : lane, the comparison of the scalar
  // loop, so NaN and ties come out the same. Pairs of samples are loaded
  // once: the curvature of pair j is 2 P[j] - P[j - 1] - P[j + 1].
  if (k + 8 <= innerEnd) {
    const __m128d two = _mm_set1_pd(2.0);
    __m128d lane[4];
    for (__m128d& l : lane) l = _mm_set1_pd(largest);
    __m128d previous = _mm_loadu_pd(d + k - 2);
    __m128d current = _mm_loadu_pd(d + k);
    for (; k + 8 <= innerEnd; k += 8) {
      for (int j = 0; j < 4; ++j) {
        const __m128d next = _mm_loadu_pd(d + k + 2 * j + 2);
        const __m128d c =
            _mm_sub_pd(_mm_sub_pd(_mm_mul_pd(two, current), previous), next);
        lane[j] = _mm_max_pd(c, lane[j]);
        previous = current;
        current = next;
      }
    }
    double lanes[8];
    for (int j = 0; j < 4; ++j) _mm_storeu_pd(lanes + 2 * j, lane[j]);
    for (double l : lanes) {
      if (l > largest) largest = l;
    }
  }
#endif
  for (; k < end; ++k) {
    const double c = Curvature(k);
    if (c > largest) largest = c;
  }
  return largest;
}

void PeakSearch::LoadPeakData(const SpectrumData& spectrum,
                              double thresholdPercent) {
  n_ = spectrum.count;
  d_.reset(new double[static_cast<size_t>(n_)]);
  double largest = 0.0;
  // c[k] needs d[k + 2]: after each block the curvature is complete up to
  // two samples before the block's end.
  int64_t ready = 0;
  for (int64_t begin = 0; begin < n_; begin += kBlock) {
    const int64_t end = std::min(n_, begin + kBlock);
    ConvertRange(spectrum, begin, end, d_.get());
    const int64_t complete = end == n_ ? n_ : end - 2;
    largest = LargestCurvature(ready, complete, largest);
    ready = complete;
  }
  threshold_ = largest * thresholdPercent * 0.01;
}

int64_t PeakSearch::LocatePeak(int64_t s, Peak* peak) const {
  const double* d = d_.get();
  // A valley: c[k] <= c[k + 1] and c[k] < c[k - 1]. The window slides, so
  // each curvature is computed once.
  int64_t r = -1;
  if (s + 2 < n_) {
    double before = Curvature(s);
    double at = Curvature(s + 1);
    for (int64_t k = s + 1; k + 1 < n_; ++k) {
      const double after = Curvature(k + 1);
      if (at <= after && at < before) {
        r = k;
        break;
      }
      before = at;
      at = after;
    }
  }
  if (r < 0) return -1;

  // Back to the previous valley (or the first sample), summing the samples
  // and taking the largest curvature on the way.
  double height = Curvature(r);
  double sum = d[r];
  int64_t k = r - 1;
  double after = height;
  double at = Curvature(k);
  for (;;) {
    sum += d[k];
    if (at > height) height = at;
    if (k == 0) break;
    const double before = Curvature(k - 1);
    if (at <= after && at < before) break;
    after = at;
    at = before;
    --k;
  }
  const int64_t l = k;
  const int64_t m = r - l;

  // Net area above the straight baseline from (l, d[l]) to (r, d[r]), then
  // the point where the cumulative net area reaches half of it.
  const double slope = (d[r] - d[l]) / static_cast<double>(m);
  const double area = sum - 0.5 * (d[l] + d[r]) * static_cast<double>(m + 1);
  double rest = area;
  double q = 0.0;
  for (k = l + 1; k < n_; ++k) {
    q = d[k] - (d[l] + static_cast<double>(k - l) * slope);
    rest = rest - q;
    if (rest < area / 2) break;
  }
  const double frac = q == 0.0 ? 0.0 : (area - 2 * rest - q) / (2 * q);
  peak->position = static_cast<double>(k + 1) - frac;
  peak->height = height;
  return r;
}

}  // namespace kvx
