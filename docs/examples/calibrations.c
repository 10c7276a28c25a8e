/* Fit a second-order calibration to five mercury lines, use it, keep a
 * second calibration beside it and remove that again. */
#include <math.h>
#include <string.h>

#include "KelvoCalibrate.h"

static const double kPixels[5] = {53.590, 71.146, 227.405, 539.866, 847.282};
static const double kLines[5] = {404.656, 407.783, 435.833, 491.607, 546.074};

int example_calibrations(void) {
  DetectorRecord detector;
  CalibrationRecord record;
  CalibHandle h;
  static double values[1024];
  double value = 0.0, point = 0.0, reference, fitted, relative, fit;
  KvxULong first = 0, second = 0;
  int i, ok;

  if (CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;
  CalibInitializeDetector(h, &detector, sizeof detector);
  detector.numPixels = 1024;
  detector.pixelSize = 26.0;
  ok = CalibLoadDetector(h, &detector, sizeof detector) == NqeSuccess;

  /* Default record: units nm, no points (unused slots hold -1.0). */
  ok = ok && CalibInitializeCalibration(h, &record, sizeof record) == 0;
  record.polyOrder = 2;
  for (i = 0; i < 5; ++i) {
    record.pointPosition[i] = kPixels[i]; /* data points */
    record.pointValue[i] = kLines[i];     /* in inputUnit, nm */
  }
  strcpy(record.calibLabel, "Hg lamp");
  /* Validation fits the coefficients and writes them back into record. */
  ok = ok && CalibValidateCalibration(h, &record, sizeof record) == 0 &&
       record.valid == 1 && record.pointCount == 5;
  ok = ok && CalibLoadCalibration(h, &record, sizeof record) == NqeSuccess;

  ok = ok && CalibDataPointToCalibValue(h, 512.0, &value) == NqeSuccess &&
       value > 480.0 && value < 495.0;
  ok = ok && CalibCalibValueToDataPoint(h, value, &point) == NqeSuccess &&
       fabs(point - 512.0) < 1e-3;
  ok = ok && CalibCalibratedDataPointArray(h, 1024, values) == NqeSuccess &&
       values[0] < values[1023];
  ok = ok &&
       CalibTestCalibPointFit(h, 3, &reference, &fitted, &relative) == 0 &&
       fabs(relative) < 1e-3;
  ok = ok && CalibTestCalibrationFit(h, &fit) == NqeSuccess;

  /* A second calibration, offset and factor: nm = 400 + 0.1 * pixel. */
  CalibInitializeCalibration(h, &record, sizeof record);
  record.inputUnit = CalibUnitOffsetFactor;
  record.offset = 400.0;
  record.factor = 0.1;
  ok = ok && CalibGetActiveCalibrationID(h, &first) == NqeSuccess &&
       CalibAddCalibration(h, &record, sizeof record, &second) == 0 &&
       CalibSetActiveCalibrationID(h, second) == NqeSuccess &&
       CalibDataPointToCalibValue(h, 100.0, &value) == NqeSuccess &&
       fabs(value - 410.0) < 1e-9;
  ok = ok && CalibDumpCalibration(h, &record, sizeof record) == NqeSuccess &&
       record.factor == 0.1;
  /* Removing the last calibration of the list answers 0. */
  ok = ok && CalibSetActiveCalibrationID(h, first) == NqeSuccess &&
       CalibRemoveCalibrationID(h, second) == NqeSuccess;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
