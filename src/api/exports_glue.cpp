// Exports of the glue family: stepped spectra joined onto one axis, all at
// once or block by block. Allocation failures answer 11078.
#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "glue/glue_session.h"

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibGlueInput(CalibHandle handle,
                                            GlueSpectrum* inputs,
                                            KvxLong inputCount,
                                            GlueSpectrum* output) {
  return kvx::Plain(
      kvx::WithModel(handle, NqeGlueBadArgument,
                     [&](kvx::SpectrographModel& m, kvx::CalibObject& o) {
                       return kvx::GlueInput(m, o, inputs, inputCount, output);
                     }));
}

KVX_EXPORT KvxULong KVX_CALL CalibValidateGlue(CalibHandle handle,
                                               GlueSpectrum* inputs,
                                               KvxLong inputCount,
                                               GlueSpectrum* output) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeGlueBadArgument,
      [&](kvx::SpectrographModel& m, kvx::CalibObject& o) {
        return kvx::ValidateGlue(m, o, inputs, inputCount, output, 1);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibInitIncStepAndGlue(CalibHandle handle,
                                                     GlueSpectrum* output,
                                                     KvxLong numFrames) {
  return kvx::Plain(
      kvx::WithModel(handle, NqeGlueBadArgument,
                     [&](kvx::SpectrographModel& m, kvx::CalibObject& o) {
                       return kvx::InitIncGlue(m, o, output, numFrames);
                     }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGlueIncInput(CalibHandle handle,
                                               GlueSpectrum* output,
                                               GlueSpectrum* input) {
  return kvx::Plain(
      kvx::WithModel(handle, NqeGlueBadArgument,
                     [&](kvx::SpectrographModel& m, kvx::CalibObject& o) {
                       return kvx::GlueIncInput(m, o, output, input);
                     }));
}

KVX_EXPORT KvxULong KVX_CALL CalibCleanupIncGlue(CalibHandle handle) {
  return kvx::Plain(
      kvx::WithModel(handle, NqeGlueBadArgument,
                     [&](kvx::SpectrographModel& m, kvx::CalibObject& o) {
                       return kvx::CleanupIncGlue(m, o);
                     }));
}

}  // extern "C"
