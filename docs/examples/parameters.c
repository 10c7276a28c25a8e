/* Read and write single fields by parameter ID. */
#include <string.h>

#include "KelvoCalibrate.h"

int example_parameters(void) {
  CalibHandle h;
  KvxLong order = 0, cursor = -1;
  double threshold = 0.0, density = 0.0;
  char label[8];
  int ok;

  if (CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;
  ok = CalibSetIntParam(h, CalibParamPolyOrder, 2) == NqeSuccess &&
       CalibGetIntParam(h, CalibParamPolyOrder, &order) == NqeSuccess &&
       order == 2 &&
       CalibSetIntParam(h, CalibParamPolyOrder, 6) == NqeBadPolyOrder;

  /* The point cursor has no value until it is written. */
  ok = ok &&
       CalibGetIntParam(h, CalibParamPointCursor, &cursor) == NqeBadPointCursor;

  /* The peak threshold is clamped to 0..100 percent. */
  ok = ok && CalibSetDoubleParam(h, CalibParamPeakThreshold, 250.0) == 0 &&
       CalibGetDoubleParam(h, CalibParamPeakThreshold, &threshold) == 0 &&
       threshold == 100.0;

  /* Texts: at most length characters are taken; a read as long as the
   * text plus its terminator gets the terminator. */
  ok = ok && CalibSetStrParam(h, CalibParamCalibLabel, "Hg lamp", 2) == 0 &&
       CalibGetStrParam(h, CalibParamCalibLabel, label, sizeof label) == 0 &&
       strcmp(label, "Hg") == 0;

  /* Model parameters need an automatic object. */
  ok = ok && CalibGetDoubleParam(h, CalibParamGrooveDensity, &density) ==
                 NqeNoSpectrographModel;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
