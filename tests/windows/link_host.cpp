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

int passed, failed;

void Write(const char* text) {
  unsigned long length = 0, written = 0;
  while (text[length] != '\0') ++length;
  WriteFile(GetStdHandle(static_cast<unsigned long>(-11)), text, length,
            &written, nullptr);
}

void WriteNumber(unsigned long value) {
  char digits[12];
  char* p = digits + sizeof digits - 1;
  *p = '\0';
  do *--p = static_cast<char>('0' + value % 10);
  while ((value /= 10) != 0);
  Write(p);
}

void Expect(KvxULong code, KvxULong want, const char* call) {
  if (code == want) {
    ++passed;
    return;
  }
  ++failed;
  Write("FAILED: ");
  Write(call);
  Write(" answered ");
  WriteNumber(code);
  Write("\n");
}

void Check(bool ok, const char* what) { Expect(ok ? 0 : 1, 0, what); }

#define E(want, call) Expect(static_cast<KvxULong>(call), want, #call)
#define C(condition) Check(condition, #condition)

bool Near(double a, double b, double tolerance) {
  return a - b <= tolerance && b - a <= tolerance;
}

bool Same(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) ++a, ++b;
  return *a == *b;
}

// The first argument of the command line, without quotes.
const char* Argument() {
  static char path[512];
  const char* s = GetCommandLineA();
  const char end = *s == '"' ? '"' : ' ';
  for (s += *s == '"'; *s != '\0' && *s != end; ++s) {
  }
  while (*s == ' ' || *s == '"') ++s;
  unsigned n = 0;
  while (*s != '\0' && *s != '"' && n + 1 < sizeof path) path[n++] = *s++;
  path[n] = '\0';
  return path;
}

// Static storage: no large frames (which would need the runtime's stack
// probe) and no run-time initialisation (there is no runtime to do it).
double values[1024], pixels[4], wavelengths[4];
unsigned short samples[256];
double glueY[2][121], glueX[2][121], glueData[201], glueAxis[201];
X_ROI regions[2] = {{1, 1, 100, 2}, {2, 201, 100, 4}};

DetectorRecord Detector() {
  DetectorRecord detector{};
  detector.pixelSize = 26.0;
  detector.numPixels = 1024;
  return detector;
}

