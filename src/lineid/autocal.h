// Automatic calibration from lamp spectra: find the peaks of each spectrum,
// name them with lines of the lamp's list although the spectrum may sit
// tens of pixels away from where the nominal optics put it and the nominal
// dispersion may be a few percent off, and fit the grating model to the
// named lines (optics shared by all spectra, one center per spectrum).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "KelvoCalibrate.h"
#include "fit/grating_fit.h"
#include "lineid/lamp_lines.h"

namespace kvx {

class SpectrographModel;

struct AutocalSpectrum {
  const double* counts = nullptr;  // counts of pixels 1..count
  int32_t count = 0;               // the active detector's pixel count
  double center = 0.0;             // requested center wavelength, nm
};

struct AutocalOptions {
  double searchPixels = 50.0;         // how far a spectrum may sit off, px
  double dispersionTolerance = 0.05;  // how far the dispersion may be off
  double blendPixels = 2.5;  // lines closer than this are not told apart
  // Peak search threshold, % of the strongest peak's curvature. Low
  // enough to find the faint lines near the detector's ends, which pin the
  // axis there; lower, noise peaks crowd the windows of real ones.
  double thresholdPercent = 0.5;
  double matchPixels = 0.5;  // a named line lies this close to the model
  int32_t minLines = 5;      // fewer named lines in all: no calibration
  // Held at the nominal values (GratingFitFixed bits). The inclusion angle
  // by default: across one detector it trades almost exactly against the
  // focal length and the detector angle, so the lines cannot pin it down,
  // and it is the best known constant of a spectrograph.
  uint32_t fixed = kFixInclusionAngle;
};

struct IdentifiedLine {
  double pixel = 0.0;       // peak position
  double wavelength = 0.0;  // the list's wavelength, nm
  double intensity = 0.0;   // the list's relative intensity
  double residualNm = 0.0;  // wavelength - fitted model at the pixel
  double residualPixels = 0.0;
  int32_t spectrum = 0;
  char element[kElementChars] = {};
};

struct AutocalResult {
  GratingFitResult fit;               // optics, centers, sigmas, rms
  std::vector<IdentifiedLine> lines;  // by spectrum, then by pixel
  std::vector<int32_t> peaks;         // peaks found per spectrum
  uint32_t fixed = 0;                 // parameters held in the final fit
  int32_t failedSpectrum = -1;        // the spectrum a failure concerns
};

// Identifies and fits; the model is read, not changed.
// 0; 11000 null result, no spectrum or a spectrum without counts; 11019 a
// spectrum whose count differs from the detector's pixels; 11047 an option
// out of range; 11065 a center the grating cannot reach; 11120 a spectrum
// with fewer than 3 peaks, or fewer peaks in all than minLines; 11121 no
// placement of the lines explains the peaks (fewer than minLines lines, a
// spectrum with fewer than 2, or fewer than 3 of a spectrum's 8
// strongest peaks named); the grating fit's codes (11027, 11100).
// failedSpectrum names the spectrum of an 11019, 11065, 11120 or 11121 where
// there is one.
NqeErrorCode AutoCalibrate(const SpectrographModel& model,
                           std::span<const AutocalSpectrum> spectra,
                           std::span<const LampLine> lamp,
                           const AutocalOptions& options,
                           AutocalResult* result);

}  // namespace kvx
