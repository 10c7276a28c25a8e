// The C++ exports declared as a host declares them (Windows types, __stdcall),
// compiled for 32-bit Windows with the MSVC name scheme; the check compares
// the referenced names with exports.txt. The public header comes first, so a
// drifting declaration there conflicts with one below or makes the reference
// ambiguous, and the check fails to compile.
#include "KelvoCalibrate.h"

NqeErrorCode __stdcall CalibAddX_ROI(unsigned long, X_ROI*);
NqeErrorCode __stdcall CalibCalcCalibPixelArray(unsigned long, long, double*);
NqeErrorCode __stdcall CalibCalcPxlWavLngth(unsigned long, double, double*);
NqeErrorCode __stdcall CalibCalibValueToPixel(unsigned long, double, double*);
NqeErrorCode __stdcall CalibCalibratedPixelArray(unsigned long, long, double*);
NqeErrorCode __stdcall CalibDataPointToPixel(unsigned long, double, double*);
NqeErrorCode __stdcall CalibDeleteScanPattern(unsigned long);
NqeErrorCode __stdcall CalibDumpXScanPattern(unsigned long, void*, long);
NqeErrorCode __stdcall CalibGratingRotationAngle(unsigned long, double,
                                                 double*);
NqeErrorCode __stdcall CalibLoadXScanPattern(unsigned long, void*, long);
NqeErrorCode __stdcall CalibPixelToCalibValue(unsigned long, double, double*);
NqeErrorCode __stdcall CalibPixelToDataPoint(unsigned long, double, double*);
NqeErrorCode __stdcall CalibRemoveX_ROI(unsigned long, long);
NqeErrorCode __stdcall CalibRetrieveX_ROI(unsigned long, long, X_ROI*, long);
NqeErrorCode __stdcall CalibSetGratingByIndexNum(unsigned long, long, long);
NqeErrorCode __stdcall CalibValidateSpecOptStruct(unsigned long);
NqeErrorCode __stdcall CalibValidateTargetData(unsigned long);
NqeErrorCode __stdcall CalibValidateXScanPattern(unsigned long, X_ROI*, long,
                                                 long, long);

// Taking each address makes the object reference the decorated name.
using AnyFunction = void (*)();
#define KVX_REF(f) reinterpret_cast<AnyFunction>(&f)
extern AnyFunction kvxMsvcNameProbe[];
AnyFunction kvxMsvcNameProbe[] = {
    KVX_REF(CalibAddX_ROI),
    KVX_REF(CalibCalcCalibPixelArray),
    KVX_REF(CalibCalcPxlWavLngth),
    KVX_REF(CalibCalibValueToPixel),
    KVX_REF(CalibCalibratedPixelArray),
    KVX_REF(CalibDataPointToPixel),
    KVX_REF(CalibDeleteScanPattern),
    KVX_REF(CalibDumpXScanPattern),
    KVX_REF(CalibGratingRotationAngle),
    KVX_REF(CalibLoadXScanPattern),
    KVX_REF(CalibPixelToCalibValue),
    KVX_REF(CalibPixelToDataPoint),
    KVX_REF(CalibRemoveX_ROI),
    KVX_REF(CalibRetrieveX_ROI),
    KVX_REF(CalibSetGratingByIndexNum),
    KVX_REF(CalibValidateSpecOptStruct),
    KVX_REF(CalibValidateTargetData),
    KVX_REF(CalibValidateXScanPattern),
};
