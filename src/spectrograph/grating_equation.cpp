#include "spectrograph/grating_equation.h"

#include <cmath>

#include "detector/detector_store.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

NqeErrorCode GratingSetting::Prepare(const SpectrographModel& model,
                                     double center, double inclusion,
                                     double detectorAngle, double focalLength) {
  const WorkingOptics& optics = model.optics;
  center_ = center;
  flat_ = optics.order == 0 || optics.grooveDensity == 0.0;
  if (flat_) return NqeSuccess;
  const double order = static_cast<double>(optics.order);
  const double phi = inclusion * kHalfDegree;
  const double gamma = detectorAngle * kDegree;
  const double s =
      order * optics.grooveDensity * center * 1e-06 / (2.0 * std::cos(phi));
  // Negated so that a NaN center is refused too.
  if (!(std::fabs(s) < 1.0)) return NqeWavelengthUnreachable;
  const double theta = std::asin(s);
  const double alpha = theta - phi;
  pixelScale_ = optics.scaleFactor * model.geometry.pixelWidth;
  focalLength_ = focalLength;
  tilted_ = gamma != 0.0;
  cosGamma_ = std::cos(gamma);
  sinGamma_ = std::sin(gamma);
  thetaPlusPhi_ = theta + phi;
  sinAlpha_ = std::sin(alpha);
  wavelengthScale_ = 1000000.0 / (order * optics.grooveDensity);
  return NqeSuccess;
}

NqeErrorCode WavelengthAtPixel(const SpectrographModel& model, double center,
                               double pixelOffset, double inclusion,
                               double detectorAngle, double focalLength,
                               double* wavelength) {
  *wavelength = center;
  GratingSetting setting;
  const NqeErrorCode code =
      setting.Prepare(model, center, inclusion, detectorAngle, focalLength);
  if (code != NqeSuccess) return code;
  *wavelength = setting.At(pixelOffset);
  return NqeSuccess;
}

NqeErrorCode PixelWavelength(const SpectrographModel& model, double center,
                             double pixel, double* wavelength) {
  const WorkingOptics& optics = model.optics;
  return WavelengthAtPixel(
      model, center,
      pixel - (model.geometry.centerPixel + optics.centerPixelOffset),
      optics.inclusionAngle, optics.detectorAngle, optics.focalLength,
      wavelength);
}

NqeErrorCode PixelWavelengths(const SpectrographModel& model, double center,
                              int32_t count, double* wavelengths) {
  const WorkingOptics& optics = model.optics;
  GratingSetting setting;
  const NqeErrorCode code =
      setting.Prepare(model, center, optics.inclusionAngle,
                      optics.detectorAngle, optics.focalLength);
  if (code != NqeSuccess) return code;
  const double origin = model.geometry.centerPixel + optics.centerPixelOffset;
  for (int32_t i = 0; i < count; ++i) {
    wavelengths[i] = setting.At((static_cast<double>(i) + 1.0) - origin);
  }
  return NqeSuccess;
}

NqeErrorCode DataPointWavelength(const SpectrographModel& model, double center,
                                 double dataPoint, double* wavelength) {
  *wavelength = center;
  double pixel = 0.0;
  const DetectorStore* detectors = model.Detectors();
  if (detectors == nullptr) return NqeNullPointer;
  const NqeErrorCode code = detectors->DataPointToPixel(dataPoint, &pixel);
  if (code != NqeSuccess) return code;
  return PixelWavelength(model, center, pixel, wavelength);
}

NqeErrorCode TestWavelength(const SpectrographModel& model, double wavelength,
                            double* limit) {
  const WorkingOptics& optics = model.optics;
  const double phi = optics.inclusionAngle * kHalfDegree;
  const double q = kQuarterTurn - phi;
  // Written as negated comparisons so that a NaN angle is refused too.
  if (!(q >= 0.0) || !(q <= kQuarterTurn)) return NqeAngleOutOfRange;
  const double lines = static_cast<double>(optics.order) * optics.grooveDensity;
  const double reach =
      lines == 0.0 ? 0.0 : std::sin(q) * std::cos(phi) * 2000000.0 / lines;
  if (limit != nullptr) *limit = reach;
  // No lower bound (negative wavelengths, even -inf, pass); NaN never does.
  return wavelength <= reach ? NqeSuccess : NqeWavelengthUnreachable;
}

NqeErrorCode GratingRotationAngle(const SpectrographModel& model,
                                  double wavelength, double inclusion,
                                  double* angle) {
  if (angle == nullptr) return NqeNullPointer;
  const WorkingOptics& optics = model.optics;
  const double order = static_cast<double>(optics.order);
  // Degrees halved but taken as radians: the angle hosts have always read.
  const double s = order * optics.grooveDensity * wavelength * 1e-06 /
                   (2.0 * std::cos(inclusion * 0.5));
  if (!(std::fabs(s) < 1.0)) return NqeWavelengthUnreachable;
  *angle = std::asin(s);
  return NqeSuccess;
}

NqeErrorCode CenterResolution(const SpectrographModel& model,
                              double* resolution) {
  if (resolution == nullptr) return NqeNullPointer;
  const double c = model.geometry.centerPixel;
  const double center = model.center.effectiveCenter;
  double first = 0.0;
  double second = 0.0;
  NqeErrorCode code = PixelWavelength(model, center, c - 0.5, &first);
  if (code != NqeSuccess) return code;
  code = PixelWavelength(model, center, c + 0.5, &second);
  if (code != NqeSuccess) return code;
  *resolution = std::fabs(second - first);
  return NqeSuccess;
}

}  // namespace kvx
