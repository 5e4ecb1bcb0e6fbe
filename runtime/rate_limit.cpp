#include "runtime/rate_limit.h"

#include "runtime/clock.h"

namespace vtr {

bool rate_limit_allow(std::atomic<uint64_t>& last_us) {
  const uint64_t now = vtr_now_us();
  uint64_t last = last_us.load(std::memory_order_relaxed);
  // Of several threads racing past the window, only the one that moves the clock writes.
  while (now - last > kRateLimitWindowUs) {
    if (last_us.compare_exchange_weak(last, now, std::memory_order_relaxed)) return true;
  }
  return false;
}

}  // namespace vtr
