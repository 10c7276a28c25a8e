// An automatic object with one spectrograph, one turret and one grating, as
// the demo, the benchmarks and the fit tools set one up: the spectrograph's
// nominal optics are 300 mm, 30 and 0 degrees (the search bounds of the
// optimisation follow from them), the grating's own optics are given.
#pragma once

#include "KelvoCalibrate.h"

struct OneGrating {
  KvxLong pixels = 1024;
  double pixelUm = 26.0;
  double grooves = 1200.0;
  double focalLength = 0.0;  // the grating's optics, as stored
  double inclusionAngle = 0.0;
  double detectorAngle = 0.0;
  double centerPixelOffset = 0.0;
};

// Loads detector, spectrograph, turret and grating and selects the grating;
// returns the first code that is not 0.
inline KvxULong LoadOneGrating(CalibHandle h, const OneGrating& o) {
  DetectorRecord d{};
  d.numPixels = o.pixels;
  d.pixelSize = o.pixelUm;
  SpectrographRecord s{};
  s.numTurrets = s.numGratings = 1;
  s.focalLength = 300.0;
  s.inclusionAngle = 30.0;
  s.scaleFactor = 1.0;
  TurretRecord t{};
  t.numGratings = 1;
  GratingRecord g{};
  g.grooveDensity = o.grooves;
  g.focalLength = o.focalLength;
  g.inclusionAngle = o.inclusionAngle;
  g.detectorAngle = o.detectorAngle;
  g.centerPixelOffset = o.centerPixelOffset;
  KvxULong code = CalibLoadDetector(h, &d, sizeof d);
  if (code == 0) code = CalibLoadSpectrograph(h, &s, sizeof s);
  if (code == 0) code = CalibLoadTurrets(h, &t, sizeof t, 1);
  if (code == 0) code = CalibLoadGratings(h, &g, sizeof g, 1);
  return code == 0 ? CalibSelectGrating(h, 1) : code;
}
