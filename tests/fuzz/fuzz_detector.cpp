// Detector records with their region arrays: validate, load, add, dump,
// select and remove, in the order the input gives.
// Input: mode byte, then operations: an op byte and its arguments.
#include "fuzz_records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(fz::Mode(in.U8()));
  KvxULong id = 0;
  KvxLong n = 0;
  while (!in.Empty()) {
    switch (in.U8() % 10) {
      case 0: {
        fz::Detector d(in);
        CalibValidateDetector(h, &d.r, fz::RecordSize<DetectorRecord>(in));
        break;
      }
      case 1: {
        fz::Detector d(in);
        CalibLoadDetector(h, &d.r, fz::RecordSize<DetectorRecord>(in));
        break;
      }
      case 2: {
        fz::Detector d(in);
        CalibAddDetector(h, &d.r, fz::RecordSize<DetectorRecord>(in), &id);
        break;
      }
      case 3: {
        fz::Detector d(in);
        CalibDumpDetector(h, &d.r, fz::RecordSize<DetectorRecord>(in));
        break;
      }
      case 4:
        CalibSetActiveDetectorID(h, in.U8() < 128 ? id : in.Get<KvxULong>());
        break;
      case 5:
        CalibRemoveDetectorID(h, in.U8() < 128 ? id : in.Get<KvxULong>());
        break;
      case 6:
        CalibGetActiveDetectorID(h, &id);
        CalibNumberOfX_ROIs(h, &n);
        break;
      case 7: {
        DetectorRecord r;
        CalibInitializeDetector(h, &r, fz::RecordSize<DetectorRecord>(in));
        break;
      }
      case 8: {
        X_ROI roi = in.Get<X_ROI>();
        CalibAddX_ROI(h, &roi);
        CalibRetrieveX_ROI(h, roi.id, &roi, sizeof roi);
        break;
      }
      case 9: {
        double v = in.F64(), out = 0.0;
        CalibPixelToDataPoint(h, v, &out);
        CalibDataPointToPixel(h, v, &out);
        break;
      }
    }
  }
  return 0;
}
