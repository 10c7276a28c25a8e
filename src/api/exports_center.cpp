// Exports of the center wavelength, the stepping of wide ranges, the
// calibration made from the grating model and the target slots. Automatic
// mode only (11054 on a manual object).
#include <cstdint>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "spectrograph/center_stepping.h"
#include "spectrograph/target_slots.h"

namespace {

// The step-center array and the model calibration record are the only
// allocations; running out of memory is reported like a failed calibration.
constexpr NqeErrorCode kAllocFailure = NqeCalibrationAllocFailed;

// A model operation behind the common frame.
template <class Op>
KvxULong Model(CalibHandle handle, Op&& op) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailure,
      [&](kvx::SpectrographModel& m, kvx::CalibObject&) { return op(m); }));
}

}  // namespace

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibSetCenterWavelength(CalibHandle handle,
                                                      double wavelength) {
  return kvx::Plain(kvx::WithModelKeepingCenter(
      handle, wavelength, kAllocFailure,
      [&](kvx::SpectrographModel& m, kvx::CalibObject&) {
        return kvx::SetCenterWavelength(m, wavelength);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSetCenterCalibValue(CalibHandle handle,
                                                      double value) {
  return Model(handle,
               [&](auto& m) { return kvx::SetCenterCalibValue(m, value); });
}

KVX_EXPORT KvxULong KVX_CALL CalibConvertCenterWavelength(CalibHandle handle,
                                                          double wavelength,
                                                          double* driveValue) {
  return Model(handle, [&](auto& m) {
    return kvx::ConvertCenterWavelength(m, wavelength, driveValue);
  });
}

KVX_EXPORT KvxULong KVX_CALL CalibCalcCenterOffset(CalibHandle handle,
                                                   double dataPoint) {
  return Model(handle,
               [&](auto& m) { return kvx::CalcCenterOffset(m, dataPoint); });
}

KVX_EXPORT KvxULong KVX_CALL CalibCalcSlopeAdjust(CalibHandle handle, double a,
                                                  double b) {
  return Model(handle, [&](auto& m) { return kvx::CalcSlopeAdjust(m, a, b); });
}

KVX_EXPORT KvxULong KVX_CALL CalibGetNumberSteps(CalibHandle handle,
                                                 double start, double end,
                                                 double overlap,
                                                 KvxLong* steps) {
  return Model(handle, [&](auto& m) {
    int32_t count = 0;
    const NqeErrorCode code =
        kvx::GetNumberSteps(m, start, end, overlap, steps ? &count : nullptr);
    if (code == NqeSuccess) *steps = count;
    return code;
  });
}

KVX_EXPORT KvxULong KVX_CALL CalibGetStepCenterValues(CalibHandle handle,
                                                      KvxLong count,
                                                      double* values) {
  return Model(handle, [&](auto& m) {
    return kvx::GetStepCenterValues(m, count, values);
  });
}

KVX_EXPORT KvxULong KVX_CALL CalibSetupSpecCalArray(CalibHandle handle) {
  return Model(handle, [&](auto& m) { return kvx::SetupSpecCalArray(m); });
}

KVX_EXPORT KvxULong KVX_CALL CalibSetRefCursorPosition(CalibHandle handle,
                                                       KvxLong slot,
                                                       double pixel) {
  return Model(handle, [&](auto& m) {
    return kvx::SetRefCursorPosition(m, slot, pixel);
  });
}

KVX_EXPORT KvxULong KVX_CALL CalibGetRefCursorPosition(CalibHandle handle,
                                                       KvxLong slot,
                                                       double* pixel) {
  return Model(handle, [&](auto& m) {
    return kvx::GetRefCursorPosition(m, slot, pixel);
  });
}

KVX_EXPORT KvxULong KVX_CALL CalibSetTargetWaveLength(CalibHandle handle,
                                                      KvxLong slot,
                                                      double wavelength) {
  return Model(handle, [&](auto& m) {
    return kvx::SetTargetWaveLength(m, slot, wavelength);
  });
}

KVX_EXPORT KvxULong KVX_CALL CalibGetTargetWaveLength(CalibHandle handle,
                                                      KvxLong slot,
                                                      double* wavelength) {
  return Model(handle, [&](auto& m) {
    return kvx::GetTargetWaveLength(m, slot, wavelength);
  });
}

}  // extern "C"
