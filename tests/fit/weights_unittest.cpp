// Lines weigh in the grating fit by the precision of their peaks.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "fit/grating_fit.h"
#include "lineid/line_matching.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx_test {
namespace {

using namespace kvx;

// Exact lines of the example instrument at a 500 nm center, the last one
// measured 0.2 px off (within the rejection floor, and clipping is off):
// weighted almost to nothing it cannot move the fit from the truth.
TEST(GratingFit, ALineWeighsInTheFitByItsWeight) {
  SpectrographModel model;  // 1200 g/mm, 300 mm, 1024 pixels of 26 um
  model.optics.grooveDensity = 1200.0;
  model.optics.inclusionAngle = 30.0;
  model.optics.focalLength = 300.0;
  model.geometry.pixelWidth = 26.0;
  model.geometry.centerPixel = 512.5;
  model.geometry.numPixels = 1024;
  std::vector<FitLine> lines;
  for (double pixel : {100.0, 300.0, 500.0, 700.0, 900.0}) {
    double nm = 0.0;
    ASSERT_EQ(
        WavelengthAtPixel(model, 500.0, pixel - 512.5, 30.0, 0.0, 300.0, &nm),
        NqeSuccess);
    lines.push_back({pixel, nm, 0, 1.0});
  }
  lines.back().pixel += 0.2;
  lines.back().weight = 1e-6;
  GratingFitOptions options;
  options.fixed = kFixInclusionAngle | kFixDetectorAngle;
  options.clipSigmas = 0.0;
  const double start[] = {500.2};
  model.optics.focalLength = 303.0;
  GratingFitResult fit;
  ASSERT_EQ(FitGratingModel(model, lines, start, options, &fit), NqeSuccess);
  EXPECT_NEAR(fit.optics.focalLength, 300.0, 1e-4);
  EXPECT_NEAR(fit.centers[0], 500.0, 1e-6);
  for (double weight : {0.0, -1.0, std::nan("")}) {
    lines.back().weight = weight;
    EXPECT_EQ(FitGratingModel(model, lines, start, options, &fit),
              NqeBadNumber);
  }
}

// The center's uncertainty for photon noise, (J^T W J)^-1 with W the
// inverse counts. /usr/bin/python3 with numpy: baseline 100, amplitude
// 10000, center 100.3, width 1.2, pixels 96..104 -> 0.007210046404120395.
TEST(RefinePeak, GivesTheCentersUncertaintyForPhotonNoise) {
  std::vector<double> counts(200);
  for (size_t k = 0; k < counts.size(); ++k) {
    const double u = (static_cast<double>(k) + 1.0 - 100.3) / 1.2;
    counts[k] = 100.0 + 10000.0 * std::exp(-0.5 * u * u);
  }
  LinePeak shape;
  EXPECT_NEAR(RefinePeak(counts.data(), 200, 100.0, 4.5, &shape), 100.3, 1e-9);
  EXPECT_NEAR(shape.sigma, 0.007210046404120395, 1e-9);
  EXPECT_NEAR(shape.amplitude, 10000.0, 1e-6);
  EXPECT_NEAR(shape.width, 1.2, 1e-9);
}

}  // namespace
}  // namespace kvx_test
