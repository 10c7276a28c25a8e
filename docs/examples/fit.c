/* Fit a polynomial of order 3 to twelve lines measured on a 1024-pixel
 * detector, one of them misidentified, and install it as the active
 * calibration (a per-pixel table). */
#include <math.h>

#include "KelvoCalibrate.h"

int example_fit(void) {
  /* Pixels of the lines and their wavelengths (nm); the line at 612.3 is
   * really another one, 1.5 nm away. */
  double pixel[12], wavelength[12];
  KvxFitLineResult points[12];
  KvxPolynomialFit fit;
  DetectorRecord detector;
  CalibHandle h;
  KvxULong id = 0;
  double value = 0.0;
  int i, ok;

  for (i = 0; i < 12; ++i) {
    pixel[i] = 40.0 + 85.0 * i;
    wavelength[i] = 540.0 + 0.0625 * pixel[i] - 1.5e-6 * pixel[i] * pixel[i];
  }
  wavelength[7] += 1.5;

  /* No handle needed to fit. The default options set the wrong line aside. */
  if (KvxFitPolynomial(pixel, wavelength, 12, 3, NULL, &fit, points) != 0)
    return 1;
  ok = fit.pointsRejected == 1 && points[7].rejected == 1 &&
       fabs(points[7].residual - 1.5) < 1e-9 && fit.rms < 1e-9;
  if (!ok || CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;

  CalibInitializeDetector(h, &detector, sizeof detector);
  detector.numPixels = 1024;
  detector.pixelSize = 26.0;
  ok = CalibLoadDetector(h, &detector, sizeof detector) == NqeSuccess &&
       KvxInstallPolynomialTable(h, &fit, &id) == NqeSuccess && id != 0 &&
       CalibDataPointToCalibValue(h, 500.0, &value) == NqeSuccess &&
       fabs(value - (540.0 + 31.25 - 0.375)) < 1e-9;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
