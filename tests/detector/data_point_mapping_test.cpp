// Data points and pixels through the exports.
#include "detector/detector_fixtures.h"

namespace kvx_detector_test {
namespace {

// Regions (start, width, binning) (1, 10, 2), (11, 10, 5), (31, 6, 3) on 100
// pixels: 5 + 2 + 2 = 9 data points, a gap at 21..30. Independent python3:
//   R = [(1,2,5), (11,5,2), (31,3,2)]  # start, binning, data points
//   def d2p(d, x):  # x = d
//     for s,b,n in R:
//       if x <= n: return b*(x-0.5)+(s-0.5)
//       x -= n
//     return d
//   def p2d(p, a=0.0):
//     for s,b,n in R:
//       if s > p: return ('out', a)
//       if s+b*n-1 >= p: return (p-s+0.5)/b+a+0.5
//       a += n
//     return a if p <= a else ('out', a)
//   d2p: 0 -0.5, 1 1.5, 2.5 4.5, 5 9.5, 5.5 10.5, 6 13.0, 8 32.0, 12 12
//   p2d: 0.5 out 0, 1.5 1.0, 10 5.25, 13 6.0, 20 7.4, 20.5 out 7,
//        25 out 7, 31 7.666666666666667, 37 out 9
TEST(DataPointMapping, FollowsTheRegionsUnlessThePatternIsDisabled) {
  Handle h;
  LoadWithRegions(h, 100, {{1, 1, 10, 2}, {2, 11, 10, 5}, {3, 31, 6, 3}});
  const struct {
    bool toPixel;
    double in, out;
    NqeErrorCode code;
  } cases[] = {
      {true, 0.0, -0.5, NqeSuccess},
      {true, 1.0, 1.5, NqeSuccess},
      {true, 2.5, 4.5, NqeSuccess},
      {true, 5.0, 9.5, NqeSuccess},
      {true, 5.5, 10.5, NqeSuccess},
      {true, 6.0, 13.0, NqeSuccess},
      {true, 8.0, 32.0, NqeSuccess},
      {true, 12.0, 12.0, NqeSuccess},
      {false, 1.5, 1.0, NqeSuccess},
      {false, 10.0, 5.25, NqeSuccess},
      {false, 13.0, 6.0, NqeSuccess},
      {false, 20.0, 7.4, NqeSuccess},
      {false, 31.0, 7.666666666666667, NqeSuccess},
      // Outside every region: the data points in front of the pixel.
      {false, 0.5, 0.0, NqePixelOutsideRegions},
      {false, 20.5, 7.0, NqePixelOutsideRegions},
      {false, 25.0, 7.0, NqePixelOutsideRegions},
      {false, 37.0, 9.0, NqePixelOutsideRegions},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.toPixel << " " << c.in);
    double out = -99.0;
    EXPECT_EQ(c.toPixel ? CalibDataPointToPixel(h, c.in, &out)
                        : CalibPixelToDataPoint(h, c.in, &out),
              c.code);
    EXPECT_DOUBLE_EQ(out, c.out);
  }

  ASSERT_EQ(CalibDisableScanPattern(h), 0u);  // now every value is itself
  for (double v : {-3.0, 25.0, 1000.5}) {
    double a = 0.0, b = 0.0;
    ASSERT_EQ(CalibDataPointToPixel(h, v, &a), NqeSuccess);
    ASSERT_EQ(CalibPixelToDataPoint(h, v, &b), NqeSuccess);
    EXPECT_TRUE(a == v && b == v);
  }
}

TEST(DataPointMapping,
     PastTheLastRegionThePixelIsComparedWithTheDataPointCount) {
  // Width -100 with binning -1 gives 100 data points to a region whose last
  // pixel (2 - 100 - 1 = -99) lies before its start.
  Handle h;
  LoadWithRegions(h, 100, {{1, 2, -100, -1}});
  double point = 0.0;
  EXPECT_EQ(CalibPixelToDataPoint(h, 50.0, &point), NqeSuccess);
  EXPECT_EQ(point, 100.0);
  EXPECT_EQ(CalibPixelToDataPoint(h, 100.5, &point), NqePixelOutsideRegions);
  EXPECT_EQ(point, 100.0);
}

TEST(DataPointMapping, RefusesANotLoadedDetectorAndNullOutputs) {
  Handle h;
  double v = 0.0;
  EXPECT_EQ(CalibDataPointToPixel(h, 1.0, &v), NqeDetectorNotLoaded);
  EXPECT_EQ(CalibPixelToDataPoint(h, 1.0, &v), NqeDetectorNotLoaded);
  LoadWithRegions(h, 10, {});
  EXPECT_EQ(CalibDataPointToPixel(h, 1.0, nullptr), NqeNullPointer);
  EXPECT_EQ(CalibPixelToDataPoint(h, 1.0, nullptr), NqeNullPointer);
}

}  // namespace
}  // namespace kvx_detector_test
