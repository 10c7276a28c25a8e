// The spectrograph model of an automatic calibration object: the hardware
// lists, the selected grating's working optics, the detector geometry, the
// center wavelength, the target slots, the optimisation descriptors and the
// stepping range. The operations on it live beside it, one file per concept
// (hardware lists, grating equation, center and stepping, target slots,
// optimisation); this class holds the state they share.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "KelvoCalibrate.h"
#include "calibration/wavelength_source.h"

namespace kvx {

class DetectorStore;
class CalibrationStore;
struct SpecOptStruct;  // the optimisation's state, created by the first run
class GlueSession;     // the glue's state, created by the first glue call

struct Grating {
  int32_t position = 0;
  uint32_t id = 0;
  double grooveDensity = -1.0;  // -1.0: not set
  double storedValue = 0.0;     // kept with the grating, used by nothing
  double centerPixelOffset = 0.0;
  double slopeAdjust = 0.0;
  double focalLength = 0.0;
  double inclusionAngle = 0.0;
  double detectorAngle = 0.0;
  double scaleFactor = 1.0;
  double pixelWidth = 0.0;
  char name[128] = {};
};

struct Turret {
  int32_t position = 0;
  uint32_t id = 0;
  int32_t defaultCount =
      0;  // 1 on a new spectrograph's turret; read by nothing
  int32_t numGratings = 0;
  char name[128] = {};
  // std::list: the model keeps pointers to the active grating.
  std::list<Grating> gratings;
};

struct ExitMirror {
  uint32_t sideExitDetectorId = 0;
  int32_t installed = 0;  // 1 once created
  bool changed = false;   // set on creation and on every position change
};

struct Spectrograph {
  int32_t position = 0;
  uint32_t id = 0;
  std::list<Turret> turrets;
  // Detector and calibration used while the exit mirror is in position 0
  // (main exit) and otherwise (side exit).
  uint32_t mainExitDetectorId = 0;
  uint32_t mainExitCalibrationId = 0;
  uint32_t sideExitDetectorId = 0;
  uint32_t sideExitCalibrationId = 0;
  std::unique_ptr<ExitMirror> exitMirror;
  int32_t numTurrets = 0;
  int32_t numGratings = 0;  // per turret; stored only
  bool exitMirrorPresent = false;
  int32_t exitMirrorPosition = 0;
  double focalLength = 0.0;
  double inclusionAngle = 0.0;
  double detectorAngle = 0.0;
  double scaleFactor = 0.0;
  char name[128] = {};
};

// Detector geometry, refreshed from the detector store on grating selection
// and center-offset calibration.
struct DetectorGeometry {
  double pixelWidth = 0.0;          // micrometres
  double centerPixel = 0.0;         // (pixels + 1) * 0.5
  double regionCenterOffset = 0.0;  // center of the active range - centerPixel
  int32_t numPixels = 0;
};

// Working optics of the active grating; the grating equation reads these.
struct WorkingOptics {
  double grooveDensity = 0.0;   // grooves/mm
  double inclusionAngle = 0.0;  // degrees
  double detectorAngle = 0.0;   // degrees
  double scaleFactor = 1.0;
  double focalLength = 0.0;  // mm
  int32_t order = 1;         // diffraction order; nothing changes it
  double centerPixelOffset = 0.0;
  double slopeAdjust = 0.0;
};

struct CenterState {
  double centerCalibValue = 0.0;       // in the display unit; read by nothing
  double requestedCenter = 0.0;        // nm, as the host set it
  double centerPixelWavelength = 0.0;  // nm at the detector center; kept only
  double driveValue = 0.0;             // (1 + slope) * effectiveCenter
  double effectiveCenter = 0.0;        // nm, used by every pixel computation
};

struct TargetSlot {
  double targetWavelength = 0.0;
  double targetCenter = 0.0;
  double effectiveCenter = 0.0;
  double referenceCursor = 0.0;
  double cursorOffset = 0.0;
};

struct OptimisationDescriptors {
  double focalStep = 0.0, focalStop = 0.0, focalUpper = 0.0, focalLower = 0.0;
  double detectorAngleStep = 0.05, detectorAngleStop = 0.0,
         detectorAngleUpper = 0.0, detectorAngleLower = 0.0;
  double scaleStep = 0.0, scaleStop = 0.0, scaleUpper = 0.0, scaleLower = 0.0;
  double inclusionStep = 0.0, inclusionUpper = 0.0, inclusionLower = 0.0;
};

// The stepping range is also the glue range (start/end), with the glue's
// spacing beside it.
struct SteppingState {
  double rangeStart = 0.0;  // the glue's glueStart
  double rangeEnd = 0.0;    // the glue's glueEnd
  double glueStep = 0.0;
  double overlap = 0.0;
  int32_t numSteps = 0;
  std::vector<double> stepCenters;
  bool stepsValid = false;     // set and cleared, read by nothing
  bool glueValidated = false;  // cleared by every range or step write
};

class SpectrographModel : public WavelengthSource {
 public:
  // Creates the model with one default spectrograph, turret and grating,
  // all active.
  SpectrographModel();
  virtual ~SpectrographModel();
  SpectrographModel(const SpectrographModel&) = delete;
  SpectrographModel& operator=(const SpectrographModel&) = delete;

