// The monochromator form of the grating equation: the wavelength that a
// pixel sees when the grating is set for a center wavelength, from the
// model's working optics and detector geometry.
#pragma once

#include <cmath>
#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

// Half a degree, one degree and a quarter turn as the instrument firmware
// derives them from pi = 3.141592653 (not correctly rounded; keep them).
inline constexpr double kHalfDegree = 0.008726646258333333;
inline constexpr double kDegree = 0.017453292516666667;
inline constexpr double kQuarterTurn = 1.5707963265;

// The grating turned to one center wavelength: everything of the equation
// that does not depend on the pixel, computed once. WavelengthAtPixel is
// Prepare + At, so a loop over pixels that prepares once gives, pixel for
// pixel, the very bits of single-pixel calls.
class GratingSetting {
 public:
  // 11065 when the grating cannot be turned to `center`; At must not be
  // used then. Order or groove density 0 make every pixel see the center.
  NqeErrorCode Prepare(const SpectrographModel& model, double center,
                       double inclusion, double detectorAngle,
                       double focalLength);

  // Wavelength at `pixelOffset` pixels from the center of the focal plane.
  double At(double pixelOffset) const {
    if (flat_) return center_;
    const double x = pixelScale_ * pixelOffset * 0.001;
    const double delta =
        tilted_ ? std::atan(x * cosGamma_ / (focalLength_ + x * sinGamma_))
                : std::atan(x / focalLength_);
    const double beta = thetaPlusPhi_ + delta;
    return (sinAlpha_ + std::sin(beta)) * wavelengthScale_;
  }

 private:
  bool flat_ = true;  // order or groove density 0: every pixel is the center
  bool tilted_ = false;
  double center_ = 0.0;
  double pixelScale_ = 0.0;  // K * w
  double focalLength_ = 0.0;
  double cosGamma_ = 1.0;
  double sinGamma_ = 0.0;
  double thetaPlusPhi_ = 0.0;
  double sinAlpha_ = 0.0;
  double wavelengthScale_ = 0.0;  // 1e6 / (m G)
};

// Wavelength at `pixelOffset` pixels from the center of the focal plane for
// the center wavelength `center`; inclusion and detector angle in degrees,
// focal length in mm. Writes `center` first; 11065 when the grating cannot
// be turned to `center`.
NqeErrorCode WavelengthAtPixel(const SpectrographModel& model, double center,
                               double pixelOffset, double inclusion,
                               double detectorAngle, double focalLength,
                               double* wavelength);

// The pixel form: offset pixel - (c + o), the working angles and focal length.
NqeErrorCode PixelWavelength(const SpectrographModel& model, double center,
                             double pixel, double* wavelength);

// The pixel form for pixels 1..count into wavelengths[0..count-1], bit for
// bit as PixelWavelength. The failure (11065) concerns every pixel alike;
// nothing is written then.
NqeErrorCode PixelWavelengths(const SpectrographModel& model, double center,
                              int32_t count, double* wavelengths);

// The data-point form: writes `center`, maps the data point to a pixel
// (its failure is returned), then the pixel form.
NqeErrorCode DataPointWavelength(const SpectrographModel& model, double center,
                                 double dataPoint, double* wavelength);

// The rotation limit: 11069 for an inclusion angle outside 0..180 degrees
// (limit untouched), else 11065 when wavelength > limit. `limit` may be null.
NqeErrorCode TestWavelength(const SpectrographModel& model, double wavelength,
                            double* limit);

// The grating rotation angle (radians) for a wavelength, with the inclusion
// angle in degrees halved but not converted before its cosine, as hosts of
// this interface have always received it. 11065 when |sin| >= 1 (output
// untouched).
NqeErrorCode GratingRotationAngle(const SpectrographModel& model,
                                  double wavelength, double inclusion,
                                  double* angle);

// Nanometres per pixel at the detector center for the effective center.
NqeErrorCode CenterResolution(const SpectrographModel& model,
                              double* resolution);

}  // namespace kvx
