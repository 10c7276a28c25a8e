/* Find the lines of a 16-bit spectrum with two peaks centred on samples
 * 100 and 300, that is on data points 101 and 301. */
#include <math.h>

#include "KelvoCalibrate.h"

int example_peaks(void) {
  static unsigned short samples[512];
  SpectrumData spectrum = {0};
  DetectorRecord detector;
  CalibHandle h;
  double positions[4], values[4], nearest = 0.0;
  KvxLong found = 0;
  int k, ok;

  for (k = 0; k < 512; ++k) {
    double a = (k - 100) / 3.0, b = (k - 300) / 3.0;
    samples[k] = (unsigned short)(1000.0 + 5000.0 * exp(-0.5 * a * a) +
                                  3000.0 * exp(-0.5 * b * b) + 0.5);
  }
  spectrum.data = samples;
  spectrum.count = 512;
  spectrum.dataType = 7; /* unsigned 16-bit */

  if (CalibCreate(CalibModeManual, &h) != NqeSuccess) return 1;
  CalibInitializeDetector(h, &detector, sizeof detector);
  detector.numPixels = 512;
  ok = CalibLoadDetector(h, &detector, sizeof detector) == NqeSuccess;
  /* Up to four peaks, in order of position; values[] gets the calibrated
   * value of each position (conversion failures are ignored). */
  ok = ok && CalibFindPeaks(h, &spectrum, positions, values, 4, &found) == 0 &&
       found == 2 && fabs(positions[0] - 101.0) < 0.01 &&
       fabs(positions[1] - 301.0) < 0.01;
  ok = ok && CalibFindNearestPeak(h, &spectrum, 250.0, &nearest) == 0 &&
       fabs(nearest - 301.0) < 0.01;
  ok = ok && CalibFindNearestPeak(h, &spectrum, 0.5, &nearest) ==
                 NqePeakStartOutOfRange;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
