// A Windows host that links KelvoCalibrate.kvx through an import library, as
// most Windows applications do, instead of loading it by path. The one source
// is built twice by tools/test-windows-link.sh: by clang for the MSVC ABI
// without any C runtime (kernel32 only, lld-link, KelvoCalibrate.lib) and by
// MinGW-w64 g++ (libKelvoCalibrate.dll.a). Every export is called through the
// header's declarations with valid arguments, in a manual and an automatic
// session, and must answer its success code; a few results are checked too.
//
// Usage: host.exe <calibration point file>   (examples/neon-1024.cal)
// Prints each failure and "link host: N passed, M failed"; exits 0 when none
// failed.
#include "KelvoCalibrate.h"

extern "C" {
__declspec(dllimport) void* __stdcall GetStdHandle(unsigned long id);
__declspec(dllimport) int __stdcall WriteFile(void* file, const void* data,
                                              unsigned long size,
                                              unsigned long* written,
                                              void* overlapped);
__declspec(dllimport) char* __stdcall GetCommandLineA();
__declspec(dllimport) void __stdcall ExitProcess(unsigned code);
}

namespace {

// Everything the calls share, in static storage: no large stack frames
// (they would need the runtime's stack probe) and no run-time initialisation
// (there is no runtime to run it).
struct Session {
  CalibHandle h, other;
  KvxULong u, id, id2, v[4];
  KvxLong n;
  double x, y, z, f, i, d, o, e, peaks[4], values[1024];
  char text[16], file[512];
  DetectorRecord detector;
  X_ROI region, dump[4];
  CalibrationRecord record;
  SpeCalibrationBlock block;
  unsigned short samples[256];
  SpectrumData spectrum;
  CalibPoint points[10];
  SpectrographRecord spectrograph;
  TurretRecord turret;
  GratingRecord gratings[2];
  double glueX[2][121], glueY[2][121], glueData[201], glueAxis[201];
  GlueSpectrum inputs[2], output;
} s;
X_ROI regions[2] = {{1, 1, 100, 2}, {2, 201, 100, 4}};

bool Near(double a, double b, double tolerance) {
  return a - b <= tolerance && b - a <= tolerance;
}

bool Same(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) ++a, ++b;
  return *a == *b;
}

// The first argument of the command line, without quotes, into s.file.
void ReadArgument() {
  const char* p = GetCommandLineA();
  for (const char end = *p == '"' ? *p++ : ' '; *p != '\0' && *p++ != end;) {
  }
  while (*p == ' ' || *p == '"') ++p;
  for (unsigned n = 0; *p != '\0' && *p != '"' && n + 1 < sizeof s.file;)
    s.file[n++] = *p++;
}

// One triangular line on sample 100 (data point 101) over a flat 1000.
void Samples() {
  for (int k = 0; k < 256; ++k) {
    const int d = k < 100 ? 100 - k : k - 100;
    s.samples[k] = static_cast<unsigned short>(d < 6 ? 1600 - 100 * d : 1000);
  }
  s.spectrum = SpectrumData{s.samples, 256, 0, 7};
}

// Two blocks of levels 1 and 2 (495-555 nm and 545-605 nm, 0.5 nm apart)
// for an axis of 500-600 nm in 0.5 nm steps: 201 points, 1 at 500, 2 at 600.
void GlueBlocks() {
  for (int b = 0; b < 2; ++b) {
    for (int k = 0; k < 121; ++k) {
      s.glueX[b][k] = 495.0 + 50.0 * b + 0.5 * k;
      s.glueY[b][k] = 1.0 + b;
    }
    s.inputs[b] = GlueSpectrum{s.glueY[b], 121, 1, 5, 1, s.glueX[b], 0, {}, 0};
  }
  s.output = GlueSpectrum{};
}

// Each target slot in turn: read its center and cursor, write them back.
KvxULong Slots() {
  for (KvxLong k = 1; k <= 4; ++k) {
    if (KvxULong c = CalibGetTargetWaveLength(s.h, k, &s.x)) return c;
    if (KvxULong c = CalibSetTargetWaveLength(s.h, k, s.x)) return c;
    if (KvxULong c = CalibGetRefCursorPosition(s.h, k, &s.y)) return c;
    if (KvxULong c = CalibSetRefCursorPosition(s.h, k, s.y)) return c;
  }
  return 0;
}

