#ifndef VTR_RATE_LIMIT_H
#define VTR_RATE_LIMIT_H

#include <atomic>
#include <cstdint>

#include "runtime/logger.h"

namespace vtr {

// A message is written again only when more than this many microseconds have passed.
constexpr uint64_t kRateLimitWindowUs = 9999999;

// True when the message guarded by `last_us` may be written now; then moves its clock.
// A suppressed message leaves its clock alone.
bool rate_limit_allow(std::atomic<uint64_t>& last_us);

}  // namespace vtr

// A rate-limited message: one process-wide clock per call site, consulted only when the
// level admits the message.
#define vtr_log_rate_limited(priority, ...)                                   \
  do {                                                                        \
    static std::atomic<uint64_t> vtr_rate_limit_clock__{0};                   \
    if (vtr_log_enabled(priority) && vtr::rate_limit_allow(vtr_rate_limit_clock__)) \
      vtr_log((priority), __VA_ARGS__);                                       \
  } while (0)

#endif
