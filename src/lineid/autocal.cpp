#include "lineid/autocal.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "lineid/line_matching.h"
#include "lineid/spectrum_axis.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {
namespace {

// Peaks this close to either end of the detector may be cut lines with a
// biased position; lines predicted there are not looked for.
constexpr double kEdgePixels = 3.0;
// Only the strongest peaks vote on the placement (noise and faint lines
// add coincidences, not evidence).
constexpr size_t kVotingPeaks = 40;
// Half the window of the Gaussian that refines each peak's center: about
// three widths of the broadest lines expected.
constexpr double kPeakWindow = 4.5;
constexpr int kPlacements = 12;
// Lines weigh in the fit by the precision of their peaks (a faint line's
// peak is found several times less precisely than a strong one's), up to
// that of a peak found to this (pixels): beyond it the line's profile, not
// the noise, limits how well a peak stands for its line.
constexpr double kMinPeakSigma = 0.007;
// A neighbour this much weaker than a line moves its peak too little to
// matter; a stronger one makes the pair a blend.
constexpr double kBlendIntensityRatio = 0.01;
// Of a spectrum's 8 strongest peaks at least 3 must be named: a lamp may
// show strong unknown lines, but a list that explains none of the strongest
// peaks is the wrong lamp's.
constexpr size_t kStrongPeaks = 8;
constexpr double kStrongPeakShare = 3.0 / 8.0;
// A line that the other lines place farther than this from its peak is a
// coincidence the fit absorbed, or a faint list line under an unknown one
// that moved the peak.
constexpr double kLeaveOneOutPixels = 0.7;
// A line looked for where the fitted model puts it is taken when its peak
// is this many noise deviations high and its width within this ratio of
// the spectrum's typical width.
constexpr double kFaintSignificance = 10.0;
constexpr double kFaintWidthRatio = 0.7;
// An angle known from the lines no better than this (degrees) is held.
constexpr double kMaxAngleSigma = 0.25;

struct Candidate {
  double offset = 0.0;  // nominal pixel - center of the active range
  const LampLine* line = nullptr;
};

// Everything known about one spectrum during the identification.
struct SpectrumWork {
  SpectrumAxis nominal;
  std::vector<LinePeak> peaks;     // by pixel
  std::vector<double> peakPixels;  // the same positions
  std::vector<Candidate> lines;    // usable lines, by nominal pixel
  std::vector<LineMatch> matches;
  PixelMap map;  // nominal offset -> measured pixel
  const double* counts = nullptr;
  int32_t count = 0;
};

bool OptionsValid(const AutocalOptions& o) {
  return o.searchPixels >= 0.0 && o.searchPixels <= 10000.0 &&
         o.dispersionTolerance >= 0.0 && o.dispersionTolerance < 0.5 &&
         o.blendPixels >= 0.0 && o.blendPixels <= 100.0 &&
         o.thresholdPercent >= 0.0 && o.thresholdPercent <= 100.0 &&
         o.matchPixels > 0.0 && o.matchPixels <= 10.0 && o.minLines >= 3 &&
         (o.fixed & ~15u) == 0;
}

// The lines of the list the spectrum may show, blends taken out.
std::vector<Candidate> UsableLines(std::span<const LampLine> lamp,
                                   const SpectrumAxis& axis, double reach,
                                   double blend) {
  std::vector<Candidate> all;
  for (const LampLine& line : lamp) {
    const double pixel = axis.Pixel(line.wavelength);
    const double offset = pixel - axis.ActiveCenter();
    if (std::isfinite(pixel) && std::fabs(offset) <= reach) {
      all.push_back({offset, &line});
    }
  }
  std::sort(all.begin(), all.end(), [](const Candidate& a, const Candidate& b) {
    return a.offset < b.offset;
  });
  std::vector<Candidate> usable;
  for (size_t i = 0; i < all.size(); ++i) {
    bool blended = false;
    for (size_t j = 0; j < all.size() && !blended; ++j) {
      blended = j != i && std::fabs(all[j].offset - all[i].offset) < blend &&
                all[j].line->intensity >=
                    kBlendIntensityRatio * all[i].line->intensity;
    }
    if (!blended) usable.push_back(all[i]);
  }
  return usable;
}

double MapRms(const SpectrumWork& w, const std::vector<LineMatch>& matches) {
  double sum = 0.0;
  for (const LineMatch& m : matches) {
    const double d = w.peakPixels[m.peak] - w.map(w.lines[m.line].offset);
    sum += d * d;
  }
  return matches.empty() ? 0.0 : std::sqrt(sum / matches.size());
}

// Matches through the current map, then refines the map from the matches,
// tightening the tolerance; returns the final matches.
std::vector<LineMatch> RefineMatches(SpectrumWork& w, double halfWidth) {
  std::vector<double> predicted(w.lines.size());
  std::vector<LineMatch> matches;
  constexpr double kTolerances[] = {2.0, 1.5, 1.0, 0.75, 0.75};
  for (const double tolerance : kTolerances) {
    for (size_t i = 0; i < w.lines.size(); ++i) {
      predicted[i] = w.map(w.lines[i].offset);
    }
    matches = MatchNearest(w.peakPixels, predicted, tolerance);
    std::vector<double> x, y;
    for (const LineMatch& m : matches) {
      x.push_back(w.lines[m.line].offset);
      y.push_back(w.peakPixels[m.peak]);
    }
    // Curvature of the map only once enough pairs pin it down.
    const int order = matches.size() >= 6 ? 2 : 1;
    PixelMap map;
    if (!FitPixelMap(x, y, order, halfWidth, &map)) break;
    w.map = map;
  }
  return matches;
}

// Places the lines on the peaks: the best of the shift-and-scale
// candidates after refinement.
void PlaceLines(SpectrumWork& w, const AutocalOptions& o, double halfWidth) {
  std::vector<size_t> order(w.peaks.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return w.peaks[a].height > w.peaks[b].height;
  });
  order.resize(std::min(order.size(), kVotingPeaks));
  const double center = w.nominal.ActiveCenter();
  std::vector<double> voters, offsets;
  for (const size_t i : order) voters.push_back(w.peaks[i].pixel - center);
  std::sort(voters.begin(), voters.end());
  for (const Candidate& c : w.lines) offsets.push_back(c.offset);

