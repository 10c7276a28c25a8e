// The four typed families of the parameter interface (integer, double,
// double array, text), each one operation on a calibration object, driven by
// the parameter table.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibObject;

NqeErrorCode SetIntParam(CalibObject& object, int32_t id, int32_t value);
NqeErrorCode GetIntParam(CalibObject& object, int32_t id, int32_t* value);
NqeErrorCode SetDoubleParam(CalibObject& object, int32_t id, double value);
NqeErrorCode GetDoubleParam(CalibObject& object, int32_t id, double* value);
// Behind both array exports: copies `count` values into the active
// calibration's point values for IDs 19, 20 and 31 and reads nothing out.
NqeErrorCode SetDoubleArrayParam(CalibObject& object, int32_t id,
                                 const double* array, int32_t count);
NqeErrorCode SetStrParam(CalibObject& object, int32_t id, const char* text,
                         int32_t length);
NqeErrorCode GetStrParam(CalibObject& object, int32_t id, char* buffer,
                         int32_t length);

// The name of a parameter ID ("CalibParamPolyOrder"), or null.
const char* ParameterName(int32_t id);

}  // namespace kvx
