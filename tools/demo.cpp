// A calibration workflow as a host runs it: describe the detector and its
// regions of interest, read a lamp calibration from a calibration point file,
// install it and report the wavelength axis and how well the fit reproduces
// the lamp lines.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"
#include "demo_sections.h"

namespace demo {

bool Check(KvxULong code, const char* what) {
  if (code == NqeSuccess) return true;
  std::fprintf(stderr, "%s failed with code %lu\n", what,
               static_cast<unsigned long>(code));
  return false;
}

int ManualCalibration(const std::string& pointFile) {
  CalibHandle handle = 0;
  if (!Check(CalibCreate(CalibModeManual, &handle), "CalibCreate")) return 1;
  std::printf("Calibration handle 0x%08lX\n",
              static_cast<unsigned long>(handle));

  // A 1024-pixel CCD with 26 um pixels read out in two regions of interest.
  X_ROI regions[2] = {{1, 101, 200, 2}, {2, 601, 300, 3}};
  DetectorRecord detector{};
  std::snprintf(detector.name, sizeof detector.name, "Demo CCD 1024");
  detector.pixelSize = 26.0;
  detector.numPixels = 1024;
  detector.regions = regions;
  detector.regionCount = 2;
  detector.regionBytes = sizeof regions;
  if (!Check(CalibLoadDetector(handle, &detector, sizeof detector),
             "CalibLoadDetector")) {
    return 1;
  }
  KvxLong regionCount = 0;
  CalibNumberOfX_ROIs(handle, &regionCount);
  std::printf("\nDetector \"%s\": %ld pixels of %.1f um, %ld regions\n",
              detector.name, static_cast<long>(detector.numPixels),
              detector.pixelSize, static_cast<long>(regionCount));
  std::printf("  region  start  width  binning  data points\n");
  for (const X_ROI& r : regions) {
    std::printf("  %6ld  %5ld  %5ld  %7ld  %11ld\n", static_cast<long>(r.id),
                static_cast<long>(r.startPixel), static_cast<long>(r.width),
                static_cast<long>(r.binning),
                static_cast<long>(r.width / r.binning));
  }
  std::printf("\n  data point -> pixel      pixel -> data point\n");
  const double dataPoints[] = {1.0, 50.0, 100.0, 101.0, 150.0, 200.0};
  for (double d : dataPoints) {
    double pixel = 0.0;
    double back = 0.0;
    CalibDataPointToPixel(handle, d, &pixel);
    CalibPixelToDataPoint(handle, pixel, &back);
    std::printf("  %10.1f -> %8.2f      %8.2f -> %6.2f\n", d, pixel, pixel,
                back);
  }
  double gapPoint = 0.0;
  const KvxULong gap = CalibPixelToDataPoint(handle, 400.0, &gapPoint);
  std::printf("  pixel 400 lies between the regions: code %lu\n",
              static_cast<unsigned long>(gap));

  // The lamp lines are given in pixels of the whole chip: calibrate with the
  // scan pattern off so that data points are pixels.
  CalibDisableScanPattern(handle);
  KvxLong segments = 0;
  if (!Check(CalibGetNumSegments(pointFile.c_str(), 1, &segments),
             "CalibGetNumSegments")) {
    return 1;
  }
  std::printf("\nCalibration point file %s: %ld segments\n", pointFile.c_str(),
              static_cast<long>(segments));
  KvxLong numPoints = 0;
  if (!Check(CalibGetNumPoints(pointFile.c_str(), 1, 1, &numPoints),
             "CalibGetNumPoints")) {
    return 1;
  }
  std::vector<CalibPoint> points(static_cast<size_t>(numPoints));
  if (!Check(CalibLoadCalibPoints(pointFile.c_str(), 1, 1, points.data(),
                                  numPoints),
             "CalibLoadCalibPoints") ||
      !Check(CalibLoadCalibFile(handle, pointFile.c_str(), 1, 1, 0.0, 0.0),
             "CalibLoadCalibFile")) {
    return 1;
  }
  CalibrationRecord calibration{};
  CalibDumpCalibration(handle, &calibration, sizeof calibration);
  std::printf("Segment 1: %ld lines, polynomial of order %ld\n",
              static_cast<long>(numPoints),
              static_cast<long>(calibration.polyOrder));
  for (int i = 0; i <= calibration.polyOrder; ++i) {
    std::printf("  c%d = % .10e\n", i, calibration.coefficients[i]);
  }

  std::printf("\n  line      pixel   known nm   fitted nm   residual nm\n");
  for (size_t i = 0; i < points.size(); ++i) {
    double fitted = 0.0;
    CalibPixelToCalibValue(handle, points[i].pixel, &fitted);
    std::printf("  %4zu  %9.3f  %9.4f  %10.4f  %+12.5f\n", i + 1,
                points[i].pixel, points[i].wavelength, fitted,
                fitted - points[i].wavelength);
  }
  double rms = 0.0;
  CalibTestCalibrationFit(handle, &rms);
  std::printf("  root of summed squared relative errors: %.3e\n", rms);

  std::vector<double> axis(1024);
  if (!Check(CalibCalibratedPixelArray(handle, 1024, axis.data()),
             "CalibCalibratedPixelArray")) {
    return 1;
  }
  std::printf("\nWavelength axis (nm):\n");
  for (size_t p = 0; p < axis.size(); p += 128) {
    std::printf("  pixel %4zu: %9.4f\n", p + 1, axis[p]);
  }
  std::printf("  pixel 1024: %9.4f\n", axis.back());
  double pixel = 0.0;
  const double line = 614.306;
  CalibCalibValueToPixel(handle, line, &pixel);
  std::printf("  %.3f nm falls on pixel %.3f\n", line, pixel);

  CalibDestroy(handle);
  return 0;
}

}  // namespace demo

