// Hardware records and an automatic-mode handle, built as a host builds them.
#pragma once

#include "detector/detector_fixtures.h"

namespace kvx_hardware_test {

// Optics: focal length 300 mm, inclusion 30, detector angle 2, scale 1.5.
inline SpectrographRecord Spectrograph(KvxLong id, KvxLong turrets = 1) {
  return {id, turrets, 1, {}, {}, 300.0, 30.0, 2.0, 1.5};
}
inline TurretRecord Turret(KvxLong id, KvxLong gratings) {
  return {0, id, {}, gratings};
}
inline GratingRecord Grating(KvxLong id, double grooves = 1200.0) {
  return {0, id, {}, grooves, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
}

// An automatic object whose active detector has 1024 pixels of 20 um.
struct AutoHandle : kvx_test::Handle {
  AutoHandle() : Handle(CalibModeAutomatic) {
    DetectorRecord d = kvx_detector_test::Detector(1024);
    EXPECT_EQ(CalibLoadDetector(*this, &d, sizeof d), 0u);
  }
};

// The active spectrograph's ID; 0 when the call fails.
inline KvxULong ActiveSpectrograph(CalibHandle h) {
  KvxULong id = 0;
  return CalibGetActiveSpectrographID(h, &id) == 0 ? id : 0;
}

}  // namespace kvx_hardware_test