// Detector, regions, calibrations and their conversions, SPE blocks, peaks,
// calibration point files, parameters, copies. A linear calibration through
// (1, 500 nm) and (1024, 602.3 nm) puts pixel 512 at 500 + 511 x 0.1 nm.
void ManualSession(const char* file) {
  CalibHandle h = 0, copy = 0;
  KvxULong u = 0, first = 0, second = 0, v[4] = {1, 1, 1, 1};
  KvxLong n = 0;
  char text[16];
  double x = 0.0, y = 0.0, z = 0.0;
  E(0, GetDeviceCount(&u));
  C(u == 200);
  E(0, GetDeviceID(text, &u, &first, 0));
  C(Same(text, "Calibration") && u == kCalibTypeTag && first == 8);
  E(0, CalibCreate(CalibModeManual, &h));
  C(h == kCalibTypeTag);  // slot 0 of a fresh process
  E(NqeNotSupported, CalibVerOfDLL(h, &v[0], &v[1], &v[2], &v[3]));
  C(v[0] == 0 && v[1] == 0 && v[2] == 0 && v[3] == 0);

  DetectorRecord detector = Detector();
  E(0, CalibInitializeDetector(h, &detector, 0));
  C(detector.numPixels == 0);
  X_ROI region{}, extra{3, 401, 10, 1}, dump[4];
  detector = Detector();
  detector.regions = regions;
  detector.regionCount = 2;
  detector.regionBytes = sizeof regions;
  E(0, CalibValidateDetector(h, &detector, sizeof detector));
  E(0, CalibLoadDetector(h, &detector, sizeof detector));
  detector.regions = dump;
  detector.numPixels = 0;
  E(0, CalibDumpDetector(h, &detector, sizeof detector));
  C(detector.numPixels == 1024 && dump[1].startPixel == 201);
  E(0, CalibGetActiveDetectorID(h, &first));
  E(0, CalibAddDetector(h, &detector, sizeof detector, &second));
  E(0, CalibSetActiveDetectorID(h, second));
  E(0, CalibRemoveDetectorID(h, first));

  E(0, CalibValidateXScanPattern(h, regions, sizeof regions, 2, 1024));
  E(0, CalibLoadXScanPattern(h, regions, 2));
  E(0, CalibAddX_ROI(h, &extra));
  E(0, CalibNumberOfX_ROIs(h, &n));
  C(n == 3);
  E(0, CalibRetrieveX_ROI(h, 2, &region, sizeof region));
  C(region.startPixel == 201 && region.binning == 4);
  E(0, CalibGetIntParam(h, CalibParamRegionCounter, &n));
  E(0, CalibDumpXScanPattern(h, dump, n < 4 ? n : 4));
  E(0, CalibDisableScanPattern(h));
  E(0, CalibEnableScanPattern(h));
  E(0, CalibGetScanState(h, &n));
  C(n == 1);
  // Pixels 1-100 in pairs are data points 1-50; 201-204 is data point 51.
  E(0, CalibPixelToDataPoint(h, 202.5, &x));
  E(0, CalibDataPointToPixel(h, x, &y));
  C(Near(x, 51.0, 1e-9) && Near(y, 202.5, 1e-9));
  E(0, CalibRemoveX_ROI(h, 1));
  E(0, CalibDeleteScanPattern(h));

  CalibrationRecord record, back;
  E(0, CalibInitializeCalibration(h, &record, 0));
  record.polyOrder = 1;
  record.pointPosition[0] = 1.0;
  record.pointValue[0] = 500.0;
  record.pointPosition[1] = 1024.0;
  record.pointValue[1] = 602.3;
  E(0, CalibValidateCalibration(h, &record, sizeof record));
  C(record.valid == 1 && record.pointCount == 2);
  E(0, CalibLoadCalibration(h, &record, sizeof record));
  E(0, CalibPixelToCalibValue(h, 512.0, &x));
  C(Near(x, 551.1, 1e-9));
  E(0, CalibCalibValueToPixel(h, 551.1, &x));
  C(Near(x, 512.0, 1e-6));
  E(0, CalibDataPointToCalibValue(h, 1024.0, &x));
  E(0, CalibCalibValueToDataPoint(h, 500.0, &y));
  C(Near(x, 602.3, 1e-9) && Near(y, 1.0, 1e-6));
  E(0, CalibCalibratedPixelArray(h, 1024, values));
  E(0, CalibCalibratedDataPointArray(h, 1024, values));
  C(Near(values[511], 551.1, 1e-9));
  E(0, CalibTestCalibPointFit(h, 2, &x, &y, &z));
  E(0, CalibTestCalibrationFit(h, &x));
  E(0, CalibDumpCalibration(h, &back, sizeof back));
  E(0, CalibGetActiveCalibrationID(h, &first));
  E(0, CalibAddCalibration(h, &record, sizeof record, &second));
  E(0, CalibSetActiveCalibrationID(h, second));
  E(0, CalibSetActiveCalibrationID(h, first));
  E(0, CalibRemoveCalibrationID(h, second));  // the last of two: 0

  SpeCalibrationBlock block;
  E(0, CalibDumpSPECalibration(h, &block, sizeof block));
  E(0, CalibLoadSPECalibration(h, &block, sizeof block));
  E(0, KvxFreeSPECalibrationTable(&block, sizeof block));
  E(0, CalibPixelToCalibValue(h, 512.0, &x));
  C(Near(x, 551.1, 1e-9));

  // One triangular line on sample 100 (data point 101) over a flat 1000:
  // its half-area point lies within the line's top.
  for (int k = 0; k < 256; ++k) {
    const int d = k < 100 ? 100 - k : k - 100;
    samples[k] = static_cast<unsigned short>(d < 6 ? 1600 - 100 * d : 1000);
  }
  SpectrumData spectrum{samples, 256, 0, 7};
  E(0, CalibFindPeaks(h, &spectrum, pixels, wavelengths, 4, &n));
  E(0, CalibFindNearestPeak(h, &spectrum, 90.0, &x));
  C(n == 1 && Near(pixels[0], 100.5, 1.5) && x == pixels[0]);

  CalibPoint points[10];
  E(0, CalibGetNumSegments(file, 1, &n));
  C(n == 2);
  E(0, CalibGetNumPoints(file, 1, 2, &n));
  C(n == 5);
  E(0, CalibLoadCalibPoints(file, 1, 2, points, 10));
  C(points[2].pixel == 227.405 && points[2].wavelength == 435.833);
  E(0, CalibLoadCalibFile(h, file, 1, 2, 0.0, 0.0));

  double array[2] = {404.656, 407.783};
  E(0, CalibSetIntParam(h, CalibParamPolyOrder, 2));
  E(0, CalibGetIntParam(h, CalibParamPolyOrder, &n));
  E(0, CalibSetDoubleParam(h, CalibParamLaserLine, 632.8));
  E(0, CalibGetDoubleParam(h, CalibParamLaserLine, &x));
  C(n == 2 && x == 632.8);
  E(0, CalibSetDoubleArray(h, CalibParamPointValue, array, 2));
  E(0, CalibGetDoubleArray(h, CalibParamPointValue, array, 2));
  E(0, CalibSetStrParam(h, CalibParamCalibLabel, "Hg lamp", 7));
  E(0, CalibGetStrParam(h, CalibParamCalibLabel, text, sizeof text));
  C(Same(text, "Hg lamp"));

  E(0, CalibCreate(CalibModeManual, &copy));
  E(0, CalibCopyCalibObject(copy, h));
  E(0, CalibDestroy(copy));
  E(0, CalibDestroy(h));
}

