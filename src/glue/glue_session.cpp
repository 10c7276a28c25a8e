#include "glue/glue_session.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "api/calib_object.h"
#include "calibration/calibration_store.h"
#include "calibration/units.h"
#include "glue/glue_kernels.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {
namespace {

// Product of two non-negative sizes, or 0 when it would not fit an array
// of doubles (such a block cannot exist in memory).
size_t DoubleCount(size_t a, size_t b) {
  const size_t limit = std::numeric_limits<ptrdiff_t>::max() / sizeof(double);
  if (a != 0 && b > limit / a) return 0;
  return a * b;
}

// n + 1 finite edges that strictly rise or strictly fall.
bool StrictlyMonotonic(const std::vector<double>& edges) {
  const bool rising = edges.back() > edges.front();
  for (size_t i = 0; i < edges.size(); ++i) {
    if (!std::isfinite(edges[i])) return false;
    if (i > 0 &&
        (rising ? !(edges[i] > edges[i - 1]) : !(edges[i] < edges[i - 1]))) {
      return false;
    }
  }
  return true;
}

// A new model's range and step are 0, so every glue answers 11079 until
// the host sets them (double parameters 68 to 70, or the stepping).
GlueView ViewOf(SpectrographModel& model, CalibObject& object) {
  GlueView view;
  view.start = model.stepping.rangeStart;
  view.end = model.stepping.rangeEnd;
  view.step = model.stepping.glueStep;
  view.validated = &model.stepping.glueValidated;
  view.calibrations = &object.Calibrations();
  return view;
}

GlueSession& SessionOf(SpectrographModel& model) {
  if (!model.glue) model.glue = std::make_unique<GlueSession>();
  return *model.glue;
}

}  // namespace

NqeErrorCode GlueSession::ResolveAxis(const GlueView& view,
                                      const GlueSpectrum& record, bool isOutput,
                                      GlueAxis* axis) const {
  CalibrationRecord* calibration = record.calibration;
  if (calibration != nullptr && calibration->table != nullptr &&
      calibration->tableLength == record.numPoints) {
    axis->x = calibration->table;
    axis->unit = calibration->displayUnit;
  } else {
    if (record.xValues == nullptr) return NqeGlueNoData;
    axis->x = record.xValues;
    if (calibration != nullptr && !isOutput) {
      axis->unit = calibration->displayUnit;
    } else if (calibration != nullptr) {
      // An output with a calibration takes the unit of the input's
      // calibration; an input without one gives no unit to take.
      if (glueInput_ == nullptr || glueInput_->calibration == nullptr) {
        return NqeGlueNoData;
      }
      axis->unit = glueInput_->calibration->displayUnit;
    } else {
      // Without an active record (its only calibration removed) the
      // values are taken as nanometres.
      const CalibrationRecord* active = view.calibrations->ActiveRecord();
      axis->unit = active != nullptr
                       ? static_cast<int32_t>(active->displayUnit)
                       : static_cast<int32_t>(CalibUnitNanometers);
    }
  }
  if (isOutput && calibration != nullptr) calibration->valid = 1;
  return NqeSuccess;
}

NqeErrorCode GlueSession::Validate(const GlueView& view,
                                   const GlueSpectrum* inputs, int32_t count,
                                   GlueSpectrum* output, bool prepareOutput) {
  if (inputs == nullptr || count <= 0 || output == nullptr) {
    return NqeGlueBadArgument;
  }
  if (prepareOutput) {
    // Stays done even when a later check fails.
    CalibrationRecord* calibration = output->calibration;
    std::memset(static_cast<void*>(output), 0, sizeof *output);
    output->calibration = calibration;
    if (calibration != nullptr) CalibrationStore::DefaultRecord(calibration);
  }
  NqeErrorCode code =
      ComputeGluePointCount(view.start, view.end, view.step, &gluePointCount_);
  if (code != NqeSuccess) return code;
  for (int32_t i = 0; i < count; ++i) {
    glueInput_ = &inputs[i];
    GlueAxis axis;
    code = ResolveAxis(view, inputs[i], false, &axis);
    if (code != NqeSuccess) return code;
  }
  if (prepareOutput) {
    output->numPoints = gluePointCount_;
    output->numFrames = inputs[0].numFrames;
    output->dataType = 5;
    output->layout = 1;
    if (output->calibration != nullptr) {
      output->calibration->tableLength = gluePointCount_;
    }
  }
  *view.validated = true;
  return NqeSuccess;
}

