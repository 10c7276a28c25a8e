// The hardware lists of the spectrograph model: loading, adding, removing
// and selecting spectrographs, turrets and gratings, the exit mirror, and
// the installation of the selected grating into the working optics.
//
// Several irregular behaviours are kept because hosts depend on them; each is
// marked where it happens. Active pointers always point into live list
// nodes: whatever frees nodes first clears the selections inside them.
//
// A model can lack an active spectrograph (an object copy from a manual
// object leaves none) or turret; every operation that needs one reports
// 11048 or 11049 then instead of assuming it. Array sizes are compared with
// count x record size in 64 bits, so a product that would wrap in 32 bits
// never matches and no record beyond the caller's buffer is read.
#include <cstdint>
#include <cstring>
#include <iterator>
#include <list>

#include "calibration/calibration_store.h"
#include "detector/detector_store.h"
#include "spectrograph/spectrograph_model.h"

namespace kvx {

namespace {

constexpr int64_t kSpectrographBytes = sizeof(SpectrographRecord);
constexpr int64_t kTurretBytes = sizeof(TurretRecord);
constexpr int64_t kGratingBytes = sizeof(GratingRecord);

// Records come from host buffers without any alignment promise; they are
// read by copying.
template <class Record>
Record ReadRecord(const void* records, int32_t index) {
  Record record;
  std::memcpy(&record,
              static_cast<const char*>(records) + index * sizeof record,
              sizeof record);
  return record;
}

// Size 0 stands for the standard size here (only the load accepts it).
NqeErrorCode ValidateSpectrographRecord(const void* record, int32_t size) {
  if (size != 0 && size != kSpectrographBytes) return NqeBadSpectrographSize;
  if (record == nullptr) return NqeNullPointer;
  const auto r = ReadRecord<SpectrographRecord>(record, 0);
  if (r.numTurrets == 0) return NqeNoTurrets;
  if (r.numGratings == 0) return NqeNoGratings;
  if (r.focalLength == 0.0) return NqeZeroFocalLength;
  if (r.inclusionAngle == 0.0) return NqeZeroInclusionAngle;
  if (r.scaleFactor == 0.0) return NqeZeroScaleFactor;
  return NqeSuccess;
}

// The first node of `list` whose position is `position`, or null.
template <class Node>
Node* AtPosition(std::list<Node>& list, int64_t position) {
  for (Node& node : list) {
    if (node.position == position) return &node;
  }
  return nullptr;
}

template <class Node>
bool Holds(const std::list<Node>& list, const Node* node) {
  for (const Node& candidate : list) {
    if (&candidate == node) return true;
  }
  return false;
}

double OrDefault(double value, double fallback) {
  return value == 0.0 ? fallback : value;
}

}  // namespace

void SpectrographModel::ReleaseGratings(Turret& turret) {
  if (Holds(turret.gratings, static_cast<const Grating*>(activeGrating_))) {
    activeGrating_ = nullptr;
  }
  turret.gratings.clear();
}

void SpectrographModel::ReleaseTurrets(Spectrograph& spectrograph) {
  for (Turret& turret : spectrograph.turrets) ReleaseGratings(turret);
  if (Holds(spectrograph.turrets, static_cast<const Turret*>(activeTurret_))) {
    activeTurret_ = nullptr;
  }
  spectrograph.turrets.clear();
}

// --- spectrographs -----------------------------------------------------------

NqeErrorCode SpectrographModel::LoadSpectrograph(const void* record,
                                                 int32_t size) {
  const NqeErrorCode valid = ValidateSpectrographRecord(record, size);
  if (valid != NqeSuccess) return valid;
  // Only a model emptied by an object copy has no active spectrograph.
  if (active_ == nullptr) return NqeNoActiveSpectrograph;
  const auto r = ReadRecord<SpectrographRecord>(record, 0);

  ReleaseTurrets(*active_);
  activeTurret_ = nullptr;
  activeGrating_ = nullptr;
  // The node is cleared entirely, its link to the spectrographs after it
  // included: they leave the list while the spectrograph count stays. Hosts
  // rely on this, so it is kept; only a load into the last spectrograph
  // leaves the list whole.
  auto self = spectrographs_.begin();
  while (&*self != active_) ++self;
  spectrographs_.erase(std::next(self), spectrographs_.end());
  *active_ = Spectrograph{};

  active_->position = 1;  // whatever its place in the list
  active_->id = static_cast<uint32_t>(r.spectrographId);
  active_->numTurrets = r.numTurrets;
  active_->numGratings = r.numGratings;
  std::memcpy(active_->name, r.name, sizeof active_->name);
  active_->focalLength = r.focalLength;
  active_->inclusionAngle = r.inclusionAngle;
  active_->detectorAngle = r.detectorAngle;
  active_->scaleFactor = r.scaleFactor;
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::AddSpectrograph(const void* record,
                                                int32_t size, uint32_t* newId) {
  if (size != kSpectrographBytes) {
    if (newId != nullptr) *newId = 0;
    return NqeBadSpectrographSize;
  }
  // Without a place for the new ID the host could never address the
  // spectrograph, so nothing is added.
  if (newId == nullptr) return NqeNullPointer;
  Spectrograph* created = CreateSpectrograph();
  if (created == nullptr) {
    *newId = 0;
    return NqeSpectrographAllocFailed;
  }
  const uint32_t freshId = created->id;
  Spectrograph* const remembered = active_;
  active_ = created;
  const NqeErrorCode loaded =
      LoadSpectrograph(record, static_cast<int32_t>(kSpectrographBytes));
  active_ = remembered;
  // The fresh ID is reported although the node now carries the record's ID
  // (and a failed load leaves the new spectrograph in the list): kept as
  // hosts know it.
  *newId = freshId;
  return loaded;
}

NqeErrorCode SpectrographModel::RemoveSpectrographId(uint32_t id) {
  if (spectrographs_.empty()) return NqeSpectrographNotFound;
  auto found = spectrographs_.begin();
  while (found != spectrographs_.end() && found->id != id) ++found;
  // An unknown ID is not an error here.
  if (found == spectrographs_.end()) return NqeSuccess;

  ReleaseTurrets(*found);
  activeTurret_ = nullptr;
  activeGrating_ = nullptr;
  // The only spectrograph is never removed, only emptied of its turrets
  // (its exit mirror stays). The count decides, as it does for detectors:
  // after a load has dropped the spectrographs behind it the count is
  // larger than the list, and removing the last listed one then empties
  // the list (later operations report 11043 or 11048).
  if (numSpectrographs_ > 1) {
    const bool wasActive = &*found == active_;
    spectrographs_.erase(found);
    --numSpectrographs_;
    if (wasActive) {
      active_ = spectrographs_.empty() ? nullptr : &spectrographs_.front();
    }
  }
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::GetActiveSpectrographId(uint32_t* id) const {
  if (active_ == nullptr) return NqeNoSpectrographSelected;
  if (id == nullptr) return NqeNullPointer;
  *id = active_->id;
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::SetActiveSpectrographId(uint32_t id) {
  for (Spectrograph& spectrograph : spectrographs_) {
    if (spectrograph.id == id) {
      // The active turret and grating stay as they are (they may belong to
      // the previous spectrograph until a turret is selected), unlike a
      // selection by index.
      active_ = &spectrograph;
      return NqeSuccess;
    }
  }
  return NqeSpectrographNotFound;
}

NqeErrorCode SpectrographModel::SelectSpectrographByIndex(int32_t index) {
  if (index < 1 || index > numSpectrographs_) return NqeBadNumber;
  if (spectrographs_.empty()) return NqeNoActiveSpectrograph;
  Spectrograph* found = AtPosition(spectrographs_, index);
  if (found == nullptr) return NqeBadNumber;
  active_ = found;
  activeTurret_ = nullptr;
  activeGrating_ = nullptr;
  return NqeSuccess;
}

// --- turrets and gratings ----------------------------------------------------

NqeErrorCode SpectrographModel::LoadTurrets(const void* records, int32_t size,
                                            int32_t count) {
  if (int64_t{size} != int64_t{count} * kTurretBytes) return NqeBadTurretSize;
  if (active_ == nullptr) return NqeNoActiveSpectrograph;
  NqeErrorCode failed = NqeSuccess;
  if (count > 0 && records == nullptr) failed = NqeNullPointer;
  for (int32_t i = 0; failed == NqeSuccess && i < count; ++i) {
    if (ReadRecord<TurretRecord>(records, i).numGratings == 0) {
      failed = NqeNoGratings;
    }
  }
  if (failed != NqeSuccess) {
    // The turret count takes the refused count although the list stays as
    // it was; kept on purpose.
    activeTurret_ =
        active_->turrets.empty() ? nullptr : &active_->turrets.front();
    active_->numTurrets = count;
    return failed;
  }

  // Built aside first, so that running out of memory changes nothing.
  std::list<Turret> turrets;
  for (int32_t i = 0; i < count; ++i) {
    const auto r = ReadRecord<TurretRecord>(records, i);
    Turret& turret = turrets.emplace_back();
    turret.position = i + 1;
    turret.id = static_cast<uint32_t>(r.turretId);
    std::memcpy(turret.name, r.name, sizeof turret.name);
    turret.numGratings = r.numGratings;
  }
  ReleaseTurrets(*active_);
  active_->turrets.splice(active_->turrets.end(), turrets);
  active_->numTurrets = count;
  activeTurret_ =
      active_->turrets.empty() ? nullptr : &active_->turrets.front();
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::LoadGratings(const void* records, int32_t size,
                                             int32_t count) {
  if (int64_t{size} != int64_t{count} * kGratingBytes) return NqeBadGratingSize;
  if (activeTurret_ == nullptr) return NqeNoActiveTurret;
  if (active_ == nullptr) return NqeNoActiveSpectrograph;
  Turret& turret = *activeTurret_;
  if (count != turret.numGratings) return NqeGratingCountMismatch;
  NqeErrorCode failed = NqeSuccess;
  if (count > 0 && records == nullptr) failed = NqeNullPointer;
  for (int32_t i = 0; failed == NqeSuccess && i < count; ++i) {
    if (ReadRecord<GratingRecord>(records, i).grooveDensity == -1.0) {
      failed = NqeGrooveDensityNotSet;
    }
  }
  if (failed != NqeSuccess) {
    activeGrating_ =
        turret.gratings.empty() ? nullptr : &turret.gratings.front();
    return failed;
  }

  const Spectrograph& spectrograph = *active_;
  std::list<Grating> gratings;
  for (int32_t i = 0; i < count; ++i) {
    const auto r = ReadRecord<GratingRecord>(records, i);
    Grating& grating = gratings.emplace_back();
    grating.position = i + 1;
    grating.id = static_cast<uint32_t>(r.gratingId);
    std::memcpy(grating.name, r.name, sizeof grating.name);
    grating.grooveDensity = r.grooveDensity;
    grating.storedValue = r.storedValue;
    grating.centerPixelOffset = r.centerPixelOffset;
    grating.slopeAdjust = r.slopeAdjust;
    grating.focalLength = OrDefault(r.focalLength, spectrograph.focalLength);
    grating.inclusionAngle =
        OrDefault(r.inclusionAngle, spectrograph.inclusionAngle);
    grating.detectorAngle =
        OrDefault(r.detectorAngle, spectrograph.detectorAngle);
    grating.scaleFactor = OrDefault(r.scaleFactor, spectrograph.scaleFactor);
    grating.pixelWidth = r.pixelWidth;
    if (grating.pixelWidth == 0.0 && detectors_ != nullptr) {
      double pixelSize = 0.0;
      // A detector that cannot tell its pixel size leaves the width 0.0.
      if (detectors_->GetPixelSize(&pixelSize) == NqeSuccess) {
        grating.pixelWidth = pixelSize;
      }
    }
  }
  // Behind an exit mirror each grating is seen a second time through the
  // side exit: copies follow at positions count + 1 to 2 x count.
  if (spectrograph.exitMirrorPresent) {
    auto original = gratings.begin();
    for (int32_t i = 0; i < count; ++i, ++original) {
      Grating& copy = gratings.emplace_back(*original);
      copy.position = count + i + 1;
    }
  }
  ReleaseGratings(turret);
  turret.gratings.splice(turret.gratings.end(), gratings);
  // Loading does not install: only a grating selection changes the optics.
  activeGrating_ = turret.gratings.empty() ? nullptr : &turret.gratings.front();
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::SelectTurret(int32_t number) {
  if (active_ == nullptr) return NqeNoActiveSpectrograph;
  if (number < 1 || number > active_->numTurrets) return NqeBadNumber;
  if (active_->turrets.empty()) return NqeNoActiveTurret;
  Turret* found = AtPosition(active_->turrets, number);
  if (found == nullptr) return NqeBadNumber;
  activeTurret_ = found;
  activeGrating_ = nullptr;
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::SelectGrating(int32_t number) {
  if (active_ == nullptr) return NqeNoActiveSpectrograph;
  if (activeTurret_ == nullptr) return NqeNoActiveTurret;
  Turret& turret = *activeTurret_;
  if (number < 1 || number > turret.numGratings) return NqeBadNumber;
  if (turret.gratings.empty()) return NqeNoGrating;
  int64_t position = number;
  // Only position 1 exactly picks the side-exit copies, although every
  // non-zero position switches detector and calibration; kept as it is.
  if (active_->exitMirrorPresent && active_->exitMirrorPosition == 1) {
    position += turret.numGratings;
  }
  Grating* found = AtPosition(turret.gratings, position);
  if (found == nullptr) return NqeBadNumber;
  activeGrating_ = found;
  InstallGrating();
  const NqeErrorCode geometryCode = RefreshDetectorGeometry();
  if (geometryCode != NqeSuccess) return geometryCode;
  if (calibrations_ == nullptr || calibrations_->Count() < 1 ||
      calibrations_->ActiveNode() == nullptr) {
    return NqeNullPointer;
  }
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::SetGratingByIndexNum(int32_t turret,
                                                     int32_t grating) {
  const NqeErrorCode selected = SelectTurret(turret);
  if (selected != NqeSuccess) return selected;
  return SelectGrating(grating);
}

void SpectrographModel::InstallGrating() {
  if (activeGrating_ == nullptr) return;
  const Grating& g = *activeGrating_;
  optics.grooveDensity = g.grooveDensity;
  optics.inclusionAngle = g.inclusionAngle;
  optics.detectorAngle = g.detectorAngle;
  optics.focalLength = g.focalLength;
  optics.centerPixelOffset = g.centerPixelOffset;
  optics.slopeAdjust = g.slopeAdjust;
  optics.scaleFactor = g.scaleFactor == 0.0 ? 1.0 : g.scaleFactor;
  geometry.pixelWidth = g.pixelWidth;
}

NqeErrorCode SpectrographModel::RefreshDetectorGeometry() {
  if (detectors_ == nullptr) return NqeNullPointer;
  if (const NqeErrorCode code = detectors_->ValidateActiveDetector(true);
      code != NqeSuccess) {
    return code;
  }
  double offset = 0.0;
  if (const NqeErrorCode code = detectors_->GetCenterOffset(&offset);
      code != NqeSuccess) {
    return code;
  }
  geometry.regionCenterOffset = offset;
  int32_t pixels = 0;
  if (const NqeErrorCode code = detectors_->GetNumPixels(&pixels);
      code != NqeSuccess) {
    return code;
  }
  geometry.numPixels = pixels;
  double centerPixel = 0.0;
  if (const NqeErrorCode code = detectors_->GetDetectorCenter(&centerPixel);
      code != NqeSuccess) {
    return code;
  }
  geometry.centerPixel = centerPixel;
  // The detector's pixel size always wins over the grating's own width.
  double pixelWidth = 0.0;
  if (const NqeErrorCode code = detectors_->GetPixelSize(&pixelWidth);
      code != NqeSuccess) {
    return code;
  }
  geometry.pixelWidth = pixelWidth;
  return NqeSuccess;
}

// --- exit mirror -------------------------------------------------------------

NqeErrorCode SpectrographModel::AddExitMirror() {
  if (active_ == nullptr) return NqeNoActiveSpectrograph;
  Spectrograph& spectrograph = *active_;
  if (spectrograph.exitMirrorPresent) return NqeExitMirrorPresent;
  if (detectors_ == nullptr || calibrations_ == nullptr) return NqeNullPointer;

  uint32_t detectorId = 0;
  if (detectors_->AddBlankDetector(&detectorId) != NqeSuccess) {
    return NqeDetectorAllocFailed;
  }
  const CalibrationNode* calibration = calibrations_->CreateNode(false);
  if (calibration == nullptr) return NqeCalibrationAllocFailed;
  spectrograph.sideExitDetectorId = detectorId;
  spectrograph.sideExitCalibrationId = calibration->id;

  auto mirror = std::make_unique<ExitMirror>();
  mirror->sideExitDetectorId = detectorId;
  mirror->installed = 1;
  mirror->changed = true;
  spectrograph.exitMirror = std::move(mirror);
  spectrograph.exitMirrorPresent = true;

  // Every turret gets the side-exit copies of its gratings. The turret count
  // becomes the number of turrets walked; the walk stops after the first
  // turret whose gratings disagree with its declared number (the mirror
  // stays installed).
  spectrograph.numTurrets = 0;
  for (Turret& turret : spectrograph.turrets) {
    ++spectrograph.numTurrets;
    const auto count = static_cast<int64_t>(turret.gratings.size());
    if (count != turret.numGratings) return NqeGratingCountMismatch;
    std::list<Grating> copies(turret.gratings);
    int64_t position = count;
    for (Grating& copy : copies)
      copy.position = static_cast<int32_t>(++position);
    turret.gratings.splice(turret.gratings.end(), copies);
  }
  return NqeSuccess;
}

NqeErrorCode SpectrographModel::SetExitMirrorPosition(int32_t position) {
  if (active_ == nullptr) return NqeNoActiveSpectrograph;
  Spectrograph& spectrograph = *active_;
  if (!spectrograph.exitMirrorPresent || !spectrograph.exitMirror ||
      spectrograph.exitMirror->installed != 1) {
    return NqeNoExitMirror;
  }
  if (detectors_ == nullptr || calibrations_ == nullptr) return NqeNullPointer;
  spectrograph.exitMirrorPosition = position;
  spectrograph.exitMirror->changed = true;
  const bool mainExit = position == 0;
  const NqeErrorCode detector = detectors_->SetActiveDetectorId(
      mainExit ? spectrograph.mainExitDetectorId
               : spectrograph.sideExitDetectorId);
  if (detector != NqeSuccess) return detector;
  return calibrations_->SetActiveCalibrationId(
      mainExit ? spectrograph.mainExitCalibrationId
               : spectrograph.sideExitCalibrationId);
}

}  // namespace kvx