namespace {

// Each section starts with a heading and a line on what it shows.
void Section(const char* title, const char* what) {
  std::printf("\n=== %s ===\n%s\n\n", title, what);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string file =
      argc > 1 ? argv[1] : std::string(KVX_EXAMPLES_DIR) + "/neon-1024.cal";
  Section("Manual calibration",
          "A CCD read out in two regions of interest, and a lamp calibration "
          "fitted to the\nlines of a calibration point file: fit residuals "
          "and the wavelength of every pixel.");
  int failures = demo::ManualCalibration(file);
  Section("Peaks and the SPE calibration block",
          "An arc spectrum simulated under that calibration is searched for "
          "peaks, which are\nmatched to the lamp lines; the calibration then "
          "goes through an SPE block and\nback (the block carries a "
          "first-order calibration only).");
  failures += demo::PeaksAndSpeBlock(file);
  Section("Automatic mode",
          "The wavelength of every pixel from the grating equation for a "
          "spectrograph with a\nturret of three gratings: reach, dispersion, "
          "the axis at a center wavelength, the\ndrive value, and the grating "
          "steps that cover a range wider than the detector.");
  failures += demo::AutomaticCalibration();
  Section("Dispersion optimisation",
          "Two mercury lines are measured near both detector edges on an "
          "instrument whose optics\ndiffer slightly from the nominal ones; "
          "focal length, inclusion angle and detector\nangle are optimised "
          "so that the model puts the lines where they were seen.");
  failures += demo::DispersionOptimisation();
  Section("Stepped acquisition and glue",
          "Spectra of a mercury-neon lamp simulated at each grating step are "
          "glued onto one\naxis, crossfading where steps overlap; the glued "
          "spectrum is written as CSV and\nsearched for the lamp lines "
          "again.");
  failures += demo::SteppedGlue(
      std::string(KVX_EXAMPLES_DIR) + "/lamp-lines.csv",
      std::string(KVX_DEMO_OUTPUT_DIR) + "/glued-spectrum.csv");
  Section("Parameters",
          "Single settings read and written by numeric ID, as hosts do for "
          "their settings dialogs.");
  failures += demo::Parameters();
  Section("Automatic line identification",
          "The lines of a neon spectrum taken with the grating set for 640 nm "
          "are named without\nhelp, although the drive missed the center and "
          "the focal length is 2 % longer than\nthe nominal one; the grating "
          "model is fitted to them.");
  failures += demo::AutomaticLineIdentification(std::string(KVX_EXAMPLES_DIR) +
                                                "/lamp-ne-640nm.csv");
  return failures == 0 ? 0 : 1;
}
