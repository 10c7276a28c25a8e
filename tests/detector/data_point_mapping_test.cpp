// Data points and pixels through the exports.
#include "detector/detector_fixtures.h"

namespace kvx_detector_test {
namespace {

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

}  // namespace
}  // namespace kvx_detector_test
