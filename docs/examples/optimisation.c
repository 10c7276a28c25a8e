/* Propose the four settings of a dispersion measurement with two mercury
 * lines, enter the pixels where the lines were found, optimise and install
 * the result. Set-up of the spectrograph example. */
#include <math.h>

#include "KelvoCalibrate.h"

int load_spectrograph(CalibHandle h); /* see spectrograph.md */

int example_optimisation(void) {
  CalibHandle h;
  double focal, inclusion, detector, objective, pixelError;
  double center, cursor;
  KvxLong slot;
  int ok;

  if (CalibCreate(CalibModeAutomatic, &h) != NqeSuccess) return 1;
  ok = load_spectrograph(h) == 0 &&
       CalibGetOrigDispParams(h, &focal, &inclusion, &detector, &objective,
                              &pixelError) == NqeNoOptimisationData;

  /* Slots 1 and 2 put 546.07 nm near the left and right edge of the
   * detector, slots 3 and 4 do the same with 435.83 nm. */
  ok = ok && CalibCalcDispersionTargetData(h, 546.07, 435.83) == 0;
  for (slot = 1; ok && slot <= 4; ++slot) {
    /* The host sets the spectrograph to the slot's center, finds the line
     * and enters its pixel; here it is found where it was proposed. */
    ok = CalibGetTargetWaveLength(h, slot, &center) == NqeSuccess &&
         CalibGetRefCursorPosition(h, slot, &cursor) == NqeSuccess &&
         CalibSetRefCursorPosition(h, slot, cursor) == NqeSuccess;
  }
  ok = ok &&
       CalibOptimizeSpectrograph(h, &focal, &inclusion, &detector, &objective,
                                 &pixelError) == 0 &&
       objective < 1e-3; /* nm: the nominal optics already fit */
  ok = ok &&
       CalibGetOrigDispParams(h, &focal, &inclusion, &detector, &objective,
                              &pixelError) == 0 &&
       focal == 300.0 && inclusion == 30.0 && detector == 0.0;
  ok = ok && CalibInstallOptimDispParams(h, &objective, &pixelError) == 0;
  CalibDestroy(h);
  return ok ? 0 : 1;
}
