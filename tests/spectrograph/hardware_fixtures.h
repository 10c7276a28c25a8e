// The example instrument as a host loads it: 300 mm, inclusion 30 deg,
// detector angle 0, scale 1, gratings of 1200 g/mm, 1024 pixels of 26 um.
#pragma once

#include "detector/detector_fixtures.h"

namespace kvx_hardware_test {

inline SpectrographRecord Spectrograph(KvxLong id) {
  return {id, 1, 1, {}, {}, 300.0, 30.0, 0.0, 1.0};
}
inline TurretRecord Turret(KvxLong id, KvxLong gratings) {
  return {0, id, {}, gratings};
}
inline GratingRecord Grating(KvxLong id) {
  return {0, id, {}, 1200.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
}

struct AutoHandle : kvx_test::Handle {
  AutoHandle() : Handle(CalibModeAutomatic) {
    DetectorRecord d = kvx_detector_test::Detector(1024, nullptr, 26.0);
    EXPECT_EQ(CalibLoadDetector(*this, &d, sizeof d), 0u);
  }
};

// The active spectrograph's ID; 0 when the call fails.
inline KvxULong ActiveSpectrograph(CalibHandle h) {
  KvxULong id = 0;
  return CalibGetActiveSpectrographID(h, &id) == 0 ? id : 0;
}

}  // namespace kvx_hardware_test
