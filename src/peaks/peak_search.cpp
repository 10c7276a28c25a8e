#include "peaks/peak_search.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
// The wider passes use AVX-512, or else AVX2, when the processor has it
// (checked at run time); the 32-bit and Windows builds keep to the 2-lane
// pass.
#if defined(__x86_64__) && !defined(_WIN32) && defined(__GNUC__)
#define KVX_PEAKS_WIDE 1
// GCC 12's own AVX-512 header trips its uninitialised-value check.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#endif

namespace kvx {

namespace {

// The path every load takes unless a test or benchmark forced one.
std::atomic<PeakSearch::Path> forcedPath{PeakSearch::Path::kAuto};

// Caller arrays may sit at any address: samples are copied, not cast.
template <class T>
double At(const unsigned char* bytes, int64_t k) {
  T sample;
  std::memcpy(&sample, bytes + k * static_cast<int64_t>(sizeof(T)),
              sizeof sample);
  return static_cast<double>(sample);
}

// How far a fused pass got: samples [0, converted) are in d, and the
// largest curvature of [curvedBegin, curvedEnd) is known. The clamped
// indexes at both ends are left to the scalar code.
struct Progress {
  int64_t converted = 0;
  int64_t curvedBegin = 0;
  int64_t curvedEnd = 0;
};

// Samples k and k + 1 as doubles, converted exactly as static_cast does.
#if defined(__SSE2__)
template <class T>
__m128d Pair(const unsigned char* in, int64_t k) {
  const unsigned char* p = in + k * static_cast<int64_t>(sizeof(T));
  const __m128i zero = _mm_setzero_si128();
  if constexpr (std::is_same_v<T, double>) {
    return _mm_loadu_pd(reinterpret_cast<const double*>(p));
  } else if constexpr (std::is_same_v<T, float>) {
    return _mm_cvtps_pd(
        _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
  } else if constexpr (sizeof(T) == 4) {
    __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    if constexpr (std::is_signed_v<T>) return _mm_cvtepi32_pd(x);
    // Shifted into the signed range and back: both steps are exact.
    x = _mm_xor_si128(x, _mm_set1_epi32(INT32_MIN));
    return _mm_add_pd(_mm_cvtepi32_pd(x), _mm_set1_pd(2147483648.0));
  } else {
    int32_t bits = 0;
    std::memcpy(&bits, p, 2 * sizeof(T));
    __m128i x = _mm_cvtsi32_si128(bits);
    // Widened to 32 bits: sign-extended by an arithmetic shift, or zeros.
    if constexpr (sizeof(T) == 1) {
      x = std::is_signed_v<T> ? _mm_srai_epi16(_mm_unpacklo_epi8(x, x), 8)
                              : _mm_unpacklo_epi8(x, zero);
    }
    x = std::is_signed_v<T> ? _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16)
                            : _mm_unpacklo_epi16(x, zero);
    return _mm_cvtepi32_pd(x);
  }
}
#endif

// Each sample is converted once and its curvature taken while the sample
// is still in a register. c[k] is evaluated as (2 d[k] - d[k - 2]) -
// d[k + 2] in every lane, as Curvature() does, and maxpd(c, lane) is
// c > lane ? c : lane, the scalar comparison: NaN never counts and -0.0
// never beats the starting 0.0, so the largest value is bit-identical.
template <class T, bool kCurvature>
Progress FusedPairs(const unsigned char* in, int64_t n, double* d,
                    double* largest) {
  Progress p;
#if defined(__SSE2__)
  // With two lanes and a step of two, the neighbours of pair j are the
  // pairs j - 1 and j + 1.
  if (n < 6) return p;
  const auto pair = [in](int64_t k) { return Pair<T>(in, k); };
  const __m128d two = _mm_set1_pd(2.0);
  __m128d lane = _mm_setzero_pd();
  __m128d other = lane;
  __m128d previous = pair(0);
  __m128d current = pair(2);
  _mm_storeu_pd(d, previous);
  _mm_storeu_pd(d + 2, current);
  int64_t k = 2;
  for (; k + 4 <= n; k += 2) {
    const __m128d next = pair(k + 2);
    _mm_storeu_pd(d + k + 2, next);
    if constexpr (kCurvature) {
      const __m128d c =
          _mm_sub_pd(_mm_sub_pd(_mm_mul_pd(two, current), previous), next);
      lane = _mm_max_pd(c, lane);
      std::swap(lane, other);  // two sets of lanes, as below
    }
    previous = current;
    current = next;
  }
  double lanes[4];
  _mm_storeu_pd(lanes, lane);
  _mm_storeu_pd(lanes + 2, other);
  for (double l : lanes) {
    if (l > *largest) *largest = l;
  }
  p = {k + 2, 2, k};
#else
  // Without SSE2 (no build of this library) the scalar code does it all.
  (void)in, (void)n, (void)d, (void)largest;
#endif
  return p;
}

#if defined(KVX_PEAKS_WIDE)
// Samples k to k + 7 as doubles, converted exactly as static_cast does.
template <class T>
[[gnu::target("avx512f")]] __m512d Octet(const unsigned char* in, int64_t k) {
  const unsigned char* p = in + k * static_cast<int64_t>(sizeof(T));
  const auto* v = reinterpret_cast<const __m128i*>(p);
  if constexpr (std::is_same_v<T, double>) {
    return _mm512_loadu_pd(p);
  } else if constexpr (std::is_same_v<T, float>) {
    return _mm512_cvtps_pd(_mm256_loadu_ps(reinterpret_cast<const float*>(p)));
  } else if constexpr (sizeof(T) == 4) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    if constexpr (std::is_signed_v<T>) return _mm512_cvtepi32_pd(x);
    return _mm512_cvtepu32_pd(x);
  } else if constexpr (sizeof(T) == 2) {
    const __m128i x = _mm_loadu_si128(v);
    if constexpr (std::is_signed_v<T>) {
      return _mm512_cvtepi32_pd(_mm256_cvtepi16_epi32(x));
    }
    return _mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(x));
  } else {
    const __m128i x = _mm_loadl_epi64(v);
    if constexpr (std::is_signed_v<T>) {
      return _mm512_cvtepi32_pd(_mm256_cvtepi8_epi32(x));
    }
    return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(x));
  }
}

