#include "spectrograph/spectrograph_model.h"

#include <new>

#include "common/ids.h"
#include "glue/glue_session.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/spec_opt.h"

namespace kvx {

SpectrographModel::SpectrographModel() {
  Spectrograph* spectrograph = CreateSpectrograph();
  // A model always starts with its default spectrograph; without memory for
  // it the model cannot exist.
  if (spectrograph == nullptr) throw std::bad_alloc();
  defaultSpectrographId_ = spectrograph->id;
  active_ = spectrograph;
  if (!spectrograph->turrets.empty()) {
    activeTurret_ = &spectrograph->turrets.front();
    if (!activeTurret_->gratings.empty()) {
      activeGrating_ = &activeTurret_->gratings.front();
    }
  }
}

Spectrograph* SpectrographModel::CreateSpectrograph() noexcept {
  Spectrograph* spectrograph = nullptr;
  try {
    spectrograph = &spectrographs_.emplace_back();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  spectrograph->position = static_cast<int32_t>(spectrographs_.size());
  spectrograph->id = NextObjectId();
  ++numSpectrographs_;
  spectrograph->numTurrets = 1;
  spectrograph->numGratings = 1;
  // A turret or grating that cannot be made leaves the spectrograph with
  // the parts made so far.
  try {
    Turret& turret = spectrograph->turrets.emplace_back();
    turret.position = 1;
    turret.id = NextObjectId();
    turret.numGratings = 1;
    turret.defaultCount = 1;
    Grating& grating = turret.gratings.emplace_back();
    grating.position = 1;
    grating.id = NextObjectId();
  } catch (const std::bad_alloc&) {
  }
  return spectrograph;
}

SpectrographModel::~SpectrographModel() = default;

void SpectrographModel::RemoveAllSpectrographs() {
  spectrographs_.clear();
  active_ = nullptr;
  activeTurret_ = nullptr;
  activeGrating_ = nullptr;
}

NqeErrorCode SpectrographModel::EffectiveWavelengthAtPixel(
    double pixel, double* wavelength) const {
  return PixelWavelength(*this, center.effectiveCenter, pixel, wavelength);
}

NqeErrorCode SpectrographModel::EffectiveWavelengthAtDataPoint(
    double dataPoint, double* wavelength) const {
  return DataPointWavelength(*this, center.effectiveCenter, dataPoint,
                             wavelength);
}

}  // namespace kvx
