/* Write the active calibration as an SPE calibration block and take it
 * into another object. */
#include <math.h>
#include <string.h>

#include "KelvoCalibrate.h"

static int setup(CalibHandle* h) {
  DetectorRecord detector;
  if (CalibCreate(CalibModeManual, h) != NqeSuccess) return 1;
  CalibInitializeDetector(*h, &detector, sizeof detector);
  detector.numPixels = 1024;
  return CalibLoadDetector(*h, &detector, sizeof detector) != NqeSuccess;
}

int example_spe(void) {
  SpeCalibrationBlock block;
  CalibrationRecord record;
  CalibHandle from, to;
  double factor = 0.0, value = 0.0;
  int ok;

  if (setup(&from) != 0 || setup(&to) != 0) return 1;
  /* nm = 400 + 0.1 * pixel */
  CalibInitializeCalibration(from, &record, sizeof record);
  record.inputUnit = CalibUnitOffsetFactor;
  record.offset = 400.0;
  record.factor = 0.1;
  ok = CalibLoadCalibration(from, &record, sizeof record) == NqeSuccess &&
       CalibDumpSPECalibration(from, &block, sizeof block) == NqeSuccess;
  /* Fields sit at the KVX_SPE_* offsets of the 504-byte block. */
  memcpy(&factor, block.bytes + KVX_SPE_FACTOR, sizeof factor);
  ok = ok && factor == 0.1;

  /* The load also replaces the detector's regions by the block's (none
   * here, so the scan pattern is emptied). */
  ok = ok && CalibLoadSPECalibration(to, &block, sizeof block) == 0 &&
       CalibDataPointToCalibValue(to, 100.0, &value) == NqeSuccess &&
       fabs(value - 410.0) < 1e-9;
  CalibDestroy(from);
  CalibDestroy(to);
  return ok ? 0 : 1;
}
