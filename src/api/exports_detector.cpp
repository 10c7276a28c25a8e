// Exports of the detector family: each checks the handle and forwards to
// the object's detector store (removal goes through the object, which also
// clears the model's exit IDs).
#include <cstdint>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibInitializeDetector(CalibHandle handle,
                                                     void* record,
                                                     KvxLong size) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject&) {
        return kvx::DetectorStore::InitializeDetector(record, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibValidateDetector(CalibHandle handle,
                                                   const void* record,
                                                   KvxLong size) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().ValidateDetector(record, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibLoadDetector(CalibHandle handle,
                                               const void* record,
                                               KvxLong size) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().LoadDetector(record, size);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibDumpDetector(CalibHandle handle, void* record,
                                               KvxLong size) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().DumpDetector(record, size);
      }));
}

// KvxULong is unsigned long on Windows, so IDs pass through a uint32_t.
KVX_EXPORT KvxULong KVX_CALL CalibGetActiveDetectorID(CalibHandle handle,
                                                      KvxULong* id) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        uint32_t value = 0;
        const NqeErrorCode code =
            o.Detectors().GetActiveDetectorId(id != nullptr ? &value : nullptr);
        if (code == NqeSuccess) *id = value;
        return code;
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSetActiveDetectorID(CalibHandle handle,
                                                      KvxULong id) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().SetActiveDetectorId(static_cast<uint32_t>(id));
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibAddDetector(CalibHandle handle,
                                              const void* record, KvxLong size,
                                              KvxULong* newId) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        // The store writes the ID on every path once it has a place for it.
        uint32_t value = 0;
        const NqeErrorCode code = o.Detectors().AddDetector(
            record, size, newId != nullptr ? &value : nullptr);
        if (newId != nullptr) *newId = value;
        return code;
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibRemoveDetectorID(CalibHandle handle,
                                                   KvxULong id) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.RemoveDetectorId(static_cast<uint32_t>(id));
      }));
}

}  // extern "C"