  const std::vector<Placement> placements =
      SearchPlacements(voters, offsets, o.searchPixels, o.dispersionTolerance,
                       halfWidth, kPlacements);
  size_t bestCount = 0;
  double bestRms = 0.0;
  for (const Placement& p : placements) {
    SpectrumWork trial = w;
    trial.map = PixelMap{};
    trial.map.scale = halfWidth;
    trial.map.c[0] = center + p.shift;
    trial.map.c[1] = p.scale * halfWidth;
    const std::vector<LineMatch> matches = RefineMatches(trial, halfWidth);
    const double rms = MapRms(trial, matches);
    if (matches.size() > bestCount ||
        (matches.size() == bestCount && rms < bestRms)) {
      bestCount = matches.size();
      bestRms = rms;
      w.map = trial.map;
      w.matches = matches;
    }
  }
}

// The nominal offset that the map sends to the center of the active range,
// as a wavelength: where to start the fitted center.
double StartCenter(const SpectrumWork& w) {
  const double center = w.nominal.ActiveCenter();
  double offset = 0.0;
  for (int i = 0; i < 20; ++i) {
    const double slope = w.map(offset + 0.5) - w.map(offset - 0.5);
    if (!(slope > 0.0)) break;
    offset += (center - w.map(offset)) / slope;
  }
  return w.nominal.Wavelength(center + offset);
}

// Where a fitted model puts the usable lines of a spectrum that fall on
// the detector clear of its ends: their pixels, ascending, and their
// indices into the usable lines.
struct Predicted {
  std::vector<double> pixels;
  std::vector<int32_t> index;
};

