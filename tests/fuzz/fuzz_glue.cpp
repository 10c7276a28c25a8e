// Glue inputs and output: blocks of spectra of any type, shape and X axis
// (with or without a calibration record and its table) glued at once and
// block by block into an output the host sizes as the validation tells it.
// Input: range start, end and step, input count, the inputs, the output's
// calibration, then the incremental glue's frame count.
#include "fuzz_records.h"

namespace {

// Everything a host owns for one GlueSpectrum: samples (numFrames x
// numPoints of dataType), X values (numPoints doubles, mostly an even axis),
// an optional calibration record with a table of its declared length.
struct Block {
  GlueSpectrum s{};
  fz::Buf<unsigned char> samples{0};
  fz::Buf<double> x{0}, table{0};
  CalibrationRecord cal{};

  void Read(fz::In& in) {
    s.numPoints = in.I16() % 513;
    s.numFrames = static_cast<int8_t>(in.U8()) % 4;
    s.dataType = in.U8() % 10;
    s.layout = in.U8() < 240 ? 1 : in.I32();
    const long cells =
        std::max(0L, long(s.numPoints)) * std::max(0L, long(s.numFrames));
    samples = fz::Buf<unsigned char>(cells * fz::SampleBytes(s.dataType), in);
    x = fz::Buf<double>(s.numPoints);
    const uint8_t how = in.U8();
    if (how < 200) {  // even axis, either direction
      const double x0 = in.Real(0.0, 1500.0), dx = in.Real(-5.0, 5.0);
      for (size_t i = 0; i < x.n; ++i) x.get()[i] = x0 + dx * double(i);
    } else {
      in.Raw(x.get(), x.n * sizeof(double));
    }
    s.data = (how & 31) == 31 ? nullptr : samples.get();
    s.xValues = (how & 63) == 62 ? nullptr : x.get();
    if (in.U8() < 64) Calibration(in);
  }
  void Calibration(fz::In& in) {
    cal = in.Get<CalibrationRecord>();
    if (cal.tableLength > 4096) cal.tableLength %= 4097;
    table = fz::Buf<double>(cal.tableLength, in);
    cal.table = (in.U8() & 3) == 3 ? nullptr : table.get();
    s.calibration = &cal;
  }
};

// The output's arrays, sized as the library wrote numPoints and numFrames
// into it (a host that cannot allocate that many does not glue).
bool Supply(Block& out) {
  const long cells = long(out.s.numPoints) * long(out.s.numFrames);
  if (out.s.numPoints < 0 || out.s.numPoints > (1L << 20) ||
      out.s.numFrames < 0 || cells > (1L << 20))
    return false;
  out.samples = fz::Buf<unsigned char>(cells * long(sizeof(double)));
  out.x = fz::Buf<double>(out.s.numPoints);
  out.s.data = out.samples.get();
  out.s.xValues = out.x.get();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(CalibModeAutomatic);
  fz::LoadDetector(h, 1024, 26.0);
  fz::LoadModel(h);
  CalibSetDoubleParam(h, CalibParamRangeStart, in.Real(0.0, 1500.0));
  CalibSetDoubleParam(h, CalibParamRangeEnd, in.Real(0.0, 1500.0));
  CalibSetDoubleParam(h, CalibParamGlueStep, in.Real(0.0, 10.0));
  const KvxLong count = in.U8() % 5;
  std::vector<Block> inputs(std::max(1L, long(count)));
  std::vector<GlueSpectrum> records;
  for (Block& b : inputs) {
    b.Read(in);
    records.push_back(b.s);
  }
  Block out;
  if (in.U8() < 128) out.Calibration(in);
  if (CalibValidateGlue(h, records.data(), count, &out.s) == NqeSuccess &&
      Supply(out))
    CalibGlueInput(h, records.data(), count, &out.s);

  Block inc;
  if (in.U8() < 128) inc.Calibration(in);
  if (CalibInitIncStepAndGlue(h, &inc.s, static_cast<int8_t>(in.U8()) % 4) ==
          NqeSuccess &&
      Supply(inc)) {
    for (Block& b : inputs) CalibGlueIncInput(h, &inc.s, &b.s);
    // A second glue at once while the incremental one is under way.
    if (in.U8() & 1) CalibGlueInput(h, records.data(), count, &out.s);
  }
  CalibCleanupIncGlue(h);
  return 0;
}
