// The grating equation against independent values, and the pixel array's
// agreement with single pixels. /usr/bin/python3, math.asin/atan/sin/cos,
// half degree 0.008726646258333333, degree 0.017453292516666667, quarter
// turn 1.5707963265; m 1, G 1200, psi 30, f 300, K 1, w 26, center 500:
//   offset 0 -> 500.0; +100 -> 506.0332643328094; -100 -> 493.93256081695915
//   gamma 5 deg, +100 -> 506.0058490480941; limit 1555.0211697384498
//   asin(1200 * 500e-6 / (2 cos(15)))  [15 radians] -> -0.40595791759535255
//   |lambda(+0.5) - lambda(-0.5)| -> 0.06050578972292442
//   c = 512.5: pixels 1, 256.75, 512.5, 768.25, 1024 -> 468.6352237301039,
//     484.4177133745535, 500.0, 515.3588252936914, 530.4719173405292
//   pixel 700 -> 511.2832735397793 nm = 19558.629271727918 cm-1
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "spectrograph/grating_equation.h"
#include "spectrograph/model_fixture.h"

namespace kvx_test {
namespace {

using Grating = ExampleModel;

TEST_F(Grating, ReproducesTheExampleValues) {
  const double cases[][3] = {{0.0, 0.0, 500.0},  // offset, gamma, value
                             {100.0, 0.0, 506.0332643328094},
                             {-100.0, 0.0, 493.93256081695915},
                             {100.0, 5.0, 506.0058490480941}};
  for (const auto& c : cases) {
    double v = 0.0;
    EXPECT_EQ(
        kvx::WavelengthAtPixel(model(), 500.0, c[0], 30.0, c[1], 300.0, &v),
        NqeSuccess);
    ExpectDigits(v, c[2]);
  }
  double limit = 0.0;
  EXPECT_EQ(kvx::TestWavelength(model(), 1600.0, &limit),
            NqeWavelengthUnreachable);
  ExpectDigits(limit, 1555.0211697384498);
  EXPECT_EQ(kvx::TestWavelength(model(), 1500.0, nullptr), NqeSuccess);
  // The rotation angle keeps taking the halved degrees as radians.
  double angle = 0.0;
  ASSERT_EQ(kvx::GratingRotationAngle(model(), 500.0, 30.0, &angle),
            NqeSuccess);
  ExpectDigits(angle, -0.40595791759535255);
  model().center.effectiveCenter = 500.0;
  double resolution = 0.0;
  ASSERT_EQ(kvx::CenterResolution(model(), &resolution), NqeSuccess);
  ExpectDigits(resolution, 0.06050578972292442);
}

TEST_F(Grating, PixelArrayIsBitIdenticalToSinglePixels) {
  for (double detectorAngle : {0.0, 5.0}) {
    model().optics.detectorAngle = detectorAngle;
    model().optics.centerPixelOffset = 10.0;
    model().center.effectiveCenter = 500.6050726739171;
    std::vector<double> array(1024);
    ASSERT_EQ(object.CalcCalibPixelArray(1024, array.data()), NqeSuccess);
    for (int i = 0; i < 1024; ++i) {
      double single = 0.0;
      ASSERT_EQ(object.CalcPxlWavLngth(500.6050726739171, i + 1.0, &single),
                NqeSuccess);
      EXPECT_EQ(array[i], single) << "pixel " << i + 1;
    }
  }
}

TEST_F(Grating, UnreachableAndDegenerateSettings) {
  double v = 0.0;
  for (double center : {2000.0, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(kvx::PixelWavelength(model(), center, 100.0, &v),
              NqeWavelengthUnreachable);
    EXPECT_TRUE(v == center || (std::isnan(v) && std::isnan(center)));
  }
  EXPECT_EQ(kvx::CenterResolution(model(), nullptr), NqeNullPointer);
  EXPECT_EQ(kvx::GratingRotationAngle(model(), 1.0, 30.0, nullptr),
            NqeNullPointer);
  double limit = -1.0;
  model().optics.inclusionAngle = 181.0;
  EXPECT_EQ(kvx::TestWavelength(model(), 500.0, &limit), NqeAngleOutOfRange);
  EXPECT_EQ(limit, -1.0);
  // Groove density 0: every pixel sees the center, nothing is reachable.
  model().optics.inclusionAngle = 30.0;
  model().optics.grooveDensity = 0.0;
  EXPECT_EQ(kvx::PixelWavelength(model(), 500.0, 1.0, &v), NqeSuccess);
  EXPECT_EQ(v, 500.0);
  EXPECT_EQ(kvx::TestWavelength(model(), 500.0, &limit),
            NqeWavelengthUnreachable);
  EXPECT_EQ(limit, 0.0);
  // Beyond reach, the pixel array skips the pixels, the data points stop.
  model().optics.grooveDensity = 1200.0;
  model().center.effectiveCenter = 2000.0;
  std::vector<double> values(1024, -7.0);
  EXPECT_EQ(object.CalcCalibPixelArray(1024, values.data()), NqeSuccess);
  EXPECT_EQ(values.front(), -7.0);
  EXPECT_EQ(object.CalcDataPointCalibArray(1024, values.data()),
            NqeWavelengthUnreachable);
  EXPECT_EQ(values.back(), -7.0);
}

TEST_F(Grating, OnlyTheModelsCalibValueConvertsTheUnit) {
  object.Calibrations().ActiveRecord()->displayUnit = CalibUnitWavenumbers;
  model().center.effectiveCenter = 500.0;
  double nm = 0.0;
  double converted = 0.0;
  ASSERT_EQ(object.DataPointToCalibValue(700.0, &nm), NqeSuccess);
  ExpectDigits(nm, 511.2832735397793);
  ASSERT_EQ(object.CalcDataPointCalibValue(500.0, 700.0, &converted),
            NqeSuccess);
  ExpectDigits(converted, 19558.629271727918);
}

}  // namespace
}  // namespace kvx_test
