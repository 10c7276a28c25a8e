/* Set the center wavelength, read the drive value, divide 500-600 nm into
 * center settings and fill a target slot. Set-up of the spectrograph
 * example: 1200 grooves/mm, 300 mm, 1024 pixels of 26 um. */
#include <math.h>

#include "KelvoCalibrate.h"

int load_spectrograph(CalibHandle h); /* see spectrograph.md */

int example_center(void) {
  CalibrationRecord record;
  CalibHandle h;
  double drive = 0.0, centers[2], target = 0.0;
  KvxLong steps = 0;
  int ok;

  if (CalibCreate(CalibModeAutomatic, &h) != NqeSuccess) return 1;
  ok = load_spectrograph(h) == 0 &&
       CalibSetCenterWavelength(h, 500.0) == NqeSuccess;
  /* The drive value is (1 + slope adjustment) x effective center; a drive
   * that reads 500 where the true center is 501 gives slope 0.002. */
  ok = ok && CalibCalcSlopeAdjust(h, 500.0, 501.0) == NqeSuccess &&
       CalibConvertCenterWavelength(h, 500.0, &drive) == NqeSuccess &&
       fabs(drive - 501.0) < 1e-9;

  /* One spectrum spans about 59 nm: two settings with 2 nm overlap cover
   * 500-600 nm, centred at 527.49 and 584.47 nm. */
  ok = ok && CalibGetNumberSteps(h, 500.0, 600.0, 2.0, &steps) == 0 &&
       steps == 2 && CalibGetStepCenterValues(h, 2, centers) == 0 &&
       fabs(centers[0] - 527.4899) < 1e-3 && fabs(centers[1] - 584.4697) < 1e-3;

  /* A calibration made from the model: five points, order 4. */
  ok = ok && CalibSetCenterWavelength(h, 550.0) == NqeSuccess &&
       CalibSetupSpecCalArray(h) == NqeSuccess &&
       CalibDumpCalibration(h, &record, sizeof record) == NqeSuccess &&
       record.pointCount == 5 && record.pointPosition[1] == 256.75;

  /* Target slots 1-4 of a dispersion measurement. */
  ok = ok && CalibSetTargetWaveLength(h, 1, 546.07) == NqeSuccess &&
       CalibGetTargetWaveLength(h, 1, &target) == NqeSuccess &&
       target == 546.07 &&
       CalibSetTargetWaveLength(h, 5, 546.07) == NqeBadNumber;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
