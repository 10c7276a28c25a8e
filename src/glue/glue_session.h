// The glue of one calibration object: joins blocks of spectra taken at
// several center wavelengths onto the regular axis glueStart .. glueEnd
// (spacing glueStep), all at once or block by block. The session keeps what
// an incremental glue needs between calls (the output it works on and the
// coverage of every output point); the range and the spacing belong to the
// spectrograph model's stepping state and reach the session through a
// GlueView.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibrationStore;
class CalibObject;
class SpectrographModel;

// What the glue reads from (and writes to) the rest of the object.
struct GlueView {
  double start = 0.0;  // glueStart: may exceed end (descending axis)
  double end = 0.0;    // glueEnd
  double step = 0.0;   // glueStep
  bool* validated = nullptr;
  const CalibrationStore* calibrations = nullptr;  // units, laser line
};

// X values of a record and their unit.
struct GlueAxis {
  double* x = nullptr;
  int32_t unit = 0;
};

class GlueSession {
 public:
  // Checks the inputs' X values and the range; with prepareOutput zeroes
  // and fills in the output record.
  NqeErrorCode Validate(const GlueView& view, const GlueSpectrum* inputs,
                        int32_t count, GlueSpectrum* output,
                        bool prepareOutput);
  NqeErrorCode GlueAll(const GlueView& view, const GlueSpectrum* inputs,
                       int32_t count, GlueSpectrum* output);
  NqeErrorCode Init(const GlueView& view, GlueSpectrum* output,
                    int32_t numFrames);
  NqeErrorCode Merge(const GlueView& view, GlueSpectrum* output,
                     const GlueSpectrum* input);
  NqeErrorCode Cleanup();

  bool Active() const { return incGlueActive_; }
  int32_t PointCount() const { return gluePointCount_; }

 private:
  NqeErrorCode ResolveAxis(const GlueView& view, const GlueSpectrum& record,
                           bool isOutput, GlueAxis* axis) const;
  // Edges of the current input in the output unit, ascending; reverses the
  // input values when the conversion turned the axis around.
  NqeErrorCode BuildInputEdges(const GlueView& view, const GlueAxis& in,
                               const GlueAxis& out, double lo, double hi,
                               double* values, size_t frames,
                               std::vector<double>& edges) const;

  bool incGlueActive_ = false;
  int32_t gluePointCount_ = 0;
  GlueSpectrum* glueOutput_ = nullptr;       // not owned
  const GlueSpectrum* glueInput_ = nullptr;  // not owned
  double* glueOutputData_ = nullptr;         // the caller's; never freed
  std::vector<int32_t> glueCounts_;          // 0 = output point not filled
};

// The five glue operations of an automatic object (the session is created
// on first use).
NqeErrorCode ValidateGlue(SpectrographModel& model, CalibObject& object,
                          const GlueSpectrum* inputs, int32_t count,
                          GlueSpectrum* output, int32_t prepareOutput);
NqeErrorCode GlueInput(SpectrographModel& model, CalibObject& object,
                       const GlueSpectrum* inputs, int32_t count,
                       GlueSpectrum* output);
NqeErrorCode InitIncGlue(SpectrographModel& model, CalibObject& object,
                         GlueSpectrum* output, int32_t numFrames);
NqeErrorCode GlueIncInput(SpectrographModel& model, CalibObject& object,
                          GlueSpectrum* output, const GlueSpectrum* input);
NqeErrorCode CleanupIncGlue(SpectrographModel& model, CalibObject& object);

}  // namespace kvx
