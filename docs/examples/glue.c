/* Glue two spectra taken at two center wavelengths onto one axis from 500
 * to 600 nm in 0.5 nm steps, at once and then block by block. */
#include <math.h>
#include <string.h>

#include "KelvoCalibrate.h"

int load_spectrograph(CalibHandle h); /* see spectrograph.md */

enum { kPoints = 121, kOut = 201 };

/* One frame of kPoints doubles of the given level, X from x0 nm in 0.5 nm
 * steps. */
static void block(GlueSpectrum* s, double* y, double* x, double x0,
                  double level) {
  int i;
  for (i = 0; i < kPoints; ++i) {
    x[i] = x0 + 0.5 * i;
    y[i] = level;
  }
  memset(s, 0, sizeof *s);
  s->data = y;
  s->numPoints = kPoints;
  s->numFrames = 1;
  s->dataType = 5; /* double */
  s->layout = 1;
  s->xValues = x; /* in the active calibration's display unit: nm */
}

int example_glue(void) {
  static double y[2][kPoints], x[2][kPoints], data[kOut], axis[kOut];
  GlueSpectrum inputs[2], output;
  CalibHandle h;
  int ok;

  if (CalibCreate(CalibModeAutomatic, &h) != NqeSuccess) return 1;
  block(&inputs[0], y[0], x[0], 495.0, 1.0); /* 495 - 555 nm */
  block(&inputs[1], y[1], x[1], 545.0, 2.0); /* 545 - 605 nm */
  /* Range and spacing of the glued axis: parameters 68, 69, 70. */
  ok = load_spectrograph(h) == 0 &&
       CalibSetDoubleParam(h, CalibParamRangeStart, 500.0) == 0 &&
       CalibSetDoubleParam(h, CalibParamRangeEnd, 600.0) == 0 &&
       CalibSetDoubleParam(h, CalibParamGlueStep, 0.5) == 0;

  /* All at once: validation prepares the output record, the host supplies
   * its arrays, the glue fills them. */
  memset(&output, 0, sizeof output);
  ok = ok && CalibValidateGlue(h, inputs, 2, &output) == NqeSuccess &&
       output.numPoints == kOut && output.numFrames == 1;
  output.data = data;
  output.xValues = axis;
  ok = ok && CalibGlueInput(h, inputs, 2, &output) == NqeSuccess &&
       axis[0] == 500.0 && fabs(data[0] - 1.0) < 1e-9 &&
       fabs(data[kOut - 1] - 2.0) < 1e-9;

  /* Block by block, as the spectra arrive. */
  memset(&output, 0, sizeof output);
  ok = ok && CalibInitIncStepAndGlue(h, &output, 1) == NqeSuccess;
  output.data = data;
  output.xValues = axis;
  ok = ok && CalibGlueIncInput(h, &output, &inputs[0]) == NqeSuccess &&
       CalibGlueIncInput(h, &output, &inputs[1]) == NqeSuccess &&
       CalibCleanupIncGlue(h) == NqeSuccess &&
       CalibCleanupIncGlue(h) == NqeGlueNotInitialized;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
