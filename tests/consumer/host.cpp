// A minimal host: identifies the module, creates a calibration object,
// installs a linear calibration, converts through the C++ exports and
// releases the object. Exits 0 only when every call answers as the header
// documents.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "KelvoCalibrate.h"

namespace {
int failures = 0;

void Expect(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "failed: %s\n", what);
    ++failures;
  }
}
}  // namespace

int main() {
  char name[12] = {};
  KvxULong typeCode = 0;
  KvxULong secondCode = 0;
  Expect(GetDeviceID(name, &typeCode, &secondCode, 0) == NqeSuccess,
         "GetDeviceID returns 0");
  Expect(std::strcmp(name, "Calibration") == 0, "device name");
  Expect(typeCode == 0x08000000u, "type code is the handle tag");

  CalibHandle handle = 0;
  Expect(CalibCreate(CalibModeManual, &handle) == NqeSuccess, "CalibCreate");
  Expect((handle & 0x08000000u) != 0, "handle carries the tag");
  // A 1024-pixel detector and the line 500 nm + 0.1 nm per pixel from pixel
  // 1, through three points: pixel 101 is then 500 + 0.1 * 100 = 510 nm.
  DetectorRecord detector{};
  detector.pixelSize = 26.0;
  detector.numPixels = 1024;
  Expect(CalibLoadDetector(handle, &detector, sizeof detector) == NqeSuccess,
         "CalibLoadDetector");
  CalibrationRecord calibration{};
  Expect(CalibInitializeCalibration(handle, &calibration, sizeof calibration) ==
             NqeSuccess,
         "CalibInitializeCalibration");
  calibration.polyOrder = 1;
  const double positions[3] = {1.0, 513.0, 1021.0};
  const double values[3] = {500.0, 551.2, 602.0};
  for (int i = 0; i < 3; ++i) {
    calibration.pointPosition[i] = positions[i];
    calibration.pointValue[i] = values[i];
  }
  Expect(CalibLoadCalibration(handle, &calibration, sizeof calibration) ==
             NqeSuccess,
         "CalibLoadCalibration");
  double value = 0.0;
  Expect(CalibPixelToCalibValue(handle, 101.0, &value) == NqeSuccess &&
             std::fabs(value - 510.0) < 1e-9,
         "pixel 101 is 510 nm (C++ export)");
  double pixel = 0.0;
  Expect(CalibCalibValueToPixel(handle, 510.0, &pixel) == NqeSuccess &&
             std::fabs(pixel - 101.0) < 1e-9,
         "510 nm is pixel 101 (C++ export)");
  Expect(CalibDestroy(handle) == NqeSuccess, "CalibDestroy");
  Expect(CalibDestroy(handle) == NqeInvalidHandle,
         "a destroyed handle is refused");

  std::printf("%s\n", failures == 0 ? "consumer: ok" : "consumer: FAILED");
  return failures == 0 ? 0 : 1;
}
