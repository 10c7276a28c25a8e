// The parameter vocabulary: one description per parameter ID, saying its
// type, the directions in which the typed families accept it, whether it
// needs the spectrograph model, and the functions that reach its field. The
// four families (parameters.cpp) are driven by this table alone.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibObject;

enum class ParamType : uint8_t { kNone, kInt, kDouble, kText };

// Directions in which a row is accepted (W, R) and the array flag (A).
enum ParamAccess : uint8_t {
  kNoAccess = 0,
  kRead = 1,
  kWrite = 2,
  kReadWrite = kRead | kWrite,
  kArray = 4,
};

using IntSetter = NqeErrorCode (*)(CalibObject&, int32_t);
using IntGetter = NqeErrorCode (*)(CalibObject&, int32_t*);
using DoubleSetter = NqeErrorCode (*)(CalibObject&, double);
using DoubleGetter = NqeErrorCode (*)(CalibObject&, double*);
// Finds a text parameter's 128-character field after the row's own
// existence checks.
using TextField = NqeErrorCode (*)(CalibObject&, char**);

struct ParameterDesc {
  int32_t id = 0;
  const char* name = nullptr;
  ParamType type = ParamType::kNone;
  uint8_t access = kNoAccess;
  // 11054 on a manual object before anything else.
  bool needsModel = false;
  IntSetter setInt = nullptr;
  IntGetter getInt = nullptr;
  DoubleSetter setDouble = nullptr;
  DoubleGetter getDouble = nullptr;
  TextField text = nullptr;
};

inline constexpr int32_t kLastParameterId = 76;
// Text fields hold at most 127 characters and a terminator.
inline constexpr int32_t kTextFieldSize = 128;

// The row of an ID; null outside 0 to kLastParameterId. Unused IDs have a
// row of type kNone that no family accepts.
const ParameterDesc* FindParameter(int32_t id);

}  // namespace kvx
