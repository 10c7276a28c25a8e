// Dispersion optimisation as a host runs it: two mercury lines are proposed
// near both edges of the detector, the "measured" line positions come from
// an instrument whose real optics differ slightly from the nominal ones, and
// the optimisation recovers optics that predict the measurement.
#include <cmath>
#include <cstdio>

#include "KelvoCalibrate.h"
#include "demo_sections.h"
#include "one_grating.h"

namespace demo {

namespace {

struct Optics {
  double focalLength, inclusionAngle, detectorAngle;
};

// An automatic object with a 1024 x 26 um detector and one 1200 g/mm
// grating whose optics are `optics` (the spectrograph's defaults stay the
// nominal 300 mm, 30 and 0 degrees, from which the search bounds follow).
bool Instrument(CalibHandle* handle, const Optics& optics) {
  return Check(CalibCreate(CalibModeAutomatic, handle), "CalibCreate") &&
         Check(LoadOneGrating(
                   *handle, {1024, 26.0, 1200.0, optics.focalLength,
                             optics.inclusionAngle, optics.detectorAngle, 0.0}),
               "loading the instrument");
}

// Where the real instrument, set to `center`, shows `line`: a secant search
// on its pixel-to-wavelength relation, starting at the expected pixel.
double MeasuredPixel(CalibHandle real, double center, double line,
                     double expected) {
  CalibSetCenterWavelength(real, center);
  double p0 = expected, p1 = expected + 1.0;
  double w0 = 0.0, w1 = 0.0;
  CalibCalcPxlWavLngth(real, p0, &w0);
  for (int i = 0; i < 30 && std::fabs(w0 - line) > 1e-9; ++i) {
    CalibCalcPxlWavLngth(real, p1, &w1);
    if (w1 == w0) break;
    const double next = p1 - (w1 - line) * (p1 - p0) / (w1 - w0);
    p0 = p1;
    w0 = w1;
    p1 = next;
  }
  return p0;
}

}  // namespace

int DispersionOptimisation() {
  const Optics nominal{300.0, 30.0, 0.0};
  const Optics real{298.37, 29.93, -1.37};
  CalibHandle handle = 0;
  CalibHandle instrument = 0;
  if (!Instrument(&handle, nominal) || !Instrument(&instrument, real)) {
    return 1;
  }
  const double lines[2] = {546.07, 435.83};  // Hg
  std::printf(
      "Dispersion optimisation: Hg %.2f and %.2f nm, nominal optics"
      " f %.1f mm, inclusion %.2f, detector angle %.2f deg\n",
      lines[0], lines[1], nominal.focalLength, nominal.inclusionAngle,
      nominal.detectorAngle);
  if (!Check(CalibCalcDispersionTargetData(handle, lines[0], lines[1]),
             "CalibCalcDispersionTargetData")) {
    return 1;
  }
  std::printf("  slot  line nm   set center nm  expected px  measured px\n");
  for (KvxLong k = 1; k <= 4; ++k) {
    double center = 0.0, expected = 0.0;
    CalibGetTargetWaveLength(handle, k, &center);
    CalibGetRefCursorPosition(handle, k, &expected);
    const double line = lines[(k - 1) / 2];
    const double measured = MeasuredPixel(instrument, center, line, expected);
    CalibSetRefCursorPosition(handle, k, measured);
    std::printf("  %4ld  %7.2f  %14.4f  %11.3f  %11.3f\n", static_cast<long>(k),
                line, center, expected, measured);
  }
  if (!Check(CalibValidateTargetData(handle), "CalibValidateTargetData")) {
    return 1;
  }

  double best[5] = {};
  if (!Check(CalibOptimizeSpectrograph(handle, &best[0], &best[1], &best[2],
                                       &best[3], &best[4]),
             "CalibOptimizeSpectrograph")) {
    return 1;
  }
  double orig[5] = {};
  CalibGetOrigDispParams(handle, &orig[0], &orig[1], &orig[2], &orig[3],
                         &orig[4]);
  double optimData[5] = {};
  CalibGetOptimDispParams(handle, &optimData[0], &optimData[1], &optimData[2],
                          &optimData[3], &optimData[4]);
  const char* names[5] = {"focal length mm", "inclusion angle deg",
                          "detector angle deg", "objective nm",
                          "pixel error px"};
  const double truth[3] = {real.focalLength, real.inclusionAngle,
                           real.detectorAngle};
  std::printf("\n  %-22s %14s %14s %14s\n", "", "original", "optimised",
              "instrument");
  for (int i = 0; i < 5; ++i) {
    if (i < 3) {
      std::printf("  %-22s %14.4f %14.4f %14.4f\n", names[i], orig[i], best[i],
                  truth[i]);
    } else {
      std::printf("  %-22s %14.3e %14.3e\n", names[i], orig[i], best[i]);
    }
  }
  std::printf(
      "  CalibGetOptimDispParams reports where the scans ended: f %.4f,"
      " inclusion %.4f, detector angle %.4f\n",
      optimData[0], optimData[1], optimData[2]);

  double objective = 0.0, pixelError = 0.0;
  if (!Check(CalibInstallOptimDispParams(handle, &objective, &pixelError),
             "CalibInstallOptimDispParams")) {
    return 1;
  }
  std::printf("  installed the optimised set: objective %.3e nm, %.4f px\n",
              objective, pixelError);
  CalibDestroy(instrument);
  CalibDestroy(handle);
  return 0;
}

}  // namespace demo
