// Opaque object IDs shared by the detector, calibration and spectrograph
// stores.
#pragma once

#include <cstdint>

namespace kvx {

// Returns a fresh non-zero 32-bit ID. IDs come from one process-wide counter
// passed through a bijective mix, so they are unique until the counter wraps
// after 2^32 - 1 IDs, and neither small nor consecutive. Safe to call from
// several threads.
uint32_t NextObjectId();

}  // namespace kvx
