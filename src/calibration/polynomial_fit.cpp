// Least-squares polynomial fit (normal equations, Gauss-Jordan elimination
// without pivoting) and its Horner evaluation. Both run per calibration or
// per pixel: fixed-size storage, no allocation.
#include "calibration/polynomial_fit.h"

#include <cmath>

namespace kvx {
namespace {

constexpr int32_t kMaxOrder = 5;
constexpr int kRows = kMaxOrder + 1;
constexpr int kColumns = kMaxOrder + 2;

}  // namespace

NqeErrorCode FitPolynomial(const double* x, const double* y, int32_t n,
                           int32_t order, double* coefficients) {
  if (order < 1 || order > kMaxOrder) return NqeBadPolyOrder;
  if (n <= order) return NqeTooFewCalibrationPoints;
  // Internal callers always pass their arrays; refuse rather than read null.
  if (x == nullptr || y == nullptr || coefficients == nullptr) {
    return NqeNullPointer;
  }

  // Rows and columns 0..order hold the normal matrix, column order + 1 the
  // right-hand side; the rest stays zero.
  double a[kRows][kColumns] = {};
  const int rhs = order + 1;
  for (int32_t p = 0; p < n; ++p) {
    const double xp = x[p];
    const double yp = y[p];
    for (int i = 0; i <= order; ++i) {
      for (int j = 0; j <= order; ++j) {
        a[i][j] += (i == 0 && j == 0) ? 1.0 : std::pow(xp, double(i + j));
      }
      a[i][rhs] += i == 0 ? yp : std::pow(xp, double(i)) * yp;
    }
  }

  for (int k = 0; k <= order; ++k) {
    if (a[k][k] == 0.0) {
      // A singular system still succeeds: the elimination stops here and the
      // coefficients are read from the partly eliminated right-hand side.
      // Hosts rely on getting numbers (not an error) for degenerate points.
      for (int r = k; r <= order; ++r) a[r][order] = 0.0;
      break;
    }
    // Column k and the pivot are left as they are; the later columns of row
    // k are divided by the pivot and eliminated from every other row.
    for (int c = k + 1; c < kColumns; ++c) {
      a[k][c] = a[k][c] / a[k][k];
      for (int r = 0; r <= order; ++r) {
        if (r != k) a[r][c] = a[r][c] - a[k][c] * a[r][k];
      }
    }
  }

  for (int i = 0; i <= order; ++i) coefficients[i] = a[i][rhs];
  return NqeSuccess;
}

double EvaluatePolynomial(const CalibrationRecord& record, double p) {
  if (record.polyOrder < 0) return 0.0;
  // A record that skipped validation may carry an order above 5; it is
  // evaluated as order 5 so nothing past coefficients[5] is read.
  const int32_t order =
      record.polyOrder > kMaxOrder ? kMaxOrder : int32_t(record.polyOrder);
  double value = record.coefficients[order];
  for (int32_t i = order - 1; i >= 0; --i) {
    value = value * p + record.coefficients[i];
  }
  return value;
}

}  // namespace kvx
