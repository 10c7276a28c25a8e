#include "api/handle_table.h"

#include <new>

#include "api/calib_object.h"

namespace kvx {

namespace {
constexpr uint32_t kSlotMask = 0xFFU;
}

HandleTable& HandleTable::Instance() {
  // Constant-initialised: all slots are zero before the first call.
  static HandleTable table;
  return table;
}

void HandleTable::ClearInUse() {
  for (Slot& slot : slots_) slot.inUse.store(false);
}

NqeErrorCode HandleTable::Create(int32_t mode, CalibHandle* handle) {
  // Claim the lowest free slot. The compare-exchange makes the claim atomic,
  // so two threads creating at once never receive the same slot.
  uint32_t index = 0;
  for (;; ++index) {
    if (index >= static_cast<uint32_t>(kMaxCalibObjects))
      return NqeNoFreeHandle;
    bool expected = false;
    if (slots_[index].inUse.compare_exchange_strong(expected, true)) break;
  }
  Slot& slot = slots_[index];
  *handle = index;
  slot.slotIndex.store(index);
  slot.typeCode.store(static_cast<uint32_t>(kCalibTypeTag));
  slot.mode.store(mode);

  CalibObject* object = new (std::nothrow) CalibObject();
  *handle |= static_cast<uint32_t>(kCalibTypeTag);
  // A slot whose object could not be made stays taken: the handle cannot be
  // validated, so it can never be destroyed.
  if (object == nullptr) return NqeCalibrationAllocFailed;
  slot.object.store(object);
  if (mode < CalibModeManual || mode > CalibModeAutomatic)
    return NqeInvalidMode;

  bool ready = false;
  try {
    ready = object->SetupForMode(mode == CalibModeAutomatic);
  } catch (const std::bad_alloc&) {
    ready = false;
  }
  if (ready) return NqeSuccess;
  // The object is gone; the slot stays taken but no longer refers to it, so
  // the handle is answered with 11001 instead of reaching freed memory.
  slot.object.store(nullptr);
  delete object;
  return NqeModeSetupFailed;
}

NqeErrorCode HandleTable::Lookup(CalibHandle handle, CalibObject** object,
                                 uint32_t* index) const {
  const uint32_t slotIndex = handle & kSlotMask;
  if (index != nullptr) *index = slotIndex;
  if (slotIndex >= static_cast<uint32_t>(kMaxCalibObjects)) {
    return NqeInvalidCalibration;
  }
  const Slot& slot = slots_[slotIndex];
  CalibObject* found = slot.object.load();
  if (!slot.inUse.load() || found == nullptr) return NqeInvalidHandle;
  *object = found;
  return NqeSuccess;
}

NqeErrorCode HandleTable::Destroy(CalibHandle handle) {
  CalibObject* object = nullptr;
  uint32_t index = 0;
  const NqeErrorCode code = Lookup(handle, &object, &index);
  if (code != NqeSuccess) return code;
  Slot& slot = slots_[index];
  // Only the caller that takes the object out destroys it; a racing destroy
  // of the same handle finds the slot empty.
  object = slot.object.exchange(nullptr);
  if (object == nullptr) return NqeInvalidHandle;
  slot.inUse.store(false);
  delete object;
  return NqeSuccess;
}

void HandleTable::SetLastCenterWavelength(uint32_t index, double wavelength) {
  if (index < static_cast<uint32_t>(kMaxCalibObjects)) {
    slots_[index].lastCenterWavelength.store(wavelength);
  }
}

double HandleTable::LastCenterWavelength(uint32_t index) const {
  if (index >= static_cast<uint32_t>(kMaxCalibObjects)) return 0.0;
  return slots_[index].lastCenterWavelength.load();
}

}  // namespace kvx
