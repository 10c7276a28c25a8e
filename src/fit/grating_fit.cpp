#include "fit/grating_fit.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <unsupported/Eigen/NonLinearOptimization>

#include "fit/robust_clip.h"
#include "optimise/disp_params.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

constexpr int kMinLines = 3;
// The effective center is iterated to convergence rather than to the
// 1e-5 nm of a center setting: the fit differentiates through it.
constexpr int kMaxCenterIterations = 50;
constexpr double kCenterTolerance = 1e-12;
// Residual (pixels) that stands for a parameter set the grating cannot
// reach, so that the solver backs off from it.
constexpr double kUnreachableResidual = 1e6;
// Rejection never goes below this (pixels): exact data would otherwise
// reject points over rounding noise.
constexpr double kMinClipFloor = 1e-6;
// Relative forward-difference step of the Jacobian (absolute for values
// below 1: angles near 0 degrees).
constexpr double kJacobianStep = 1e-7;

// Pixel offset of `pixel` from the center of the focal plane.
double Offset(const SpectrographModel& model, double pixel) {
  return pixel - (model.geometry.centerPixel + model.optics.centerPixelOffset);
}

// A grating set for one center of the active range: the effective center
// found, the pixel-independent part prepared.
NqeErrorCode Setting(const SpectrographModel& model,
                     const GratingOptics& optics, double center,
                     GratingSetting* setting, double* effective) {
  NqeErrorCode code = EffectiveCenterFor(model, optics, center, effective);
  if (code != NqeSuccess) return code;
  return setting->Prepare(model, *effective, optics.inclusionAngle,
                          optics.detectorAngle, optics.focalLength);
}

// Nanometres per pixel at a pixel (signed).
double Dispersion(const SpectrographModel& model, const GratingSetting& s,
                  double pixel) {
  return s.At(Offset(model, pixel) + 0.5) - s.At(Offset(model, pixel) - 0.5);
}

// The least-squares problem in the form Eigen's solver takes: free
// parameters in, residuals in pixels out, Jacobian by forward differences.
class Problem {
 public:
  using Scalar = double;

  Problem(const SpectrographModel& model, std::span<const FitLine> lines,
          uint32_t fixed, const GratingOptics& start,
          std::span<const double> startCenters)
      : model_(model),
        lines_(lines),
        fixed_(fixed),
        optics_(start),
        centers_(startCenters.begin(), startCenters.end()) {}

  int Free() const {
    int n = 0;
    for (uint32_t bit :
         {kFixFocalLength, kFixInclusionAngle, kFixDetectorAngle}) {
      if (!(fixed_ & bit)) ++n;
    }
    if (!(fixed_ & kFixCenters)) n += static_cast<int>(centers_.size());
    return n;
  }

  VectorXd Pack() const {
    VectorXd x(Free());
    Index k = 0;
    if (!(fixed_ & kFixFocalLength)) x[k++] = optics_.focalLength;
    if (!(fixed_ & kFixInclusionAngle)) x[k++] = optics_.inclusionAngle;
    if (!(fixed_ & kFixDetectorAngle)) x[k++] = optics_.detectorAngle;
    if (!(fixed_ & kFixCenters)) {
      for (double c : centers_) x[k++] = c;
    }
    return x;
  }

  void Unpack(const VectorXd& x, GratingOptics* optics,
              std::vector<double>* centers) const {
    *optics = optics_;
    *centers = centers_;
    Index k = 0;
    if (!(fixed_ & kFixFocalLength)) optics->focalLength = x[k++];
    if (!(fixed_ & kFixInclusionAngle)) optics->inclusionAngle = x[k++];
    if (!(fixed_ & kFixDetectorAngle)) optics->detectorAngle = x[k++];
    if (!(fixed_ & kFixCenters)) {
      for (double& c : *centers) c = x[k++];
    }
  }