NqeErrorCode PredictLines(const SpectrographModel& model,
                          const GratingFitResult& fit,
                          const std::vector<SpectrumWork>& work,
                          double lastPixel, std::vector<Predicted>* out) {
  out->assign(work.size(), Predicted{});
  for (size_t j = 0; j < work.size(); ++j) {
    SpectrumAxis axis;
    const NqeErrorCode code = axis.Set(model, fit.optics, fit.centers[j]);
    if (code != NqeSuccess) return code;
    for (size_t i = 0; i < work[j].lines.size(); ++i) {
      const double pixel = axis.Pixel(work[j].lines[i].line->wavelength);
      if (std::isfinite(pixel) && pixel > 0.5 + kEdgePixels &&
          pixel < lastPixel - kEdgePixels) {
        (*out)[j].pixels.push_back(pixel);
        (*out)[j].index.push_back(static_cast<int32_t>(i));
      }
    }
  }
  return NqeSuccess;
}

// Matches the usable lines to the peaks where a fitted model puts them.
void MatchWithModel(const std::vector<Predicted>& predicted,
                    std::vector<SpectrumWork>& work, double tolerance) {
  for (size_t j = 0; j < work.size(); ++j) {
    SpectrumWork& w = work[j];
    w.matches = MatchNearest(w.peakPixels, predicted[j].pixels, tolerance);
    for (LineMatch& m : w.matches) m.line = predicted[j].index[m.line];
  }
}

// The peak search's threshold is relative to the strongest peak, so
// beside a very strong line it misses faint ones that stand well clear of
// the noise; near the detector's ends, where lines are few, those pin the
// axis. With the fitted model each usable line that no peak stands for is
// looked for where the model puts it: a Gaussian fitted there, of the
// spectrum's line width, kFaintSignificance noise deviations high and
// within `tolerance` of the prediction, becomes a peak.
void FindFaintLines(const std::vector<Predicted>& predicted,
                    std::vector<SpectrumWork>& work, double tolerance) {
  for (size_t j = 0; j < work.size(); ++j) {
    SpectrumWork& w = work[j];
    if (w.peaks.empty()) continue;
    std::vector<double> widths;
    for (const LinePeak& p : w.peaks) widths.push_back(p.width);
    auto middle =
        widths.begin() + static_cast<std::ptrdiff_t>(widths.size() / 2);
    std::nth_element(widths.begin(), middle, widths.end());
    const double width = *middle;
    const double noise = NoiseLevel(w.counts, w.count);
    for (const double pixel : predicted[j].pixels) {
      const auto next =
          std::lower_bound(w.peakPixels.begin(), w.peakPixels.end(), pixel);
      double clear = kPeakWindow;
      if (next != w.peakPixels.end()) clear = std::min(clear, *next - pixel);
      if (next != w.peakPixels.begin()) {
        clear = std::min(clear, pixel - *(next - 1));
      }
      // Within two widths of a peak the line is the peak's or a blend.
      if (clear < 2.0 * width) continue;
      LinePeak peak;
      peak.pixel = RefinePeak(w.counts, w.count, pixel, clear, &peak);
      if (!(std::fabs(peak.pixel - pixel) <= tolerance &&
            peak.amplitude >= kFaintSignificance * noise &&
            peak.width > kFaintWidthRatio * width &&
            peak.width < width / kFaintWidthRatio)) {
        continue;
      }
      const auto at = std::lower_bound(w.peakPixels.begin(), w.peakPixels.end(),
                                       peak.pixel);
      const auto index = at - w.peakPixels.begin();
      w.peakPixels.insert(at, peak.pixel);
      w.peaks.insert(w.peaks.begin() + index, peak);
    }
  }
}

std::vector<FitLine> FitLines(const std::vector<SpectrumWork>& work) {
  std::vector<FitLine> lines;
  for (size_t j = 0; j < work.size(); ++j) {
    for (const LineMatch& m : work[j].matches) {
      // A peak of unknown precision counts as known to a pixel.
      const double sigma = work[j].peaks[m.peak].sigma;
      lines.push_back(
          {work[j].peakPixels[m.peak], work[j].lines[m.line].line->wavelength,
           static_cast<int32_t>(j),
           1.0 / (std::isnan(sigma) ? 1.0 : std::max(sigma, kMinPeakSigma))});
    }
  }
  return lines;
}

