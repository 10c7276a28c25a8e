// The wavelength axis of one spectrum under a given set of optics, with the
// library's convention that the spectrum's center wavelength falls on the
// center of the active pixel range; both directions, pixel to wavelength
// and wavelength to pixel.
#pragma once

#include "KelvoCalibrate.h"
#include "fit/grating_fit.h"
#include "spectrograph/grating_equation.h"

namespace kvx {

class SpectrographModel;

class SpectrumAxis {
 public:
  // 11065 when the grating cannot be turned to the center, or the model has
  // no dispersion (order or groove density 0).
  NqeErrorCode Set(const SpectrographModel& model, const GratingOptics& optics,
                   double center);

  double Wavelength(double pixel) const { return setting_.At(pixel - origin_); }
  // The pixel that sees `wavelength` (Newton steps on the equation); NaN
  // when the wavelength lies beyond what the grating diffracts.
  double Pixel(double wavelength) const;
  double ActiveCenter() const { return activeCenter_; }
  double Dispersion() const { return dispersion_; }  // nm per pixel, > 0

 private:
  GratingSetting setting_;
  double origin_ = 0.0;        // center pixel plus offset: pixel offset 0
  double activeCenter_ = 0.0;  // center of the active pixel range
  double center_ = 0.0;
  double dispersion_ = 0.0;
};

}  // namespace kvx