  // Fitted wavelength and local dispersion of every line; false when the
  // grating cannot reach one of the spectra or a line sees no dispersion
  // (residuals in pixels would be meaningless there).
  bool Predict(const GratingOptics& optics, const std::vector<double>& centers,
               std::vector<double>* fitted, std::vector<double>* dispersion,
               std::vector<double>* effective) const {
    const size_t spectra = centers.size();
    std::vector<GratingSetting> settings(spectra);
    effective->assign(spectra, 0.0);
    for (size_t s = 0; s < spectra; ++s) {
      if (Setting(model_, optics, centers[s], &settings[s], &(*effective)[s]) !=
          NqeSuccess) {
        return false;
      }
    }
    fitted->resize(lines_.size());
    if (dispersion != nullptr) dispersion->resize(lines_.size());
    for (size_t i = 0; i < lines_.size(); ++i) {
      const GratingSetting& s =
          settings[static_cast<size_t>(lines_[i].spectrum)];
      (*fitted)[i] = s.At(Offset(model_, lines_[i].pixel));
      if (dispersion != nullptr) {
        const double d = Dispersion(model_, s, lines_[i].pixel);
        if (!std::isfinite(d) || d == 0.0) return false;
        (*dispersion)[i] = d;
      }
    }
    return true;
  }

  // The lines of this round and their scale (nm per pixel).
  void SetRound(std::vector<size_t> used, std::vector<double> dispersion) {
    used_ = std::move(used);
    scale_ = std::move(dispersion);
  }

  // --- the functor interface of Eigen's Levenberg-Marquardt ---------------
  int inputs() const { return Free(); }
  int values() const { return static_cast<int>(used_.size()); }

  int operator()(const VectorXd& x, VectorXd& residuals) const {
    ++evaluations_;
    GratingOptics optics;
    std::vector<double> centers;
    Unpack(x, &optics, &centers);
    if (!Predict(optics, centers, &fitted_, nullptr, &effective_)) {
      residuals.setConstant(values(), kUnreachableResidual);
      return 0;
    }
    for (size_t k = 0; k < used_.size(); ++k) {
      const size_t i = used_[k];
      residuals[static_cast<Index>(k)] =
          (fitted_[i] - lines_[i].wavelength) / scale_[i] * lines_[i].weight;
    }
    return 0;
  }

  int df(const VectorXd& x, MatrixXd& jacobian) const {
    VectorXd base(values());
    VectorXd moved(values());
    (*this)(x, base);
    VectorXd probe = x;
    for (Index j = 0; j < x.size(); ++j) {
      const double h = kJacobianStep * std::max(std::fabs(x[j]), 1.0);
      probe[j] = x[j] + h;
      (*this)(probe, moved);
      jacobian.col(j) = (moved - base) / (probe[j] - x[j]);
      probe[j] = x[j];
    }
    return 0;
  }

  int Evaluations() const { return evaluations_; }

 private:
  const SpectrographModel& model_;
  std::span<const FitLine> lines_;
  uint32_t fixed_;
  GratingOptics optics_;
  std::vector<double> centers_;
  std::vector<size_t> used_;
  std::vector<double> scale_;
  mutable int evaluations_ = 0;
  mutable std::vector<double> fitted_;
  mutable std::vector<double> effective_;
};

bool Converged(Eigen::LevenbergMarquardtSpace::Status status) {
  using namespace Eigen::LevenbergMarquardtSpace;
  switch (status) {
    case RelativeReductionTooSmall:
    case RelativeErrorTooSmall:
    case RelativeErrorAndReductionTooSmall:
    case CosinusTooSmall:
    // The tolerances reached machine precision: no step can improve.
    case FtolTooSmall:
    case XtolTooSmall:
    case GtolTooSmall:
      return true;
    default:
      return false;
  }
}

NqeErrorCode CheckInput(const SpectrographModel& model,
                        std::span<const FitLine> lines,
                        std::span<const double> startCenters,
                        const GratingFitOptions& options) {
  if (lines.size() < static_cast<size_t>(kMinLines)) {
    return NqeTooFewCalibrationPoints;
  }
  if (startCenters.empty()) return NqeBadNumber;
  const double lastPixel = model.geometry.numPixels + 0.5;
  std::vector<int32_t> perSpectrum(startCenters.size(), 0);
  for (const FitLine& line : lines) {
    if (line.spectrum < 0 ||
        static_cast<size_t>(line.spectrum) >= startCenters.size() ||
        !(line.weight > 0.0 && std::isfinite(line.weight))) {
      return NqeBadNumber;
    }
    if (!(line.pixel >= 0.5 && line.pixel <= lastPixel)) {
      return NqePointOutOfRange;
    }
    if (!std::isfinite(line.wavelength) ||
        TestWavelength(model, line.wavelength, nullptr) != NqeSuccess) {
      return NqeWavelengthUnreachable;
    }
    ++perSpectrum[static_cast<size_t>(line.spectrum)];
  }
  // A free center needs at least one line of its own.
  if (!(options.fixed & kFixCenters) &&
      std::find(perSpectrum.begin(), perSpectrum.end(), 0) !=
          perSpectrum.end()) {
    return NqeTooFewCalibrationPoints;
  }
  return NqeSuccess;
}