// Eight lanes: the neighbours two samples away are the lanes of the
// current vector shifted by two, filled from the previous or next vector.
template <class T, bool kCurvature>
[[gnu::target("avx512f")]] Progress FusedOctets(const unsigned char* in,
                                                int64_t n, double* d,
                                                double* largest) {
  Progress p;
  if (n < 24) return p;
  const __m512d two = _mm512_set1_pd(2.0);
  __m512d lane = _mm512_setzero_pd();
  __m512d other = lane;
  __m512d previous = Octet<T>(in, 0);
  __m512d current = Octet<T>(in, 8);
  _mm512_storeu_pd(d, previous);
  _mm512_storeu_pd(d + 8, current);
  int64_t k = 8;
  for (; k + 16 <= n; k += 8) {
    const __m512d next = Octet<T>(in, k + 8);
    _mm512_storeu_pd(d + k + 8, next);
    if constexpr (kCurvature) {
      const __m512i cur = _mm512_castpd_si512(current);
      const __m512d below = _mm512_castsi512_pd(
          _mm512_alignr_epi64(cur, _mm512_castpd_si512(previous), 6));
      const __m512d above = _mm512_castsi512_pd(
          _mm512_alignr_epi64(_mm512_castpd_si512(next), cur, 2));
      const __m512d c = _mm512_sub_pd(
          _mm512_sub_pd(_mm512_mul_pd(two, current), below), above);
      // Two sets of lanes take turns, so that one maximum need not wait
      // for the last.
      lane = _mm512_max_pd(c, lane);
      std::swap(lane, other);
    }
    previous = current;
    current = next;
  }
  double lanes[16];
  _mm512_storeu_pd(lanes, lane);
  _mm512_storeu_pd(lanes + 8, other);
  for (double l : lanes) {
    if (l > *largest) *largest = l;
  }
  p = {k + 8, 8, k};
  return p;
}
// 8- and 16-bit samples: sixteen at a time. Their curvature is an integer
// below 2^18 in magnitude, which the double arithmetic holds exactly, so
// it is taken in 32-bit integer lanes: the same values, the same largest
// one, at half the work.
template <class T>
[[gnu::target("avx512f")]] __m512i Sixteen(const unsigned char* in, int64_t k) {
  const unsigned char* p = in + k * static_cast<int64_t>(sizeof(T));
  if constexpr (sizeof(T) == 2) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    if constexpr (std::is_signed_v<T>) return _mm512_cvtepi16_epi32(x);
    return _mm512_cvtepu16_epi32(x);
  } else {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (std::is_signed_v<T>) return _mm512_cvtepi8_epi32(x);
    return _mm512_cvtepu8_epi32(x);
  }
}

