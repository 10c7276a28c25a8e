// Least-squares polynomial fit and its evaluation.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

// Fits y = c0 + c1 x + ... + c_order x^order to n points by the normal
// equations, solved by Gauss-Jordan elimination without pivoting. Writes
// coefficients[0..order]. 11025 for an order outside 1..5, 11027 when n is
// not above the order.
NqeErrorCode FitPolynomial(const double* x, const double* y, int32_t n,
                           int32_t order, double* coefficients);

// Horner evaluation of the record's polynomial at p; 0.0 for a negative
// order.
double EvaluatePolynomial(const CalibrationRecord& record, double p);

}  // namespace kvx
