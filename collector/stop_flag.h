#ifndef VTR_COLLECTOR_STOP_FLAG_H
#define VTR_COLLECTOR_STOP_FLAG_H

namespace vtr {
namespace ipmitool {

// The provider's stop flag is a volatile bool written by `stop` on the host's thread and read
// by the sampling thread, the collector and the tool runner. Every access goes through these
// two, so each side sees one atomic access with release/acquire order.
inline bool isStopRequested(const volatile bool& flag) { return __atomic_load_n(&flag, __ATOMIC_ACQUIRE); }
inline void setStopRequested(volatile bool& flag) { __atomic_store_n(&flag, true, __ATOMIC_RELEASE); }

}  // namespace ipmitool
}  // namespace vtr

#endif
