#include "spectrograph/target_slots.h"

#include "spectrograph/center_stepping.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

constexpr int32_t kSlots = 4;

// The slot numbered 1..4 at the interface, which becomes the one last
// addressed; null (11047) outside that range.
TargetSlot* Address(SpectrographModel& model, int32_t slot) {
  if (slot < 1 || slot > kSlots) return nullptr;
  model.lastTargetSlot = slot - 1;
  return &model.targets[slot - 1];
}

}  // namespace

NqeErrorCode SetRefCursorPosition(SpectrographModel& model, int32_t slot,
                                  double pixel) {
  TargetSlot* target = Address(model, slot);
  if (target == nullptr) return NqeBadNumber;
  target->referenceCursor = pixel;
  return NqeSuccess;
}

NqeErrorCode GetRefCursorPosition(SpectrographModel& model, int32_t slot,
                                  double* pixel) {
  TargetSlot* target = Address(model, slot);
  if (target == nullptr) return NqeBadNumber;
  if (pixel == nullptr) return NqeNullPointer;
  *pixel = target->referenceCursor;
  return NqeSuccess;
}

NqeErrorCode SetTargetWaveLength(SpectrographModel& model, int32_t slot,
                                 double wavelength) {
  TargetSlot* target = Address(model, slot);
  if (target == nullptr) return NqeBadNumber;
  // The slot records where the grating would be set for this target; the
  // spectrograph's own center is put back afterwards. A target the grating
  // cannot reach keeps the current effective center, and still succeeds.
  const double remembered = model.center.requestedCenter;
  (void)SetCenterWavelength(model, wavelength);
  target->targetCenter = wavelength;
  target->effectiveCenter = model.center.effectiveCenter;
  (void)SetCenterWavelength(model, remembered);
  return NqeSuccess;
}

NqeErrorCode GetTargetWaveLength(SpectrographModel& model, int32_t slot,
                                 double* wavelength) {
  TargetSlot* target = Address(model, slot);
  if (target == nullptr) return NqeBadNumber;
  if (wavelength == nullptr) return NqeNullPointer;
  *wavelength = target->targetCenter;
  return NqeSuccess;
}

}  // namespace kvx
