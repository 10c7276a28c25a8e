// Calibration records with their tables: validate, load, add, dump, select,
// remove and copy, and every conversion through the result.
// Input: mode byte, detector pixel count (int16), then operations.
#include "fuzz_records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(fz::Mode(in.U8()));
  fz::LoadDetector(h, in.I16(), 26.0);
  if (in.U8() & 1) fz::LoadModel(h);
  KvxULong id = 0;
  double a = 0.0, b = 0.0, c = 0.0;
  while (!in.Empty()) {
    switch (in.U8() % 14) {
      case 0: {
        fz::Calibration cal(in);
        CalibValidateCalibration(h, &cal.r,
                                 fz::RecordSize<CalibrationRecord>(in));
        break;
      }
      case 1: {
        fz::Calibration cal(in);
        CalibLoadCalibration(h, &cal.r, fz::RecordSize<CalibrationRecord>(in));
        break;
      }
      case 2: {
        fz::Calibration cal(in);
        CalibAddCalibration(h, &cal.r, fz::RecordSize<CalibrationRecord>(in),
                            &id);
        break;
      }
      case 3: {
        CalibrationRecord r;
        CalibDumpCalibration(h, &r, fz::RecordSize<CalibrationRecord>(in));
        break;
      }
      case 4: {
        CalibrationRecord r;
        CalibInitializeCalibration(h, &r,
                                   fz::RecordSize<CalibrationRecord>(in));
        break;
      }
      case 5:
        CalibSetActiveCalibrationID(h, in.U8() < 128 ? id : in.I32());
        CalibGetActiveCalibrationID(h, &id);
        break;
      case 6:
        CalibRemoveCalibrationID(h, in.U8() < 128 ? id : in.I32());
        break;
      case 7: {
        const double v = in.F64();
        CalibDataPointToCalibValue(h, v, &a);
        CalibCalibValueToDataPoint(h, v, &a);
        CalibPixelToCalibValue(h, v, &a);
        CalibCalibValueToPixel(h, v, &a);
        break;
      }
      case 8: {  // arrays of the length the host passes
        const KvxLong count = in.I16();
        fz::Buf<double> values(count);
        CalibCalibratedDataPointArray(h, count, values.get());
        CalibCalibratedPixelArray(h, count, values.get());
        break;
      }
      case 9:
        CalibTestCalibPointFit(h, in.I32(), &a, &b, &c);
        CalibTestCalibrationFit(h, &a);
        break;
      case 10: {  // a copy into a second object and back
        fz::Object other(fz::Mode(in.U8()));
        CalibCopyCalibObject(other, h);
        CalibCopyCalibObject(h, other);
        break;
      }
      case 11:
        (in.U8() & 1) ? CalibEnableScanPattern(h) : CalibDisableScanPattern(h);
        break;
      case 12: {
        X_ROI roi = in.Get<X_ROI>();
        CalibAddX_ROI(h, &roi);
        break;
      }
      case 13:
        CalibSetIntParam(
            h, in.U8() & 1 ? CalibParamInputUnit : CalibParamDisplayUnit,
            in.I32());
        CalibSetDoubleParam(h, CalibParamLaserLine, in.F64());
        break;
    }
  }
  return 0;
}