NqeErrorCode GlueSession::GlueAll(const GlueView& view,
                                  const GlueSpectrum* inputs, int32_t count,
                                  GlueSpectrum* output) {
  glueOutput_ = output;
  const NqeErrorCode validation = Validate(view, inputs, count, output, false);
  if (validation == NqeSuccess)
    glueOutputData_ = static_cast<double*>(output->data);
  // Kept: a failed validation reports 11078 unless output data is still
  // remembered from an incremental glue under way.
  if (glueOutputData_ == nullptr) return NqeGlueBadArgument;
  if (validation != NqeSuccess) return validation;
  GlueAxis axis;
  NqeErrorCode code = ResolveAxis(view, *output, true, &axis);
  if (code != NqeSuccess) return code;
  for (int32_t i = 0; i < count; ++i) {
    if (inputs[i].numFrames != output->numFrames) {
      glueOutput_ = nullptr;
      return NqeGlueLengthMismatch;
    }
  }
  // The output must be the record the validation prepared: its point
  // count sizes the X values and, with the frames, the data written below.
  const size_t total = DoubleCount(static_cast<size_t>(gluePointCount_),
                                   static_cast<size_t>(output->numFrames));
  if (output->numFrames <= 0 || output->numPoints != gluePointCount_ ||
      total == 0) {
    return NqeGlueBadArgument;
  }
  std::vector<int32_t> counts(static_cast<size_t>(gluePointCount_), 0);
  incGlueActive_ = true;
  std::memset(output->data, 0, total * sizeof(double));
  const double d = view.start < view.end ? view.step : -view.step;
  for (int32_t i = 0; i < output->numPoints; ++i) {
    axis.x[i] = view.start + static_cast<double>(i) * d;
  }
  glueCounts_ = std::move(counts);
  for (int32_t i = 0; i < count; ++i) {
    // An input that cannot be glued (outside the range, say) is skipped.
    static_cast<void>(Merge(view, output, &inputs[i]));
  }
  static_cast<void>(Cleanup());
  glueOutput_ = nullptr;
  return NqeSuccess;
}

NqeErrorCode GlueSession::Init(const GlueView& view, GlueSpectrum* output,
                               int32_t numFrames) {
  incGlueActive_ = false;
  // A negative frame count is as unusable as none.
  if (output == nullptr || numFrames <= 0) return NqeGlueBadArgument;
  const NqeErrorCode code =
      ComputeGluePointCount(view.start, view.end, view.step, &gluePointCount_);
  if (code != NqeSuccess) return code;
  std::vector<int32_t> counts(static_cast<size_t>(gluePointCount_), 0);
  CalibrationRecord* calibration = output->calibration;
  std::memset(static_cast<void*>(output), 0, sizeof *output);
  output->calibration = calibration;
  if (calibration != nullptr) {
    CalibrationStore::DefaultRecord(calibration);
    calibration->tableLength = gluePointCount_;
  }
  output->numPoints = gluePointCount_;
  output->numFrames = numFrames;
  output->dataType = 5;
  output->layout = 1;
  glueOutput_ = output;
  // The remembered data belongs to the caller: forget it, never free it.
  glueOutputData_ = nullptr;
  glueCounts_ = std::move(counts);
  incGlueActive_ = true;
  return NqeSuccess;
}

NqeErrorCode GlueSession::BuildInputEdges(const GlueView& view,
                                          const GlueAxis& in,
                                          const GlueAxis& out, double lo,
                                          double hi, double* values,
                                          size_t frames,
                                          std::vector<double>& edges) const {
  const size_t n = edges.size() - 1;
  BuildEdges(in.x, n, edges.data());
  if (MaskUnit(in.unit) != MaskUnit(out.unit)) {
    for (double& e : edges) {
      static_cast<void>(
          view.calibrations->ConvertUnits(in.unit, out.unit, e, &e));
    }
  }
  // Bins must be finite and in order, or rebinning has no meaning.
  if (!StrictlyMonotonic(edges)) return NqeGlueNoData;
  if (edges[n] < edges[0]) {
    ReverseFrames(values, frames, n);
    ReverseFrames(edges.data(), 1, n + 1);
  }
  const double h = view.step * 0.5;
  if (hi + h < edges[0] || edges[n] < lo - h) return NqeGlueNoData;
  return NqeSuccess;
}