// Holds parameters fixed, least determined first (the inclusion angle
// moves the lines least differently from the focal length), while the
// lines cannot determine the free ones with two to spare.
uint32_t FixedFor(size_t lines, size_t spectra, uint32_t fixed) {
  constexpr uint32_t kOrder[] = {kFixInclusionAngle, kFixDetectorAngle,
                                 kFixFocalLength};
  for (const uint32_t bit : kOrder) {
    size_t free = spectra;
    for (const uint32_t b : kOrder) free += (fixed & b) == 0 ? 1 : 0;
    if (lines >= free + 2) break;
    fixed |= bit;
  }
  return fixed;
}

// Fits `lines`, holding what FixedFor holds; then an angle the lines pin
// down no better than kMaxAngleSigma is held at its nominal value as well
// and the lines fitted again: few lines, or lines over a small part of the
// detector, leave the angles loose, and beyond the lines a loose angle
// bends the axis more than the nominal one does.
NqeErrorCode FitHolding(const SpectrographModel& model,
                        std::span<const FitLine> lines, size_t spectra,
                        std::span<const double> centers, uint32_t fixed,
                        double clipSigmas, GratingFitResult* fit) {
  GratingFitOptions options;
  options.fixed = FixedFor(lines.size(), spectra, fixed);
  options.clipSigmas = clipSigmas;
  // The start centers may be the result's own, which the first fit
  // replaces.
  const std::vector<double> start(centers.begin(), centers.end());
  NqeErrorCode code = FitGratingModel(model, lines, start, options, fit);
  const struct {
    uint32_t bit;
    double GratingOptics::*sigma;
  } angles[] = {{kFixInclusionAngle, &GratingOptics::inclusionAngle},
                {kFixDetectorAngle, &GratingOptics::detectorAngle}};
  for (const auto& angle : angles) {
    if (code != NqeSuccess || (options.fixed & angle.bit) != 0) continue;
    const double sigma = fit->sigma.*angle.sigma;
    if (sigma >= 0.0 && sigma <= kMaxAngleSigma) continue;
    options.fixed |= angle.bit;
    code = FitGratingModel(model, lines, start, options, fit);
  }
  return code;
}

NqeErrorCode Fit(const SpectrographModel& model,
                 const std::vector<SpectrumWork>& work,
                 const std::vector<double>& centers, uint32_t fixed,
                 GratingFitResult* fit) {
  const std::vector<FitLine> lines = FitLines(work);
  return FitHolding(model, lines, work.size(), centers, fixed,
                    GratingFitOptions{}.clipSigmas, fit);
}

// Takes the lines the fit rejected out of the matches.
void KeepAccepted(const GratingFitResult& fit,
                  std::vector<SpectrumWork>& work) {
  size_t k = 0;
  for (SpectrumWork& w : work) {
    std::vector<LineMatch> kept;
    for (const LineMatch& m : w.matches) {
      if (!fit.lines[k++].rejected) kept.push_back(m);
    }
    w.matches = std::move(kept);
  }
}

