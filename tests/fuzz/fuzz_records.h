// Records a host hands over, built from the input with the buffers their
// pointer members declare (shared by the targets and the call driver).
#pragma once

#include "fuzz_input.h"

namespace fz {

// A record size argument: 0 (the default where the interface has one), the
// record's size, or any value.
template <class Record>
KvxLong RecordSize(In& in) {
  const uint8_t b = in.U8();
  return b < 100 ? 0 : b < 250 ? KvxLong(sizeof(Record)) : in.I32();
}

// A detector record with its region array: regionBytes bytes (the array's
// declared size, kept below 4097 so that it can be allocated; negative
// values stay) at `regions`, or a null pointer.
struct Detector {
  DetectorRecord r;
  Buf<unsigned char> regions;
  explicit Detector(In& in)
      : r(in.Get<DetectorRecord>()), regions(Bytes(r), in) {
    r.regions = (in.U8() & 7) == 7 ? nullptr : regions.get();
  }
  static long Bytes(DetectorRecord& r) {
    if (r.regionBytes > 4096) r.regionBytes %= 4097;
    return r.regionBytes;
  }
};

// A calibration record with its table: tableLength doubles (declared length,
// kept below 4097; negative values stay) at `table`, or a null pointer.
struct Calibration {
  CalibrationRecord r;
  Buf<double> table;
  explicit Calibration(In& in)
      : r(in.Get<CalibrationRecord>()), table(Length(r), in) {
    r.table = (in.U8() & 3) == 3 ? nullptr : table.get();
  }
  static long Length(CalibrationRecord& r) {
    if (r.tableLength > 4096) r.tableLength %= 4097;
    return r.tableLength;
  }
};

// Bytes per sample of a dataType; an unknown type reads no sample, so its
// buffer is empty.
inline size_t SampleBytes(KvxLong type) {
  static const size_t bytes[] = {0, 1, 2, 4, 4, 8, 1, 2, 4};
  return type >= 1 && type <= 8 ? bytes[type] : 0;
}

// A spectrum for the peak search: count samples of dataType, or no data.
struct Spectrum {
  SpectrumData s{};
  Buf<unsigned char> samples{0};
  explicit Spectrum(In& in) {
    s.dataType = in.U8() < 250 ? in.U8() % 9 : in.I32();
    s.count = in.I16();
    samples =
        Buf<unsigned char>(long(s.count) * long(SampleBytes(s.dataType)), in);
    s.data = (in.U8() & 15) == 15 ? nullptr : samples.get();
  }
};

}  // namespace fz
