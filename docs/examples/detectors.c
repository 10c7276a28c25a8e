/* Describe two detectors, keep both, switch between them, remove one. */
#include <string.h>

#include "KelvoCalibrate.h"

int example_detectors(void) {
  DetectorRecord record;
  CalibHandle h;
  KvxULong first = 0, second = 0, active = 0;
  int ok;

  if (CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;
  CalibInitializeDetector(h, &record, sizeof record); /* all zeros */
  strcpy(record.name, "CCD 1024 x 256");
  record.pixelSize = 26.0; /* micrometres */
  record.numPixels = 1024;
  record.secondaryCount = 256; /* kept and returned, not used */

  ok = CalibValidateDetector(h, &record, sizeof record) == NqeSuccess &&
       CalibLoadDetector(h, &record, sizeof record) == NqeSuccess &&
       CalibGetActiveDetectorID(h, &first) == NqeSuccess;

  /* A second detector; the active one does not change. */
  record.numPixels = 2048;
  record.pixelSize = 13.5;
  ok = ok &&
       CalibAddDetector(h, &record, sizeof record, &second) == NqeSuccess &&
       CalibGetActiveDetectorID(h, &active) == NqeSuccess && active == first;

  ok = ok && CalibSetActiveDetectorID(h, second) == NqeSuccess &&
       CalibRemoveDetectorID(h, first) == NqeSuccess &&
       CalibGetActiveDetectorID(h, &active) == NqeSuccess && active == second;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
