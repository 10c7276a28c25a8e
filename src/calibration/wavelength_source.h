// The questions the calibration store asks of the grating model in automatic
// mode. The store holds this narrow interface instead of the model's class,
// so the two do not depend on each other's internals.
#pragma once

#include "KelvoCalibrate.h"

namespace kvx {

class WavelengthSource {
 public:
  // Wavelength (nm) of a pixel / data point at the effective center.
  virtual NqeErrorCode EffectiveWavelengthAtPixel(double pixel,
                                                  double* wavelength) const = 0;
  virtual NqeErrorCode EffectiveWavelengthAtDataPoint(
      double dataPoint, double* wavelength) const = 0;

 protected:
  ~WavelengthSource() = default;
};

}  // namespace kvx
