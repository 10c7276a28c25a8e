// The monochromator form of the grating equation: the wavelength that a
// pixel sees when the grating is set for a center wavelength, from the
// model's working optics and detector geometry.
#pragma once

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

// Half a degree, one degree and a quarter turn as the instrument firmware
// derives them from pi = 3.141592653 (not correctly rounded; keep them).
inline constexpr double kHalfDegree = 0.008726646258333333;
inline constexpr double kDegree = 0.017453292516666667;
inline constexpr double kQuarterTurn = 1.5707963265;

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

// The data-point form: writes `center`, maps the data point to a pixel
// (its failure is returned), then the pixel form.
NqeErrorCode DataPointWavelength(const SpectrographModel& model, double center,
                                 double dataPoint, double* wavelength);

// The rotation limit: 11069 for an inclusion angle outside 0..180 degrees
// (limit untouched), else 11065 when wavelength > limit. `limit` may be null.
NqeErrorCode TestWavelength(const SpectrographModel& model, double wavelength,
                            double* limit);

}  // namespace kvx
