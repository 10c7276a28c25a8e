// Generic accessors of the parameter table: a parameter that reads or writes
// one member of one part is named by its member pointer; the owner of that
// member (active detector, active calibration, model, active grating...) is
// found from the member's class, each with the code that says it is missing.
#pragma once

#include <cstdint>
#include <type_traits>

#include "KelvoCalibrate.h"
#include "api/calib_object.h"
#include "calibration/units.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

// --- owners ------------------------------------------------------------------
// A row that reaches the active detector or calibration refuses with 11010 or
// 11021 when there is none (no export empties a store, but the stores allow
// it), rather than reach into nothing.

template <class Owner>
NqeErrorCode FindOwner(CalibObject& object, Owner** owner);

template <>
inline NqeErrorCode FindOwner(CalibObject& object, DetectorStore** owner) {
  *owner = &object.Detectors();
  return NqeSuccess;
}

template <>
inline NqeErrorCode FindOwner(CalibObject& object, DetectorEntry** owner) {
  *owner = object.Detectors().ActiveEntry();
  return *owner != nullptr ? NqeSuccess : NqeNoActiveDetector;
}

template <>
inline NqeErrorCode FindOwner(CalibObject& object, CalibrationStore** owner) {
  *owner = &object.Calibrations();
  return NqeSuccess;
}

template <>
inline NqeErrorCode FindOwner(CalibObject& object, CalibrationRecord** owner) {
  *owner = object.Calibrations().ActiveRecord();
  return *owner != nullptr ? NqeSuccess : NqeInvalidCalibration;
}

template <>
inline NqeErrorCode FindOwner(CalibObject& object, SpectrographModel** owner) {
  *owner = object.Model();
  return *owner != nullptr ? NqeSuccess : NqeNoSpectrographModel;
}

template <>
inline NqeErrorCode FindOwner(CalibObject& object, Spectrograph** owner) {
  SpectrographModel* model = object.Model();
  if (model == nullptr) return NqeNoSpectrographModel;
  *owner = model->ActiveSpectrograph();
  return *owner != nullptr ? NqeSuccess : NqeNoSpectrographSelected;
}

template <>
inline NqeErrorCode FindOwner(CalibObject& object, Grating** owner) {
  SpectrographModel* model = object.Model();
  if (model == nullptr) return NqeNoSpectrographModel;
  *owner = model->ActiveGrating();
  return *owner != nullptr ? NqeSuccess : NqeNoGratingSelected;
}

template <>
inline NqeErrorCode FindOwner(CalibObject& object, SteppingState** owner) {
  SpectrographModel* model = object.Model();
  if (model == nullptr) return NqeNoSpectrographModel;
  *owner = &model->stepping;
  return NqeSuccess;
}

// --- members -----------------------------------------------------------------

template <class M>
struct MemberOf;
template <class C, class T>
struct MemberOf<T C::*> {
  using Owner = C;
  using Field = T;
};

// Reads owner.*Member as a V.
template <auto Member, class V>
NqeErrorCode ReadMember(CalibObject& object, V* out) {
  typename MemberOf<decltype(Member)>::Owner* owner = nullptr;
  if (const NqeErrorCode code = FindOwner(object, &owner); code != NqeSuccess) {
    return code;
  }
  *out = static_cast<V>(owner->*Member);
  return NqeSuccess;
}

// Writes a V into owner.*Member after Rule (a value check or adjustment,
// nullptr for none) has passed.
template <auto Member, auto Rule, class V>
NqeErrorCode WriteMember(CalibObject& object, V value) {
  using Traits = MemberOf<decltype(Member)>;
  typename Traits::Owner* owner = nullptr;
  if (const NqeErrorCode code = FindOwner(object, &owner); code != NqeSuccess) {
    return code;
  }
  if constexpr (!std::is_null_pointer_v<decltype(Rule)>) {
    if (const NqeErrorCode code = Rule(value); code != NqeSuccess) return code;
  }
  owner->*Member = static_cast<typename Traits::Field>(value);
  return NqeSuccess;
}

template <auto Member>
inline constexpr IntGetter GetInt = &ReadMember<Member, int32_t>;
template <auto Member, auto Rule = nullptr>
inline constexpr IntSetter SetInt = &WriteMember<Member, Rule, int32_t>;
template <auto Member>
inline constexpr DoubleGetter GetDouble = &ReadMember<Member, double>;
template <auto Member, auto Rule = nullptr>
inline constexpr DoubleSetter SetDouble = &WriteMember<Member, Rule, double>;

// Element [cursor] of an array of the active calibration, the cursor being
// a field of the calibration store; outside 0..kLast the row's code.
template <auto Array, auto Cursor, int32_t kLast, NqeErrorCode kCode>
NqeErrorCode ReadAtCursor(CalibObject& object, double* out) {
  CalibrationRecord* record = nullptr;
  if (const NqeErrorCode code = FindOwner(object, &record);
      code != NqeSuccess) {
    return code;
  }
  const int32_t index = object.Calibrations().*Cursor;
  if (index < 0 || index > kLast) return kCode;
  *out = (record->*Array)[index];
  return NqeSuccess;
}

template <auto Array, auto Cursor, int32_t kLast, NqeErrorCode kCode>
NqeErrorCode WriteAtCursor(CalibObject& object, double value) {
  CalibrationRecord* record = nullptr;
  if (const NqeErrorCode code = FindOwner(object, &record);
      code != NqeSuccess) {
    return code;
  }
  const int32_t index = object.Calibrations().*Cursor;
  if (index < 0 || index > kLast) return kCode;
  (record->*Array)[index] = value;
  return NqeSuccess;
}

// The 128-character text member of an owner.
template <auto Member>
NqeErrorCode TextOf(CalibObject& object, char** field) {
  typename MemberOf<decltype(Member)>::Owner* owner = nullptr;
  if (const NqeErrorCode code = FindOwner(object, &owner); code != NqeSuccess) {
    return code;
  }
  static_assert(sizeof(owner->*Member) == 128);
  *field = owner->*Member;
  return NqeSuccess;
}

// --- value rules -------------------------------------------------------------

template <int32_t kLow, int32_t kHigh, NqeErrorCode kCode>
NqeErrorCode Within(int32_t& value) {
  return value >= kLow && value <= kHigh ? NqeSuccess : kCode;
}

// Flags store "value != 0", so they read back 0 or 1.
inline NqeErrorCode NonZero(int32_t& value) {
  value = value != 0 ? 1 : 0;
  return NqeSuccess;
}

inline NqeErrorCode SelectableUnit(int32_t& value) {
  return ValidateUnit(value);
}

inline NqeErrorCode ClampPercent(double& value) {
  if (value < 0.0) value = 0.0;
  if (value > 100.0) value = 100.0;
  return NqeSuccess;
}

}  // namespace kvx
