#include "common/ids.h"

#include <atomic>

namespace kvx {

namespace {

// A bijection on 32-bit values (xor-shift and odd multiplications are each
// invertible), so distinct counter values give distinct IDs.
uint32_t Mix(uint32_t x) {
  x ^= x >> 16;
  x *= 0x7feb352dU;
  x ^= x >> 15;
  x *= 0x846ca68bU;
  x ^= x >> 16;
  return x;
}

std::atomic<uint32_t> g_counter{0};

}  // namespace

uint32_t NextObjectId() {
  for (;;) {
    const uint32_t id =
        Mix(g_counter.fetch_add(1, std::memory_order_relaxed) + 1U);
    if (id != 0U) return id;
  }
}

}  // namespace kvx