[[gnu::target("avx512f")]] void StoreSixteen(double* d, __m512i v) {
  _mm512_storeu_pd(d, _mm512_cvtepi32_pd(_mm512_castsi512_si256(v)));
  _mm512_storeu_pd(d + 8, _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(v, 1)));
}

template <class T, bool kCurvature>
[[gnu::target("avx512f")]] Progress FusedSixteens(const unsigned char* in,
                                                  int64_t n, double* d,
                                                  double* largest) {
  Progress p;
  if (n < 48) return p;
  __m512i lane = _mm512_setzero_si512();
  __m512i previous = Sixteen<T>(in, 0);
  __m512i current = Sixteen<T>(in, 16);
  StoreSixteen(d, previous);
  StoreSixteen(d + 16, current);
  int64_t k = 16;
  for (; k + 32 <= n; k += 16) {
    const __m512i next = Sixteen<T>(in, k + 16);
    StoreSixteen(d + k + 16, next);
    if constexpr (kCurvature) {
      const __m512i below = _mm512_alignr_epi32(current, previous, 14);
      const __m512i above = _mm512_alignr_epi32(next, current, 2);
      const __m512i c = _mm512_sub_epi32(
          _mm512_sub_epi32(_mm512_add_epi32(current, current), below), above);
      lane = _mm512_max_epi32(c, lane);
    }
    previous = current;
    current = next;
  }
  const double l = static_cast<double>(_mm512_reduce_max_epi32(lane));
  if (l > *largest) *largest = l;
  p = {k + 16, 16, k};
  return p;
}

// The same passes with 256-bit vectors, for processors with AVX2 but not
// AVX-512. Samples k to k + 3 as doubles, converted as static_cast does.
template <class T>
[[gnu::target("avx2")]] __m256d Quad(const unsigned char* in, int64_t k) {
  const unsigned char* p = in + k * static_cast<int64_t>(sizeof(T));
  const auto* v = reinterpret_cast<const __m128i*>(p);
  if constexpr (std::is_same_v<T, double>) {
    return _mm256_loadu_pd(reinterpret_cast<const double*>(p));
  } else if constexpr (std::is_same_v<T, float>) {
    return _mm256_cvtps_pd(_mm_loadu_ps(reinterpret_cast<const float*>(p)));
  } else if constexpr (std::is_signed_v<T>) {
    return _mm256_cvtepi32_pd(_mm_loadu_si128(v));
  } else {
    // Shifted into the signed range and back: both steps are exact.
    const __m128i x =
        _mm_xor_si128(_mm_loadu_si128(v), _mm_set1_epi32(INT32_MIN));
    return _mm256_add_pd(_mm256_cvtepi32_pd(x), _mm256_set1_pd(2147483648.0));
  }
}

// As FusedOctets: the neighbours two lanes away are whole 128-bit halves
// of the previous, current and next vectors.
template <class T, bool kCurvature>
[[gnu::target("avx2")]] Progress FusedQuads(const unsigned char* in, int64_t n,
                                            double* d, double* largest) {
  Progress p;
  if (n < 12) return p;
  const __m256d two = _mm256_set1_pd(2.0);
  __m256d lane = _mm256_setzero_pd();
  __m256d other = lane;
  __m256d previous = Quad<T>(in, 0);
  __m256d current = Quad<T>(in, 4);
  _mm256_storeu_pd(d, previous);
  _mm256_storeu_pd(d + 4, current);
  int64_t k = 4;
  for (; k + 8 <= n; k += 4) {
    const __m256d next = Quad<T>(in, k + 4);
    _mm256_storeu_pd(d + k + 4, next);
    if constexpr (kCurvature) {
      const __m256d below = _mm256_permute2f128_pd(previous, current, 0x21);
      const __m256d above = _mm256_permute2f128_pd(current, next, 0x21);
      const __m256d c = _mm256_sub_pd(
          _mm256_sub_pd(_mm256_mul_pd(two, current), below), above);
      lane = _mm256_max_pd(c, lane);
      std::swap(lane, other);
    }
    previous = current;
    current = next;
  }
  double lanes[8];
  _mm256_storeu_pd(lanes, lane);
  _mm256_storeu_pd(lanes + 4, other);
  for (double l : lanes) {
    if (l > *largest) *largest = l;
  }
  p = {k + 4, 4, k};
  return p;
}

