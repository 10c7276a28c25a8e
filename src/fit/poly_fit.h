// Polynomial calibrations from any number of points: order 0 to 9 in the
// Chebyshev basis of the abscissa scaled to [-1, 1], solved by QR (never by
// the normal equations), with the robust rejection of the grating fit,
// coefficient covariance and per-point residuals.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibrationStore;

inline constexpr int32_t kMaxFitOrder = 9;
inline constexpr int kFitTerms = kMaxFitOrder + 1;

struct PolyFitOptions {
  // As GratingFitOptions, with the floor in units of y.
  double clipSigmas = 4.0;
  double clipFloor = 0.0;
};

struct PolyFitResult {
  int32_t order = 0;
  double xCenter = 0.0;  // t = (x - xCenter) / xHalfRange
  double xHalfRange = 1.0;
  std::array<double, kFitTerms> coefficients{};  // of T0(t)..T9(t)
  std::array<double, kFitTerms> sigmas{};        // -1.0: undetermined
  // Row-major (order+1) x (order+1) in the leading corner of 10 x 10.
  std::array<double, kFitTerms * kFitTerms> covariance{};
  std::vector<double> fitted;     // per point, in the order given
  std::vector<double> residuals;  // y - fitted
  std::vector<uint8_t> rejected;
  double rms = 0.0;  // over the points used
  int32_t used = 0;
  int32_t rejectedCount = 0;

  double Evaluate(double x) const;
};

// 11000 null result; 11025 order outside 0..9; 11027 fewer points than
// order + 1 (also after rejection); 11016 a non-finite x or y, or all x
// equal with an order above 0.
NqeErrorCode FitOrthogonalPolynomial(std::span<const double> x,
                                     std::span<const double> y, int32_t order,
                                     const PolyFitOptions& options,
                                     PolyFitResult* result);

// The fit as a per-pixel table calibration (nanometres, table[i] = value at
// pixel i + 1, one entry per data point) added to the store and made
// active. The store's validation decides (11010, 11034, ...); `newId`
// receives the new calibration's ID (0 on failure).
NqeErrorCode InstallPolynomialTable(CalibrationStore& store,
                                    const PolyFitResult& fit, uint32_t* newId);

}  // namespace kvx