struct Step {
  KvxULong want;  // the code the call must answer
  const char* text;
  KvxULong (*run)();
};
// Grating values from the grating equation (Python, pi = 3.141592653):
//   d = 1e6 / 1200; phi = asin(500 / (2 d cos(15 deg)))
//   lambda(p) = d (sin(phi - 15 deg) + sin(phi + 15 deg + atan((p - 512.5)
//               x 0.026 / 300)))
//   lambda(612.5) = 506.0332643328, |lambda(513) - lambda(512)| =
//   0.0605057897, limit cos(15 deg)^2 x 2e6 / 1200 = 1555.0211697384,
//   rotation asin(1200 x 500e-6 / (2 cos(15))) = -0.4059579176 (the cosine
//   takes 15 as radians, as hosts have always received it)
// clang-format off
#define E(want, ...) {want, #__VA_ARGS__, [] { return static_cast<KvxULong>(__VA_ARGS__); }}
#define C(...) {0, #__VA_ARGS__, [] { return (__VA_ARGS__) ? 0ul : 1ul; }}
#define DO(...) {0, #__VA_ARGS__, [] { return __VA_ARGS__, 0ul; }}
constexpr Step kSteps[] = {
    // Manual object: module, detectors, regions, calibrations, conversions,
    // SPE blocks, peaks, calibration point files, parameters, copies.
    E(0, GetDeviceCount(&s.u)), C(s.u == 200),
    E(0, GetDeviceID(s.text, &s.u, &s.id, 0)), C(Same(s.text, "Calibration") && s.u == kCalibTypeTag && s.id == 8),
    E(0, CalibCreate(CalibModeManual, &s.h)), C(s.h == kCalibTypeTag),
    E(NqeNotSupported, CalibVerOfDLL(s.h, &s.v[0], &s.v[1], &s.v[2], &s.v[3])), C((s.v[0] | s.v[1] | s.v[2] | s.v[3]) == 0),
    E(0, CalibInitializeDetector(s.h, &s.detector, 0)),
    DO(s.detector = DetectorRecord{0, "CCD", {}, 26.0, 0.0, 1024, 0, regions, 2, sizeof regions, {}}),
    E(0, CalibValidateDetector(s.h, &s.detector, sizeof s.detector)),
    E(0, CalibLoadDetector(s.h, &s.detector, sizeof s.detector)),
    DO(s.detector.regions = s.dump, s.detector.numPixels = 0),
    E(0, CalibDumpDetector(s.h, &s.detector, sizeof s.detector)), C(s.detector.numPixels == 1024 && s.dump[1].startPixel == 201),
    E(0, CalibGetActiveDetectorID(s.h, &s.id)),
    E(0, CalibAddDetector(s.h, &s.detector, sizeof s.detector, &s.id2)),
    E(0, CalibSetActiveDetectorID(s.h, s.id2)),
    E(0, CalibRemoveDetectorID(s.h, s.id)),
    E(0, CalibValidateXScanPattern(s.h, regions, sizeof regions, 2, 1024)),
    E(0, CalibLoadXScanPattern(s.h, regions, 2)),
    DO(s.region = X_ROI{3, 401, 10, 1}), E(0, CalibAddX_ROI(s.h, &s.region)),
    E(0, CalibNumberOfX_ROIs(s.h, &s.n)), C(s.n == 3),
    E(0, CalibRetrieveX_ROI(s.h, 2, &s.region, sizeof s.region)), C(s.region.startPixel == 201),
    E(0, CalibGetIntParam(s.h, CalibParamRegionCounter, &s.n)),
    E(0, CalibDumpXScanPattern(s.h, s.dump, s.n < 4 ? s.n : 4)),
    E(0, CalibDisableScanPattern(s.h)),
    E(0, CalibEnableScanPattern(s.h)),
    E(0, CalibGetScanState(s.h, &s.n)), C(s.n == 1),
    // Pixels 1-100 in pairs are data points 1-50; 201-204 is data point 51.
    E(0, CalibPixelToDataPoint(s.h, 202.5, &s.x)),
    E(0, CalibDataPointToPixel(s.h, s.x, &s.y)), C(Near(s.x, 51.0, 1e-9) && Near(s.y, 202.5, 1e-9)),
    E(0, CalibRemoveX_ROI(s.h, 1)),
    E(0, CalibDeleteScanPattern(s.h)),
    // A line through (1, 500 nm) and (1024, 602.3 nm): pixel 512 is 500 + 511 x 0.1 nm.
    E(0, CalibInitializeCalibration(s.h, &s.record, 0)),
    DO(s.record.polyOrder = 1, s.record.pointPosition[0] = 1.0, s.record.pointValue[0] = 500.0, s.record.pointPosition[1] = 1024.0, s.record.pointValue[1] = 602.3),
    E(0, CalibValidateCalibration(s.h, &s.record, sizeof s.record)), C(s.record.valid == 1 && s.record.pointCount == 2),
    E(0, CalibLoadCalibration(s.h, &s.record, sizeof s.record)),
    E(0, CalibPixelToCalibValue(s.h, 512.0, &s.x)), C(Near(s.x, 551.1, 1e-9)),
    E(0, CalibCalibValueToPixel(s.h, 551.1, &s.x)), C(Near(s.x, 512.0, 1e-6)),
    E(0, CalibDataPointToCalibValue(s.h, 1024.0, &s.x)),
    E(0, CalibCalibValueToDataPoint(s.h, 500.0, &s.y)), C(Near(s.x, 602.3, 1e-9) && Near(s.y, 1.0, 1e-6)),
    E(0, CalibCalibratedPixelArray(s.h, 1024, s.values)),
    E(0, CalibCalibratedDataPointArray(s.h, 1024, s.values)), C(Near(s.values[511], 551.1, 1e-9)),
    E(0, CalibTestCalibPointFit(s.h, 2, &s.x, &s.y, &s.z)),
    E(0, CalibTestCalibrationFit(s.h, &s.x)),
    E(0, CalibDumpCalibration(s.h, &s.record, sizeof s.record)),
    E(0, CalibGetActiveCalibrationID(s.h, &s.id)),
    E(0, CalibAddCalibration(s.h, &s.record, sizeof s.record, &s.id2)),
    E(0, CalibSetActiveCalibrationID(s.h, s.id2)),
    E(0, CalibSetActiveCalibrationID(s.h, s.id)),
    E(0, CalibRemoveCalibrationID(s.h, s.id2)),  // the last of two: 0
    E(0, CalibDumpSPECalibration(s.h, &s.block, sizeof s.block)),
    E(0, CalibLoadSPECalibration(s.h, &s.block, sizeof s.block)),
    E(0, KvxFreeSPECalibrationTable(&s.block, sizeof s.block)),
    E(0, CalibPixelToCalibValue(s.h, 512.0, &s.x)), C(Near(s.x, 551.1, 1e-9)),
    DO(Samples()),  // the half-area point lies within the line's top
    E(0, CalibFindPeaks(s.h, &s.spectrum, s.peaks, s.values, 4, &s.n)),
    E(0, CalibFindNearestPeak(s.h, &s.spectrum, 90.0, &s.x)), C(s.n == 1 && Near(s.peaks[0], 100.5, 1.5) && s.x == s.peaks[0]),
    E(0, CalibGetNumSegments(s.file, 1, &s.n)), C(s.n == 2),
    E(0, CalibGetNumPoints(s.file, 1, 2, &s.n)), C(s.n == 5),
    E(0, CalibLoadCalibPoints(s.file, 1, 2, s.points, 10)), C(s.points[2].pixel == 227.405 && s.points[2].wavelength == 435.833),
    E(0, CalibLoadCalibFile(s.h, s.file, 1, 2, 0.0, 0.0)),
    E(0, CalibSetIntParam(s.h, CalibParamPolyOrder, 2)),
    E(0, CalibGetIntParam(s.h, CalibParamPolyOrder, &s.n)),
    E(0, CalibSetDoubleParam(s.h, CalibParamLaserLine, 632.8)),
    E(0, CalibGetDoubleParam(s.h, CalibParamLaserLine, &s.x)), C(s.n == 2 && s.x == 632.8),
    E(0, CalibSetDoubleArray(s.h, CalibParamPointValue, s.peaks, 2)),
    E(0, CalibGetDoubleArray(s.h, CalibParamPointValue, s.peaks, 2)),
    E(0, CalibSetStrParam(s.h, CalibParamCalibLabel, "Hg lamp", 7)),
    E(0, CalibGetStrParam(s.h, CalibParamCalibLabel, s.text, sizeof s.text)), C(Same(s.text, "Hg lamp")),
    E(0, CalibCreate(CalibModeManual, &s.other)),
    E(0, CalibCopyCalibObject(s.other, s.h)),
    E(0, CalibDestroy(s.other)),
    E(0, CalibDestroy(s.h)),

    // Automatic object: hardware, the grating model at a 500 nm center,
    // stepping, dispersion optimisation, glue, exit mirror.
    E(0, CalibCreate(CalibModeAutomatic, &s.h)),
    DO(s.detector = DetectorRecord{0, "CCD", {}, 26.0, 0.0, 1024, 0, nullptr, 0, 0, {}}),
    E(0, CalibLoadDetector(s.h, &s.detector, sizeof s.detector)),
    // 300 mm, inclusion angle 30 degrees, a turret of 1200 and 600 grooves/mm.
    DO(s.spectrograph = SpectrographRecord{1, 1, 2, "300 mm", {}, 300.0, 30.0, 0.0, 1.0}),
    E(0, CalibLoadSpectrograph(s.h, &s.spectrograph, sizeof s.spectrograph)),
    DO(s.spectrograph.spectrographId = 2),
    E(0, CalibAddSpectrograph(s.h, &s.spectrograph, sizeof s.spectrograph, &s.id)),
    E(0, CalibSetActiveSpectrographID(s.h, 2)),
    E(0, CalibRemoveSpectrographID(s.h, 2)),
    E(0, CalibGetActiveSpectrographID(s.h, &s.id)), C(s.id == 1),
    DO(s.turret = TurretRecord{0, 1, "T", 2}),
    E(0, CalibLoadTurrets(s.h, &s.turret, sizeof s.turret, 1)),
    E(0, CalibSelectTurret(s.h, 1)),
    DO(s.gratings[0] = GratingRecord{0, 1, "G1", 1200.0, 0, 0, 0, 0, 0, 0, 0, 0}, s.gratings[1] = GratingRecord{0, 2, "G2", 600.0, 0, 0, 0, 0, 0, 0, 0, 0}),
    E(0, CalibLoadGratings(s.h, s.gratings, sizeof s.gratings, 2)),
    E(0, CalibSelectGrating(s.h, 2)),
    E(0, CalibSetGratingByIndexNum(s.h, 1, 1)),
    E(0, CalibTestWavelength(s.h, 500.0, &s.x)), C(Near(s.x, 1555.0211697384, 1e-6)),
    E(0, CalibSetCenterWavelength(s.h, 500.0)),
    E(0, CalibCalcPxlWavLngth(s.h, 612.5, &s.x)),
    E(0, CalibCalcDataPointWaveLength(s.h, 612.5, &s.y)), C(Near(s.x, 506.0332643328, 1e-6) && Near(s.y, 506.0332643328, 1e-6)),
    E(0, CalibCalcDataPointCalibValue(s.h, 612.5, &s.x)),
    E(0, CalibCalcDataPointCalibArray(s.h, 1024, s.values)),
    E(0, CalibCalcCalibPixelArray(s.h, 1024, s.values)), C(s.values[0] < s.x && s.x < s.values[1023]),
    E(0, CalibGetCenterResolution(s.h, &s.x)), C(Near(s.x, 0.0605057897, 1e-9)),
    E(0, CalibGratingRotationAngle(s.h, 500.0, &s.x)), C(Near(s.x, -0.4059579176, 1e-9)),
    E(0, CalibSetCenterCalibValue(s.h, 500.0)),
    E(0, CalibCalcSlopeAdjust(s.h, 500.0, 501.0)),
    E(0, CalibConvertCenterWavelength(s.h, 500.0, &s.x)), C(Near(s.x, 501.0, 1e-9)),  // (1 + 0.002) x 500
    E(0, CalibCalcCenterOffset(s.h, 512.5)),
    E(0, CalibSetupSpecCalArray(s.h)),
    E(0, CalibGetNumberSteps(s.h, 500.0, 600.0, 2.0, &s.n)),
    E(0, CalibGetStepCenterValues(s.h, s.n, s.values)),
    E(0, CalibCalcDispersionTargetData(s.h, 546.07, 435.83)),
    E(0, Slots()),
    E(0, CalibValidateTargetData(s.h)),
    E(0, CalibOptimizeSpectrograph(s.h, &s.f, &s.i, &s.d, &s.o, &s.e)),
    E(0, CalibValidateSpecOptStruct(s.h)),
    E(0, CalibGetOptimDispParams(s.h, &s.f, &s.i, &s.d, &s.o, &s.e)),
    E(0, CalibGetOrigDispParams(s.h, &s.f, &s.i, &s.d, &s.o, &s.e)), C(s.f == 300.0 && s.i == 30.0 && s.d == 0.0),
    E(0, CalibInstallOrigDispParams(s.h, &s.o, &s.e)),
    E(0, CalibInstallOptimDispParams(s.h, &s.o, &s.e)),
    E(0, CalibSetDoubleParam(s.h, CalibParamRangeStart, 500.0)),
    E(0, CalibSetDoubleParam(s.h, CalibParamRangeEnd, 600.0)),
    E(0, CalibSetDoubleParam(s.h, CalibParamGlueStep, 0.5)), DO(GlueBlocks()),
    E(0, CalibValidateGlue(s.h, s.inputs, 2, &s.output)), C(s.output.numPoints == 201),
    DO(s.output.data = s.glueData, s.output.xValues = s.glueAxis),
    E(0, CalibGlueInput(s.h, s.inputs, 2, &s.output)), C(s.glueAxis[200] == 600.0 && Near(s.glueData[0], 1.0, 1e-9) && Near(s.glueData[200], 2.0, 1e-9)),
    DO(s.output = GlueSpectrum{}), E(0, CalibInitIncStepAndGlue(s.h, &s.output, 1)),
    DO(s.output.data = s.glueData, s.output.xValues = s.glueAxis),
    E(0, CalibGlueIncInput(s.h, &s.output, &s.inputs[0])),
    E(0, CalibCleanupIncGlue(s.h)),
    E(0, CalibAddExitMirror(s.h)),
    E(0, CalibSetExitMirrorPosition(s.h, 1)),
    E(0, CalibRemoveExitMirror(s.h)),
    E(0, CalibDestroy(s.h)),
};
// clang-format on

