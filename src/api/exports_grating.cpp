// Exports of the grating model: wavelengths of pixels and data points, the
// rotation limit and angle, the dispersion at the center and the whole-array
// conversions. Automatic mode only (11054 on a manual object).
#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "spectrograph/grating_equation.h"

namespace {
// Nothing here allocates except the calibration store's conversions.
constexpr NqeErrorCode kAllocFailure = NqeCalibrationAllocFailed;
}  // namespace

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibCalcDataPointWaveLength(CalibHandle handle,
                                                          double dataPoint,
                                                          double* wavelength) {
  return kvx::Plain(kvx::WithSlotCenter(
      handle, kAllocFailure, [&](kvx::CalibObject& o, double center) {
        return o.CalcDataPointWaveLength(center, dataPoint, wavelength);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibCalcDataPointCalibValue(CalibHandle handle,
                                                          double dataPoint,
                                                          double* value) {
  return kvx::Plain(kvx::WithSlotCenter(
      handle, kAllocFailure, [&](kvx::CalibObject& o, double center) {
        return o.CalcDataPointCalibValue(center, dataPoint, value);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibCalcDataPointCalibArray(CalibHandle handle,
                                                          KvxLong count,
                                                          double* values) {
  return kvx::Plain(
      kvx::WithObject(handle, kAllocFailure, [&](kvx::CalibObject& o) {
        return o.CalcDataPointCalibArray(count, values);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibTestWavelength(CalibHandle handle,
                                                 double wavelength,
                                                 double* limit) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailure, [&](kvx::SpectrographModel& m, kvx::CalibObject&) {
        return kvx::TestWavelength(m, wavelength, limit);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetCenterResolution(CalibHandle handle,
                                                      double* resolution) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailure, [&](kvx::SpectrographModel& m, kvx::CalibObject&) {
        return kvx::CenterResolution(m, resolution);
      }));
}

}  // extern "C"

KVX_EXPORT NqeErrorCode KVX_CALL CalibCalcCalibPixelArray(CalibHandle handle,
                                                          KvxLong count,
                                                          double* values) {
  return kvx::WithObject(handle, kAllocFailure, [&](kvx::CalibObject& o) {
    return o.CalcCalibPixelArray(count, values);
  });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibCalcPxlWavLngth(CalibHandle handle,
                                                      double pixel,
                                                      double* wavelength) {
  return kvx::WithSlotCenter(
      handle, kAllocFailure, [&](kvx::CalibObject& o, double center) {
        return o.CalcPxlWavLngth(center, pixel, wavelength);
      });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibGratingRotationAngle(CalibHandle handle,
                                                           double wavelength,
                                                           double* angle) {
  return kvx::WithModel(handle, kAllocFailure,
                        [&](kvx::SpectrographModel& m, kvx::CalibObject&) {
                          return kvx::GratingRotationAngle(
                              m, wavelength, m.optics.inclusionAngle, angle);
                        });
}
