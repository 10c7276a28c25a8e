// Automatic calibration from a lamp spectrum: the neon spectrum of
// examples/lamp-ne-640nm.csv, taken on the 300 mm spectrograph with its
// 1200 g/mm grating whose real focal length and drive differ from the
// nominal ones, is handed to the library with the neon lines of its built-in
// list; it names the lines and fits the grating model to them.
#include <cstdio>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"
#include "demo_sections.h"

namespace demo {

namespace {

std::vector<double> ReadCounts(const std::string& path) {
  std::vector<double> counts;
  if (FILE* f = std::fopen(path.c_str(), "r")) {
    int pixel = 0;
    double value = 0.0;
    if (std::fscanf(f, "%*[^\n]") == 0) {  // the header line
      while (std::fscanf(f, "%d,%lf", &pixel, &value) == 2) {
        counts.push_back(value);
      }
    }
    std::fclose(f);
  }
  return counts;
}

}  // namespace

int AutomaticLineIdentification(const std::string& spectrumFile) {
  CalibHandle h = 0;
  if (!Check(CalibCreate(CalibModeAutomatic, &h), "CalibCreate")) return 1;
  DetectorRecord detector{};
  detector.numPixels = 1024;
  detector.pixelSize = 26.0;
  SpectrographRecord spectrograph{1, 1, 1, "300 mm", {}, 300.0, 30.0, 0.0, 1.0};
  TurretRecord turret{0, 1, "turret", 1};
  GratingRecord grating{};
  grating.gratingId = 1;
  grating.grooveDensity = 1200.0;
  grating.pixelWidth = 26.0;
  std::vector<KvxLampLine> neon(64);
  KvxLong lineCount = 0;
  std::vector<double> counts = ReadCounts(spectrumFile);
  KvxAutocalSpectrum spectrum{};
  spectrum.counts = counts.data();
  spectrum.count = static_cast<KvxLong>(counts.size());
  spectrum.center = 640.0;
  KvxAutocalResult fit{};
  std::vector<KvxIdentifiedLine> lines(64);
  const bool ok =
      Check(CalibLoadDetector(h, &detector, sizeof detector) +
                CalibLoadSpectrograph(h, &spectrograph, sizeof spectrograph) +
                CalibLoadTurrets(h, &turret, sizeof turret, 1) +
                CalibLoadGratings(h, &grating, sizeof grating, 1) +
                CalibSelectGrating(h, 1),
            "instrument") &&
      Check(KvxGetLampLines(nullptr, "Ne", neon.data(), 64, &lineCount),
            "KvxGetLampLines") &&
      Check(KvxAutoCalibrate(h, &spectrum, 1, neon.data(), lineCount, nullptr,
                             &fit, lines.data(), 64),
            "KvxAutoCalibrate");
  if (ok) {
    std::printf("%d peaks, %d neon lines named (requested center 640 nm):\n",
                static_cast<int>(spectrum.peaks),
                static_cast<int>(fit.lineCount));
    for (KvxLong i = 0; i < fit.lineCount && i < 64; ++i) {
      std::printf("  pixel %8.3f  %s %9.4f nm  residual %+.4f px\n",
                  lines[i].pixel, lines[i].element, lines[i].wavelength,
                  lines[i].residualPixels);
    }
    std::printf(
        "fitted focal length %.3f +- %.3f mm (nominal 300), detector angle "
        "%.3f +- %.3f deg,\ncenter %.4f nm on the middle of the detector, "
        "RMS %.4f px\n",
        fit.focalLength, fit.focalLengthSigma, fit.detectorAngle,
        fit.detectorAngleSigma, spectrum.fittedCenter, fit.rmsPixels);
  }
  CalibDestroy(h);
  return ok ? 0 : 1;
}

}  // namespace demo
