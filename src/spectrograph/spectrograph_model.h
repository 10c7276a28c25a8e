// The spectrograph model of an automatic calibration object: the hardware
// lists and the selected grating's optics.
#pragma once

#include <cstdint>
#include <list>

#include "KelvoCalibrate.h"

namespace kvx {

class DetectorStore;
class CalibrationStore;

struct Spectrograph {
  int32_t position = 0;
  uint32_t id = 0;
  // Detector and calibration used while the exit mirror is in position 0
  // (main exit) and 1 (side exit).
  uint32_t mainExitDetectorId = 0;
  uint32_t mainExitCalibrationId = 0;
  uint32_t sideExitDetectorId = 0;
  uint32_t sideExitCalibrationId = 0;
  char name[128] = {};
};

class SpectrographModel {
 public:
  // Creates the model with one default spectrograph, which is active.
  SpectrographModel();
  virtual ~SpectrographModel();
  SpectrographModel(const SpectrographModel&) = delete;
  SpectrographModel& operator=(const SpectrographModel&) = delete;

  void SetStores(DetectorStore* detectors, CalibrationStore* calibrations) {
    detectors_ = detectors;
    calibrations_ = calibrations;
  }

  Spectrograph* ActiveSpectrograph() { return active_; }
  const std::list<Spectrograph>& Spectrographs() const {
    return spectrographs_;
  }
  void RemoveAllSpectrographs();

 private:
  std::list<Spectrograph> spectrographs_;
  Spectrograph* active_ = nullptr;
  DetectorStore* detectors_ = nullptr;
  CalibrationStore* calibrations_ = nullptr;
};

}  // namespace kvx
