// Exports of the SPE family: the calibration block exchange and the release
// of a table that a dump handed out (an extension).
#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "calibration/spe_block.h"

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibLoadSPECalibration(CalibHandle handle,
                                                     void* block,
                                                     KvxLong size) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::LoadSpeCalibration(o.Calibrations(), block, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibDumpSPECalibration(CalibHandle handle,
                                                     void* block,
                                                     KvxLong size) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::DumpSpeCalibration(o.Calibrations(), block, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL KvxFreeSPECalibrationTable(void* block,
                                                        KvxLong size) {
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    return kvx::ReleaseSpeTable(block, size);
  }));
}

}  // extern "C"
