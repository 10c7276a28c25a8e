// Peaks of an arc-lamp spectrum and the SPE calibration block: the demo
// draws the lamp lines of the calibration point file at their pixels under
// the file's calibration (Gaussian profiles, noise from a fixed seed),
// searches the spectrum for peaks, matches them to the known lines, and
// sends the calibration through an SPE block into a second handle.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"
#include "demo_sections.h"

namespace demo {

namespace {

constexpr KvxLong kPixels = 1024;

bool SetUp(CalibHandle* handle, const std::string& pointFile) {
  if (!Check(CalibCreate(CalibModeManual, handle), "CalibCreate")) {
    return false;
  }
  DetectorRecord detector{};
  std::snprintf(detector.name, sizeof detector.name, "Demo CCD 1024");
  detector.pixelSize = 26.0;
  detector.numPixels = kPixels;
  return Check(CalibLoadDetector(*handle, &detector, sizeof detector),
               "CalibLoadDetector") &&
         Check(CalibLoadCalibFile(*handle, pointFile.c_str(), 1, 1, 0.0, 0.0),
               "CalibLoadCalibFile");
}

// Each line as a Gaussian of 1.6 pixels standard deviation over a baseline
// of 300 counts, with normal noise of 6 counts (seed 1024).
std::vector<uint16_t> ArcSpectrum(const std::vector<double>& pixels) {
  std::vector<double> counts(kPixels, 300.0);
  for (size_t i = 0; i < pixels.size(); ++i) {
    const double amplitude = 4000.0 + 1500.0 * static_cast<double>(i % 4);
    for (KvxLong k = 0; k < kPixels; ++k) {
      // Sample k is pixel k + 1.
      const double x = (static_cast<double>(k + 1) - pixels[i]) / 1.6;
      counts[k] += amplitude * std::exp(-0.5 * x * x);
    }
  }
  std::mt19937 rng(1024);
  std::normal_distribution<double> noise(0.0, 6.0);
  std::vector<uint16_t> samples(kPixels);
  for (KvxLong k = 0; k < kPixels; ++k) {
    samples[k] = static_cast<uint16_t>(std::lround(counts[k] + noise(rng)));
  }
  return samples;
}

}  // namespace

int PeaksAndSpeBlock(const std::string& pointFile) {
  CalibHandle handle = 0;
  if (!SetUp(&handle, pointFile)) return 1;
  KvxLong numPoints = 0;
  CalibGetNumPoints(pointFile.c_str(), 1, 1, &numPoints);
  std::vector<CalibPoint> lines(static_cast<size_t>(numPoints));
  if (!Check(CalibLoadCalibPoints(pointFile.c_str(), 1, 1, lines.data(),
                                  numPoints),
             "CalibLoadCalibPoints")) {
    return 1;
  }
  std::vector<double> linePixels;
  for (const CalibPoint& line : lines) {
    double pixel = 0.0;
    CalibCalibValueToPixel(handle, line.wavelength, &pixel);
    linePixels.push_back(pixel);
  }
  std::vector<uint16_t> samples = ArcSpectrum(linePixels);
  SpectrumData spectrum{};
  spectrum.data = samples.data();
  spectrum.count = kPixels;
  spectrum.dataType = 7;  // unsigned 16-bit

  const KvxLong maxPeaks = 16;
  std::vector<double> positions(maxPeaks), values(maxPeaks);
  KvxLong found = 0;
  if (!Check(CalibFindPeaks(handle, &spectrum, positions.data(), values.data(),
                            maxPeaks, &found),
             "CalibFindPeaks")) {
    return 1;
  }
  std::printf(
      "Synthetic arc spectrum (%ld lamp lines, noise seed 1024): "
      "%ld peaks found\n",
      static_cast<long>(lines.size()), static_cast<long>(found));
  std::printf(
      "  line   known nm   line pixel  peak pixel    peak nm   "
      "residual nm\n");
  for (size_t i = 0; i < lines.size(); ++i) {
    size_t best = 0;
    for (size_t j = 1; j < positions.size(); ++j) {
      if (std::fabs(values[j] - lines[i].wavelength) <
          std::fabs(values[best] - lines[i].wavelength)) {
        best = j;
      }
    }
    std::printf("  %4zu  %9.3f  %11.3f  %10.3f  %9.4f  %+12.5f\n", i + 1,
                lines[i].wavelength, linePixels[i], positions[best],
                values[best], values[best] - lines[i].wavelength);
  }
  double nearest = 0.0;
  CalibFindNearestPeak(handle, &spectrum, 500.0, &nearest);
  std::printf("  peak nearest to data point 500: %.3f\n", nearest);

  // Round trip through an SPE block. The block carries order 1, so the
  // second-order term of the file's calibration does not arrive.
  SpeCalibrationBlock block{};
  if (!Check(CalibDumpSPECalibration(handle, &block, sizeof block),
             "CalibDumpSPECalibration")) {
    return 1;
  }
  CalibHandle copy = 0;
  if (!SetUp(&copy, pointFile) ||
      !Check(CalibLoadSPECalibration(copy, &block, sizeof block),
             "CalibLoadSPECalibration")) {
    return 1;
  }
  CalibrationRecord original{}, loaded{};
  CalibDumpCalibration(handle, &original, sizeof original);
  CalibDumpCalibration(copy, &loaded, sizeof loaded);
  std::printf(
      "\nSPE block round trip: order %ld -> %ld, %ld points, "
      "label \"%s\"\n",
      static_cast<long>(original.polyOrder),
      static_cast<long>(loaded.polyOrder), static_cast<long>(loaded.pointCount),
      loaded.unitLabel);
  std::printf("   pixel   original nm   after SPE nm   difference nm\n");
  for (double pixel : {1.0, 256.0, 512.0, 768.0, 1024.0}) {
    double a = 0.0, b = 0.0;
    CalibPixelToCalibValue(handle, pixel, &a);
    CalibPixelToCalibValue(copy, pixel, &b);
    std::printf("  %6.0f  %12.4f  %13.4f  %+14.5f\n", pixel, a, b, b - a);
  }
  KvxFreeSPECalibrationTable(&block, sizeof block);
  CalibDestroy(copy);
  CalibDestroy(handle);
  return 0;
}

}  // namespace demo
