#include "lineid/line_matching.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "peaks/peak_search.h"

namespace kvx {

std::vector<LinePeak> FindLinePeaks(const double* counts, int32_t count,
                                    double thresholdPercent) {
  std::vector<LinePeak> peaks;
  SpectrumData spectrum{};
  spectrum.data = const_cast<double*>(counts);  // read only
  spectrum.count = count;
  spectrum.dataType = 5;
  if (!PeakSearch::HasData(spectrum)) return peaks;
  PeakSearch search;
  search.LoadPeakData(spectrum, thresholdPercent);
  const int64_t n = search.Count();
  const double threshold = search.Threshold();
  int64_t i = 0;
  for (;;) {
    while (i < n && search.Curvature(i) <= threshold) ++i;
    if (i >= n) break;
    PeakSearch::Peak peak;
    const int64_t r = search.LocatePeak(i, &peak);
    if (r < 0) break;
    if (std::isfinite(peak.position)) {
      peaks.push_back({peak.position, peak.height});
    }
    i = r;
  }
  return peaks;
}

namespace {

// Gauss-Jordan on the 4x4 normal equations a | b; the solution is
// a[row][4] / a[row][row]. False when they are singular.
bool Eliminate(double (&a)[4][5]) {
  for (int col = 0; col < 4; ++col) {
    if (!(std::fabs(a[col][col]) > 0.0)) return false;
    for (int row = 0; row < 4; ++row) {
      if (row == col) continue;
      const double f = a[row][col] / a[col][col];
      for (int c = col; c < 5; ++c) a[row][c] -= f * a[col][c];
    }
  }
  return true;
}

}  // namespace

double NoiseLevel(const double* counts, int32_t count) {
  if (count < 3) return 0.0;
  std::vector<double> d(static_cast<size_t>(count - 2));
  for (int32_t k = 1; k + 1 < count; ++k) {
    d[static_cast<size_t>(k - 1)] =
        std::fabs(counts[k - 1] - 2.0 * counts[k] + counts[k + 1]);
  }
  auto middle = d.begin() + static_cast<std::ptrdiff_t>(d.size() / 2);
  std::nth_element(d.begin(), middle, d.end());
  // A second difference of white noise has sqrt(6) times its deviation;
  // 1.4826 turns a median absolute value into a deviation.
  return 1.4826 * *middle / std::sqrt(6.0);
}

double RefinePeak(const double* counts, int32_t count, double pixel,
                  double halfWindow, LinePeak* shape) {
  const auto first =
      std::max<int64_t>(1, static_cast<int64_t>(std::ceil(pixel - halfWindow)));
  const auto last = std::min<int64_t>(
      count, static_cast<int64_t>(std::floor(pixel + halfWindow)));
  const double failed = std::numeric_limits<double>::quiet_NaN();
  if (last - first < 4) return failed;
  // Parameters: baseline, amplitude, center, width.
  double p[4] = {std::min(counts[first - 1], counts[last - 1]), 0.0, pixel,
                 1.0};
  p[1] = counts[std::lround(pixel) - 1] - p[0];
  // The normal equations at p: with the residuals on the right while
  // fitting; for the center's variance weighted by the inverse of the
  // counts (photon noise, whatever the gain) with the center's unit vector
  // on the right.
  auto normal = [&](double(&a)[4][5], bool variance) {
    for (auto& row : a) std::fill(std::begin(row), std::end(row), 0.0);
    for (int64_t k = first; k <= last; ++k) {
      const double u = (k - p[2]) / p[3];
      const double g = std::exp(-0.5 * u * u);
      const double j[4] = {1.0, g, p[1] * g * u / p[3],
                           p[1] * g * u * u / p[3]};
      const double model = p[0] + p[1] * g;
      const double w = variance ? 1.0 / std::max(model, 1.0) : 1.0;
      for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 4; ++col) a[row][col] += w * j[row] * j[col];
        a[row][4] += variance ? 0.0 : j[row] * (counts[k - 1] - model);
      }
    }
    if (variance) a[2][4] = 1.0;
  };
  double a[4][5];
  double step = 1.0;
  for (int iteration = 0; iteration < 12 && !(step < 1e-6); ++iteration) {
    normal(a, false);
    if (!Eliminate(a)) return failed;
    for (int row = 0; row < 4; ++row) {
      const double d = a[row][4] / a[row][row];
      p[row] += d;
      if (row == 2) step = std::fabs(d);
    }
    if (!(p[3] > 0.2 && p[3] < halfWindow && p[1] > 0.0) ||
        !(std::fabs(p[2] - pixel) < 1.0)) {
      return failed;
    }
  }
  // Not settled: a profile the Gaussian does not describe.
  if (!(step < 1e-6)) return failed;
  if (shape != nullptr) {
    normal(a, true);
    shape->sigma = Eliminate(a) && a[2][4] / a[2][2] >= 0.0
                       ? std::sqrt(a[2][4] / a[2][2])
                       : failed;
    shape->amplitude = p[1];
    shape->width = p[3];
  }
  return p[2];
}

