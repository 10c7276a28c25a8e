#include "fit/poly_fit.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <vector>

#include "calibration/calibration_store.h"
#include "detector/detector_store.h"
#include "fit/robust_clip.h"

namespace kvx {

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

// Rejection never goes below this fraction of the largest |y|: exact data
// would otherwise reject points over rounding noise.
constexpr double kMinRelativeClipFloor = 1e-9;

// Chebyshev polynomials T0..T_order at t into row `row` of `a`.
void BasisRow(double t, int32_t order, MatrixXd& a, Index row) {
  double previous = 1.0;
  double current = t;
  a(row, 0) = 1.0;
  if (order >= 1) a(row, 1) = t;
  for (int32_t k = 2; k <= order; ++k) {
    const double next = 2.0 * t * current - previous;
    a(row, k) = next;
    previous = current;
    current = next;
  }
}

NqeErrorCode CheckInput(std::span<const double> x, std::span<const double> y,
                        int32_t order) {
  if (order < 0 || order > kMaxFitOrder) return NqeBadPolyOrder;
  if (x.size() != y.size() || x.size() < static_cast<size_t>(order) + 1) {
    return NqeTooFewCalibrationPoints;
  }
  for (size_t i = 0; i < x.size(); ++i) {
    if (!std::isfinite(x[i]) || !std::isfinite(y[i])) {
      return NqePointOutOfRange;
    }
  }
  return NqeSuccess;
}

}  // namespace

double PolyFitResult::Evaluate(double x) const {
  // Clenshaw's recurrence for the Chebyshev series.
  const double t = (x - xCenter) / xHalfRange;
  double b1 = 0.0;
  double b2 = 0.0;
  for (int32_t k = order; k >= 1; --k) {
    const double b0 = 2.0 * t * b1 - b2 + coefficients[static_cast<size_t>(k)];
    b2 = b1;
    b1 = b0;
  }
  return t * b1 - b2 + coefficients[0];
}

