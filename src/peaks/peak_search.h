// The working state of one peak search: the spectrum's samples as doubles,
// their curvature (a negated second difference with a step of two samples),
// the detection threshold, and the location of single peaks.
//
// The curvature is not stored: every reader computes c[k] from the samples
// with one expression, so each value is the same wherever it is read, and a
// search touches half the memory it would with a second array.
#pragma once

#include <cstdint>
#include <memory>

#include "KelvoCalibrate.h"

namespace kvx {

class PeakSearch {
 public:
  struct Peak {
    // 1-based data point where the peak's baseline-corrected area is split
    // in half. Stays 0.0 when LocatePeak finds no valley after the start.
    double position = 0.0;
    double height = 0.0;  // largest curvature over the peak
  };

  // The vector passes a load can take. kAuto takes the widest this
  // processor runs; kBaseline is the 2-lane SSE2 pass (the scalar code
  // alone where SSE2 is absent). All give bit-identical results.
  enum class Path { kAuto, kBaseline, kAvx2, kAvx512 };

  // True when this build and processor can run `path`.
  static bool Supports(Path path);
  // For tests and benchmarks only: makes every later load in this copy of
  // the code take `path` (kAuto restores the choice by processor). False,
  // and nothing changed, when the path is not supported.
  static bool ForcePath(Path path);

  // True when the spectrum carries samples (data not null, count above 0;
  // a negative count means no samples).
  static bool HasData(const SpectrumData& spectrum);

  // Converts the samples to doubles by value (unsigned types as unsigned)
  // and, in the same pass, finds the largest curvature (never below 0.0)
  // and the threshold: that maximum times thresholdPercent / 100. Samples
  // of an unknown type load as zeros, so such a spectrum has no peaks.
  // HasData must hold.
  void LoadPeakData(const SpectrumData& spectrum, double thresholdPercent);

  // The same conversion without the curvature (threshold 0.0): what loading
  // the samples alone costs, for the benchmarks.
  void LoadSamples(const SpectrumData& spectrum);

  int64_t Count() const { return n_; }
  const double* Samples() const { return d_.get(); }
  double Threshold() const { return threshold_; }
  double Curvature(int64_t k) const {
    const int64_t below = k >= 2 ? k - 2 : 0;
    const int64_t above = k + 2 < n_ ? k + 2 : n_ - 1;
    return 2.0 * d_[k] - d_[below] - d_[above];
  }

  // Locates the peak that follows index s: its closing valley r (returned),
  // its height and position. -1 when no valley follows s (peak unchanged).
  // The last sample has no right neighbour and is never a valley.
  int64_t LocatePeak(int64_t s, Peak* peak) const;

 private:
  // Converts the samples; with kCurvature also sets the threshold.
  template <bool kCurvature>
  void Load(const SpectrumData& spectrum, double thresholdPercent);

  std::unique_ptr<double[]> d_;
  int64_t n_ = 0;
  double threshold_ = 0.0;
};

}  // namespace kvx