// 8- and 16-bit samples eight at a time, the curvature exact in 32-bit
// integer lanes as in FusedSixteens.
template <class T>
[[gnu::target("avx2")]] __m256i Eight(const unsigned char* in, int64_t k) {
  const auto* v = reinterpret_cast<const __m128i*>(
      in + k * static_cast<int64_t>(sizeof(T)));
  if constexpr (sizeof(T) == 2) {
    const __m128i x = _mm_loadu_si128(v);
    if constexpr (std::is_signed_v<T>) return _mm256_cvtepi16_epi32(x);
    return _mm256_cvtepu16_epi32(x);
  } else {
    const __m128i x = _mm_loadl_epi64(v);
    if constexpr (std::is_signed_v<T>) return _mm256_cvtepi8_epi32(x);
    return _mm256_cvtepu8_epi32(x);
  }
}

[[gnu::target("avx2")]] void StoreEight(double* d, __m256i v) {
  _mm256_storeu_pd(d, _mm256_cvtepi32_pd(_mm256_castsi256_si128(v)));
  _mm256_storeu_pd(d + 4, _mm256_cvtepi32_pd(_mm256_extracti128_si256(v, 1)));
}

// Converts samples k to k + 7 and, with kCurvature, takes their curvature
// into `lane`. The neighbours are loaded again from the samples, two before
// and two after: cheaper than shifting lanes across the 128-bit halves.
template <class T, bool kCurvature>
[[gnu::target("avx2")]] void EightStep(const unsigned char* in, int64_t k,
                                       double* d, __m256i* lane) {
  const __m256i current = Eight<T>(in, k);
  StoreEight(d + k, current);
  if constexpr (kCurvature) {
    const __m256i twice = _mm256_add_epi32(current, current);
    const __m256i c = _mm256_sub_epi32(
        _mm256_sub_epi32(twice, Eight<T>(in, k - 2)), Eight<T>(in, k + 2));
    *lane = _mm256_max_epi32(c, *lane);
  }
}

template <class T, bool kCurvature>
[[gnu::target("avx2")]] Progress FusedEights(const unsigned char* in, int64_t n,
                                             double* d, double* largest) {
  Progress p;
  if (n < 24) return p;
  __m256i lane = _mm256_setzero_si256();
  __m256i other = lane;
  StoreEight(d, Eight<T>(in, 0));
  int64_t k = 8;
  for (; k + 18 <= n; k += 16) {
    EightStep<T, kCurvature>(in, k, d, &lane);
    EightStep<T, kCurvature>(in, k + 8, d, &other);
  }
  if (k + 10 <= n) {
    EightStep<T, kCurvature>(in, k, d, &lane);
    k += 8;
  }
  int32_t lanes[16];
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes), lane);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes + 8), other);
  for (int32_t l : lanes) {
    if (static_cast<double>(l) > *largest) *largest = static_cast<double>(l);
  }
  p = {k, 8, k};
  return p;
}

PeakSearch::Path ChosenPath() {
  const PeakSearch::Path forced = forcedPath.load(std::memory_order_relaxed);
  if (forced != PeakSearch::Path::kAuto) return forced;
  if (PeakSearch::Supports(PeakSearch::Path::kAvx512)) {
    return PeakSearch::Path::kAvx512;
  }
  if (PeakSearch::Supports(PeakSearch::Path::kAvx2)) {
    return PeakSearch::Path::kAvx2;
  }
  return PeakSearch::Path::kBaseline;
}
#endif

