// Spectra handed to the peak search: every sample type, any count, the
// strongest-peaks selection and the nearest peak to a start point.
// Input: mode byte, threshold (double), then spectra with their searches.
#include "fuzz_records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(fz::Mode(in.U8()));
  fz::LoadDetector(h, 1024, 26.0);
  CalibSetDoubleParam(h, CalibParamPeakThreshold, in.F64());
  while (!in.Empty()) {
    fz::Spectrum sp(in);
    SpectrumData& s = sp.s;
    const KvxLong maxPeaks = in.I16() % 64;
    fz::Buf<double> positions(maxPeaks), values(maxPeaks);
    KvxLong found = 0;
    CalibFindPeaks(h, &s, positions.get(), values.get(), maxPeaks, &found);
    double position = 0.0;
    CalibFindNearestPeak(h, &s, in.Real(-2.0, s.count + 2.0), &position);
  }
  return 0;
}