// A 300 mm spectrograph (inclusion angle 30 degrees, 1200 grooves/mm) before
// a 1024-pixel detector of 26 um pixels, centred on 500 nm. Expected values
// from the grating equation (Python, pi = 3.141592653):
//   d = 1e6 / 1200; phi = asin(500 / (2 d cos(15 deg)))
//   lambda(p) = d (sin(phi - 15 deg) + sin(phi + 15 deg + atan((p - 512.5)
//               x 0.026 / 300)))
//   lambda(612.5) = 506.0332643328, |lambda(513) - lambda(512)| =
//   0.0605057897, limit cos(15 deg)^2 x 2e6 / 1200 = 1555.0211697384,
//   rotation asin(1200 x 500e-6 / (2 cos(15))) = -0.4059579176 (the cosine
//   takes 15 as radians, as hosts have always received it)
void AutomaticSession() {
  CalibHandle h = 0;
  KvxULong id = 0;
  KvxLong n = 0;
  double x = 0.0, y = 0.0, f = 0.0, i = 0.0, d = 0.0, o = 0.0, e = 0.0;
  E(0, CalibCreate(CalibModeAutomatic, &h));
  DetectorRecord detector = Detector();
  E(0, CalibLoadDetector(h, &detector, sizeof detector));

  SpectrographRecord spectrograph{};
  spectrograph.spectrographId = 1;
  spectrograph.numTurrets = 1;
  spectrograph.numGratings = 2;
  spectrograph.focalLength = 300.0;
  spectrograph.inclusionAngle = 30.0;
  spectrograph.scaleFactor = 1.0;
  E(0, CalibLoadSpectrograph(h, &spectrograph, sizeof spectrograph));
  spectrograph.spectrographId = 2;
  E(0, CalibAddSpectrograph(h, &spectrograph, sizeof spectrograph, &id));
  E(0, CalibSetActiveSpectrographID(h, 2));
  E(0, CalibRemoveSpectrographID(h, 2));
  E(0, CalibGetActiveSpectrographID(h, &id));
  C(id == 1);
  TurretRecord turret{};
  turret.turretId = 1;
  turret.numGratings = 2;
  GratingRecord gratings[2]{};
  gratings[0].gratingId = 1;
  gratings[0].grooveDensity = 1200.0;
  gratings[1].gratingId = 2;
  gratings[1].grooveDensity = 600.0;
  E(0, CalibLoadTurrets(h, &turret, sizeof turret, 1));
  E(0, CalibSelectTurret(h, 1));
  E(0, CalibLoadGratings(h, gratings, sizeof gratings, 2));
  E(0, CalibSelectGrating(h, 2));
  E(0, CalibSetGratingByIndexNum(h, 1, 1));

  E(0, CalibTestWavelength(h, 500.0, &x));
  C(Near(x, 1555.0211697384, 1e-6));
  E(0, CalibSetCenterWavelength(h, 500.0));
  E(0, CalibCalcPxlWavLngth(h, 612.5, &x));
  E(0, CalibCalcDataPointWaveLength(h, 612.5, &y));
  C(Near(x, 506.0332643328, 1e-6) && Near(y, 506.0332643328, 1e-6));
  E(0, CalibCalcDataPointCalibValue(h, 612.5, &x));
  E(0, CalibCalcDataPointCalibArray(h, 1024, values));
  E(0, CalibCalcCalibPixelArray(h, 1024, values));
  C(values[0] < x && x < values[1023]);
  E(0, CalibGetCenterResolution(h, &x));
  C(Near(x, 0.0605057897, 1e-9));
  E(0, CalibGratingRotationAngle(h, 500.0, &x));
  C(Near(x, -0.4059579176, 1e-9));
  E(0, CalibSetCenterCalibValue(h, 500.0));
  E(0, CalibCalcSlopeAdjust(h, 500.0, 501.0));
  E(0, CalibConvertCenterWavelength(h, 500.0, &x));
  C(Near(x, 501.0, 1e-9));  // (1 + 501 / 500 - 1) x 500
  E(0, CalibCalcCenterOffset(h, 512.5));
  E(0, CalibSetupSpecCalArray(h));
  E(0, CalibGetNumberSteps(h, 500.0, 600.0, 2.0, &n));
  E(0, CalibGetStepCenterValues(h, n, values));

  E(0, CalibCalcDispersionTargetData(h, 546.07, 435.83));
  for (KvxLong slot = 1; slot <= 4; ++slot) {
    E(0, CalibGetTargetWaveLength(h, slot, &x));
    E(0, CalibSetTargetWaveLength(h, slot, x));
    E(0, CalibGetRefCursorPosition(h, slot, &y));
    E(0, CalibSetRefCursorPosition(h, slot, y));
  }
  E(0, CalibValidateTargetData(h));
  E(0, CalibOptimizeSpectrograph(h, &f, &i, &d, &o, &e));
  E(0, CalibValidateSpecOptStruct(h));
  E(0, CalibGetOptimDispParams(h, &f, &i, &d, &o, &e));
  E(0, CalibGetOrigDispParams(h, &f, &i, &d, &o, &e));
  C(f == 300.0 && i == 30.0 && d == 0.0);
  E(0, CalibInstallOrigDispParams(h, &o, &e));
  E(0, CalibInstallOptimDispParams(h, &o, &e));

  // Two blocks of levels 1 and 2 (495-555 nm, 545-605 nm in 0.5 nm steps)
  // glued onto 500-600 nm in 0.5 nm steps: 201 points, 1 at 500, 2 at 600.
  GlueSpectrum inputs[2]{}, output{};
  for (int b = 0; b < 2; ++b) {
    for (int k = 0; k < 121; ++k) {
      glueX[b][k] = 495.0 + 50.0 * b + 0.5 * k;
      glueY[b][k] = 1.0 + b;
    }
    inputs[b] = GlueSpectrum{glueY[b], 121, 1, 5, 1, glueX[b], 0, nullptr, 0};
  }
  E(0, CalibSetDoubleParam(h, CalibParamRangeStart, 500.0));
  E(0, CalibSetDoubleParam(h, CalibParamRangeEnd, 600.0));
  E(0, CalibSetDoubleParam(h, CalibParamGlueStep, 0.5));
  E(0, CalibValidateGlue(h, inputs, 2, &output));
  C(output.numPoints == 201);
  output.data = glueData;
  output.xValues = glueAxis;
  E(0, CalibGlueInput(h, inputs, 2, &output));
  C(glueAxis[200] == 600.0 && Near(glueData[0], 1.0, 1e-9) &&
    Near(glueData[200], 2.0, 1e-9));
  output = GlueSpectrum{};
  E(0, CalibInitIncStepAndGlue(h, &output, 1));
  output.data = glueData;
  output.xValues = glueAxis;
  E(0, CalibGlueIncInput(h, &output, &inputs[0]));
  E(0, CalibCleanupIncGlue(h));

  E(0, CalibAddExitMirror(h));
  E(0, CalibSetExitMirrorPosition(h, 1));
  E(0, CalibRemoveExitMirror(h));
  E(0, CalibDestroy(h));
}

int Run() {
  ManualSession(Argument());
  AutomaticSession();
  Write("link host: ");
  WriteNumber(static_cast<unsigned long>(passed));
  Write(" passed, ");
  WriteNumber(static_cast<unsigned long>(failed));
  Write(" failed\n");
  return failed == 0 ? 0 : 1;
}

}  // namespace

#if defined(_MSC_VER)
// No C runtime: the entry point is ours, and so are the few things the
// compiler may call or reference on its own.
extern "C" {
int _fltused = 0;
void* memset(void* to, int value, size_t size) {
  for (volatile unsigned char* p = static_cast<unsigned char*>(to); size > 0;
       --size)
    *p++ = static_cast<unsigned char>(value);
  return to;
}
void* memcpy(void* to, const void* from, size_t size) {
  const unsigned char* q = static_cast<const unsigned char*>(from);
  for (volatile unsigned char* p = static_cast<unsigned char*>(to); size > 0;
       --size)
    *p++ = *q++;
  return to;
}
void __cdecl HostEntry() { ExitProcess(static_cast<unsigned>(Run())); }
}
#else
int main() { return Run(); }
#endif
