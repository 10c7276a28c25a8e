/* Describe a spectrograph with one turret of two gratings, select the
 * first grating, and give the spectrograph a side exit. */
#include <string.h>

#include "KelvoCalibrate.h"

/* Loads a 1024-pixel detector of 26 um pixels and a 300 mm spectrograph
 * (inclusion angle 30 degrees) with 1200 and 600 grooves/mm gratings, and
 * selects the 1200 grooves/mm grating. The other examples start here. */
int load_spectrograph(CalibHandle h) {
  DetectorRecord detector;
  SpectrographRecord spectrograph;
  TurretRecord turret;
  GratingRecord gratings[2];

  CalibInitializeDetector(h, &detector, sizeof detector);
  detector.numPixels = 1024;
  detector.pixelSize = 26.0; /* automatic mode needs the pixel size */
  if (CalibLoadDetector(h, &detector, sizeof detector) != NqeSuccess) return 1;

  memset(&spectrograph, 0, sizeof spectrograph);
  spectrograph.spectrographId = 1;
  spectrograph.numTurrets = 1;
  spectrograph.numGratings = 2;
  strcpy(spectrograph.name, "300 mm");
  spectrograph.focalLength = 300.0;   /* mm */
  spectrograph.inclusionAngle = 30.0; /* degrees */
  spectrograph.detectorAngle = 0.0;
  spectrograph.scaleFactor = 1.0;
  memset(&turret, 0, sizeof turret);
  turret.turretId = 1;
  turret.numGratings = 2;
  /* Optics left at 0.0 take the spectrograph's, the pixel width the
   * detector's pixel size. */
  memset(gratings, 0, sizeof gratings);
  gratings[0].gratingId = 1;
  gratings[0].grooveDensity = 1200.0;
  gratings[1].gratingId = 2;
  gratings[1].grooveDensity = 600.0;

  if (CalibLoadSpectrograph(h, &spectrograph, sizeof spectrograph) != 0 ||
      CalibLoadTurrets(h, &turret, sizeof turret, 1) != NqeSuccess ||
      CalibLoadGratings(h, gratings, sizeof gratings, 2) != NqeSuccess ||
      CalibSelectTurret(h, 1) != NqeSuccess ||
      CalibSelectGrating(h, 1) != NqeSuccess)
    return 1;
  return 0;
}

int example_spectrograph(void) {
  CalibHandle h, manual;
  KvxULong id = 0, mainDetector = 0, sideDetector = 0;
  int ok;

  if (CalibCreate(CalibModeAutomatic, &h) != NqeSuccess) return 1;
  ok = load_spectrograph(h) == 0 &&
       CalibGetActiveSpectrographID(h, &id) == NqeSuccess && id == 1;
  /* A side exit: a second detector and calibration (blank and default:
   * load them before use), made active by exit position 1. */
  ok = ok && CalibGetActiveDetectorID(h, &mainDetector) == NqeSuccess &&
       CalibAddExitMirror(h) == NqeSuccess &&
       CalibSetExitMirrorPosition(h, 1) == NqeSuccess &&
       CalibGetActiveDetectorID(h, &sideDetector) == NqeSuccess &&
       sideDetector != mainDetector &&
       CalibAddExitMirror(h) == NqeExitMirrorPresent;
  CalibDestroy(h);

  /* A manual object has no model. */
  if (CalibCreate(CalibModeManual, &manual) != NqeSuccess) return 1;
  ok = ok && CalibSelectGrating(manual, 1) == NqeNoSpectrographModel;
  CalibDestroy(manual);
  return ok ? 0 : 1;
}
