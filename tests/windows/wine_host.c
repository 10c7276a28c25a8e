/* A 32-bit Windows host of KelvoCalibrate.kvx, run under Wine by
 * tools/test-all.sh: it loads the DLL by path, resolves every export of the
 * catalogue by name and by ordinal (both must give the same function), and
 * runs a short manual and automatic session through stdcall pointers.
 *
 * Usage: wine_host.exe <module> <export catalogue>
 * Prints "wine host: N passed, M failed" and exits non-zero on a failure. */
#include <math.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "KelvoCalibrate.h"

static int passed, failed;

static void Check(int ok, const char* what) {
  if (ok) {
    ++passed;
  } else {
    ++failed;
    printf("FAILED: %s\n", what);
  }
}

/* Each built line of the catalogue: the name a host resolves (the decorated
 * one for C++ exports) gives the same address as the ordinal. */
static void CheckCatalogue(HMODULE module, const char* path) {
  char line[512];
  int lines = 0, same = 0;
  FILE* f = fopen(path, "r");
  if (f == NULL) {
    Check(0, "catalogue readable");
    return;
  }
  while (fgets(line, sizeof line, f) != NULL) {
    int ordinal = 0;
    char kind[8], status[16], name[128], decorated[160];
    FARPROC byName, byOrdinal;
    if (line[0] == '#' || line[0] == '\n') continue;
    decorated[0] = '\0';
    if (sscanf(line, "%d %7s %15s %127s %159s", &ordinal, kind, status, name,
               decorated) < 4 ||
        strcmp(status, "built") != 0)
      continue;
    ++lines;
    byName =
        GetProcAddress(module, strcmp(kind, "cpp") == 0 ? decorated : name);
    byOrdinal = GetProcAddress(module, MAKEINTRESOURCEA(ordinal));
    if (byName != NULL && byName == byOrdinal) {
      ++same;
    } else {
      printf("export %d %s: by name %p, by ordinal %p\n", ordinal, name,
             (void*)byName, (void*)byOrdinal);
    }
  }
  fclose(f);
  printf("catalogue: %d of %d built exports resolve by name and ordinal\n",
         same, lines);
  Check(lines > 0 && same == lines, "every built export by name and ordinal");
}

typedef KvxULong(__stdcall* CreateFn)(KvxLong, CalibHandle*);
typedef KvxULong(__stdcall* HandleFn)(CalibHandle);
typedef KvxULong(__stdcall* RecordFn)(CalibHandle, void*, KvxLong);
typedef KvxULong(__stdcall* ArrayFn)(CalibHandle, void*, KvxLong, KvxLong);
typedef KvxULong(__stdcall* IndexFn)(CalibHandle, KvxLong);
typedef KvxULong(__stdcall* DoubleFn)(CalibHandle, double);
typedef NqeErrorCode(__stdcall* ConvertFn)(CalibHandle, double, double*);

#define GET(type, name) ((type)(void*)GetProcAddress(module, name))

/* A 1024-pixel detector with a linear calibration through (1, 500 nm) and
 * (1024, 602.3 nm): pixel 512 is 500 + 511 * 0.1 = 551.1 nm. */
static void ManualSession(HMODULE module) {
  CreateFn create = GET(CreateFn, "CalibCreate");
  HandleFn destroy = GET(HandleFn, "CalibDestroy");
  RecordFn loadDetector = GET(RecordFn, "CalibLoadDetector");
  RecordFn initCalibration = GET(RecordFn, "CalibInitializeCalibration");
  RecordFn loadCalibration = GET(RecordFn, "CalibLoadCalibration");
  ConvertFn toValue =
      GET(ConvertFn, "?CalibPixelToCalibValue@@YG?AW4NqeErrorCode@@KNPAN@Z");
  CalibHandle h = 0;
  DetectorRecord detector;
  CalibrationRecord calibration;
  double value = 0.0;
  if (!create || !destroy || !loadDetector || !initCalibration ||
      !loadCalibration || !toValue) {
    Check(0, "manual session exports");
    return;
  }
  Check(create(CalibModeManual, &h) == 0 && h == 0x08000000u, "create");
  memset(&detector, 0, sizeof detector);
  strcpy(detector.name, "Wine CCD");
  detector.numPixels = 1024;
  detector.pixelSize = 26.0;
  Check(loadDetector(h, &detector, sizeof detector) == 0, "load detector");
  Check(initCalibration(h, &calibration, 0) == 0, "initialize calibration");
  calibration.polyOrder = 1;
  calibration.pointPosition[0] = 1.0;
  calibration.pointValue[0] = 500.0;
  calibration.pointPosition[1] = 1024.0;
  calibration.pointValue[1] = 602.3;
  Check(loadCalibration(h, &calibration, sizeof calibration) == 0,
        "load calibration");
  Check(toValue(h, 512.0, &value) == 0 && fabs(value - 551.1) < 1e-9,
        "pixel 512 is 551.1 nm");
  Check(destroy(h) == 0, "destroy");
}

