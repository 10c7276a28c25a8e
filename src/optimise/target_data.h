// The target data of a dispersion measurement: two known lines, each to be
// seen near the left and the right edge of the active pixel range, and the
// checks that the slots and the optimisation state are fit to work with.
#pragma once

#include "KelvoCalibrate.h"

namespace kvx {

class SpectrographModel;

// Proposes, for both lines, the center wavelengths that put each line near
// the two edges of the active pixel range, with the expected cursors.
NqeErrorCode CalcDispersionTargetData(SpectrographModel& model,
                                      double firstLine, double secondLine);

// 11016 a reference cursor outside 1 <= U < pixels; 11065 / 11069 a target
// or target center that cannot be reached, a negative target or a target
// center below -3000.
NqeErrorCode ValidateTargetData(const SpectrographModel& model);

// The target data, then the optimisation state's working optics: 11071 no
// state, 11070 focal length outside (0, 10000], 11069 an angle outside its
// range.
NqeErrorCode ValidateSpecOptStruct(const SpectrographModel& model);

}  // namespace kvx
