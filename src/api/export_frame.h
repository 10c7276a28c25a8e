// The shape shared by every exported function that takes a handle: check the
// handle, fetch the slot's object, make one call and return its code. No
// exception leaves an export.
#pragma once

#include <cstdint>
#include <new>

#include "KelvoCalibrate.h"
#include "api/calib_object.h"
#include "api/handle_table.h"

namespace kvx {

// Runs op(), turning an allocation failure into `allocFailure`.
template <class Op>
NqeErrorCode Guarded(NqeErrorCode allocFailure, Op&& op) noexcept {
  try {
    return op();
  } catch (const std::bad_alloc&) {
    return allocFailure;
  } catch (...) {
    // Nothing else is thrown by the library; treat any surprise as the
    // resource failure of the family rather than let it cross the boundary.
    return allocFailure;
  }
}

// Handle check, object lookup, one call on the object.
template <class Op>
NqeErrorCode WithObject(CalibHandle handle, NqeErrorCode allocFailure,
                        Op&& op) noexcept {
  CalibObject* object = nullptr;
  const NqeErrorCode code = HandleTable::Instance().Lookup(handle, &object);
  if (code != NqeSuccess) return code;
  return Guarded(allocFailure, [&] { return op(*object); });
}

// The same for the operations of automatic mode: a manual object (no
// spectrograph model) answers 11054 before anything else.
template <class Op>
NqeErrorCode WithModel(CalibHandle handle, NqeErrorCode allocFailure,
                       Op&& op) noexcept {
  return WithObject(handle, allocFailure, [&](CalibObject& object) {
    SpectrographModel* model = object.Model();
    if (model == nullptr) return NqeNoSpectrographModel;
    return op(*model, object);
  });
}

// CalibSetCenterWavelength's frame: after the handle check and before the
// object is asked, the slot keeps the wavelength, so it is kept even when
// the object then refuses it (11054 on a manual object). The slot's value
// outlives the object (a later object in the slot computes with it).
template <class Op>
NqeErrorCode WithModelKeepingCenter(CalibHandle handle, double center,
                                    NqeErrorCode allocFailure,
                                    Op&& op) noexcept {
  CalibObject* object = nullptr;
  uint32_t index = 0;
  HandleTable& table = HandleTable::Instance();
  const NqeErrorCode code = table.Lookup(handle, &object, &index);
  if (code != NqeSuccess) return code;
  table.SetLastCenterWavelength(index, center);
  return Guarded(allocFailure, [&] {
    SpectrographModel* model = object->Model();
    if (model == nullptr) return NqeNoSpectrographModel;
    return op(*model, *object);
  });
}

// The exports that compute with the center wavelength kept in the handle's
// slot (0.0 until one is set), not with the model's own center.
template <class Op>
NqeErrorCode WithSlotCenter(CalibHandle handle, NqeErrorCode allocFailure,
                            Op&& op) noexcept {
  CalibObject* object = nullptr;
  uint32_t index = 0;
  const HandleTable& table = HandleTable::Instance();
  const NqeErrorCode code = table.Lookup(handle, &object, &index);
  if (code != NqeSuccess) return code;
  const double center = table.LastCenterWavelength(index);
  return Guarded(allocFailure, [&] { return op(*object, center); });
}

// The interface's unsigned long is not uint32_t on every platform; an ID
// passes through a local of the stores' type. A null pointer reaches the
// operation as null and is refused there. By default the local is copied
// out whatever the result (operations that report 0 on failure); with
// `onSuccessOnly` the caller's value is left untouched on failure.
template <class Op>
NqeErrorCode WithId(KvxULong* id, Op&& op, bool onSuccessOnly = false) {
  uint32_t local = 0;
  const NqeErrorCode code = op(id != nullptr ? &local : nullptr);
  if (id != nullptr && (code == NqeSuccess || !onSuccessOnly)) {
    *id = static_cast<KvxULong>(local);
  }
  return code;
}

// Plain exports return the code as a 32-bit unsigned integer.
inline KvxULong Plain(NqeErrorCode code) { return static_cast<KvxULong>(code); }

}  // namespace kvx