std::vector<Placement> SearchPlacements(std::span<const double> peaks,
                                        std::span<const double> lines,
                                        double maxShift, double scaleTolerance,
                                        double halfWidth, int keep) {
  // A scale step moves the detector's ends by half a pixel at most; shifts
  // fall into one-pixel bins and a coincidence counts in its bin and the
  // next, so a pair within about a pixel always meets in some bin.
  const double scaleStep = 0.5 / std::max(halfWidth, 1.0);
  const int scales = static_cast<int>(std::ceil(scaleTolerance / scaleStep));
  const int bins = static_cast<int>(std::ceil(2.0 * maxShift)) + 2;
  std::vector<int32_t> votes(static_cast<size_t>(bins));
  std::vector<Placement> best;
  for (int k = -scales; k <= scales; ++k) {
    const double scale = 1.0 + k * scaleStep;
    std::fill(votes.begin(), votes.end(), 0);
    for (const double p : peaks) {
      for (const double l : lines) {
        const double x = p - scale * l + maxShift;  // shift, from 0
        if (!(x >= 0.0 && x < bins - 1)) continue;
        const auto b = static_cast<size_t>(x);
        ++votes[b];
        ++votes[b + 1];
      }
    }
    for (int b = 0; b < bins; ++b) {
      const int32_t v = votes[static_cast<size_t>(b)];
      if (v == 0) continue;
      if (static_cast<int>(best.size()) == keep && v <= best.back().votes) {
        continue;
      }
      // The shift bin's center; bin b collected shifts in (b-1, b+1).
      const Placement candidate{b - maxShift, scale, v};
      // One candidate per neighbourhood: the stronger replaces the weaker.
      auto near =
          std::find_if(best.begin(), best.end(), [&](const Placement& q) {
            return std::fabs(q.shift - candidate.shift) < 3.0 &&
                   std::fabs(q.scale - candidate.scale) < 4.0 * scaleStep;
          });
      if (near != best.end()) {
        if (near->votes >= v) continue;
        best.erase(near);
      }
      auto at = std::find_if(best.begin(), best.end(),
                             [&](const Placement& q) { return q.votes < v; });
      best.insert(at, candidate);
      if (static_cast<int>(best.size()) > keep) best.pop_back();
    }
  }
  return best;
}

namespace {

// Index of the element of `sorted` nearest to x; -1 when empty.
int32_t Nearest(std::span<const double> sorted, double x) {
  if (sorted.empty() || std::isnan(x)) return -1;
  const auto it = std::lower_bound(sorted.begin(), sorted.end(), x);
  auto j = static_cast<int32_t>(it - sorted.begin());
  if (j == static_cast<int32_t>(sorted.size()) ||
      (j > 0 && x - sorted[j - 1] <= sorted[j] - x)) {
    --j;
  }
  return j;
}

}  // namespace

std::vector<LineMatch> MatchNearest(std::span<const double> peaks,
                                    std::span<const double> predicted,
                                    double tolerance) {
  std::vector<LineMatch> matches;
  for (int32_t i = 0; i < static_cast<int32_t>(predicted.size()); ++i) {
    const int32_t p = Nearest(peaks, predicted[i]);
    if (p < 0 || !(std::fabs(peaks[p] - predicted[i]) <= tolerance)) continue;
    // Only the line nearest to that peak takes it.
    if (Nearest(predicted, peaks[p]) == i) matches.push_back({p, i});
  }
  return matches;
}

bool FitPixelMap(std::span<const double> predicted,
                 std::span<const double> measured, int order, double scale,
                 PixelMap* map) {
  const int n = order + 1;
  if (static_cast<int>(predicted.size()) < n + 1) return false;
  double a[3][4] = {};
  for (size_t i = 0; i < predicted.size(); ++i) {
    const double t = predicted[i] / scale;
    const double basis[3] = {1.0, t, t * t};
    for (int r = 0; r < n; ++r) {
      for (int c = 0; c < n; ++c) a[r][c] += basis[r] * basis[c];
      a[r][3] += basis[r] * measured[i];
    }
  }
  // Gaussian elimination with partial pivoting on the small system.
  for (int col = 0; col < n; ++col) {
    int pivot = col;
    for (int r = col + 1; r < n; ++r) {
      if (std::fabs(a[r][col]) > std::fabs(a[pivot][col])) pivot = r;
    }
    if (!(std::fabs(a[pivot][col]) > 1e-12 * predicted.size())) return false;
    std::swap(a[col], a[pivot]);
    for (int r = 0; r < n; ++r) {
      if (r == col) continue;
      const double f = a[r][col] / a[col][col];
      for (int c = col; c < 4; ++c) a[r][c] -= f * a[col][c];
    }
  }
  PixelMap result;
  result.scale = scale;
  result.c[1] = 0.0;
  for (int r = 0; r < n; ++r) result.c[r] = a[r][3] / a[r][r];
  *map = result;
  return true;
}

}  // namespace kvx