// Leave one out: an unknown line at an end of the detector, where no other
// line pins the curvature of the axis, can take a list line's name and be
// fitted exactly. The other lines then place that line pixels away. The
// worst such line goes, and the check runs again, until none is left.
NqeErrorCode DropUnsupported(const SpectrographModel& model,
                             std::vector<SpectrumWork>& work, uint32_t fixed,
                             GratingFitResult* fit) {
  for (;;) {
    const std::vector<FitLine> lines = FitLines(work);
    double worst = kLeaveOneOutPixels;
    size_t worstIndex = lines.size();
    for (size_t i = 0; i < lines.size(); ++i) {
      std::vector<FitLine> others = lines;
      others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
      GratingFitResult loo;
      SpectrumAxis axis;
      // Lines the others cannot check (the last of a spectrum) stay.
      if (FitHolding(model, others, work.size(), fit->centers, fixed, 0.0,
                     &loo) != NqeSuccess ||
          axis.Set(model, loo.optics, loo.centers[lines[i].spectrum]) !=
              NqeSuccess) {
        continue;
      }
      const double miss =
          std::fabs(axis.Pixel(lines[i].wavelength) - lines[i].pixel);
      if (miss > worst) {
        worst = miss;
        worstIndex = i;
      }
    }
    if (worstIndex == lines.size()) return NqeSuccess;
    for (SpectrumWork& w : work) {
      if (worstIndex < w.matches.size()) {
        w.matches.erase(w.matches.begin() +
                        static_cast<std::ptrdiff_t>(worstIndex));
        break;
      }
      worstIndex -= w.matches.size();
    }
    const NqeErrorCode code = Fit(model, work, fit->centers, fixed, fit);
    if (code != NqeSuccess) return code;
  }
}

}  // namespace

