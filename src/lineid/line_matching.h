// The pieces of line identification that know nothing of the optics: the
// peaks of a lamp spectrum, the search over shift and scale that lines up
// predicted line pixels with peaks, one-to-one matching, and the quadratic
// pixel map refined from matched pairs.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kvx {

struct LinePeak {
  double pixel = 0.0;      // 1-based, sub-pixel
  double height = 0.0;     // curvature at the peak: its strength
  double sigma = 0.0;      // uncertainty of the pixel (see RefinePeak)
  double amplitude = 0.0;  // counts above the baseline (see RefinePeak)
  double width = 0.0;      // the Gaussian's standard deviation, pixels
};

// Every peak of the library's peak search (threshold in percent of the
// largest curvature), in pixel order.
std::vector<LinePeak> FindLinePeaks(const double* counts, int32_t count,
                                    double thresholdPercent);

// The standard deviation of the counts' noise where no line is: from the
// median absolute second difference, which lines (a few percent of the
// samples) barely move. 0 for fewer than 3 samples.
double NoiseLevel(const double* counts, int32_t count);

// The peak's center from a least-squares Gaussian on a constant baseline
// over the samples within `halfWindow` pixels of `pixel`: symmetric, so the
// profile's sampling does not pull it. NaN when the fit fails, does not
// settle, or moves by a pixel or more: the peak search put the peak where
// no single line profile is (a weak line on a strong one's tail, a blend).
// With `shape`, its sigma, amplitude and width are written: sigma is the
// center's standard uncertainty for photon noise, in pixels when the counts
// are photons, in proportion to it for any other gain (NaN if it cannot be
// had).
double RefinePeak(const double* counts, int32_t count, double pixel,
                  double halfWindow, LinePeak* shape = nullptr);

// A placement of the predicted pixels: measured = center + shift +
// scale * (predicted - center), as offsets from the center pixel.
struct Placement {
  double shift = 0.0;
  double scale = 1.0;
  int32_t votes = 0;
};

// The placements with the most peak-line coincidences (within about a
// pixel) for |shift| <= maxShift and |scale - 1| <= scaleTolerance, best
// first, at most `keep`. peaks and lines are offsets from the center pixel;
// halfWidth is half the detector in pixels (it sets the scale step).
std::vector<Placement> SearchPlacements(std::span<const double> peaks,
                                        std::span<const double> lines,
                                        double maxShift, double scaleTolerance,
                                        double halfWidth, int keep);

struct LineMatch {
  int32_t peak = 0;  // index into the peaks
  int32_t line = 0;  // index into the predicted lines
};

// Pairs of a predicted line and a peak that are each other's nearest and
// closer than `tolerance`. Both spans ascend and hold finite values.
std::vector<LineMatch> MatchNearest(std::span<const double> peaks,
                                    std::span<const double> predicted,
                                    double tolerance);

// measured = c0 + c1 t + c2 t^2 with t = predicted / scale, least squares;
// `order` 1 or 2. False when the pairs cannot determine it.
struct PixelMap {
  double c[3] = {0.0, 1.0, 0.0};
  double scale = 1.0;
  double operator()(double predicted) const {
    const double t = predicted / scale;
    return c[0] + (c[1] + c[2] * t) * t;
  }
};
bool FitPixelMap(std::span<const double> predicted,
                 std::span<const double> measured, int order, double scale,
                 PixelMap* map);

}  // namespace kvx
