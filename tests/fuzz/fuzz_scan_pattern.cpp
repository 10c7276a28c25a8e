// X scan patterns: load, validate, add, remove, retrieve and dump regions,
// and the mapping between pixels and data points they define.
// Input: mode byte, detector pixel count (int32), then operations.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(fz::Mode(in.U8()));
  fz::LoadDetector(h, in.I32(), 26.0);
  KvxLong n = 0;
  double out = 0.0;
  while (!in.Empty()) {
    switch (in.U8() % 12) {
      case 0: {  // count X_ROI elements
        const KvxLong count = in.I16();
        fz::Buf<X_ROI> roi(count, in);
        CalibLoadXScanPattern(h, roi.get(), count);
        break;
      }
      case 1: {  // regionBytes bytes holding count elements
        const KvxLong bytes = in.I16(), count = in.I16();
        fz::Buf<unsigned char> roi(bytes, in);
        CalibValidateXScanPattern(h, reinterpret_cast<X_ROI*>(roi.get()), bytes,
                                  count, in.I32());
        break;
      }
      case 2: {
        X_ROI roi = in.Get<X_ROI>();
        CalibAddX_ROI(h, &roi);
        break;
      }
      case 3:
        CalibRemoveX_ROI(h, in.I32());
        break;
      case 4: {  // the size argument is the element's declared size
        X_ROI roi{};
        CalibRetrieveX_ROI(h, in.I32(), &roi, in.U8() < 200 ? 16 : in.I32());
        break;
      }
      case 5: {
        const KvxLong count = in.I16();
        fz::Buf<X_ROI> roi(count);
        CalibDumpXScanPattern(h, roi.get(), count);
        break;
      }
      case 6:
        CalibDeleteScanPattern(h);
        break;
      case 7:
        (in.U8() & 1) ? CalibEnableScanPattern(h) : CalibDisableScanPattern(h);
        CalibGetScanState(h, &n);
        CalibNumberOfX_ROIs(h, &n);
        break;
      case 8:
        CalibPixelToDataPoint(h, in.F64(), &out);
        break;
      case 9:
        CalibDataPointToPixel(h, in.F64(), &out);
        break;
      case 10:
        CalibSetIntParam(h, CalibParamNumPixels, in.I32());
        CalibGetIntParam(h, CalibParamDataPointCount, &n);
        break;
      case 11: {  // an array of exactly as many data points as the host
                  // asks for
        const KvxLong count = in.I16();
        fz::Buf<double> values(count);
        CalibCalibratedDataPointArray(h, count, values.get());
        break;
      }
    }
  }
  return 0;
}
