#include "api/parameters.h"

#include <cstring>
#include <type_traits>

#include "api/calib_object.h"
#include "api/parameter_rows.h"
#include "api/parameter_table.h"

namespace kvx {

namespace {

// The ID ranges each family answers for before it looks at the table.
constexpr int32_t kIntWriteFirst = 3, kIntWriteLast = 74;
constexpr int32_t kIntReadFirst = 1, kIntReadLast = 76;
constexpr int32_t kDoubleFirst = 14, kDoubleLast = 71;

// The row of `id` when it lies in [first, last] and has the function that
// `member` names; null otherwise (the caller answers 11038).
template <class F>
const ParameterDesc* RowWith(int32_t id, int32_t first, int32_t last,
                             F ParameterDesc::*member) {
  if (id < first || id > last) return nullptr;
  const ParameterDesc* row = FindParameter(id);
  return row != nullptr && row->*member != nullptr ? row : nullptr;
}

// The numeric families: the row, the model check, then (for reads) the
// output pointer, in that order.
template <class F, class Value>
NqeErrorCode Dispatch(CalibObject& object, int32_t id, int32_t first,
                      int32_t last, F ParameterDesc::*member, Value value) {
  const ParameterDesc* row = RowWith(id, first, last, member);
  if (row == nullptr) return NqeUnknownParameter;
  if (row->needsModel && object.Model() == nullptr) {
    return NqeNoSpectrographModel;
  }
  if constexpr (std::is_pointer_v<Value>) {
    if (value == nullptr) return NqeNullPointer;
  }
  return (row->*member)(object, value);
}

// Length of a text of at most `limit` characters.
int32_t BoundedLength(const char* text, int32_t limit) {
  int32_t n = 0;
  while (n < limit && text[n] != '\0') ++n;
  return n;
}

constexpr int32_t kMaxText = kTextFieldSize - 1;

}  // namespace

NqeErrorCode SetIntParam(CalibObject& object, int32_t id, int32_t value) {
  return Dispatch(object, id, kIntWriteFirst, kIntWriteLast,
                  &ParameterDesc::setInt, value);
}

NqeErrorCode GetIntParam(CalibObject& object, int32_t id, int32_t* value) {
  return Dispatch(object, id, kIntReadFirst, kIntReadLast,
                  &ParameterDesc::getInt, value);
}

NqeErrorCode SetDoubleParam(CalibObject& object, int32_t id, double value) {
  return Dispatch(object, id, kDoubleFirst, kDoubleLast,
                  &ParameterDesc::setDouble, value);
}

NqeErrorCode GetDoubleParam(CalibObject& object, int32_t id, double* value) {
  return Dispatch(object, id, kDoubleFirst, kDoubleLast,
                  &ParameterDesc::getDouble, value);
}

// Hosts call this under two names, one of them a "get"; both only write,
// and always into the point values whatever the ID says. Hosts depend on
// both, so the operation stays as it is.
NqeErrorCode SetDoubleArrayParam(CalibObject& object, int32_t id,
                                 const double* array, int32_t count) {
  const ParameterDesc* row = FindParameter(id);
  if (row == nullptr || (row->access & kArray) == 0) return NqeSuccess;
  if (const NqeErrorCode code = CheckArrayCount(id, count);
      code != NqeSuccess) {
    return code;
  }
  CalibrationRecord* record = object.Calibrations().ActiveRecord();
  if (record == nullptr) return NqeInvalidCalibration;
  if (array == nullptr) return NqeNullPointer;
  std::memcpy(record->pointValue, array,
              static_cast<size_t>(count) * sizeof(double));
  return NqeSuccess;
}

NqeErrorCode SetStrParam(CalibObject& object, int32_t id, const char* text,
                         int32_t length) {
  const ParameterDesc* row = FindParameter(id);
  if (row == nullptr || row->text == nullptr) return NqeUnknownParameter;
  char* field = nullptr;
  if (const NqeErrorCode code = row->text(object, &field); code != NqeSuccess) {
    return code;
  }
  if (text == nullptr) return NqeNullPointer;
  // A negative length copies nothing (the field is still cleared). The text
  // is not read beyond what can be copied.
  const int32_t limit =
      length < 0 ? 0 : (length < kMaxText ? length : kMaxText);
  const int32_t n = BoundedLength(text, limit);
  std::memset(field, 0, kTextFieldSize);
  std::memcpy(field, text, static_cast<size_t>(n));
  return NqeSuccess;
}

NqeErrorCode GetStrParam(CalibObject& object, int32_t id, char* buffer,
                         int32_t length) {
  const ParameterDesc* row = FindParameter(id);
  if (row == nullptr || row->text == nullptr) return NqeUnknownParameter;
  char* field = nullptr;
  if (const NqeErrorCode code = row->text(object, &field); code != NqeSuccess) {
    return code;
  }
  // A field filled from a record may lack a terminator: never look past it.
  const int32_t textLength = BoundedLength(field, kTextFieldSize);
  const int32_t whole =
      textLength < kTextFieldSize ? textLength + 1 : kTextFieldSize;
  // A negative length reads as unlimited: the whole text with its
  // terminator. Otherwise at most 127 characters; a copy of no more than the
  // text's length is cut and carries no terminator, as hosts expect.
  int32_t n = length < 0 ? whole : (length < kMaxText ? length : kMaxText);
  if (n >= whole) n = whole;
  if (n > 0 && buffer == nullptr) return NqeNullPointer;
  if (n > 0) std::memcpy(buffer, field, static_cast<size_t>(n));
  return NqeSuccess;
}

const char* ParameterName(int32_t id) {
  const ParameterDesc* row = FindParameter(id);
  return row != nullptr ? row->name : nullptr;
}

}  // namespace kvx
