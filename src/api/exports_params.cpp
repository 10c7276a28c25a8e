// Exports of the parameter interface: single fields read and written by ID.
#include <cstdint>
#include <type_traits>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"
#include "api/parameters.h"

namespace {

// The interface's long is 32 bits but not int32_t on every platform; where
// it differs the value travels through a local (copied in, so that a read
// that writes nothing leaves the caller's value as it was).
template <class Op>
NqeErrorCode WithInt32(KvxLong* value, Op&& op) {
  if constexpr (std::is_same_v<KvxLong, int32_t>) {
    return op(value);
  } else {
    if (value == nullptr) return op(nullptr);
    int32_t local = static_cast<int32_t>(*value);
    const NqeErrorCode code = op(&local);
    *value = static_cast<KvxLong>(local);
    return code;
  }
}

}  // namespace

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibSetIntParam(CalibHandle handle, KvxLong id,
                                              KvxLong value) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::SetIntParam(o, id, static_cast<int32_t>(value));
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetIntParam(CalibHandle handle, KvxLong id,
                                              KvxLong* value) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return WithInt32(
            value, [&](int32_t* out) { return kvx::GetIntParam(o, id, out); });
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSetDoubleParam(CalibHandle handle, KvxLong id,
                                                 double value) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed,
      [&](kvx::CalibObject& o) { return kvx::SetDoubleParam(o, id, value); }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetDoubleParam(CalibHandle handle, KvxLong id,
                                                 double* value) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed,
      [&](kvx::CalibObject& o) { return kvx::GetDoubleParam(o, id, value); }));
}

// Also exported as CalibGetDoubleArray: one entry point under two names.
KVX_EXPORT KvxULong KVX_CALL CalibSetDoubleArray(CalibHandle handle, KvxLong id,
                                                 double* array, KvxLong count) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::SetDoubleArrayParam(o, id, array, count);
      }));
}

#if !defined(_WIN32)
// Windows exports the second name from the module-definition file.
KVX_EXPORT KvxULong KVX_CALL CalibGetDoubleArray(CalibHandle handle, KvxLong id,
                                                 double* array, KvxLong count)
    __attribute__((alias("CalibSetDoubleArray")));
#endif

KVX_EXPORT KvxULong KVX_CALL CalibSetStrParam(CalibHandle handle, KvxLong id,
                                              const char* text,
                                              KvxLong length) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::SetStrParam(o, id, text, length);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetStrParam(CalibHandle handle, KvxLong id,
                                              char* buffer, KvxLong length) {
  return kvx::Plain(kvx::WithObject(
      handle, NqeCalibrationAllocFailed, [&](kvx::CalibObject& o) {
        return kvx::GetStrParam(o, id, buffer, length);
      }));
}

}  // extern "C"
