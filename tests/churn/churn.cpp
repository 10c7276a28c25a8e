// Churn: calibration objects of both modes created, used through every
// family of exports and destroyed, cycle after cycle, while the resident
// memory is watched. After a warm-up (allocator pools, first-use caches) the
// resident size must stay put: a leak of a few bytes per cycle grows it by
// megabytes over the run.
//
//   kvx_churn [cycles]   (default 1000000; prints cycles/s and the sizes)
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

constexpr KvxLong kPixels = 256;      // a cycle costs tens of microseconds
constexpr long kToleranceKiB = 1024;  // allocator noise, not growth
bool failed = false;

// The first failing call is reported and ends the run.
#define OK(call) Ok((call), #call)
void Ok(KvxULong code, const char* call) {
  if (code != 0 && !failed)
    std::fprintf(stderr, "churn: %s returned %lu\n", call,
                 static_cast<unsigned long>(code));
  failed = failed || code != 0;
}

long ResidentKiB() {
  long pages = 0, resident = -1;
  if (std::FILE* f = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = -1;
    std::fclose(f);
  }
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

std::vector<double> table(kPixels), axis(kPixels), spectrum(256), counts(64),
    xA(64), xB(64), glued;
double v, w[64], f, psi, gamma, objective, error;
KvxLong n;

void Manual() {
  CalibHandle h = 0, copy = 0;
  X_ROI regions[2] = {{1, 1, 100, 2}, {2, 121, 100, 4}}, extra{3, 231, 20, 1},
        back[3];
  DetectorRecord d{};
  std::tie(d.numPixels, d.pixelSize, d.regions, d.regionCount, d.regionBytes) =
      std::make_tuple(kPixels, 26.0, regions, 2, KvxLong{sizeof regions});
  OK(CalibCreate(CalibModeManual, &h));
  OK(CalibLoadDetector(h, &d, sizeof d));
  OK(CalibAddX_ROI(h, &extra));
  OK(CalibEnableScanPattern(h));
  OK(CalibRetrieveX_ROI(h, 3, back, sizeof back[0]));
  OK(CalibNumberOfX_ROIs(h, &n));
  OK(CalibDumpXScanPattern(h, back, n));
  OK(CalibPixelToDataPoint(h, 150.0, &v));
  OK(CalibRemoveX_ROI(h, 3));
  OK(CalibDisableScanPattern(h));
  CalibrationRecord r, t;
  OK(CalibInitializeCalibration(h, &r, sizeof r));
  r.polyOrder = 2;
  for (int i = 0; i < 3; ++i) {
    r.pointPosition[i] = 10.0 + 120.0 * i;
    r.pointValue[i] = 400.0 + 50.0 * i + 2.0 * i * i;
  }
  OK(CalibLoadCalibration(h, &r, sizeof r));
  OK(CalibPixelToCalibValue(h, 128.0, &v));
  OK(CalibCalibValueToPixel(h, 460.0, &v));
  OK(CalibCalibratedPixelArray(h, kPixels, axis.data()));
  // A table calibration beside it, made active, handed out as an SPE block.
  OK(CalibInitializeCalibration(h, &t, sizeof t));
  t.inputUnit = t.displayUnit =
      static_cast<KvxLong>(KVX_CALIB_TABLE_FLAG | CalibUnitNanometers);
  std::tie(t.table, t.tableLength) = std::make_tuple(table.data(), kPixels);
  KvxULong id = 0;
  SpeCalibrationBlock block;
  OK(CalibAddCalibration(h, &t, sizeof t, &id));
  OK(CalibSetActiveCalibrationID(h, id));
  OK(CalibPixelToCalibValue(h, 100.5, &v));
  OK(CalibDumpSPECalibration(h, &block, sizeof block));
  OK(CalibLoadSPECalibration(h, &block, sizeof block));
  OK(KvxFreeSPECalibrationTable(&block, sizeof block));
  SpectrumData s{};
  std::tie(s.data, s.count, s.dataType) =
      std::make_tuple(spectrum.data(), 256, 5);
  char label[64];
  OK(CalibFindPeaks(h, &s, w, w + 8, 8, &n));
  OK(CalibSetDoubleParam(h, CalibParamLaserLine, 532.0));
  OK(CalibGetIntParam(h, CalibParamPolyOrder, &n));
  OK(CalibSetStrParam(h, CalibParamUnitLabel, "churn", 6));
  OK(CalibGetStrParam(h, CalibParamUnitLabel, label, sizeof label));
  OK(CalibCreate(CalibModeManual, &copy));
  OK(CalibCopyCalibObject(copy, h));
  OK(CalibDestroy(copy));
  OK(CalibDestroy(h));
}

void Automatic(bool optimise) {
  CalibHandle h = 0;
  DetectorRecord d{};
  std::tie(d.numPixels, d.pixelSize) = std::make_tuple(kPixels, 26.0);
  SpectrographRecord sg{};
  std::tie(sg.numTurrets, sg.numGratings, sg.focalLength, sg.inclusionAngle,
           sg.scaleFactor) = std::make_tuple(1, 2, 300.0, 30.0, 1.0);
  TurretRecord turret{};
  turret.numGratings = 2;
  GratingRecord gratings[2] = {};
  gratings[0].grooveDensity = 600.0;
  gratings[1].grooveDensity = 1200.0;
  OK(CalibCreate(CalibModeAutomatic, &h));
  OK(CalibLoadDetector(h, &d, sizeof d));
  OK(CalibLoadSpectrograph(h, &sg, sizeof sg));
  OK(CalibLoadTurrets(h, &turret, sizeof turret, 1));
  OK(CalibSelectTurret(h, 1));
  OK(CalibLoadGratings(h, gratings, sizeof gratings, 2));
  OK(CalibSelectGrating(h, 2));
  OK(CalibAddExitMirror(h));
  OK(CalibRemoveExitMirror(h));
  OK(CalibSetCenterWavelength(h, 546.07));
  OK(CalibCalcCalibPixelArray(h, kPixels, axis.data()));
  OK(CalibCalcPxlWavLngth(h, 100.0, &v));
  OK(CalibGetCenterResolution(h, &v));
  OK(CalibGetNumberSteps(h, 400.0, 900.0, 5.0, &n));
  if (n > 0 && n <= 64) OK(CalibGetStepCenterValues(h, n, w));
  OK(CalibCalcDispersionTargetData(h, 546.07, 435.83));
  OK(CalibValidateTargetData(h));
  if (optimise)
    OK(CalibOptimizeSpectrograph(h, &f, &psi, &gamma, &objective, &error));
  OK(CalibSetDoubleParam(h, CalibParamGlueStep, 0.5));
  GlueSpectrum in[2] = {{counts.data(), 64, 1, 5, 1, xA.data(), 0, nullptr, 0},
                        {counts.data(), 64, 1, 5, 1, xB.data(), 0, nullptr, 0}};
  GlueSpectrum out{};
  OK(CalibValidateGlue(h, in, 2, &out));
  glued.resize(2 * static_cast<size_t>(out.numPoints > 0 ? out.numPoints : 1));
  out.data = glued.data();
  out.xValues = glued.data() + glued.size() / 2;
  OK(CalibGlueInput(h, in, 2, &out));
  OK(CalibDestroy(h));
}

void Cycles(long from, long to) {
  for (long i = from; i < to && !failed; ++i) {
    Manual();
    Automatic(i % 10000 == 0);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (size_t i = 0; i < 256; ++i) {
    table[i] = 400.0 + 0.1 * static_cast<double>(i);
    spectrum[i] = (i % 60 == 30) ? 500.0 : 10.0 + static_cast<double>(i % 7);
  }
  for (size_t i = 0; i < 64; ++i) {
    xA[i] = 500.0 + 0.5 * static_cast<double>(i);
    xB[i] = xA[i] + 20.0;
    counts[i] = 100.0 + static_cast<double>(i);
  }
  const long cycles = argc > 1 ? std::atol(argv[1]) : 1000000;
  const long warmup = cycles / 20 + 1;
  Cycles(0, warmup);
  const long before = ResidentKiB();
  const auto start = std::chrono::steady_clock::now();
  Cycles(warmup, cycles);
  const std::chrono::duration<double> took =
      std::chrono::steady_clock::now() - start;
  const long after = ResidentKiB();
  if (failed) return 1;
  std::printf(
      "churn: %ld cycles (a manual and an automatic object each), "
      "%.0f cycles/s; resident %ld KiB after %ld warm-up cycles, %ld "
      "KiB at the end\n",
      cycles, static_cast<double>(cycles - warmup) / took.count(), before,
      warmup, after);
  if (before < 0 || after > before + kToleranceKiB) {
    std::printf("churn: FAILED: resident memory grew by %ld KiB\n",
                after - before);
    return 1;
  }
  std::printf("churn: ok\n");
  return 0;
}
