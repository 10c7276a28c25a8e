// Calibration point files. Three exports work on the file alone and take no
// handle; CalibLoadCalibFile installs a segment into the handle's active
// calibration.
#include <cstdint>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "calibfile/calib_point_file.h"

namespace {

// Only the low 16 bits of the version slot count.
int16_t Version(short version) { return static_cast<int16_t>(version); }

}  // namespace

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibLoadCalibFile(CalibHandle handle,
                                                const char* fileName,
                                                short version, KvxLong segment,
                                                double wavelengthOffset,
                                                double laserLine) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return o.LoadCalibFile(fileName, Version(version), segment,
                               wavelengthOffset, laserLine);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetNumSegments(const char* fileName,
                                                 short version,
                                                 KvxLong* numSegments) {
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    int32_t count = 0;
    const NqeErrorCode code = kvx::GetNumSegments(
        fileName, Version(version), numSegments ? &count : nullptr);
    if (code == NqeSuccess) *numSegments = count;
    return code;
  }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetNumPoints(const char* fileName,
                                               short version, KvxLong segment,
                                               KvxLong* numPoints) {
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    int32_t count = 0;
    const NqeErrorCode code = kvx::GetNumPoints(
        fileName, Version(version), segment, numPoints ? &count : nullptr);
    if (code == NqeSuccess) *numPoints = count;
    return code;
  }));
}

KVX_EXPORT KvxULong KVX_CALL CalibLoadCalibPoints(const char* fileName,
                                                  short version,
                                                  KvxLong segment,
                                                  CalibPoint* points,
                                                  KvxLong maxPoints) {
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    return kvx::LoadCalibPoints(fileName, Version(version), segment, points,
                                maxPoints);
  }));
}

}  // extern "C"
