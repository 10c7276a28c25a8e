// Exports of the spectrograph hardware family: spectrographs, turrets,
// gratings and the exit mirror of an automatic object's model.
#include <cstdint>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"

namespace {
// Running out of memory while building hardware lists is reported as the
// family's allocation failure; the exit mirror's as its side-exit detector.
constexpr NqeErrorCode kAllocFailed = NqeSpectrographAllocFailed;
using Model = kvx::SpectrographModel;
using Object = kvx::CalibObject;
}  // namespace

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibLoadSpectrograph(CalibHandle handle,
                                                   const void* record,
                                                   KvxLong size) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailed,
      [&](Model& m, Object&) { return m.LoadSpectrograph(record, size); }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetActiveSpectrographID(CalibHandle handle,
                                                          KvxULong* id) {
  return kvx::Plain(
      kvx::WithModel(handle, kAllocFailed, [&](Model& m, Object&) {
        return kvx::WithId(
            id, [&](uint32_t* out) { return m.GetActiveSpectrographId(out); },
            /*onSuccessOnly=*/true);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSetActiveSpectrographID(CalibHandle handle,
                                                          KvxULong id) {
  return kvx::Plain(
      kvx::WithModel(handle, kAllocFailed, [&](Model& m, Object&) {
        return m.SetActiveSpectrographId(static_cast<uint32_t>(id));
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibAddSpectrograph(CalibHandle handle,
                                                  const void* record,
                                                  KvxLong size,
                                                  KvxULong* newId) {
  return kvx::Plain(
      kvx::WithModel(handle, kAllocFailed, [&](Model& m, Object&) {
        return kvx::WithId(newId, [&](uint32_t* out) {
          return m.AddSpectrograph(record, size, out);
        });
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibRemoveSpectrographID(CalibHandle handle,
                                                       KvxULong id) {
  return kvx::Plain(
      kvx::WithModel(handle, kAllocFailed, [&](Model& m, Object&) {
        return m.RemoveSpectrographId(static_cast<uint32_t>(id));
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibLoadTurrets(CalibHandle handle,
                                              const void* turrets, KvxLong size,
                                              KvxLong count) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailed,
      [&](Model& m, Object&) { return m.LoadTurrets(turrets, size, count); }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSelectTurret(CalibHandle handle,
                                               KvxLong turretNumber) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailed,
      [&](Model& m, Object&) { return m.SelectTurret(turretNumber); }));
}

KVX_EXPORT KvxULong KVX_CALL CalibLoadGratings(CalibHandle handle,
                                               const void* gratings,
                                               KvxLong size, KvxLong count) {
  return kvx::Plain(
      kvx::WithModel(handle, kAllocFailed, [&](Model& m, Object&) {
        return m.LoadGratings(gratings, size, count);
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSelectGrating(CalibHandle handle,
                                                KvxLong gratingNumber) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailed,
      [&](Model& m, Object&) { return m.SelectGrating(gratingNumber); }));
}

KVX_EXPORT KvxULong KVX_CALL CalibAddExitMirror(CalibHandle handle) {
  return kvx::Plain(
      kvx::WithModel(handle, NqeDetectorAllocFailed,
                     [&](Model& m, Object&) { return m.AddExitMirror(); }));
}

KVX_EXPORT KvxULong KVX_CALL CalibRemoveExitMirror(CalibHandle handle) {
  // An exit mirror, once added, stays: the call only checks for a model.
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailed, [&](Model&, Object&) { return NqeSuccess; }));
}

KVX_EXPORT KvxULong KVX_CALL CalibSetExitMirrorPosition(CalibHandle handle,
                                                        KvxLong position) {
  return kvx::Plain(kvx::WithModel(
      handle, kAllocFailed,
      [&](Model& m, Object&) { return m.SetExitMirrorPosition(position); }));
}

}  // extern "C"

// --- C++ exports (decorated names) -------------------------------------------

KVX_EXPORT NqeErrorCode KVX_CALL CalibSetGratingByIndexNum(
    CalibHandle handle, KvxLong turretNumber, KvxLong gratingNumber) {
  return kvx::WithModel(handle, kAllocFailed, [&](Model& m, Object&) {
    return m.SetGratingByIndexNum(turretNumber, gratingNumber);
  });
}
