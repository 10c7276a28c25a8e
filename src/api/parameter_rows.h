// The parameters with behaviour of their own, beside the table that names
// them. Each function is one row's setter, getter or text field; the table
// (parameter_table.cpp) says which.
#pragma once

#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibObject;

// IDs 3 to 10 (write) and 64, 65 (write): accepted, nothing changes.
NqeErrorCode AcceptAndIgnore(CalibObject&, int32_t);
NqeErrorCode AcceptAndIgnoreDouble(CalibObject&, double);
// ID 10 (read): 0, nothing written.
NqeErrorCode ReadNothing(CalibObject&, int32_t*);
// ID 12 (write).
NqeErrorCode RefuseReadOnly(CalibObject&, int32_t);

NqeErrorCode ReadAutomatic(CalibObject& object, int32_t* value);    // 1
NqeErrorCode ObjectName(CalibObject& object, char** field);         // 2
NqeErrorCode WriteScanState(CalibObject& object, int32_t value);    // 13
NqeErrorCode ReadScanState(CalibObject& object, int32_t* value);    // 13
NqeErrorCode WritePixelSize(CalibObject& object, double value);     // 14
NqeErrorCode WriteNumPixels(CalibObject& object, int32_t value);    // 16
NqeErrorCode ReadPointCursor(CalibObject& object, int32_t* value);  // 18
NqeErrorCode WriteDisplayUnit(CalibObject& object, int32_t unit);   // 24, 67
NqeErrorCode SelectSpectrographRow(CalibObject& object, int32_t index);  // 35
NqeErrorCode SpectrographName(CalibObject& object, char** field);        // 36
NqeErrorCode SelectTurretRow(CalibObject& object, int32_t number);       // 38
NqeErrorCode TurretName(CalibObject& object, char** field);              // 39
NqeErrorCode SelectGratingRow(CalibObject& object, int32_t number);      // 41
NqeErrorCode GratingName(CalibObject& object, char** field);             // 42
// 43 to 49: the active grating's value and the model's working value.
NqeErrorCode WriteGrooveDensity(CalibObject& object, double value);
NqeErrorCode WriteCenterPixelOffset(CalibObject& object, double value);
NqeErrorCode WriteSlopeAdjust(CalibObject& object, double value);
NqeErrorCode WriteFocalLength(CalibObject& object, double value);
NqeErrorCode WriteInclusionAngle(CalibObject& object, double value);
NqeErrorCode WriteDetectorAngle(CalibObject& object, double value);
NqeErrorCode WriteScaleFactor(CalibObject& object, double value);
// 54, 55: the target wavelengths of slots 1 and 2, 3 and 4 (0-based pairs).
template <int kFirst>
NqeErrorCode WriteTargetPair(CalibObject& object, double value);
template <int kSlot>
NqeErrorCode ReadTargetWavelength(CalibObject& object, double* value);
// 56 to 63: slots 1 to 4 as the interface numbers them.
template <int kSlot>
NqeErrorCode WriteTargetCenter(CalibObject& object, double value);
template <int kSlot>
NqeErrorCode ReadTargetCenter(CalibObject& object, double* value);
template <int kSlot>
NqeErrorCode WriteRefCursor(CalibObject& object, double value);
template <int kSlot>
NqeErrorCode ReadRefCursor(CalibObject& object, double* value);
NqeErrorCode ReadInitialObjective(CalibObject& object, double* value);  // 64
NqeErrorCode ReadBestObjective(CalibObject& object, double* value);     // 65
NqeErrorCode ReadCurrentObjective(CalibObject& object, double* value);  // 66
// 68 to 71: the stepping range, glue spacing and overlap.
NqeErrorCode WriteRangeStart(CalibObject& object, double value);
NqeErrorCode WriteRangeEnd(CalibObject& object, double value);
NqeErrorCode WriteGlueStep(CalibObject& object, double value);
NqeErrorCode WriteOverlap(CalibObject& object, double value);

// The array operation's count check for IDs 19, 20 and 31; 0 for a good
// count.
NqeErrorCode CheckArrayCount(int32_t id, int32_t count);

}  // namespace kvx
