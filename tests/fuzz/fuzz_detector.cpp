// Detector records with their region arrays: validate, load, add, dump,
// select and remove, in the order the input gives.
// Input: mode byte, then operations: an op byte and its arguments.
#include "fuzz_input.h"

namespace {

// A record from the input with its region array: regionBytes (the array's
// declared size, kept below 4 KiB so that it can be allocated; negative
// values stay) bytes at `regions`, or a null pointer.
struct Detector {
  DetectorRecord r;
  fz::Buf<unsigned char> regions;
  explicit Detector(fz::In& in)
      : r(in.Get<DetectorRecord>()), regions(Bytes(r), in) {
    r.regions = (in.U8() & 7) == 7 ? nullptr : regions.get();
  }
  static long Bytes(DetectorRecord& r) {
    if (r.regionBytes > 4096) r.regionBytes %= 4097;
    return r.regionBytes;
  }
};

// The size argument: 0 (the default), the record's size, or any value.
KvxLong Size(fz::In& in) {
  const uint8_t b = in.U8();
  return b < 100 ? 0 : b < 250 ? KvxLong(sizeof(DetectorRecord)) : in.I32();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(fz::Mode(in.U8()));
  KvxULong id = 0;
  KvxLong n = 0;
  while (!in.Empty()) {
    switch (in.U8() % 10) {
      case 0: {
        Detector d(in);
        CalibValidateDetector(h, &d.r, Size(in));
        break;
      }
      case 1: {
        Detector d(in);
        CalibLoadDetector(h, &d.r, Size(in));
        break;
      }
      case 2: {
        Detector d(in);
        CalibAddDetector(h, &d.r, Size(in), &id);
        break;
      }
      case 3: {
        Detector d(in);
        CalibDumpDetector(h, &d.r, Size(in));
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
        CalibInitializeDetector(h, &r, Size(in));
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
