// Exports of the dispersion optimisation family: target data, the
// optimisation run and its two parameter sets.
#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "optimise/disp_params.h"
#include "optimise/target_data.h"

using kvx::CalibObject;
using kvx::SpectrographModel;

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibCalcDispersionTargetData(CalibHandle handle,
                                                           double firstLine,
                                                           double secondLine) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeNullPointer, [&](SpectrographModel& m, CalibObject&) {
        return kvx::CalcDispersionTargetData(m, firstLine, secondLine);
      }));
}

// Only the optimisation state is allocated here; when that fails there is
// no (new) state to report, hence 11071.
KVX_EXPORT KvxULong KVX_CALL CalibOptimizeSpectrograph(
    CalibHandle handle, double* focalLength, double* inclusionAngle,
    double* detectorAngle, double* objective, double* pixelError) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeNoOptimisationData, [&](SpectrographModel& m, CalibObject&) {
        return kvx::OptimizeSpectrograph(
            m, {focalLength, inclusionAngle, detectorAngle, objective,
                pixelError});
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetOrigDispParams(
    CalibHandle handle, double* focalLength, double* inclusionAngle,
    double* detectorAngle, double* objective, double* pixelError) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeNullPointer, [&](SpectrographModel& m, CalibObject&) {
        return kvx::GetOrigDispParams(
            m, {focalLength, inclusionAngle, detectorAngle, objective,
                pixelError});
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetOptimDispParams(
    CalibHandle handle, double* focalLength, double* inclusionAngle,
    double* detectorAngle, double* objective, double* pixelError) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeNullPointer, [&](SpectrographModel& m, CalibObject&) {
        return kvx::GetOptimDispParams(
            m, {focalLength, inclusionAngle, detectorAngle, objective,
                pixelError});
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibInstallOrigDispParams(CalibHandle handle,
                                                        double* objective,
                                                        double* pixelError) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeNullPointer, [&](SpectrographModel& m, CalibObject&) {
        return kvx::InstallOrigDispParams(m, objective, pixelError);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibInstallOptimDispParams(CalibHandle handle,
                                                         double* objective,
                                                         double* pixelError) {
  return kvx::Plain(kvx::WithModel(
      handle, NqeNullPointer, [&](SpectrographModel& m, CalibObject&) {
        return kvx::InstallOptimDispParams(m, objective, pixelError);
      }));
}

}  // extern "C"

KVX_EXPORT NqeErrorCode KVX_CALL
CalibValidateSpecOptStruct(CalibHandle handle) {
  return kvx::WithModel(handle, NqeNullPointer,
                        [&](SpectrographModel& m, CalibObject&) {
                          return kvx::ValidateSpecOptStruct(m);
                        });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibValidateTargetData(CalibHandle handle) {
  return kvx::WithModel(handle, NqeNullPointer,
                        [&](SpectrographModel& m, CalibObject&) {
                          return kvx::ValidateTargetData(m);
                        });
}
