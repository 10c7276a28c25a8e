/* Read the mercury segment of a calibration point file and install it. */
#include <math.h>

#include "KelvoCalibrate.h"

#ifndef KVX_EXAMPLES_DIR
#define KVX_EXAMPLES_DIR "examples"
#endif

int example_calibfile(void) {
  const char* file = KVX_EXAMPLES_DIR "/neon-1024.cal";
  CalibPoint points[10];
  DetectorRecord detector;
  CalibHandle h;
  KvxLong segments = 0, count = 0;
  double value = 0.0;
  int ok;

  /* No handle needed to look into the file. */
  ok = CalibGetNumSegments(file, 1, &segments) == NqeSuccess && segments == 2 &&
       CalibGetNumPoints(file, 1, 2, &count) == 0 && count == 5 &&
       CalibLoadCalibPoints(file, 1, 2, points, 10) == 0 &&
       points[2].wavelength == 435.833;
  if (!ok || CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;

  CalibInitializeDetector(h, &detector, sizeof detector);
  detector.numPixels = 1024;
  detector.pixelSize = 26.0;
  /* Segment 2 becomes the active calibration (order 2, no offset, no
   * laser line); its line at pixel 227.405 reads back near 435.833 nm. */
  ok = CalibLoadDetector(h, &detector, sizeof detector) == NqeSuccess &&
       CalibLoadCalibFile(h, file, 1, 2, 0.0, 0.0) == NqeSuccess &&
       CalibDataPointToCalibValue(h, points[2].pixel, &value) == 0 &&
       fabs(value - 435.833) < 0.05;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
