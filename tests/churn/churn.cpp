// Churn: calibration objects of both modes created, used through every
// family of exports and destroyed, cycle after cycle, while the resident
// memory is watched. After a warm-up (allocator pools, first-use caches)
// the resident size must stay where it was: a leak of even a few bytes per
// cycle grows it by megabytes over the run.
//
//   kvx_churn [cycles]   (default 1000000; prints cycles/s and the sizes)
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

// Small enough that a cycle costs tens of microseconds in a Release build.
constexpr KvxLong kPixels = 256;
constexpr long kToleranceKiB = 1024;  // allocator noise, not per-cycle growth

bool failed = false;

void Ok(KvxULong code, const char* what) {
  if (code != 0 && !failed) {
    std::fprintf(stderr, "churn: %s returned %lu\n", what,
                 static_cast<unsigned long>(code));
    failed = true;
  }
}

long ResidentKiB() {
  long pages = 0, resident = 0;
  std::FILE* f = std::fopen("/proc/self/statm", "r");
  if (f == nullptr) return -1;
  if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = -1;
  std::fclose(f);
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

struct Data {
  std::vector<double> table, axis, spectrum, glueA, glueB, xA, xB, glued;
  Data()
      : table(kPixels),
        axis(kPixels),
        spectrum(256),
        glueA(64),
        glueB(64),
        xA(64),
        xB(64) {
    for (KvxLong i = 0; i < kPixels; ++i) table[i] = 400.0 + 0.1 * i;
    for (size_t i = 0; i < spectrum.size(); ++i)
      spectrum[i] = (i % 60 == 30) ? 500.0 : 10.0 + static_cast<double>(i % 7);
    for (size_t i = 0; i < 64; ++i) {
      xA[i] = 500.0 + 0.5 * static_cast<double>(i);
      xB[i] = 520.0 + 0.5 * static_cast<double>(i);
      glueA[i] = glueB[i] = 100.0 + static_cast<double>(i);
    }
  }
};

void Manual(Data& data) {
  CalibHandle h = 0, copy = 0;
  Ok(CalibCreate(CalibModeManual, &h), "CalibCreate manual");
  X_ROI regions[2] = {{1, 1, 100, 2}, {2, 121, 100, 4}};
  DetectorRecord d{};
  d.numPixels = kPixels;
  d.pixelSize = 26.0;
  d.regions = regions;
  d.regionCount = 2;
  d.regionBytes = sizeof regions;
  Ok(CalibLoadDetector(h, &d, sizeof d), "CalibLoadDetector");
  X_ROI extra = {3, 231, 20, 1}, back{};
  Ok(CalibAddX_ROI(h, &extra), "CalibAddX_ROI");
  Ok(CalibEnableScanPattern(h), "CalibEnableScanPattern");
  Ok(CalibRetrieveX_ROI(h, 3, &back, sizeof back), "CalibRetrieveX_ROI");
  X_ROI dumped[3];
  KvxLong count = 0;
  Ok(CalibNumberOfX_ROIs(h, &count), "CalibNumberOfX_ROIs");
  Ok(CalibDumpXScanPattern(h, dumped, count), "CalibDumpXScanPattern");
  double v = 0.0;
  Ok(CalibPixelToDataPoint(h, 150.0, &v), "CalibPixelToDataPoint");
  Ok(CalibRemoveX_ROI(h, 3), "CalibRemoveX_ROI");
  Ok(CalibDisableScanPattern(h), "CalibDisableScanPattern");

  CalibrationRecord r;
  Ok(CalibInitializeCalibration(h, &r, sizeof r), "CalibInitialize");
  r.polyOrder = 2;
  const double px[3] = {10.0, 120.0, 250.0}, nm[3] = {400.0, 450.0, 505.0};
  for (int i = 0; i < 3; ++i) {
    r.pointPosition[i] = px[i];
    r.pointValue[i] = nm[i];
  }
  Ok(CalibLoadCalibration(h, &r, sizeof r), "CalibLoadCalibration");
  Ok(CalibPixelToCalibValue(h, 128.0, &v), "CalibPixelToCalibValue");
  Ok(CalibCalibValueToPixel(h, 460.0, &v), "CalibCalibValueToPixel");
  Ok(CalibCalibratedPixelArray(h, kPixels, data.axis.data()),
     "CalibCalibratedPixelArray");

  // A table calibration beside it, made active, handed out as an SPE block.
  CalibrationRecord t;
  Ok(CalibInitializeCalibration(h, &t, sizeof t), "CalibInitialize table");
  t.inputUnit =
      static_cast<KvxLong>(KVX_CALIB_TABLE_FLAG | CalibUnitNanometers);
  t.displayUnit = t.inputUnit;
  t.table = data.table.data();
  t.tableLength = kPixels;
  KvxULong id = 0;
  Ok(CalibAddCalibration(h, &t, sizeof t, &id), "CalibAddCalibration");
  Ok(CalibSetActiveCalibrationID(h, id), "CalibSetActiveCalibrationID");
  Ok(CalibPixelToCalibValue(h, 100.5, &v), "table value");
  SpeCalibrationBlock block;
  Ok(CalibDumpSPECalibration(h, &block, sizeof block), "CalibDumpSPE");
  Ok(CalibLoadSPECalibration(h, &block, sizeof block), "CalibLoadSPE");
  Ok(KvxFreeSPECalibrationTable(&block, sizeof block), "KvxFreeSPETable");

  SpectrumData s{};
  s.data = data.spectrum.data();
  s.count = static_cast<KvxLong>(data.spectrum.size());
  s.dataType = 5;
  double positions[8], values[8];
  KvxLong found = 0;
  Ok(CalibFindPeaks(h, &s, positions, values, 8, &found), "CalibFindPeaks");

  KvxLong order = 0;
  char label[64];
  Ok(CalibSetDoubleParam(h, CalibParamLaserLine, 532.0), "CalibSetDouble");
  Ok(CalibGetIntParam(h, CalibParamPolyOrder, &order), "CalibGetIntParam");
  Ok(CalibSetStrParam(h, CalibParamUnitLabel, "churn", 6), "CalibSetStr");
  Ok(CalibGetStrParam(h, CalibParamUnitLabel, label, sizeof label),
     "CalibGetStr");

  Ok(CalibCreate(CalibModeManual, &copy), "CalibCreate copy");
  Ok(CalibCopyCalibObject(copy, h), "CalibCopyCalibObject");
  Ok(CalibDestroy(copy), "CalibDestroy copy");
  Ok(CalibDestroy(h), "CalibDestroy manual");
}

void Automatic(Data& data, bool optimise) {
  CalibHandle h = 0;
  Ok(CalibCreate(CalibModeAutomatic, &h), "CalibCreate automatic");
  DetectorRecord d{};
  d.numPixels = kPixels;
  d.pixelSize = 26.0;
  SpectrographRecord sg{};
  sg.numTurrets = 1;
  sg.numGratings = 2;
  sg.focalLength = 300.0;
  sg.inclusionAngle = 30.0;
  sg.scaleFactor = 1.0;
  TurretRecord turret{};
  turret.numGratings = 2;
  GratingRecord gratings[2] = {};
  gratings[0].grooveDensity = 600.0;
  gratings[1].grooveDensity = 1200.0;
  Ok(CalibLoadDetector(h, &d, sizeof d), "CalibLoadDetector auto");
  Ok(CalibLoadSpectrograph(h, &sg, sizeof sg), "CalibLoadSpectrograph");
  Ok(CalibLoadTurrets(h, &turret, sizeof turret, 1), "CalibLoadTurrets");
  Ok(CalibSelectTurret(h, 1), "CalibSelectTurret");
  Ok(CalibLoadGratings(h, gratings, sizeof gratings, 2), "CalibLoadGratings");
  Ok(CalibSelectGrating(h, 2), "CalibSelectGrating");
  Ok(CalibAddExitMirror(h), "CalibAddExitMirror");
  Ok(CalibRemoveExitMirror(h), "CalibRemoveExitMirror");

  double v = 0.0;
  Ok(CalibSetCenterWavelength(h, 546.07), "CalibSetCenterWavelength");
  Ok(CalibCalcCalibPixelArray(h, kPixels, data.axis.data()),
     "CalibCalcCalibPixelArray");
  Ok(CalibCalcPxlWavLngth(h, 100.0, &v), "CalibCalcPxlWavLngth");
  Ok(CalibGetCenterResolution(h, &v), "CalibGetCenterResolution");
  KvxLong steps = 0;
  double centers[64];
  Ok(CalibGetNumberSteps(h, 400.0, 900.0, 5.0, &steps), "CalibGetNumberSteps");
  if (steps > 0 && steps <= 64)
    Ok(CalibGetStepCenterValues(h, steps, centers), "CalibGetStepCenters");

  Ok(CalibCalcDispersionTargetData(h, 546.07, 435.83), "CalibCalcTargetData");
  Ok(CalibValidateTargetData(h), "CalibValidateTargetData");
  if (optimise) {
    double f, psi, gamma, objective, error;
    Ok(CalibOptimizeSpectrograph(h, &f, &psi, &gamma, &objective, &error),
       "CalibOptimizeSpectrograph");
  }

  Ok(CalibSetDoubleParam(h, CalibParamGlueStep, 0.5), "glue step");
  GlueSpectrum in[2] = {
      {data.glueA.data(), 64, 1, 5, 1, data.xA.data(), 0, nullptr, 0},
      {data.glueB.data(), 64, 1, 5, 1, data.xB.data(), 0, nullptr, 0}};
  GlueSpectrum out{};
  Ok(CalibValidateGlue(h, in, 2, &out), "CalibValidateGlue");
  data.glued.assign(static_cast<size_t>(out.numPoints > 0 ? out.numPoints : 1),
                    0.0);
  data.axis.resize(data.glued.size() > kPixels ? data.glued.size() : kPixels);
  out.data = data.glued.data();
  out.xValues = data.axis.data();
  Ok(CalibGlueInput(h, in, 2, &out), "CalibGlueInput");
  Ok(CalibDestroy(h), "CalibDestroy automatic");
}

void Cycles(Data& data, long from, long to) {
  for (long i = from; i < to && !failed; ++i) {
    Manual(data);
    Automatic(data, i % 10000 == 0);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const long cycles = argc > 1 ? std::atol(argv[1]) : 1000000;
  const long warmup = cycles / 20 + 1;
  Data data;
  Cycles(data, 0, warmup);
  const long before = ResidentKiB();
  const auto start = std::chrono::steady_clock::now();
  Cycles(data, warmup, cycles);
  const std::chrono::duration<double> took =
      std::chrono::steady_clock::now() - start;
  const long after = ResidentKiB();
  if (failed) return 1;
  const double rate = static_cast<double>(cycles - warmup) / took.count();
  std::printf(
      "churn: %ld cycles (each a manual and an automatic object), %.0f "
      "cycles/s; resident %ld KiB after %ld warm-up cycles, %ld KiB at the "
      "end\n",
      cycles, rate, before, warmup, after);
  if (before < 0 || after > before + kToleranceKiB) {
    std::printf("churn: FAILED: resident memory grew by %ld KiB\n",
                after - before);
    return 1;
  }
  std::printf("churn: ok\n");
  return 0;
}