// Standard uncertainties of the free parameters from the Jacobian at the
// solution: s^2 (J^T J)^-1 through the QR factors of J, never J^T J itself.
// Empty when they are undetermined (no degree of freedom, or a parameter
// the lines do not constrain).
VectorXd Uncertainties(const MatrixXd& jacobian, const VectorXd& residuals) {
  const Index m = jacobian.rows();
  const Index n = jacobian.cols();
  if (m <= n || n == 0) return {};
  Eigen::ColPivHouseholderQR<MatrixXd> qr(jacobian);
  if (qr.rank() < n) return {};
  const MatrixXd r =
      qr.matrixR().topLeftCorner(n, n).triangularView<Eigen::Upper>();
  const MatrixXd rInverse =
      r.triangularView<Eigen::Upper>().solve(MatrixXd::Identity(n, n));
  const MatrixXd permuted = rInverse * rInverse.transpose();
  const MatrixXd covariance =
      qr.colsPermutation() * permuted * qr.colsPermutation().transpose();
  const double s2 = residuals.squaredNorm() / static_cast<double>(m - n);
  return (covariance.diagonal() * s2).cwiseSqrt();
}

}  // namespace

NqeErrorCode EffectiveCenterFor(const SpectrographModel& model,
                                const GratingOptics& optics, double center,
                                double* effective) {
  *effective = center;
  const double o = model.optics.centerPixelOffset;
  const double r = model.geometry.regionCenterOffset;
  // The model's convention: no correction at all when o + r is 0.
  if (o + r == 0.0) return NqeSuccess;
  const double offset = r - o;  // pixel r + c in the pixel form
  double e = center;
  for (int i = 0; i < kMaxCenterIterations; ++i) {
    GratingSetting setting;
    const NqeErrorCode code =
        setting.Prepare(model, e, optics.inclusionAngle, optics.detectorAngle,
                        optics.focalLength);
    if (code != NqeSuccess) return code;
    const double d = center - setting.At(offset);
    e += d;
    if (!(std::fabs(d) > kCenterTolerance * std::fabs(center))) break;
  }
  if (!std::isfinite(e)) return NqeWavelengthUnreachable;
  *effective = e;
  return NqeSuccess;
}

NqeErrorCode FittedWavelengthAt(const SpectrographModel& model,
                                const GratingOptics& optics, double center,
                                double pixel, double* wavelength) {
  GratingSetting setting;
  double effective = center;
  const NqeErrorCode code =
      Setting(model, optics, center, &setting, &effective);
  if (code != NqeSuccess) return code;
  *wavelength = setting.At(Offset(model, pixel));
  return NqeSuccess;
}

NqeErrorCode FittedWavelengths(const SpectrographModel& model,
                               const GratingOptics& optics, double center,
                               int32_t count, double* wavelengths) {
  GratingSetting setting;
  double effective = center;
  const NqeErrorCode code =
      Setting(model, optics, center, &setting, &effective);
  if (code != NqeSuccess) return code;
  for (int32_t i = 0; i < count; ++i) {
    wavelengths[i] = setting.At(Offset(model, static_cast<double>(i) + 1.0));
  }
  return NqeSuccess;
}

void InstallFittedOptics(SpectrographModel& model,
                         const GratingOptics& optics) {
  InstallOpticsSet(model, optics.focalLength, optics.inclusionAngle,
                   optics.detectorAngle);
}

