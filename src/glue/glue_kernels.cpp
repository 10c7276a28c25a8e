#include "glue/glue_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace kvx {
namespace {

template <class T>
void Widen(const void* data, size_t count, double* out) {
  const auto* in = static_cast<const T*>(data);
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<double>(in[i]);
}

bool Representable(double cells) {
  return cells >= -kMaxGlueCells && cells <= kMaxGlueCells;
}

}  // namespace

NqeErrorCode ComputeGluePointCount(double start, double end, double step,
                                   int32_t* count) {
  const double points =
      (std::max(start, end) - std::min(start, end)) / step + 1.999;
  // A NaN or a count beyond 32 bits cannot be a point count.
  *count = Representable(points) ? static_cast<int32_t>(points) : 0;
  if (!(step >= 0.0001) || *count < 2) return NqeGlueTooFewSteps;
  return NqeSuccess;
}

bool IsKnownGlueDataType(int32_t dataType) {
  return dataType >= 1 && dataType <= 8;
}

void ConvertToDoubles(const void* data, int32_t dataType, size_t count,
                      double* out) {
  if (data == nullptr || count == 0) return;
  switch (dataType) {
    case 1:
      return Widen<int8_t>(data, count, out);
    case 2:
      return Widen<int16_t>(data, count, out);
    case 3:
      return Widen<int32_t>(data, count, out);
    case 4:
      return Widen<float>(data, count, out);
    case 5:
      std::memcpy(out, data, count * sizeof(double));
      return;
    case 6:
      return Widen<uint8_t>(data, count, out);
    case 7:
      return Widen<uint16_t>(data, count, out);
    case 8:
      return Widen<uint32_t>(data, count, out);
    default:
      return;  // refused before conversion
  }
}

void ReverseFrames(double* values, size_t frames, size_t points) {
  for (size_t f = 0; f < frames; ++f) {
    std::reverse(values + f * points, values + (f + 1) * points);
  }
}

void BuildEdges(const double* x, size_t n, double* edges) {
  edges[0] = (3.0 * x[0] - x[1]) * 0.5;
  edges[n] = (3.0 * x[n - 1] - x[n - 2]) * 0.5;
  for (size_t i = 1; i < n; ++i) edges[i] = (x[i - 1] + x[i]) * 0.5;
}

NqeErrorCode PlaceBlock(double lo, double hi, double start, double step,
                        int32_t points, GluePlacement* placement) {
  const double h = step * 0.5;
  const double g = start - h;
  double k = 0.0;
  double x0 = 0.0;
  if (g <= lo) {
    k = std::trunc((lo - g) / step);
    x0 = k * step + start;
  } else {
    k = std::trunc((g - lo) / step + 1.0);
    x0 = start - k * step;
  }
  const double m = std::trunc((hi - x0) / step + 0.5);
  if (!Representable(k) || !Representable(m)) return NqeGlueNoData;
  GluePlacement p;
  p.x0 = x0;
  p.m = static_cast<int64_t>(m);
  // The merge works out the output index again from x0; the rounding of
  // that division decides where the block lands, so it is kept as is.
  // Both comparisons include equality: touching the range is no overlap.
  if (static_cast<double>(points - 1) * step + start <= x0 ||
      static_cast<double>(p.m - 1) * step + x0 <= start) {
    *placement = p;
    return NqeSuccess;
  }
  p.k = static_cast<int64_t>(std::trunc((x0 - start) / step));
  int64_t count = p.m;
  if (p.k < 0) {
    p.skip = -p.k;
    count -= p.skip;
    p.k = 0;
  }
  p.count = std::max<int64_t>(0, std::min<int64_t>(count, points - p.k));
  *placement = p;
  return NqeSuccess;
}