template <class T, bool kCurvature>
Progress Fused(const unsigned char* in, int64_t n, double* d, double* largest) {
#if defined(KVX_PEAKS_WIDE)
  constexpr bool kNarrow = std::is_integral_v<T> && sizeof(T) <= 2;
  switch (ChosenPath()) {
    case PeakSearch::Path::kAvx512:
      if constexpr (kCurvature && kNarrow) {
        return FusedSixteens<T, kCurvature>(in, n, d, largest);
      }
      return FusedOctets<T, kCurvature>(in, n, d, largest);
    case PeakSearch::Path::kAvx2:
      // Eight narrow samples convert in one step, with or without the
      // curvature.
      if constexpr (kNarrow) {
        return FusedEights<T, kCurvature>(in, n, d, largest);
      }
      return FusedQuads<T, kCurvature>(in, n, d, largest);
    default:
      break;
  }
#endif
  return FusedPairs<T, kCurvature>(in, n, d, largest);
}

// Converts what the fused pass left (all of it for short spectra).
template <class T, bool kCurvature>
Progress Convert(const void* data, int64_t n, double* d, double* largest) {
  const auto* in = static_cast<const unsigned char*>(data);
  const Progress p = Fused<T, kCurvature>(in, n, d, largest);
  for (int64_t k = p.converted; k < n; ++k) d[k] = At<T>(in, k);
  return p;
}

template <bool kCurvature>
Progress ConvertAny(const SpectrumData& spectrum, double* d, double* largest) {
  const void* data = spectrum.data;
  const int64_t n = spectrum.count;
  switch (spectrum.dataType) {
    case 1:
      return Convert<int8_t, kCurvature>(data, n, d, largest);
    case 2:
      return Convert<int16_t, kCurvature>(data, n, d, largest);
    case 3:
      return Convert<int32_t, kCurvature>(data, n, d, largest);
    case 4:
      return Convert<float, kCurvature>(data, n, d, largest);
    case 5:
      return Convert<double, kCurvature>(data, n, d, largest);
    case 6:
      return Convert<uint8_t, kCurvature>(data, n, d, largest);
    case 7:
      return Convert<uint16_t, kCurvature>(data, n, d, largest);
    case 8:
      return Convert<uint32_t, kCurvature>(data, n, d, largest);
    default:
      // An unknown sample type has no defined values: zeros, a flat line
      // whose curvature is 0.0 everywhere.
      std::memset(d, 0, static_cast<size_t>(n) * sizeof(double));
      return Progress{n, 0, n};
  }
}

}  // namespace

bool PeakSearch::Supports(Path path) {
  switch (path) {
    case Path::kAuto:
    case Path::kBaseline:
      return true;
#if defined(KVX_PEAKS_WIDE)
    case Path::kAvx2:
      return __builtin_cpu_supports("avx2");
    case Path::kAvx512:
      return __builtin_cpu_supports("avx512f");
#endif
    default:
      return false;
  }
}

bool PeakSearch::ForcePath(Path path) {
  if (!Supports(path)) return false;
  forcedPath.store(path, std::memory_order_relaxed);
  return true;
}

bool PeakSearch::HasData(const SpectrumData& spectrum) {
  return spectrum.data != nullptr && spectrum.count > 0;
}

template <bool kCurvature>
void PeakSearch::Load(const SpectrumData& spectrum, double thresholdPercent) {
  n_ = spectrum.count;
  d_.reset(new double[static_cast<size_t>(n_)]);
  double largest = 0.0;
  const Progress p = ConvertAny<kCurvature>(spectrum, d_.get(), &largest);
  threshold_ = 0.0;
  if constexpr (kCurvature) {
    // The ends, where Curvature() clamps its indexes, and whatever the
    // fused pass did not reach.
    const auto take = [&](int64_t begin, int64_t end) {
      for (int64_t k = begin; k < end; ++k) {
        const double c = Curvature(k);
        if (c > largest) largest = c;
      }
    };
    take(0, p.curvedBegin);
    take(std::max(p.curvedBegin, p.curvedEnd), n_);
    threshold_ = largest * thresholdPercent * 0.01;
  }
}

void PeakSearch::LoadPeakData(const SpectrumData& spectrum,
                              double thresholdPercent) {
  Load<true>(spectrum, thresholdPercent);
}

void PeakSearch::LoadSamples(const SpectrumData& spectrum) {
  Load<false>(spectrum, 0.0);
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
