// Parameter IDs and texts: every get and set function with any ID, value,
// text and buffer length, on either kind of object.
// Input: mode byte, start-with-model flag, then operations.
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(fz::Mode(in.U8()));
  fz::LoadDetector(h, 1024, 26.0);
  if (in.U8() & 1) fz::LoadModel(h);
  while (!in.Empty()) {
    const uint8_t op = in.U8();
    const KvxLong id = in.U8() < 240 ? in.U8() % 80 : in.I32();
    switch (op % 7) {
      case 0:
        CalibSetIntParam(h, id, in.U8() < 128 ? in.I16() % 16 : in.I32());
        break;
      case 1: {
        KvxLong v = 0;
        CalibGetIntParam(h, id, &v);
        break;
      }
      case 2:
        CalibSetDoubleParam(h, id, in.Real(-10.0, 2000.0));
        break;
      case 3: {
        double v = 0.0;
        CalibGetDoubleParam(h, id, &v);
        break;
      }
      case 4: {  // count doubles
        const KvxLong count = in.I16() % 16;
        fz::Buf<double> values(count, in);
        (op & 8) ? CalibSetDoubleArray(h, id, values.get(), count)
                 : CalibGetDoubleArray(h, id, values.get(), count);
        break;
      }
      case 5: {  // a NUL-terminated text; length any value
        const KvxLong length = in.I16();
        std::vector<char> text = in.Text(300);
        CalibSetStrParam(h, id, text.data(), length);
        break;
      }
      case 6: {  // a buffer of `length` bytes; a negative length asks for
                 // the whole text with its terminator: the 128-byte field
        const KvxLong length = in.I16() % 300;
        fz::Buf<char> buffer(length < 0 ? 128 : length);
        CalibGetStrParam(h, id, buffer.get(), length);
        break;
      }
    }
  }
  return 0;
}
