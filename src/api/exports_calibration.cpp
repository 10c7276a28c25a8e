// Exports of the calibration family: records, the active calibration, the
// conversions through it and the fit tests.
#include <cstdint>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"

using kvx::WithId;

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibInitializeCalibration(CalibHandle handle,
                                                        void* record,
                                                        KvxLong size) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.InitializeCalibration(record, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibValidateCalibration(CalibHandle handle,
                                                      void* record,
                                                      KvxLong size) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.ValidateCalibration(record, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibLoadCalibration(CalibHandle handle,
                                                  void* record, KvxLong size) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().LoadCalibration(record, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibDumpCalibration(CalibHandle handle,
                                                  void* record, KvxLong size) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().DumpCalibration(record, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetActiveCalibrationID(CalibHandle handle,
                                                         KvxULong* id) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return WithId(id, [&](uint32_t* out) {
          return o.Calibrations().GetActiveCalibrationId(out);
        });
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSetActiveCalibrationID(CalibHandle handle,
                                                         KvxULong id) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().SetActiveCalibrationId(
            static_cast<uint32_t>(id));
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibAddCalibration(CalibHandle handle,
                                                 void* record, KvxLong size,
                                                 KvxULong* newId) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return WithId(newId, [&](uint32_t* out) {
          return o.Calibrations().AddCalibration(record, size, out);
        });
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibRemoveCalibrationID(CalibHandle handle,
                                                      KvxULong id) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().RemoveCalibrationId(static_cast<uint32_t>(id));
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibDataPointToCalibValue(CalibHandle handle,
                                                        double dataPoint,
                                                        double* value) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.DataPointToCalibValue(dataPoint, value);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibCalibValueToDataPoint(CalibHandle handle,
                                                        double value,
                                                        double* dataPoint) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().CalibValueToDataPoint(value, dataPoint);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibCalibratedDataPointArray(CalibHandle handle,
                                                           KvxLong count,
                                                           double* values) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.CalibratedDataPointArray(count, values);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibTestCalibPointFit(CalibHandle handle,
                                                    KvxLong pointNumber,
                                                    double* reference,
                                                    double* fitted,
                                                    double* relativeError) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().TestCalibPointFit(pointNumber, reference,
                                                  fitted, relativeError);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibTestCalibrationFit(CalibHandle handle,
                                                     double* result) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().TestCalibrationFit(result);
      }));
}

}  // extern "C"

// --- C++ exports (decorated names) -------------------------------------------

KVX_EXPORT NqeErrorCode KVX_CALL CalibCalibValueToPixel(CalibHandle handle,
                                                        double value,
                                                        double* pixel) {
  return kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.Calibrations().CalibValueToPixel(value, pixel);
      });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibCalibratedPixelArray(CalibHandle handle,
                                                           KvxLong count,
                                                           double* values) {
  return kvx::WithObject(handle, NqeCalibrationAllocFailed,
                         [&](kvx::CalibObject& o) {
                           return o.CalibratedPixelArray(count, values);
                         });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibPixelToCalibValue(CalibHandle handle,
                                                        double pixel,
                                                        double* value) {
  return kvx::WithObject(
      handle, NqeCalibrationAllocFailed,
      [&](kvx::CalibObject& o) { return o.PixelToCalibValue(pixel, value); });
}