// Writes the texts, and the numbers as decimals, to the standard output.
void Write(const char* text, unsigned long number = 0, const char* more = "") {
  char digits[12] = {};
  char* p = digits + sizeof digits - 1;
  do *--p = static_cast<char>('0' + number % 10);
  while ((number /= 10) != 0);
  const char* parts[] = {text, p, more};
  for (const char* part : parts) {
    unsigned long length = 0, written = 0;
    while (part[length] != '\0') ++length;
    WriteFile(GetStdHandle(static_cast<unsigned long>(-11)), part, length,
              &written, nullptr);
  }
}

int Run() {
  unsigned long passed = 0, failed = 0;
  ReadArgument();
  for (const Step& step : kSteps) {
    const KvxULong code = step.run();
    if (code == step.want) {
      ++passed;
    } else {
      ++failed;
      Write("FAILED: ", 0, step.text);
      Write(" answered ", code, "\n");
    }
  }
  Write("link host: ", passed, " passed, ");
  Write("", failed, " failed\n");
  return failed == 0 ? 0 : 1;
}

}  // namespace

#if defined(_MSC_VER)
// No C runtime: the entry point is ours, and so are the few things the
// compiler may call or reference on its own.
extern "C" {
int _fltused = 0;
void* memset(void* to, int value, size_t size) {
  auto* p = static_cast<volatile unsigned char*>(to);
  while (size-- > 0) *p++ = static_cast<unsigned char>(value);
  return to;
}
void* memcpy(void* to, const void* from, size_t size) {
  auto* p = static_cast<volatile unsigned char*>(to);
  for (auto* q = static_cast<const unsigned char*>(from); size-- > 0;)
    *p++ = *q++;
  return to;
}
void __cdecl HostEntry() { ExitProcess(static_cast<unsigned>(Run())); }
}
#else
int main() { return Run(); }
#endif