NqeErrorCode AutoCalibrate(const SpectrographModel& model,
                           std::span<const AutocalSpectrum> spectra,
                           std::span<const LampLine> lamp,
                           const AutocalOptions& options,
                           AutocalResult* result) {
  if (result == nullptr || spectra.empty()) return NqeNullPointer;
  *result = AutocalResult{};
  if (!OptionsValid(options)) return NqeBadNumber;
  const int32_t pixels = model.geometry.numPixels;
  const double halfWidth = 0.5 * pixels;
  const double lastPixel = pixels + 0.5;
  const GratingOptics nominal{model.optics.focalLength,
                              model.optics.inclusionAngle,
                              model.optics.detectorAngle};
  const double reach =
      (halfWidth + options.searchPixels) * (1.0 + options.dispersionTolerance) +
      2.0;
  const double blend =
      options.blendPixels * (1.0 + options.dispersionTolerance);

  std::vector<SpectrumWork> work(spectra.size());
  size_t allPeaks = 0;
  for (size_t j = 0; j < spectra.size(); ++j) {
    SpectrumWork& w = work[j];
    result->failedSpectrum = static_cast<int32_t>(j);
    if (spectra[j].counts == nullptr) return NqeNullPointer;
    w.counts = spectra[j].counts;
    w.count = spectra[j].count;
    if (spectra[j].count != pixels || pixels < 1) return NqePixelCountMismatch;
    NqeErrorCode code = w.nominal.Set(model, nominal, spectra[j].center);
    if (code != NqeSuccess) return code;
    const std::vector<LinePeak> found = FindLinePeaks(
        spectra[j].counts, spectra[j].count, options.thresholdPercent);
    for (size_t i = 0; i < found.size(); ++i) {
      LinePeak peak = found[i];
      if (!(peak.pixel > 0.5 + kEdgePixels &&
            peak.pixel < lastPixel - kEdgePixels)) {
        continue;
      }
      // The fit window stops halfway to the neighbouring peaks.
      double window = kPeakWindow;
      if (i > 0)
        window = std::min(window, 0.5 * (peak.pixel - found[i - 1].pixel));
      if (i + 1 < found.size()) {
        window = std::min(window, 0.5 * (found[i + 1].pixel - peak.pixel));
      }
      peak.pixel = RefinePeak(spectra[j].counts, spectra[j].count, peak.pixel,
                              window, &peak);
      // A peak whose position cannot be trusted names no line.
      if (std::isnan(peak.pixel)) continue;
      w.peaks.push_back(peak);
      w.peakPixels.push_back(peak.pixel);
    }
    result->peaks.push_back(static_cast<int32_t>(w.peaks.size()));
    if (w.peaks.size() < 3) return NqeAutocalTooFewPeaks;
    allPeaks += w.peaks.size();
    w.lines = UsableLines(lamp, w.nominal, reach, blend);
  }
  result->failedSpectrum = -1;
  if (allPeaks < static_cast<size_t>(options.minLines)) {
    return NqeAutocalTooFewPeaks;
  }

  // Each spectrum placed on its own, then the optics fitted to all.
  std::vector<double> centers;
  size_t named = 0;
  for (SpectrumWork& w : work) {
    PlaceLines(w, options, halfWidth);
    centers.push_back(StartCenter(w));
    named += w.matches.size();
  }
  if (named < static_cast<size_t>(options.minLines)) return NqeAutocalNoMatch;
  GratingFitResult fit;
  NqeErrorCode code = Fit(model, work, centers, options.fixed, &fit);
  if (code != NqeSuccess) return code;
  std::vector<Predicted> predicted;
  code = PredictLines(model, fit, work, lastPixel, &predicted);
  if (code != NqeSuccess) return code;
  FindFaintLines(predicted, work, options.matchPixels);
  // The faint lines found count among the spectrum's peaks.
  for (size_t j = 0; j < work.size(); ++j) {
    result->peaks[j] = static_cast<int32_t>(work[j].peaks.size());
  }

  // With the fitted model the lines are looked for again, first within a
  // pixel (lines the placement missed), then within the final tolerance.
  for (const double tolerance :
       {std::max(1.0, options.matchPixels), options.matchPixels}) {
    code = PredictLines(model, fit, work, lastPixel, &predicted);
    if (code != NqeSuccess) return code;
    MatchWithModel(predicted, work, tolerance);
    code = Fit(model, work, fit.centers, options.fixed, &fit);
    if (code != NqeSuccess) return code;
  }

  if (fit.rejected > 0) {
    KeepAccepted(fit, work);
    code = Fit(model, work, fit.centers, options.fixed, &fit);
    if (code != NqeSuccess) return code;
  }
  code = DropUnsupported(model, work, options.fixed, &fit);
  if (code != NqeSuccess) return code;

  result->fixed = fit.fixed;
  // Lines the fit rejected are not named.
  size_t k = 0;
  for (size_t j = 0; j < work.size(); ++j) {
    SpectrumWork& w = work[j];
    std::vector<LineMatch> kept;
    for (const LineMatch& m : w.matches) {
      const GratingFitLine& fitted = fit.lines[k++];
      if (fitted.rejected) continue;
      kept.push_back(m);
      IdentifiedLine line;
      line.pixel = w.peakPixels[m.peak];
      line.wavelength = w.lines[m.line].line->wavelength;
      line.intensity = w.lines[m.line].line->intensity;
      line.residualNm = fitted.residualNm;
      line.residualPixels = fitted.residualPixels;
      line.spectrum = static_cast<int32_t>(j);
      std::memcpy(line.element, w.lines[m.line].line->element, kElementChars);
      result->lines.push_back(line);
    }
    w.matches = kept;
  }
  result->fit = std::move(fit);

  // A consistent match names most of the strongest peaks of every spectrum
  // and enough lines in all.
  if (result->lines.size() < static_cast<size_t>(options.minLines)) {
    return NqeAutocalNoMatch;
  }
  for (size_t j = 0; j < work.size(); ++j) {
    const SpectrumWork& w = work[j];
    result->failedSpectrum = static_cast<int32_t>(j);
    if (w.matches.size() < 2) return NqeAutocalNoMatch;
    std::vector<double> heights;
    for (const LinePeak& p : w.peaks) heights.push_back(p.height);
    const size_t strong = std::min(kStrongPeaks, heights.size());
    std::nth_element(heights.begin(), heights.begin() + (strong - 1),
                     heights.end(), std::greater<>());
    const double cut = heights[strong - 1];
    size_t namedStrong = 0;
    for (const LineMatch& m : w.matches) {
      namedStrong += w.peaks[m.peak].height >= cut ? 1 : 0;
    }
    if (namedStrong < kStrongPeakShare * strong) return NqeAutocalNoMatch;
  }
  result->failedSpectrum = -1;
  return NqeSuccess;
}

}  // namespace kvx