  void SetStores(DetectorStore* detectors, CalibrationStore* calibrations) {
    detectors_ = detectors;
    calibrations_ = calibrations;
  }
  DetectorStore* Detectors() const { return detectors_; }
  CalibrationStore* Calibrations() const { return calibrations_; }

  Spectrograph* ActiveSpectrograph() { return active_; }
  Turret* ActiveTurret() { return activeTurret_; }
  Grating* ActiveGrating() { return activeGrating_; }
  const std::list<Spectrograph>& Spectrographs() const {
    return spectrographs_;
  }
  int32_t NumSpectrographs() const { return numSpectrographs_; }

  // --- hardware lists (spectrograph_hardware.cpp) --------------------------
  NqeErrorCode LoadSpectrograph(const void* record, int32_t size);
  NqeErrorCode AddSpectrograph(const void* record, int32_t size,
                               uint32_t* newId);
  NqeErrorCode RemoveSpectrographId(uint32_t id);
  NqeErrorCode GetActiveSpectrographId(uint32_t* id) const;
  NqeErrorCode SetActiveSpectrographId(uint32_t id);
  NqeErrorCode SelectSpectrographByIndex(int32_t index);
  NqeErrorCode LoadTurrets(const void* records, int32_t size, int32_t count);
  NqeErrorCode LoadGratings(const void* records, int32_t size, int32_t count);
  NqeErrorCode SelectTurret(int32_t number);
  NqeErrorCode SelectGrating(int32_t number);
  NqeErrorCode SetGratingByIndexNum(int32_t turret, int32_t grating);
  NqeErrorCode AddExitMirror();
  NqeErrorCode SetExitMirrorPosition(int32_t position);
  // Copies the active grating's optics into the working optics.
  void InstallGrating();
  // Reads pixel width, pixel count, detector center and region center
  // offset from the detector store; stops at the first failure.
  NqeErrorCode RefreshDetectorGeometry();
  // Frees every spectrograph; the list and the active selection become
  // empty, the spectrograph count stays as it was (object copy).
  void RemoveAllSpectrographs();

  // --- WavelengthSource: the questions the calibration store asks ----------
  NqeErrorCode EffectiveWavelengthAtPixel(double pixel,
                                          double* wavelength) const override;
  NqeErrorCode EffectiveWavelengthAtDataPoint(
      double dataPoint, double* wavelength) const override;

  // --- shared state, read and written by the model's operations -----------
  DetectorGeometry geometry;
  WorkingOptics optics;
  bool optionBytes[3] = {true, true, true};  // read by nothing
  uint8_t parameterFlag = 0;                 // integer parameter 73 only
  CenterState center;
  TargetSlot targets[4];
  int32_t lastTargetSlot = 0;
  OptimisationDescriptors descriptors;
  SteppingState stepping;
  std::unique_ptr<SpecOptStruct> optimisation;
  std::unique_ptr<GlueSession> glue;

 private:
  // Appends a spectrograph with one turret holding one grating, as far as
  // memory allows; null when the spectrograph itself cannot be made.
  Spectrograph* CreateSpectrograph() noexcept;
  // Free the turrets (with their gratings) of a spectrograph, or the
  // gratings of a turret; an active turret or grating among them becomes
  // none so that no selection outlives its node.
  void ReleaseTurrets(Spectrograph& spectrograph);
  void ReleaseGratings(Turret& turret);

  std::list<Spectrograph> spectrographs_;
  Spectrograph* active_ = nullptr;
  Turret* activeTurret_ = nullptr;
  Grating* activeGrating_ = nullptr;
  int32_t numSpectrographs_ = 0;
  uint32_t defaultSpectrographId_ = 0;
  DetectorStore* detectors_ = nullptr;
  CalibrationStore* calibrations_ = nullptr;
};

}  // namespace kvx
