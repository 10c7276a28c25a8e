// The synthetic instrument of the fits (tools/fit_synthetic.h) in a handle
// owned by one test.
#pragma once

#include "../../tools/fit_synthetic.h"
#include "support/test_handle.h"

namespace kvx_fit_test {

using namespace fit_synthetic;

struct Instrument : kvx_test::Handle {
  explicit Instrument(double offset = 0.0) : Handle(CalibModeAutomatic) {
    EXPECT_TRUE(LoadNominal(*this, offset));
  }
};

// Worst pixel error of a fit at `fitted` against the truth at `center`.
inline double WorstError(CalibHandle h, const KvxGratingFit& fit, double fitted,
                         const Optics& truth, double center,
                         bool relative = false) {
  return WorstPixelError(Fitted(h, fit, fitted), truth, center, relative);
}

}  // namespace kvx_fit_test
