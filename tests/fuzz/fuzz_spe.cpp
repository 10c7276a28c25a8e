// SPE calibration blocks: load a block (with its table) into the active
// calibration and scan pattern, dump it back, release the dumped table.
// Input: mode byte, detector pixel count (int16), then operations.
#include "fuzz_input.h"

namespace {

// The block's table length as the host declares it (a 32-bit field), kept
// below 4097 so that the table can be allocated; negative values stay.
KvxLong TableLength(unsigned char* block) {
  int32_t n;
  std::memcpy(&n, block + KVX_SPE_TABLE_LENGTH, sizeof n);
  if (n > 4096) n %= 4097;
  std::memcpy(block + KVX_SPE_TABLE_LENGTH, &n, sizeof n);
  return n;
}

KvxLong Size(fz::In& in) {
  const uint8_t b = in.U8();
  return b < 250 ? KvxLong(sizeof(SpeCalibrationBlock)) : in.I32();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(fz::Mode(in.U8()));
  fz::LoadDetector(h, in.I16(), 26.0);
  double v = 0.0;
  while (!in.Empty()) {
    fz::BoundPixels(h);
    switch (in.U8() % 4) {
      case 0: {
        SpeCalibrationBlock block = in.Get<SpeCalibrationBlock>();
        fz::Buf<double> table(TableLength(block.bytes), in);
        double* p = (in.U8() & 3) == 3 ? nullptr : table.get();
        std::memcpy(block.bytes + KVX_SPE_TABLE, &p, sizeof p);
        CalibLoadSPECalibration(h, block.bytes, Size(in));
        break;
      }
      case 1: {  // a dumped table is the host's (also after a failed unit
                 // conversion): released here; a block not written stays zero
        SpeCalibrationBlock block{};
        CalibDumpSPECalibration(h, block.bytes, Size(in));
        KvxFreeSPECalibrationTable(block.bytes, sizeof block);
        break;
      }
      case 2: {
        const KvxLong count = in.I16();
        fz::Buf<double> values(count);
        CalibCalibratedDataPointArray(h, count, values.get());
        CalibPixelToCalibValue(h, in.F64(), &v);
        CalibCalibValueToDataPoint(h, in.F64(), &v);
        break;
      }
      case 3: {
        CalibrationRecord r;
        if (CalibDumpCalibration(h, &r, sizeof r) == NqeSuccess)
          CalibLoadCalibration(h, &r, sizeof r);
        break;
      }
    }
  }
  return 0;
}
