#include "lineid/autocal_records.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "lineid/autocal.h"
#include "lineid/lamp_lines.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {
namespace {

GratingOptics OpticsOf(const KvxAutocalResult& r) {
  return {r.focalLength, r.inclusionAngle, r.detectorAngle};
}

bool OpticsUsable(const GratingOptics& o) {
  return o.focalLength > 0.0 && std::isfinite(o.focalLength) &&
         std::isfinite(o.inclusionAngle) && std::isfinite(o.detectorAngle);
}

// A fixed parameter has no uncertainty.
double Sigma(double sigma, uint32_t fixed, uint32_t bit) {
  return (fixed & bit) != 0 ? 0.0 : sigma;
}

}  // namespace

NqeErrorCode GetLampLines(const char* path, const char* elements,
                          KvxLampLine* lines, int32_t capacity,
                          KvxLong* count) {
  if (count == nullptr || (capacity > 0 && lines == nullptr)) {
    return NqeNullPointer;
  }
  if (capacity < 0) return NqeBadNumber;
  std::vector<LampLine> all;
  const NqeErrorCode code = path == nullptr
                                ? ParseLampLines(BuiltInLampLineText(), &all)
                                : ReadLampLineFile(path, &all);
  if (code != NqeSuccess) return code;
  std::vector<LampLine> chosen;
  if (const NqeErrorCode c =
          SelectElements(all, elements == nullptr ? "" : elements, &chosen);
      c != NqeSuccess) {
    return c;
  }
  const size_t written = std::min(chosen.size(), static_cast<size_t>(capacity));
  for (size_t i = 0; i < written; ++i) {
    KvxLampLine out{};
    out.wavelength = chosen[i].wavelength;
    out.intensity = chosen[i].intensity;
    std::memcpy(out.element, chosen[i].element, sizeof out.element);
    lines[i] = out;
  }
  *count = static_cast<KvxLong>(chosen.size());
  return NqeSuccess;
}

NqeErrorCode InitAutocalOptions(KvxAutocalOptions* options) {
  if (options == nullptr) return NqeNullPointer;
  const AutocalOptions d;
  *options = KvxAutocalOptions{};
  options->searchPixels = d.searchPixels;
  options->dispersionTolerance = d.dispersionTolerance;
  options->blendPixels = d.blendPixels;
  options->thresholdPercent = d.thresholdPercent;
  options->matchPixels = d.matchPixels;
  options->minLines = d.minLines;
  options->fixedMask = d.fixed;
  return NqeSuccess;
}

NqeErrorCode AutoCalibrateRecords(
    const SpectrographModel& model, KvxAutocalSpectrum* spectra,
    int32_t spectrumCount, const KvxLampLine* lines, int32_t lineCount,
    const KvxAutocalOptions* options, KvxAutocalResult* result,
    KvxIdentifiedLine* identified, int32_t capacity) {
  if (spectra == nullptr || lines == nullptr || result == nullptr ||
      (capacity > 0 && identified == nullptr)) {
    return NqeNullPointer;
  }
  if (spectrumCount < 1 || lineCount < 1 || capacity < 0) return NqeBadNumber;
  AutocalOptions o;
  if (options != nullptr) {
    o.searchPixels = options->searchPixels;
    o.dispersionTolerance = options->dispersionTolerance;
    o.blendPixels = options->blendPixels;
    o.thresholdPercent = options->thresholdPercent;
    o.matchPixels = options->matchPixels;
    o.minLines = options->minLines;
    o.fixed = options->fixedMask;
  }
  std::vector<AutocalSpectrum> input(static_cast<size_t>(spectrumCount));
  for (size_t j = 0; j < input.size(); ++j) {
    input[j] = {spectra[j].counts, spectra[j].count, spectra[j].center};
  }
  std::vector<LampLine> lamp(static_cast<size_t>(lineCount));
  for (size_t i = 0; i < lamp.size(); ++i) {
    lamp[i].wavelength = lines[i].wavelength;
    lamp[i].intensity = lines[i].intensity;
    // The caller's name may lack its NUL: at most 7 characters are read.
    std::memcpy(lamp[i].element, lines[i].element, kElementChars - 1);
  }

  AutocalResult r;
  const NqeErrorCode code = AutoCalibrate(model, input, lamp, o, &r);
  *result = KvxAutocalResult{};
  result->failedSpectrum = r.failedSpectrum;
  for (size_t j = 0; j < input.size(); ++j) {
    KvxAutocalSpectrum& s = spectra[j];
    s.peaks = j < r.peaks.size() ? r.peaks[j] : 0;
    s.fittedCenter = 0.0;
    s.fittedCenterSigma = 0.0;
    s.linesUsed = 0;
  }
  if (code != NqeSuccess) return code;

  const GratingFitResult& fit = r.fit;
  result->focalLength = fit.optics.focalLength;
  result->inclusionAngle = fit.optics.inclusionAngle;
  result->detectorAngle = fit.optics.detectorAngle;
  result->focalLengthSigma =
      Sigma(fit.sigma.focalLength, r.fixed, kFixFocalLength);
  result->inclusionAngleSigma =
      Sigma(fit.sigma.inclusionAngle, r.fixed, kFixInclusionAngle);
  result->detectorAngleSigma =
      Sigma(fit.sigma.detectorAngle, r.fixed, kFixDetectorAngle);
  result->rmsNm = fit.rmsNm;
  result->rmsPixels = fit.rmsPixels;
  result->lineCount = static_cast<KvxLong>(r.lines.size());
  result->rejectedCount = fit.rejected;
  result->fixedMask = r.fixed;
  for (size_t j = 0; j < input.size(); ++j) {
    spectra[j].fittedCenter = fit.centers[j];
    spectra[j].fittedCenterSigma = fit.centerSigmas[j];
  }
  for (size_t i = 0; i < r.lines.size(); ++i) {
    const IdentifiedLine& line = r.lines[i];
    ++spectra[line.spectrum].linesUsed;
    if (i >= static_cast<size_t>(capacity)) continue;
    KvxIdentifiedLine out{};
    out.pixel = line.pixel;
    out.wavelength = line.wavelength;
    out.intensity = line.intensity;
    out.residualNm = line.residualNm;
    out.residualPixels = line.residualPixels;
    out.spectrum = line.spectrum;
    std::memcpy(out.element, line.element, sizeof out.element);
    identified[i] = out;
  }
  return NqeSuccess;
}

NqeErrorCode AutocalWavelengths(const SpectrographModel& model,
                                const KvxAutocalResult* result, double center,
                                double* wavelengths, int32_t count) {
  if (result == nullptr || wavelengths == nullptr) return NqeNullPointer;
  if (count < 1 || !OpticsUsable(OpticsOf(*result))) return NqeBadNumber;
  return FittedWavelengths(model, OpticsOf(*result), center, count,
                           wavelengths);
}

NqeErrorCode InstallAutocal(SpectrographModel& model,
                            const KvxAutocalResult* result) {
  if (result == nullptr) return NqeNullPointer;
  if (!OpticsUsable(OpticsOf(*result))) return NqeBadNumber;
  InstallFittedOptics(model, OpticsOf(*result));
  return NqeSuccess;
}

}  // namespace kvx