NqeErrorCode FitOrthogonalPolynomial(std::span<const double> x,
                                     std::span<const double> y, int32_t order,
                                     const PolyFitOptions& options,
                                     PolyFitResult* result) {
  if (result == nullptr) return NqeNullPointer;
  if (const NqeErrorCode code = CheckInput(x, y, order); code != NqeSuccess) {
    return code;
  }
  const size_t n = x.size();
  const auto [low, high] = std::minmax_element(x.begin(), x.end());
  const double center = 0.5 * (*low + *high);
  double half = 0.5 * (*high - *low);
  if (half == 0.0) {
    if (order > 0) return NqePointOutOfRange;  // one abscissa fits a constant
    half = 1.0;
  }
  double yScale = 0.0;
  for (double v : y) yScale = std::max(yScale, std::fabs(v));
  const ClipRule rule{
      options.clipSigmas,
      std::max(options.clipFloor, kMinRelativeClipFloor * yScale)};
  const int32_t terms = order + 1;

  MatrixXd basis(static_cast<Index>(n), terms);
  for (size_t i = 0; i < n; ++i) {
    BasisRow((x[i] - center) / half, order, basis, static_cast<Index>(i));
  }

  std::vector<uint8_t> rejected(n, 0);
  std::vector<double> residuals(n, 0.0);
  VectorXd coefficients;
  Eigen::ColPivHouseholderQR<MatrixXd> qr;
  MatrixXd a;
  VectorXd b;
  for (size_t round = 0;; ++round) {
    std::vector<Index> rows;
    for (size_t i = 0; i < n; ++i) {
      if (!rejected[i]) rows.push_back(static_cast<Index>(i));
    }
    const Index m = static_cast<Index>(rows.size());
    a.resize(m, terms);
    b.resize(m);
    for (Index r = 0; r < m; ++r) {
      a.row(r) = basis.row(rows[static_cast<size_t>(r)]);
      b[r] = y[static_cast<size_t>(rows[static_cast<size_t>(r)])];
    }
    qr.compute(a);
    // Fewer distinct abscissae than terms.
    if (qr.rank() < terms) return NqeTooFewCalibrationPoints;
    coefficients = qr.solve(b);
    const VectorXd all = basis * coefficients;
    for (size_t i = 0; i < n; ++i) {
      residuals[i] = y[i] - all[static_cast<Index>(i)];
    }
    if (round >= 2 * n + 2 || !ClipStep(residuals, rule, terms, &rejected)) {
      break;
    }
  }

  PolyFitResult& out = *result;
  out = PolyFitResult{};
  out.order = order;
  out.xCenter = center;
  out.xHalfRange = half;
  out.fitted.resize(n);
  out.residuals = residuals;
  out.rejected = rejected;
  double sum = 0.0;
  for (size_t i = 0; i < n; ++i) {
    out.fitted[i] = y[i] - residuals[i];
    if (rejected[i]) {
      ++out.rejectedCount;
    } else {
      ++out.used;
      sum += residuals[i] * residuals[i];
    }
  }
  out.rms = std::sqrt(sum / out.used);
  for (int32_t k = 0; k < terms; ++k) {
    out.coefficients[static_cast<size_t>(k)] = coefficients[k];
  }

  // Covariance s^2 (A^T A)^-1 = s^2 P R^-1 R^-T P^T from the QR factors.
  // Without a degree of freedom it is undetermined: sigmas -1.0,
  // covariance 0.
  out.sigmas.fill(-1.0);
  const Index m = a.rows();
  if (m > terms) {
    const MatrixXd r =
        qr.matrixR().topLeftCorner(terms, terms).triangularView<Eigen::Upper>();
    const MatrixXd rInverse = r.triangularView<Eigen::Upper>().solve(
        MatrixXd::Identity(terms, terms));
    const MatrixXd covariance = qr.colsPermutation() * rInverse *
                                rInverse.transpose() *
                                qr.colsPermutation().transpose();
    const double s2 = sum / static_cast<double>(m - terms);
    for (int32_t i = 0; i < terms; ++i) {
      for (int32_t j = 0; j < terms; ++j) {
        out.covariance[static_cast<size_t>(i * kFitTerms + j)] =
            s2 * covariance(i, j);
      }
      out.sigmas[static_cast<size_t>(i)] = std::sqrt(s2 * covariance(i, i));
    }
  }
  return NqeSuccess;
}

NqeErrorCode InstallPolynomialTable(CalibrationStore& store,
                                    const PolyFitResult& fit, uint32_t* newId) {
  if (newId != nullptr) *newId = 0;
  DetectorStore* detectors = store.Detectors();
  int32_t count = 0;
  if (detectors == nullptr ||
      detectors->CountDataPoints(&count) != NqeSuccess) {
    return NqeNoActiveDetector;
  }
  if (count <= 0) return NqeNoPixels;
  // The store looks a table up by pixel (entry i at pixel i + 1).
  std::vector<double> table(static_cast<size_t>(count));
  for (int32_t i = 0; i < count; ++i) {
    table[static_cast<size_t>(i)] = fit.Evaluate(static_cast<double>(i) + 1.0);
  }
  CalibrationRecord record;
  CalibrationStore::DefaultRecord(&record);
  const int32_t tableUnit =
      static_cast<int32_t>(KVX_CALIB_TABLE_FLAG | CalibUnitNanometers);
  record.inputUnit = tableUnit;
  record.displayUnit = tableUnit;
  record.table = table.data();
  record.tableLength = count;
  // The store copies the table; ours is released on return.
  uint32_t id = 0;
  const NqeErrorCode code =
      store.AddCalibration(&record, static_cast<int32_t>(sizeof record), &id);
  if (code != NqeSuccess) return code;
  if (newId != nullptr) *newId = id;
  return store.SetActiveCalibrationId(id);
}

}  // namespace kvx
