// Random sequences of export calls with random arguments on a manual and an
// automatic object (and objects created, copied and destroyed on the way):
// the state the calls leave behind is what the next call meets.
//
// Every pointer is a real buffer of the size the interface documents:
// records of their own size, arrays of the count passed with them, texts of
// the length passed; record pointer members point at arrays of the declared
// length. Handles are chosen among the live objects, a spare slot and any
// 32-bit value. Input: operations, each an op byte, a handle byte and the
// arguments.
#include <string>

#include "fuzz_records.h"

namespace {

// What a host keeps between calls: the last fits it received.
struct State {
  bool optimised = false;  // a whole grid search: one per input keeps it fast
  KvxGratingFit fit{};
  KvxPolynomialFit poly{};
  KvxAutocalResult autocal{};
};

struct C {
  fz::In& in;
  CalibHandle h;
  CalibHandle* spare;
  State& st;
  double a = 0, b = 0, c = 0, d = 0, e = 0;
  KvxLong l = 0;
  KvxULong u = 0;
  KvxLong I() { return in.I16(); }
  double P() { return in.Real(-10.0, 2100.0); }   // a pixel or data point
  double W() { return in.Real(-100.0, 3000.0); }  // a wavelength
  X_ROI Roi() { return in.Get<X_ROI>(); }
};

template <class T>
void Array(C& c, KvxULong (*load)(CalibHandle, const void*, KvxLong, KvxLong)) {
  const KvxLong count = c.in.U8() % 4, size = count * sizeof(T);
  fz::Buf<unsigned char> records(size, c.in);
  load(c.h, records.get(), c.in.U8() < 240 ? size : c.I(), count);
}

void Glue(C& c, bool atOnce) {
  GlueSpectrum in[2] = {};
  std::vector<double> x(64), y(128);
  for (int k = 0; k < 2; ++k) {
    in[k] = {y.data(), 64, 1 + (c.in.U8() & 1), 5, 1, x.data(), 0, nullptr, 0};
  }
  const double x0 = c.W(), dx = c.in.Real(-2.0, 2.0);
  for (size_t i = 0; i < x.size(); ++i) x[i] = x0 + dx * double(i);
  GlueSpectrum out{};
  if (atOnce ? CalibValidateGlue(c.h, in, 1 + (c.in.U8() & 1), &out)
             : CalibInitIncStepAndGlue(c.h, &out, c.in.U8() % 3))
    return;
  const long cells = long(out.numPoints) * out.numFrames;
  if (out.numPoints < 0 || out.numPoints > (1L << 18) || out.numFrames < 0 ||
      cells > (1L << 18))
    return;
  std::vector<double> data(size_t(cells) + 0), axis(size_t(out.numPoints));
  out.data = data.data();
  out.xValues = axis.data();
  if (atOnce) {
    CalibGlueInput(c.h, in, 2, &out);
  } else {
    CalibGlueIncInput(c.h, &out, &in[0]);
    CalibGlueIncInput(c.h, &out, &in[1]);
    if (c.in.U8() & 1) CalibCleanupIncGlue(c.h);
  }
}

// Fit options; the solver's evaluation budget is the host's to choose and
// its cost grows with it, so it stays below 1000 here.
KvxFitOptions* Options(C& c, KvxFitOptions* o) {
  if (c.in.U8() < 64) return nullptr;
  *o = c.in.Get<KvxFitOptions>();
  o->maxEvaluations %= 1000;
  return o;
}

// Lines over the pixels of a 1024-pixel detector in up to three spectra.
void GratingFit(C& c) {
  const KvxLong n = c.in.U8() % 16, m = c.in.U8() % 4;
  fz::Buf<KvxFitLine> lines(n);
  for (size_t i = 0; i < lines.n; ++i) {
    lines.get()[i] = {c.in.Real(0.0, 1025.0), c.W(), c.in.U8() % (m + 1), 0};
  }
  fz::Buf<KvxFitSpectrum> spectra(m);
  for (size_t k = 0; k < spectra.n; ++k)
    spectra.get()[k].requestedCenter = c.W();
  fz::Buf<KvxFitLineResult> results(n);
  KvxFitOptions o;
  KvxFitGratingModel(c.h, lines.get(), n, spectra.get(), m, Options(c, &o),
                     &c.st.fit, c.in.U8() & 1 ? results.get() : nullptr);
}

void PolynomialFit(C& c) {
  const KvxLong n = c.in.U8() % 24;
  fz::Buf<double> x(n), y(n);
  const double x0 = c.P(), dx = c.in.Real(-50.0, 50.0);
  for (size_t i = 0; i < x.n; ++i) {
    x.get()[i] = c.in.U8() < 240 ? x0 + dx * double(i) : c.in.F64();
    y.get()[i] = c.W();
  }
  fz::Buf<KvxFitLineResult> results(n);
  KvxFitOptions o;
  KvxFitPolynomial(x.get(), y.get(), n, c.in.U8() % 12 - 1, Options(c, &o),
                   &c.st.poly, c.in.U8() & 1 ? results.get() : nullptr);
}

// The last fit received, or (now and then) a record of any contents.
template <class Fit>
const Fit* Received(C& c, Fit& last, Fit& any) {
  if (c.in.U8() < 224) return &last;
  any = c.in.Get<Fit>();
  return &any;
}

// Lamp spectra of up to 2048 counts each (a host's own array of the count
// it passes), the built-in list of one or two lamps, options from the input.
void Autocal(C& c) {
  KvxLampLine lines[160];
  KvxLong n = 0;
  KvxGetLampLines(nullptr, c.in.U8() & 1 ? "Ne" : "Hg,Ar", lines, 160, &n);
  n = n < 160 ? n : 160;
  const KvxLong m = 1 + c.in.U8() % 2;
  KvxAutocalSpectrum spectra[2] = {};
  std::vector<double> counts[2];
  for (KvxLong k = 0; k < m; ++k) {
    const KvxLong count = c.in.U8() < 200 ? 1024 : c.I() % 2049;
    counts[k].resize(size_t(count > 0 ? count : 0));
    c.in.Raw(counts[k].data(), counts[k].size() * sizeof(double));
    spectra[k].counts = counts[k].data();
    spectra[k].count = count;
    spectra[k].center = c.W();
  }
  KvxAutocalOptions o;
  KvxInitAutocalOptions(&o);
  if (c.in.U8() < 32) o = c.in.Get<KvxAutocalOptions>();
  KvxIdentifiedLine found[64];
  KvxAutoCalibrate(c.h, spectra, m, lines, n, &o, &c.st.autocal, found,
                   c.in.U8() % 65);
}

using Op = void (*)(C&);
// clang-format off
const Op kOps[] = {
  [](C& c) { GetDeviceCount(&c.u); char n[12]; GetDeviceID(n, &c.u, &c.u, 0); },
  [](C& c) { CalibHandle t = 255; if (CalibCreate(fz::Mode(c.in.U8()), &t) != NqeNoFreeHandle) { CalibDestroy(*c.spare); *c.spare = t; } },
  [](C& c) { CalibDestroy(c.h); },
  [](C& c) { CalibCopyCalibObject(c.h, c.in.U8() & 1 ? *c.spare : c.h); },
  [](C& c) { CalibCopyCalibObject(*c.spare, c.h); },
  [](C& c) { fz::Spectrum s(c.in); const KvxLong m = c.in.U8() % 8; fz::Buf<double> p(m), v(m); CalibFindPeaks(c.h, &s.s, p.get(), v.get(), m, &c.l); },
  [](C& c) { fz::Spectrum s(c.in); CalibFindNearestPeak(c.h, &s.s, c.P(), &c.a); },
  [](C& c) { DetectorRecord r; CalibInitializeDetector(c.h, &r, fz::RecordSize<DetectorRecord>(c.in)); },
  [](C& c) { fz::Detector r(c.in); CalibValidateDetector(c.h, &r.r, fz::RecordSize<DetectorRecord>(c.in)); },
  [](C& c) { fz::Detector r(c.in); CalibLoadDetector(c.h, &r.r, fz::RecordSize<DetectorRecord>(c.in)); },
  [](C& c) { fz::Detector r(c.in); CalibDumpDetector(c.h, &r.r, fz::RecordSize<DetectorRecord>(c.in)); },
  [](C& c) { CalibGetActiveDetectorID(c.h, &c.u); CalibSetActiveDetectorID(c.h, c.in.U8() & 1 ? c.u : c.u + 1); },
  [](C& c) { fz::Detector r(c.in); CalibAddDetector(c.h, &r.r, fz::RecordSize<DetectorRecord>(c.in), &c.u); },
  [](C& c) { CalibGetActiveDetectorID(c.h, &c.u); CalibRemoveDetectorID(c.h, c.in.U8() & 1 ? c.u : c.u + 1); },
  [](C& c) { CalibNumberOfX_ROIs(c.h, &c.l); CalibGetScanState(c.h, &c.l); },
  [](C& c) { c.in.U8() & 1 ? CalibEnableScanPattern(c.h) : CalibDisableScanPattern(c.h); },
  [](C& c) { CalibrationRecord r; CalibInitializeCalibration(c.h, &r, fz::RecordSize<CalibrationRecord>(c.in)); },
  [](C& c) { fz::Calibration r(c.in); CalibValidateCalibration(c.h, &r.r, fz::RecordSize<CalibrationRecord>(c.in)); },
  [](C& c) { fz::Calibration r(c.in); CalibLoadCalibration(c.h, &r.r, fz::RecordSize<CalibrationRecord>(c.in)); },
  [](C& c) { CalibrationRecord r; CalibDumpCalibration(c.h, &r, fz::RecordSize<CalibrationRecord>(c.in)); },
  [](C& c) { CalibGetActiveCalibrationID(c.h, &c.u); CalibSetActiveCalibrationID(c.h, c.in.U8() & 1 ? c.u : c.u + 1); },
  [](C& c) { fz::Calibration r(c.in); CalibAddCalibration(c.h, &r.r, fz::RecordSize<CalibrationRecord>(c.in), &c.u); },
  [](C& c) { CalibGetActiveCalibrationID(c.h, &c.u); CalibRemoveCalibrationID(c.h, c.in.U8() & 1 ? c.u : c.u + 1); },
  [](C& c) { SpeCalibrationBlock b = c.in.Get<SpeCalibrationBlock>(); std::memset(b.bytes + KVX_SPE_TABLE, 0, sizeof(void*)); CalibLoadSPECalibration(c.h, b.bytes, sizeof b); },
  [](C& c) { SpeCalibrationBlock b{}; CalibDumpSPECalibration(c.h, b.bytes, c.in.U8() < 250 ? sizeof b : c.I()); KvxFreeSPECalibrationTable(b.bytes, sizeof b); },
  [](C& c) { const double p = c.P(); CalibDataPointToCalibValue(c.h, p, &c.a); CalibCalibValueToDataPoint(c.h, c.W(), &c.a); },
  [](C& c) { const KvxLong n = c.I(); fz::Buf<double> v(n); CalibCalibratedDataPointArray(c.h, n, v.get()); },
  [](C& c) { CalibTestCalibPointFit(c.h, c.I(), &c.a, &c.b, &c.c); CalibTestCalibrationFit(c.h, &c.a); },
  [](C& c) { SpectrographRecord r = c.in.Get<SpectrographRecord>(); CalibLoadSpectrograph(c.h, &r, fz::RecordSize<SpectrographRecord>(c.in)); },
  [](C& c) { CalibGetActiveSpectrographID(c.h, &c.u); CalibSetActiveSpectrographID(c.h, c.in.U8() & 1 ? c.u : c.u + 1); },
  [](C& c) { SpectrographRecord r = c.in.Get<SpectrographRecord>(); CalibAddSpectrograph(c.h, &r, fz::RecordSize<SpectrographRecord>(c.in), &c.u); },
  [](C& c) { CalibGetActiveSpectrographID(c.h, &c.u); CalibRemoveSpectrographID(c.h, c.in.U8() & 1 ? c.u : c.u + 1); },
  [](C& c) { Array<TurretRecord>(c, CalibLoadTurrets); },
  [](C& c) { CalibSelectTurret(c.h, c.I()); },
  [](C& c) { Array<GratingRecord>(c, CalibLoadGratings); },
  [](C& c) { CalibSelectGrating(c.h, c.I()); },
  [](C& c) { c.in.U8() & 1 ? CalibAddExitMirror(c.h) : CalibRemoveExitMirror(c.h); },
  [](C& c) { CalibSetExitMirrorPosition(c.h, c.I()); },
  [](C& c) { const double p = c.P(); CalibCalcDataPointWaveLength(c.h, p, &c.a); CalibCalcDataPointCalibValue(c.h, p, &c.a); },
  [](C& c) { const KvxLong n = c.I(); fz::Buf<double> v(n); CalibCalcDataPointCalibArray(c.h, n, v.get()); },
  [](C& c) { CalibConvertCenterWavelength(c.h, c.W(), c.in.U8() & 1 ? &c.a : nullptr); },
  [](C& c) { CalibTestWavelength(c.h, c.W(), c.in.U8() & 1 ? &c.a : nullptr); },
  [](C& c) { CalibSetupSpecCalArray(c.h); },
  [](C& c) { CalibSetCenterCalibValue(c.h, c.W()); },
  [](C& c) { CalibSetCenterWavelength(c.h, c.W()); },
  [](C& c) { const KvxLong id = c.in.U8() % 80; CalibSetIntParam(c.h, id, c.in.U8() < 128 ? c.I() % 16 : c.in.I32()); CalibGetIntParam(c.h, id, &c.l); },
  [](C& c) { const KvxLong id = c.in.U8() % 80; CalibSetDoubleParam(c.h, id, c.P()); CalibGetDoubleParam(c.h, id, &c.a); },
  [](C& c) { const KvxLong n = c.I() % 16; fz::Buf<double> v(n, c.in); CalibSetDoubleArray(c.h, c.in.U8() % 40, v.get(), n); },
  [](C& c) { const KvxLong n = c.I() % 16; fz::Buf<double> v(n, c.in); CalibGetDoubleArray(c.h, c.in.U8() % 40, v.get(), n); },
  [](C& c) { const KvxLong id = c.in.U8() % 50, n = c.I(); std::vector<char> t = c.in.Text(200); CalibSetStrParam(c.h, id, t.data(), n); },
  [](C& c) { const KvxLong id = c.in.U8() % 50, n = c.I() % 200; fz::Buf<char> t(n < 0 ? 128 : n); CalibGetStrParam(c.h, id, t.get(), n); },
  [](C& c) { CalibVerOfDLL(c.h, &c.u, &c.u, nullptr, &c.u); },
  [](C& c) { CalibCalcCenterOffset(c.h, c.P()); },
  [](C& c) { CalibCalcSlopeAdjust(c.h, c.W(), c.W()); },
  [](C& c) { CalibCalcDispersionTargetData(c.h, c.W(), c.W()); },
  [](C& c) { const KvxLong s = c.in.U8() % 6; CalibSetRefCursorPosition(c.h, s, c.P()); CalibGetRefCursorPosition(c.h, s, &c.a); },
  [](C& c) { const KvxLong s = c.in.U8() % 6; CalibSetTargetWaveLength(c.h, s, c.W()); CalibGetTargetWaveLength(c.h, s, &c.a); },
  [](C& c) { if (!c.st.optimised) CalibOptimizeSpectrograph(c.h, &c.a, &c.b, &c.c, &c.d, c.in.U8() & 1 ? &c.e : nullptr); c.st.optimised = true; },
  [](C& c) { CalibGetNumberSteps(c.h, c.W(), c.W(), c.in.Real(-10, 100), &c.l); },
  [](C& c) { const KvxLong n = c.l >= 0 && c.l <= 4096 && (c.in.U8() & 1) ? c.l : c.I(); fz::Buf<double> v(n); CalibGetStepCenterValues(c.h, n, v.get()); },
  [](C& c) { Glue(c, true); },
  [](C& c) { Glue(c, false); },
  [](C& c) { CalibCleanupIncGlue(c.h); },
  [](C& c) { CalibGetCenterResolution(c.h, &c.a); },
  [](C& c) { CalibGetOrigDispParams(c.h, &c.a, &c.b, &c.c, &c.d, &c.e); CalibGetOptimDispParams(c.h, &c.a, &c.b, &c.c, &c.d, &c.e); },
  [](C& c) { c.in.U8() & 1 ? CalibInstallOrigDispParams(c.h, &c.a, &c.b) : CalibInstallOptimDispParams(c.h, &c.a, &c.b); },
  [](C& c) { X_ROI r = c.Roi(); CalibAddX_ROI(c.h, &r); },
  [](C& c) { const KvxLong n = c.I(); fz::Buf<double> v(n); CalibCalcCalibPixelArray(c.h, n, v.get()); },
  [](C& c) { CalibCalcPxlWavLngth(c.h, c.P(), &c.a); CalibGratingRotationAngle(c.h, c.W(), &c.a); },
  [](C& c) { CalibCalibValueToPixel(c.h, c.W(), &c.a); CalibPixelToCalibValue(c.h, c.P(), &c.a); },
  [](C& c) { const KvxLong n = c.I(); fz::Buf<double> v(n); CalibCalibratedPixelArray(c.h, n, v.get()); },
  [](C& c) { CalibDataPointToPixel(c.h, c.P(), &c.a); CalibPixelToDataPoint(c.h, c.P(), &c.a); },
  [](C& c) { CalibDeleteScanPattern(c.h); },
  [](C& c) { const KvxLong n = c.I() % 16; fz::Buf<X_ROI> r(n); CalibDumpXScanPattern(c.h, r.get(), n); },
  [](C& c) { const KvxLong n = c.I() % 16; fz::Buf<X_ROI> r(n, c.in); CalibLoadXScanPattern(c.h, r.get(), n); },
  [](C& c) { X_ROI r{}; CalibRemoveX_ROI(c.h, c.in.I32()); CalibRetrieveX_ROI(c.h, c.in.I32(), &r, sizeof r); },
  [](C& c) { CalibSetGratingByIndexNum(c.h, c.I(), c.I()); },
  [](C& c) { CalibValidateSpecOptStruct(c.h); CalibValidateTargetData(c.h); },
  [](C& c) { const KvxLong n = c.I() % 16; fz::Buf<X_ROI> r(n, c.in); CalibValidateXScanPattern(c.h, r.get(), n * 16, n, c.I()); },
  [](C& c) { fz::LoadDetector(c.h, c.I(), c.in.Real(0.0, 30.0)); },
  [](C& c) { fz::LoadModel(c.h); },
  [](C& c) { GratingFit(c); },
  [](C& c) { KvxGratingFit any; KvxInstallFittedOptics(c.h, Received(c, c.st.fit, any)); },
  [](C& c) { KvxGratingFit any; const KvxGratingFit* f = Received(c, c.st.fit, any); const KvxLong n = c.I(); fz::Buf<double> v(n); KvxFittedWavelengths(c.h, f, c.W(), n, v.get()); },
  [](C& c) { PolynomialFit(c); },
  [](C& c) { KvxPolynomialFit any; KvxEvaluatePolynomialFit(Received(c, c.st.poly, any), c.P(), &c.a); },
  [](C& c) { KvxPolynomialFit any; KvxInstallPolynomialTable(c.h, Received(c, c.st.poly, any), c.in.U8() & 1 ? &c.u : nullptr); },
  [](C& c) { Autocal(c); },
  [](C& c) { KvxAutocalResult any; const KvxAutocalResult* r = Received(c, c.st.autocal, any); const KvxLong n = c.I(); fz::Buf<double> v(n); KvxAutocalWavelengths(c.h, r, c.W(), v.get(), n); },
  [](C& c) { KvxAutocalResult any; KvxInstallAutocal(c.h, Received(c, c.st.autocal, any)); },
};
// clang-format on
constexpr size_t kOpCount = sizeof kOps / sizeof kOps[0];

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  CalibHandle objects[3] = {255, 255, 255};
  CalibCreate(CalibModeManual, &objects[0]);
  CalibCreate(CalibModeAutomatic, &objects[1]);
  State st;
  while (!in.Empty()) {
    const Op op = kOps[in.U8() % kOpCount];
    const uint8_t which = in.U8();
    const CalibHandle h = which < 252 ? objects[which % 3] : in.Get<KvxULong>();
    C c{in, h, &objects[2], st};
    op(c);
    for (CalibHandle o : objects) fz::BoundPixels(o);
  }
  // Whatever the calls created or destroyed, no slot outlives the input.
  for (CalibHandle slot = 0; slot < 255; ++slot) CalibDestroy(slot);
  return 0;
}
