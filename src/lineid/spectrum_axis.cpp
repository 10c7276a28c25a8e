#include "lineid/spectrum_axis.h"

#include <cmath>
#include <limits>

#include "spectrograph/spectrograph_model.h"

namespace kvx {

NqeErrorCode SpectrumAxis::Set(const SpectrographModel& model,
                               const GratingOptics& optics, double center) {
  double effective = 0.0;
  NqeErrorCode code = EffectiveCenterFor(model, optics, center, &effective);
  if (code != NqeSuccess) return code;
  code = setting_.Prepare(model, effective, optics.inclusionAngle,
                          optics.detectorAngle, optics.focalLength);
  if (code != NqeSuccess) return code;
  origin_ = model.geometry.centerPixel + model.optics.centerPixelOffset;
  activeCenter_ =
      model.geometry.centerPixel + model.geometry.regionCenterOffset;
  center_ = center;
  dispersion_ =
      Wavelength(activeCenter_ + 0.5) - Wavelength(activeCenter_ - 0.5);
  // Without dispersion no pixel can be told from another.
  if (!(dispersion_ > 0.0) || !std::isfinite(dispersion_)) {
    return NqeWavelengthUnreachable;
  }
  return NqeSuccess;
}

double SpectrumAxis::Pixel(double wavelength) const {
  double pixel = activeCenter_ + (wavelength - center_) / dispersion_;
  for (int i = 0; i < 30; ++i) {
    const double value = Wavelength(pixel);
    const double slope = Wavelength(pixel + 0.5) - Wavelength(pixel - 0.5);
    if (!(slope > 0.0) || !std::isfinite(value)) break;
    const double step = (wavelength - value) / slope;
    pixel += step;
    if (std::fabs(step) < 1e-9) return pixel;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

}  // namespace kvx
