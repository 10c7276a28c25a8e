// Automatic mode: a spectrograph described to the library (one turret of
// three gratings), the wavelength axis and dispersion at a center
// wavelength, the value to command the wavelength drive, and the grating
// settings needed to cover a range wider than the detector.
#include <cstdio>
#include <cstring>
#include <vector>

#include "KelvoCalibrate.h"
#include "demo_sections.h"

namespace demo {

namespace {

// Example instrument: a 300 mm Czerny-Turner with a 30 degree inclusion
// angle, a flat focal plane, one turret of three ruled gratings, and a
// 1024 x 26 um CCD at the exit port.
constexpr double kFocalLength = 300.0;                 // mm
constexpr double kInclusionAngle = 30.0;               // degrees
constexpr double kGrooves[] = {300.0, 600.0, 1200.0};  // grooves/mm
constexpr KvxLong kPixels = 1024;
constexpr double kPixelSize = 26.0;  // um
constexpr double kCenter = 546.07;   // nm, the mercury green line
// The drive reads 0.05 % long: a slope adjustment of 0.0005.
constexpr double kSlopeAdjust = 0.0005;
// The range to cover in steps, nm, and the overlap of neighbouring spectra.
constexpr double kRangeStart = 400.0;
constexpr double kRangeEnd = 900.0;
constexpr double kOverlap = 5.0;

}  // namespace

bool DescribeInstrument(CalibHandle handle) {
  DetectorRecord detector{};
  std::snprintf(detector.name, sizeof detector.name, "CCD 1024 x 26 um");
  detector.pixelSize = kPixelSize;
  detector.numPixels = kPixels;
  SpectrographRecord spectrograph{};
  spectrograph.spectrographId = 1;
  spectrograph.numTurrets = 1;
  spectrograph.numGratings = 3;
  std::snprintf(spectrograph.name, sizeof spectrograph.name,
                "300 mm imaging spectrograph");
  spectrograph.focalLength = kFocalLength;
  spectrograph.inclusionAngle = kInclusionAngle;
  spectrograph.scaleFactor = 1.0;
  TurretRecord turret{};
  turret.turretId = 1;
  std::snprintf(turret.name, sizeof turret.name, "Turret 1");
  turret.numGratings = 3;
  GratingRecord gratings[3] = {};
  for (int i = 0; i < 3; ++i) {
    gratings[i].gratingId = i + 1;
    std::snprintf(gratings[i].name, sizeof gratings[i].name, "%.0f g/mm",
                  kGrooves[i]);
    gratings[i].grooveDensity = kGrooves[i];
    gratings[i].slopeAdjust = kSlopeAdjust;
    // Optics 0.0: the spectrograph's values and the detector's pixel size.
  }
  return Check(CalibLoadDetector(handle, &detector, sizeof detector),
               "CalibLoadDetector") &&
         Check(
             CalibLoadSpectrograph(handle, &spectrograph, sizeof spectrograph),
             "CalibLoadSpectrograph") &&
         Check(CalibLoadTurrets(handle, &turret, sizeof turret, 1),
               "CalibLoadTurrets") &&
         Check(CalibSelectTurret(handle, 1), "CalibSelectTurret") &&
         Check(CalibLoadGratings(handle, gratings, sizeof gratings, 3),
               "CalibLoadGratings");
}

int AutomaticCalibration() {
  CalibHandle handle = 0;
  if (!Check(CalibCreate(CalibModeAutomatic, &handle), "CalibCreate")) {
    return 1;
  }
  if (!DescribeInstrument(handle)) return 1;
  std::printf(
      "Spectrograph: f = %.0f mm, inclusion angle %.0f deg, "
      "%ld x %.0f um CCD\n",
      kFocalLength, kInclusionAngle, static_cast<long>(kPixels), kPixelSize);

  std::printf("\n  grating   limit nm   nm/pixel at %.2f   covers nm\n",
              kCenter);
  for (KvxLong g = 1; g <= 3; ++g) {
    double limit = 0.0;
    double resolution = 0.0;
    std::vector<double> axis(kPixels);
    if (!Check(CalibSelectGrating(handle, g), "CalibSelectGrating") ||
        !Check(CalibSetCenterWavelength(handle, kCenter),
               "CalibSetCenterWavelength") ||
        !Check(CalibTestWavelength(handle, kCenter, &limit),
               "CalibTestWavelength") ||
        !Check(CalibGetCenterResolution(handle, &resolution),
               "CalibGetCenterResolution") ||
        !Check(CalibCalcCalibPixelArray(handle, kPixels, axis.data()),
               "CalibCalcCalibPixelArray")) {
      return 1;
    }
    std::printf("  %4.0f g/mm  %8.1f   %16.4f   %7.2f - %7.2f\n",
                kGrooves[g - 1], limit, resolution, axis.front(), axis.back());
  }

  // The 1200 g/mm grating in detail.
  std::vector<double> axis(kPixels);
  double drive = 0.0;
  if (!Check(CalibSelectGrating(handle, 3), "CalibSelectGrating") ||
      !Check(CalibSetCenterWavelength(handle, kCenter),
             "CalibSetCenterWavelength") ||
      !Check(CalibCalcCalibPixelArray(handle, kPixels, axis.data()),
             "CalibCalcCalibPixelArray") ||
      !Check(CalibConvertCenterWavelength(handle, kCenter, &drive),
             "CalibConvertCenterWavelength")) {
    return 1;
  }
  std::printf("\n1200 g/mm at %.2f nm: wavelength axis\n", kCenter);
  for (int p : {1, 256, 512, 513, 768, 1024}) {
    std::printf("  pixel %4d: %9.4f nm\n", p, axis[static_cast<size_t>(p - 1)]);
  }
  std::printf("  drive value for %.2f nm (slope adjustment %.4f): %.4f\n",
              kCenter, kSlopeAdjust, drive);

  KvxLong steps = 0;
  if (!Check(
          CalibGetNumberSteps(handle, kRangeStart, kRangeEnd, kOverlap, &steps),
          "CalibGetNumberSteps")) {
    return 1;
  }
  std::vector<double> centers(static_cast<size_t>(steps));
  if (!Check(CalibGetStepCenterValues(handle, steps, centers.data()),
             "CalibGetStepCenterValues")) {
    return 1;
  }
  std::printf("\n%.0f-%.0f nm with %.0f nm overlap: %ld steps\n", kRangeStart,
              kRangeEnd, kOverlap, static_cast<long>(steps));
  std::printf("  step  center nm   covers nm\n");
  for (KvxLong i = 0; i < steps; ++i) {
    if (!Check(
            CalibSetCenterWavelength(handle, centers[static_cast<size_t>(i)]),
            "CalibSetCenterWavelength") ||
        !Check(CalibCalcCalibPixelArray(handle, kPixels, axis.data()),
               "CalibCalcCalibPixelArray")) {
      return 1;
    }
    std::printf("  %4ld  %9.3f   %7.2f - %7.2f\n", static_cast<long>(i + 1),
                centers[static_cast<size_t>(i)], axis.front(), axis.back());
  }
  CalibDestroy(handle);
  return 0;
}

}  // namespace demo