/* The grating equation with G 1200, inclusion 30 degrees, f 300 mm, 26 um
 * pixels, center 500 nm: 100 pixels above the center is 506.0332643328 nm. */
static void AutomaticSession(HMODULE module) {
  CreateFn create = GET(CreateFn, "CalibCreate");
  HandleFn destroy = GET(HandleFn, "CalibDestroy");
  RecordFn loadDetector = GET(RecordFn, "CalibLoadDetector");
  RecordFn loadSpectrograph = GET(RecordFn, "CalibLoadSpectrograph");
  ArrayFn loadTurrets = GET(ArrayFn, "CalibLoadTurrets");
  ArrayFn loadGratings = GET(ArrayFn, "CalibLoadGratings");
  IndexFn selectTurret = GET(IndexFn, "CalibSelectTurret");
  IndexFn selectGrating = GET(IndexFn, "CalibSelectGrating");
  DoubleFn setCenter = GET(DoubleFn, "CalibSetCenterWavelength");
  ConvertFn pixelWavelength =
      GET(ConvertFn, "?CalibCalcPxlWavLngth@@YG?AW4NqeErrorCode@@KNPAN@Z");
  CalibHandle h = 0;
  DetectorRecord detector;
  SpectrographRecord spectrograph;
  TurretRecord turret;
  GratingRecord grating;
  double wavelength = 0.0;
  if (!create || !destroy || !loadDetector || !loadSpectrograph ||
      !loadTurrets || !loadGratings || !selectTurret || !selectGrating ||
      !setCenter || !pixelWavelength) {
    Check(0, "automatic session exports");
    return;
  }
  Check(create(CalibModeAutomatic, &h) == 0, "create automatic");
  memset(&detector, 0, sizeof detector);
  detector.numPixels = 1024;
  detector.pixelSize = 26.0;
  Check(loadDetector(h, &detector, sizeof detector) == 0, "load detector");
  memset(&spectrograph, 0, sizeof spectrograph);
  spectrograph.spectrographId = 7;
  spectrograph.numTurrets = 1;
  spectrograph.numGratings = 1;
  spectrograph.focalLength = 300.0;
  spectrograph.inclusionAngle = 30.0;
  spectrograph.scaleFactor = 1.0;
  Check(loadSpectrograph(h, &spectrograph, sizeof spectrograph) == 0,
        "load spectrograph");
  memset(&turret, 0, sizeof turret);
  turret.turretId = 1;
  turret.numGratings = 1;
  Check(loadTurrets(h, &turret, sizeof turret, 1) == 0, "load turret");
  Check(selectTurret(h, 1) == 0, "select turret");
  memset(&grating, 0, sizeof grating);
  grating.gratingId = 1;
  grating.grooveDensity = 1200.0;
  Check(loadGratings(h, &grating, sizeof grating, 1) == 0, "load grating");
  Check(selectGrating(h, 1) == 0, "select grating");
  Check(setCenter(h, 500.0) == 0, "center 500 nm");
  Check(pixelWavelength(h, 612.5, &wavelength) == 0 &&
            fabs(wavelength - 506.0332643328) < 1e-9,
        "pixel 612.5 is 506.0332643328 nm");
  Check(destroy(h) == 0, "destroy automatic");
}

/* The fit extensions: a straight line through eleven points, evaluated
 * between them (500 + 0.1 x at 5.5 is 500.55). */
static void FitSession(HMODULE module) {
  typedef KvxULong(__stdcall * FitFn)(const double*, const double*, KvxLong,
                                      KvxLong, const KvxFitOptions*,
                                      KvxPolynomialFit*, KvxFitLineResult*);
  typedef KvxULong(__stdcall * EvaluateFn)(const KvxPolynomialFit*, double,
                                           double*);
  FitFn fit = GET(FitFn, "KvxFitPolynomial");
  EvaluateFn evaluate = GET(EvaluateFn, "KvxEvaluatePolynomialFit");
  double x[11], y[11], value = 0.0;
  KvxPolynomialFit result;
  int i;
  if (fit == NULL || evaluate == NULL) {
    Check(0, "fit exports");
    return;
  }
  for (i = 0; i < 11; ++i) {
    x[i] = i;
    y[i] = 500.0 + 0.1 * i;
  }
  Check(fit(x, y, 11, 1, NULL, &result, NULL) == 0 && result.order == 1,
        "polynomial fit");
  Check(evaluate(&result, 5.5, &value) == 0 && fabs(value - 500.55) < 1e-9,
        "fitted line at 5.5 is 500.55");
}

int main(int argc, char** argv) {
  HMODULE module;
  if (argc < 3) {
    printf("usage: wine_host.exe <module> <export catalogue>\n");
    return 2;
  }
  module = LoadLibraryA(argv[1]);
  Check(module != NULL, "LoadLibraryA");
  if (module != NULL) {
    CheckCatalogue(module, argv[2]);
    ManualSession(module);
    AutomaticSession(module);
    FitSession(module);
    FreeLibrary(module);
  }
  printf("wine host: %d passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
