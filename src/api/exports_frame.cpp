// Module identification, handle creation, copy and destruction.
#include <cstring>
#include <initializer_list>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"

#if defined(_WIN32)
#include <windows.h>

// Process attach clears the handle table; every notification succeeds.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) kvx::HandleTable::Instance().ClearInUse();
  return TRUE;
}
#endif

namespace {
// Fixed values of the host's module interface.
constexpr KvxULong kDeviceCount = 200;
constexpr KvxULong kDeviceSecondCode = 8;
constexpr char kDeviceName[] = "Calibration";
}  // namespace

extern "C" {

KVX_EXPORT KvxULong KVX_CALL GetDeviceCount(KvxULong* count) {
  if (count == nullptr) return NqeNullPointer;
  *count = kDeviceCount;
  return NqeSuccess;
}

KVX_EXPORT KvxULong KVX_CALL GetDeviceID(char* name, KvxULong* typeCode,
                                         KvxULong* secondCode,
                                         KvxULong /*reserved*/) {
  if (name == nullptr || typeCode == nullptr || secondCode == nullptr) {
    return NqeNullPointer;
  }
  std::memcpy(name, kDeviceName, sizeof kDeviceName);
  *typeCode = static_cast<KvxULong>(kCalibTypeTag);
  *secondCode = kDeviceSecondCode;
  return NqeSuccess;
}

KVX_EXPORT KvxULong KVX_CALL CalibCreate(KvxLong mode, CalibHandle* handle) {
  // Without a place for the handle a slot would be lost for good.
  if (handle == nullptr) return NqeNullPointer;
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    return kvx::HandleTable::Instance().Create(mode, handle);
  }));
}

KVX_EXPORT KvxULong KVX_CALL CalibDestroy(CalibHandle handle) {
  return kvx::Plain(kvx::HandleTable::Instance().Destroy(handle));
}

KVX_EXPORT KvxULong KVX_CALL CalibCopyCalibObject(CalibHandle target,
                                                  CalibHandle source) {
  kvx::HandleTable& table = kvx::HandleTable::Instance();
  kvx::CalibObject* targetObject = nullptr;
  kvx::CalibObject* sourceObject = nullptr;
  NqeErrorCode code = table.Lookup(target, &targetObject);
  if (code != NqeSuccess) return kvx::Plain(code);
  code = table.Lookup(source, &sourceObject);
  if (code != NqeSuccess) return kvx::Plain(code);
  return kvx::Plain(kvx::Guarded(NqeCalibrationAllocFailed, [&] {
    return targetObject->CopyFrom(*sourceObject);
  }));
}

// No version is reported, whatever the first argument holds.
KVX_EXPORT KvxULong KVX_CALL CalibVerOfDLL(KvxULong /*ignored*/, KvxULong* a,
                                           KvxULong* b, KvxULong* c,
                                           KvxULong* d) {
  for (KvxULong* out : {a, b, c, d}) {
    if (out != nullptr) *out = 0;
  }
  return NqeNotSupported;
}

}  // extern "C"
