/* Wavelengths of pixels from the grating equation, at a center wavelength
 * of 500 nm, with the set-up of the spectrograph example. */
#include <math.h>

#include "KelvoCalibrate.h"

int load_spectrograph(CalibHandle h); /* see spectrograph.md */

int example_grating(void) {
  static double values[1024];
  CalibHandle h;
  double wavelength = 0.0, limit = 0.0, resolution = 0.0;
  int ok;

  if (CalibCreate(CalibModeAutomatic, &h) != NqeSuccess) return 1;
  ok = load_spectrograph(h) == 0 &&
       CalibTestWavelength(h, 500.0, &limit) == NqeSuccess &&
       fabs(limit - 1555.0211697384) < 1e-6 && /* longest reachable */
       CalibTestWavelength(h, 1600.0, &limit) == NqeWavelengthUnreachable;

  /* The detector center (pixel 512.5) sees 500 nm; 100 pixels further
   * see 506.0332643328 nm. */
  ok = ok && CalibSetCenterWavelength(h, 500.0) == NqeSuccess &&
       CalibCalcDataPointWaveLength(h, 612.5, &wavelength) == NqeSuccess &&
       fabs(wavelength - 506.0332643328) < 1e-6;
  ok = ok && CalibGetCenterResolution(h, &resolution) == NqeSuccess &&
       fabs(resolution - 0.0605057897) < 1e-9; /* nm per pixel */
  /* In automatic mode the calibration conversions answer from the model,
   * and the arrays convert into the active calibration's display unit;
   * values[i] is data point i + 1 (pixel 612 lies 99.5 pixels above the
   * center: 506.0031852666 nm). */
  ok = ok && CalibDataPointToCalibValue(h, 612.5, &wavelength) == 0 &&
       fabs(wavelength - 506.0332643328) < 1e-6;
  ok = ok && CalibCalcDataPointCalibArray(h, 1024, values) == NqeSuccess &&
       fabs(values[611] - 506.0031852666) < 1e-6;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