void ResampleFrame(const double* edges, const double* v, size_t n, double x0,
                   double step, int64_t first, int64_t count, double* out) {
  // The cursor only moves forward. With contiguous ascending bins, where
  // it stands after a cell depends on that cell alone and on no earlier
  // one, so the cells before `first` need not be walked: one cell before
  // it puts the cursor where a walk from cell 0 would.
  size_t i = 0;
  for (int64_t j = std::max<int64_t>(0, first - 1); j < first + count; ++j) {
    const double cellLo = x0 + (static_cast<double>(j) - 0.5) * step;
    const double cellHi = cellLo + step;
    double covered = step;
    double sum = 0.0;
    double value = 0.0;
    if (i < n && edges[i] >= cellHi) {
      value = 0.0;
    } else {
      while (i < n && edges[i + 1] < cellLo) ++i;
      if (i < n) {
        if (edges[i] > cellLo) covered = covered - (edges[i] - cellLo);
        bool inside = false;  // the cursor bin reaches past the cell
        while (edges[i] < cellHi) {
          const double s = edges[i];
          const double e = edges[i + 1];
          sum = sum + (std::min(e, cellHi) - std::max(s, cellLo)) / (e - s) *
                          v[i] * std::fabs(e - s);
          if (e >= cellHi) {
            inside = true;
            break;
          }
          if (i + 1 >= n) break;  // the last bin stays under the cursor
          ++i;
        }
        if (!inside && edges[i + 1] < cellHi) {
          covered = covered - (cellHi - edges[i + 1]);
        }
        if (covered < step && covered != 0.0) sum = sum * step / covered;
        value = sum / step;
      }
    }
    if (j >= first) out[j - first] = value;
  }
}

void MergeFrame(const double* r, const GluePlacement& placement,
                const int32_t* counts, GlueFrameView out) {
  const int64_t k = placement.k;
  const int64_t m = placement.count;
  const int64_t skip = placement.skip;
  int64_t i = 0;
  while (i < m) {
    const int64_t o = k + i;
    if (counts[o] == 0) {
      out[o] = r[i];
      ++i;
      continue;
    }
    // Kept: a run is "at the block's start" only when i equals skip, so a
    // block that began before the glued range does not fade in at o = 0.
    if (i != skip && o != 0 && counts[o - 1] != 0) {
      ++i;
      continue;
    }
    int64_t length = 0;
    while (i + length < m && counts[o + length] != 0) ++length;
    const bool atStart = i == skip;
    const bool reachesEnd = i + length == m;
    const double l = static_cast<double>(length);
    for (int64_t t = 0; t < length; ++t) {
      const double old = out[o + t];
      const double fresh = r[i + t];
      const double td = static_cast<double>(t);
      if (atStart && !reachesEnd) {
        out[o + t] = ((l - td) * old + (td + 1.0) * fresh) / (l + 1.0);
      } else if (reachesEnd && !atStart) {
        out[o + t] = ((td + 1.0) * old + (l - td) * fresh) / (l + 1.0);
      } else {
        out[o + t] = (old + fresh) * 0.5;
      }
    }
    i += length;
  }
}

void UpdateCoverage(const GluePlacement& placement, int32_t points,
                    int32_t* counts) {
  const int64_t k = placement.k;
  const int64_t m = placement.count;
  if (m <= 0) return;
  // Only zero versus non-zero matters to the merge; a count saturates
  // rather than wrap after 2^31 blocks.
  auto raise = [](int32_t& c) {
    if (c < INT32_MAX) ++c;
  };
  if (k > 0 && counts[k - 1] != 0 && counts[k] == 0) {
    counts[k] = -1;
  } else if (counts[k] != -1) {
    raise(counts[k]);
  }
  for (int64_t o = k + 1; o < k + m; ++o) {
    if (counts[o] == -1) {
      counts[o] = 2;
    } else {
      raise(counts[o]);
    }
  }
  if (k + m < points && counts[k + m] != 0 && counts[k + m - 1] == 1) {
    counts[k + m] = -1;
  }
}

}  // namespace kvx
