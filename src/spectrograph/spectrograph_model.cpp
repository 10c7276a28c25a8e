#include "spectrograph/spectrograph_model.h"

#include "common/ids.h"

namespace kvx {

SpectrographModel::SpectrographModel() {
  Spectrograph& spectrograph = spectrographs_.emplace_back();
  spectrograph.position = 1;
  spectrograph.id = NextObjectId();
  active_ = &spectrograph;
}

SpectrographModel::~SpectrographModel() = default;

void SpectrographModel::RemoveAllSpectrographs() {
  spectrographs_.clear();
  active_ = nullptr;
}

}  // namespace kvx
