/* Load a detector with two regions of interest, read the pattern back and
 * switch it off and on. */
#include <string.h>

#include "KelvoCalibrate.h"

int example_scan_pattern(void) {
  /* Pixels 1-100 in pairs (50 data points), pixels 201-300 in fours (25). */
  X_ROI regions[2] = {{1, 1, 100, 2}, {2, 201, 100, 4}};
  X_ROI back[2];
  DetectorRecord record;
  CalibHandle h;
  KvxLong count = 0, state = 0;
  int ok;

  if (CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;
  CalibInitializeDetector(h, &record, sizeof record);
  record.numPixels = 1024;
  record.pixelSize = 26.0;
  record.regions = regions;
  record.regionCount = 2;
  record.regionBytes = sizeof regions;
  ok = CalibLoadDetector(h, &record, sizeof record) == NqeSuccess &&
       CalibNumberOfX_ROIs(h, &count) == NqeSuccess && count == 2;

  /* The dump writes the regions into the array the record names. */
  memset(back, 0, sizeof back);
  record.regions = back;
  ok = ok && CalibDumpDetector(h, &record, sizeof record) == NqeSuccess &&
       back[1].startPixel == 201 && back[1].binning == 4;

  /* Data points follow the regions only while the pattern is enabled. */
  ok = ok && CalibDisableScanPattern(h) == NqeSuccess &&
       CalibGetScanState(h, &state) == NqeSuccess && state == 0 &&
       CalibEnableScanPattern(h) == NqeSuccess &&
       CalibGetScanState(h, &state) == NqeSuccess && state == 1;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
