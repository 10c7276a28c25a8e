/* Report one calibration in nanometres, wavenumbers, Raman shift and
 * electron volts. */
#include <math.h>

#include "KelvoCalibrate.h"

/* Loads nm = 400 + 0.1 * pixel with the given display unit and laser line,
 * and answers the value of data point 100 (410 nm). */
static KvxULong valueAt100(CalibHandle h, KvxLong unit, double laser,
                           double* value) {
  CalibrationRecord record;
  KvxULong rc;

  CalibInitializeCalibration(h, &record, sizeof record);
  record.inputUnit = CalibUnitOffsetFactor;
  record.offset = 400.0;
  record.factor = 0.1;
  record.displayUnit = unit;
  record.laserLine = laser;
  rc = CalibLoadCalibration(h, &record, sizeof record);
  return rc != NqeSuccess ? rc : CalibDataPointToCalibValue(h, 100.0, value);
}

int example_units(void) {
  DetectorRecord detector;
  CalibHandle h;
  double v = 0.0;
  int ok;

  if (CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;
  CalibInitializeDetector(h, &detector, sizeof detector);
  detector.numPixels = 1024;
  ok = CalibLoadDetector(h, &detector, sizeof detector) == NqeSuccess;

  ok = ok && valueAt100(h, CalibUnitNanometers, 0.0, &v) == 0 &&
       fabs(v - 410.0) < 1e-9;
  ok = ok && valueAt100(h, CalibUnitWavenumbers, 0.0, &v) == 0 &&
       fabs(v - 1e7 / 410.0) < 1e-6; /* 24390.24 cm-1 */
  ok = ok && valueAt100(h, CalibUnitRelativeWavenumbers, 400.0, &v) == 0 &&
       fabs(v - (25000.0 - 1e7 / 410.0)) < 1e-6; /* shift from 400 nm */
  ok = ok && valueAt100(h, CalibUnitElectronVolts, 0.0, &v) == 0 &&
       fabs(v - 1239.841904 / 410.0) < 1e-12;
  /* A Raman shift needs the laser line. */
  ok = ok &&
       valueAt100(h, CalibUnitRelativeWavenumbers, 0.0, &v) == NqeNoLaserLine;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
