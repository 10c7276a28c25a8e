// Handles and records for the detector tests, built as a host builds them.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/test_handle.h"

namespace kvx_detector_test {

using kvx_test::Handle;

// A record pointing at the caller's regions (16 bytes each), if any.
inline DetectorRecord Detector(KvxLong numPixels,
                               std::vector<X_ROI>* r = nullptr,
                               double pixelSize = 20.0) {
  DetectorRecord d;
  std::memset(&d, 0, sizeof d);
  std::strcpy(d.name, "test ccd");
  d.numPixels = numPixels;
  d.pixelSize = pixelSize;
  if (r != nullptr) {
    d.regions = r->data();
    d.regionCount = static_cast<KvxLong>(r->size());
    d.regionBytes = static_cast<KvxLong>(r->size() * sizeof(X_ROI));
  }
  return d;
}

inline KvxULong ActiveId(CalibHandle h) {
  KvxULong id = 0;
  EXPECT_EQ(CalibGetActiveDetectorID(h, &id), 0u);
  return id;
}

// The number of regions; -1 when the call fails (detector not loaded).
inline KvxLong RegionCount(CalibHandle h) {
  KvxLong n = -1;
  return CalibNumberOfX_ROIs(h, &n) == 0 ? n : -1;
}

// Loads a detector of `numPixels` and adds the regions one by one.
inline void LoadWithRegions(CalibHandle h, KvxLong numPixels,
                            std::vector<X_ROI> regions) {
  DetectorRecord d = Detector(numPixels);
  ASSERT_EQ(CalibLoadDetector(h, &d, sizeof d), 0u);
  for (X_ROI& r : regions) ASSERT_EQ(CalibAddX_ROI(h, &r), NqeSuccess);
}

}  // namespace kvx_detector_test
