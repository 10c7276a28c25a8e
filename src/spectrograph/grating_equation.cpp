#include "spectrograph/grating_equation.h"

#include <cmath>

#include "detector/detector_store.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

NqeErrorCode WavelengthAtPixel(const SpectrographModel& model, double center,
                               double pixelOffset, double inclusion,
                               double detectorAngle, double focalLength,
                               double* wavelength) {
  *wavelength = center;
  const WorkingOptics& optics = model.optics;
  const double order = static_cast<double>(optics.order);
  if (optics.order == 0 || optics.grooveDensity == 0.0) return NqeSuccess;
  const double phi = inclusion * kHalfDegree;
  const double gamma = detectorAngle * kDegree;
  const double s =
      order * optics.grooveDensity * center * 1e-06 / (2.0 * std::cos(phi));
  if (!(std::fabs(s) < 1.0)) return NqeWavelengthUnreachable;
  const double theta = std::asin(s);
  const double alpha = theta - phi;
  const double x =
      optics.scaleFactor * model.geometry.pixelWidth * pixelOffset * 0.001;
  const double delta =
      gamma == 0.0
          ? std::atan(x / focalLength)
          : std::atan(x * std::cos(gamma) / (focalLength + x * std::sin(gamma)));
  const double beta = theta + phi + delta;
  *wavelength = (std::sin(alpha) + std::sin(beta)) *
                (1000000.0 / (order * optics.grooveDensity));
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
  return wavelength <= reach ? NqeSuccess : NqeWavelengthUnreachable;
}

}  // namespace kvx
