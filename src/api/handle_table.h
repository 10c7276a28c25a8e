// The process-wide table of calibration handles.
#pragma once

#include <atomic>
#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibObject;

class HandleTable {
 public:
  static HandleTable& Instance();

  // Clears every slot's in-use flag (module start-up).
  void ClearInUse();

  NqeErrorCode Create(int32_t mode, CalibHandle* handle);
  NqeErrorCode Destroy(CalibHandle handle);
  // Writes the slot index (also on failure) and, on success, the object.
  NqeErrorCode Lookup(CalibHandle handle, CalibObject** object,
                      uint32_t* index = nullptr) const;

  void SetLastCenterWavelength(uint32_t index, double wavelength);
  double LastCenterWavelength(uint32_t index) const;

 private:
  struct Slot {
    std::atomic<uint32_t> slotIndex{0};
    std::atomic<uint32_t> typeCode{0};
    std::atomic<bool> inUse{false};
    std::atomic<int32_t> mode{0};
    std::atomic<double> lastCenterWavelength{0.0};
    std::atomic<CalibObject*> object{nullptr};
  };

  HandleTable() = default;
  Slot slots_[kMaxCalibObjects];
};

}  // namespace kvx
