#include "spectrograph/spectrograph_model.h"

#include "common/ids.h"
#include "glue/glue_session.h"
#include "spectrograph/grating_equation.h"
#include "spectrograph/spec_opt.h"

namespace kvx {

SpectrographModel::SpectrographModel() {
  Spectrograph& spectrograph = spectrographs_.emplace_back();
  spectrograph.position = 1;
  spectrograph.id = NextObjectId();
  numSpectrographs_ = 1;
  defaultSpectrographId_ = spectrograph.id;
  Turret& turret = spectrograph.turrets.emplace_back();
  turret.position = 1;
  turret.id = NextObjectId();
  turret.numGratings = 1;
  turret.defaultCount = 1;
  Grating& grating = turret.gratings.emplace_back();
  grating.position = 1;
  grating.id = NextObjectId();
  spectrograph.numTurrets = 1;
  spectrograph.numGratings = 1;
  active_ = &spectrograph;
  activeTurret_ = &turret;
  activeGrating_ = &grating;
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
