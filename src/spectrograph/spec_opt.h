// The optimisation's own state, created by the first optimisation run.
#pragma once

namespace kvx {

struct SpecOptStruct {};

}  // namespace kvx