NqeErrorCode FitGratingModel(const SpectrographModel& model,
                             std::span<const FitLine> lines,
                             std::span<const double> startCenters,
                             const GratingFitOptions& options,
                             GratingFitResult* result) {
  if (result == nullptr) return NqeNullPointer;
  if (model.optics.order == 0 || model.optics.grooveDensity == 0.0) {
    return NqeGrooveDensityNotSet;  // no dispersion to fit
  }
  if (const NqeErrorCode code = CheckInput(model, lines, startCenters, options);
      code != NqeSuccess) {
    return code;
  }
  const GratingOptics start{model.optics.focalLength,
                            model.optics.inclusionAngle,
                            model.optics.detectorAngle};
  Problem problem(model, lines, options.fixed, start, startCenters);
  const int free = problem.Free();
  const int minUsed = std::max(free, kMinLines);
  if (static_cast<int>(lines.size()) < minUsed) {
    return NqeTooFewCalibrationPoints;
  }

  const size_t n = lines.size();
  std::vector<uint8_t> rejected(n, 0);
  std::vector<double> fitted, dispersion, effective, pixels(n);
  GratingOptics optics = start;
  std::vector<double> centers(startCenters.begin(), startCenters.end());
  if (!problem.Predict(optics, centers, &fitted, &dispersion, &effective)) {
    return NqeWavelengthUnreachable;
  }
  VectorXd x = problem.Pack();
  const ClipRule rule{options.clipSigmas,
                      std::max(options.clipFloorPixels, kMinClipFloor)};
  // Each round rejects or takes back at least one line; bounded so that a
  // line swinging in and out cannot keep it going.
  const size_t maxRounds = 2 * n + 2;
  for (size_t round = 0;; ++round) {
    std::vector<size_t> used;
    for (size_t i = 0; i < n; ++i) {
      if (!rejected[i]) used.push_back(i);
    }
    problem.SetRound(used, dispersion);
    if (free > 0) {
      Eigen::LevenbergMarquardt<Problem> solver(problem);
      solver.parameters.maxfev = std::max(options.maxEvaluations, 10);
      solver.parameters.xtol = 1e-10;
      solver.parameters.ftol = 1e-10;
      const auto status = solver.minimize(x);
      if (!Converged(status) || !x.allFinite()) return NqeFitNotConverged;
    }
    problem.Unpack(x, &optics, &centers);
    if (!problem.Predict(optics, centers, &fitted, &dispersion, &effective)) {
      return NqeWavelengthUnreachable;
    }
    for (size_t i = 0; i < n; ++i) {
      pixels[i] = (lines[i].wavelength - fitted[i]) / dispersion[i];
    }
    if (round >= maxRounds || !ClipStep(pixels, rule, minUsed, &rejected)) {
      break;
    }
  }

  // Uncertainties at the solution, in the scale of the last round.
  std::vector<size_t> used;
  for (size_t i = 0; i < n; ++i) {
    if (!rejected[i]) used.push_back(i);
  }
  problem.SetRound(used, dispersion);
  VectorXd residuals(static_cast<Index>(used.size()));
  MatrixXd jacobian(static_cast<Index>(used.size()), free);
  VectorXd sigma;
  if (free > 0) {
    problem(x, residuals);
    problem.df(x, jacobian);
    sigma = Uncertainties(jacobian, residuals);
  }

  GratingFitResult& out = *result;
  out = GratingFitResult{};
  out.optics = optics;
  out.centers = centers;
  out.effectiveCenters = effective;
  out.centerSigmas.assign(centers.size(), 0.0);
  out.linesUsed.assign(centers.size(), 0);
  // Fixed parameters are exact (0.0); free ones undetermined (-1.0) unless
  // the Jacobian gives them.
  auto sigmaOf = [&](Index k) { return sigma.size() ? sigma[k] : -1.0; };
  Index k = 0;
  if (!(options.fixed & kFixFocalLength)) out.sigma.focalLength = sigmaOf(k++);
  if (!(options.fixed & kFixInclusionAngle)) {
    out.sigma.inclusionAngle = sigmaOf(k++);
  }
  if (!(options.fixed & kFixDetectorAngle)) {
    out.sigma.detectorAngle = sigmaOf(k++);
  }
  if (!(options.fixed & kFixCenters)) {
    for (double& s : out.centerSigmas) s = sigmaOf(k++);
  }
  out.lines.resize(n);
  double sumNm = 0.0;
  double sumPixels = 0.0;
  for (size_t i = 0; i < n; ++i) {
    GratingFitLine& line = out.lines[i];
    line.fittedWavelength = fitted[i];
    line.residualNm = lines[i].wavelength - fitted[i];
    line.residualPixels = pixels[i];
    line.rejected = rejected[i] != 0;
    if (line.rejected) {
      ++out.rejected;
      continue;
    }
    ++out.used;
    ++out.linesUsed[static_cast<size_t>(lines[i].spectrum)];
    sumNm += line.residualNm * line.residualNm;
    sumPixels += line.residualPixels * line.residualPixels;
  }
  out.rmsNm = std::sqrt(sumNm / out.used);
  out.rmsPixels = std::sqrt(sumPixels / out.used);
  out.evaluations = problem.Evaluations();
  out.fixed = options.fixed;
  return NqeSuccess;
}

}  // namespace kvx