NqeErrorCode GlueSession::Merge(const GlueView& view, GlueSpectrum* output,
                                const GlueSpectrum* input) {
  if (!incGlueActive_) return NqeGlueNotInitialized;
  // One point gives no spacing to make a bin from: refused like none.
  if (input == nullptr || input->data == nullptr || input->numPoints < 2 ||
      output == nullptr || output != glueOutput_ || glueCounts_.empty() ||
      output->data == nullptr || output->numPoints != gluePointCount_) {
    return NqeGlueBadArgument;
  }
  // The output has at least one frame (the start refuses fewer), so an
  // input without frames is a frame-count mismatch.
  if (input->numFrames != output->numFrames) return NqeGlueLengthMismatch;
  // Element types other than 1 to 8 have no conversion.
  if (input->layout != 1 || !IsKnownGlueDataType(input->dataType)) {
    return NqeGlueBadInput;
  }
  const size_t n = static_cast<size_t>(input->numPoints);
  const size_t frames = static_cast<size_t>(input->numFrames);
  const size_t total = DoubleCount(n, frames);
  const size_t points = static_cast<size_t>(gluePointCount_);
  if (total == 0 || DoubleCount(points, frames) == 0) return NqeGlueBadArgument;
  glueInput_ = input;
  GlueAxis in;
  GlueAxis out;
  NqeErrorCode code = ResolveAxis(view, *input, false, &in);
  if (code == NqeSuccess) code = ResolveAxis(view, *output, true, &out);
  if (code != NqeSuccess) return code;
  if (output->calibration != nullptr) {
    static_cast<void>(SetUnitLabel(output->calibration));
  }
  // Every element is written by the conversion: no need to clear first.
  const std::unique_ptr<double[]> values(new double[total]);
  ConvertToDoubles(input->data, input->dataType, total, values.get());
  glueOutputData_ = static_cast<double*>(output->data);
  // A descending axis is merged as an ascending one: the output frames
  // are read back to front instead of being reversed and turned back.
  const bool descending = view.start > view.end;
  const double lo = descending ? view.end : view.start;
  const double hi = descending ? view.start : view.end;
  std::vector<double> edges(n + 1);
  code = BuildInputEdges(view, in, out, lo, hi, values.get(), frames, edges);
  if (code != NqeSuccess) return code;
  GluePlacement place;
  code = PlaceBlock(edges[0], edges[n], lo, view.step, gluePointCount_, &place);
  if (code != NqeSuccess) return code;
  std::vector<double> work(static_cast<size_t>(place.count));
  for (size_t f = 0; f < frames; ++f) {
    if (place.count == 0) break;
    ResampleFrame(edges.data(), values.get() + f * n, n, place.x0, view.step,
                  place.skip, place.count, work.data());
    double* frame = glueOutputData_ + f * points;
    const GlueFrameView target = descending
                                     ? GlueFrameView{frame + (points - 1), -1}
                                     : GlueFrameView{frame, 1};
    MergeFrame(work.data(), place, glueCounts_.data(), target);
  }
  UpdateCoverage(place, gluePointCount_, glueCounts_.data());
  return NqeSuccess;
}

NqeErrorCode GlueSession::Cleanup() {
  if (!incGlueActive_) return NqeGlueNotInitialized;
  glueCounts_ = std::vector<int32_t>();
  glueOutputData_ = nullptr;
  incGlueActive_ = false;
  return NqeSuccess;
}

NqeErrorCode ValidateGlue(SpectrographModel& model, CalibObject& object,
                          const GlueSpectrum* inputs, int32_t count,
                          GlueSpectrum* output, int32_t prepareOutput) {
  return SessionOf(model).Validate(ViewOf(model, object), inputs, count, output,
                                   prepareOutput != 0);
}

NqeErrorCode GlueInput(SpectrographModel& model, CalibObject& object,
                       const GlueSpectrum* inputs, int32_t count,
                       GlueSpectrum* output) {
  return SessionOf(model).GlueAll(ViewOf(model, object), inputs, count, output);
}

NqeErrorCode InitIncGlue(SpectrographModel& model, CalibObject& object,
                         GlueSpectrum* output, int32_t numFrames) {
  return SessionOf(model).Init(ViewOf(model, object), output, numFrames);
}

NqeErrorCode GlueIncInput(SpectrographModel& model, CalibObject& object,
                          GlueSpectrum* output, const GlueSpectrum* input) {
  return SessionOf(model).Merge(ViewOf(model, object), output, input);
}

NqeErrorCode CleanupIncGlue(SpectrographModel& model, CalibObject&) {
  return SessionOf(model).Cleanup();
}

}  // namespace kvx
