#ifndef VTR_PROVIDER_SAMPLING_THREAD_H
#define VTR_PROVIDER_SAMPLING_THREAD_H

#include <cstdint>

#include "collector/sensor_fields.h"
#include "provider/provider_state.h"

namespace vtr {
namespace ipmitool {

// Runs passes every `sample_interval_sec` until the stop flag is set; `provider` is the
// provider_t. Returns null.
void* ipmitool_thread_callback(void* provider);

// One pass: takes a sample, converts it into the event buffer and marks the event pending.
// `sample` is scratch space owned by the caller; it is empty again when the pass returns.
void ipmitool_provider_generate_events(provider_t* provider, SensorSample& sample);

// Converts every reading of `sample` into the event buffer at its field's offset, field 0 taking
// the time stamp, and records each field's status as the pass's; slots are not cleared first.
// The caller holds the provider's mutex.
void write_sample_to_event(provider_t* provider, const SensorSample& sample, uint64_t timestamp_us);

}  // namespace ipmitool
}  // namespace vtr

#endif
