#ifndef VTR_PROVIDER_STATE_H
#define VTR_PROVIDER_STATE_H

#include <pthread.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include "collector/stop_flag.h"
#include "provider/event_provider.h"
#include "provider/field_facts.h"
#include "provider/event_reports.h"
#include "provider/host_extensions.h"
#include "provider/provider_options.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

class IpmitoolCollector;
struct field_info_t;

constexpr uint32_t kProviderVersion = VTR_MAKE_VERSION(1, 0, 0);
constexpr const char* kProviderName = "ipmitool";
constexpr const char* kProviderDescription = "ipmitool sensor event provider";
constexpr const char* kEventTypeName = "ipmitool_event";
// Type index meaning "no event type registered yet".
constexpr uint8_t kNoTypeId = 255;

// The provider's whole state. The host-facing record comes first, so every callback gets the
// state back from the record pointer the host passes in. Heap members are owned here and
// released by the destroy callback; the destructor frees only the option string.
struct provider_t {
  vtr_event_provider_t record{};

  // The arguments `progress` hands to the serializer, laid out byte after byte.
  uint8_t schema_id = 0;
  uint8_t type_id = kNoTypeId;
  uint8_t* event_buffer __attribute__((packed)) = nullptr;  // one event, guarded by `mutex`
  uint64_t event_size __attribute__((packed)) = 0;
  uint8_t pending_events = 0;                                // 0 or 1, guarded by `mutex`

  pthread_t thread = 0;  // the sampling thread; 0 when none runs
  // True while `initialize` runs, so that a `stop` from another thread can cut its tool runs
  // short; guarded by initialize_stop_lock().
  bool initializing = false;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  // Written by `stop`, read by the sampling thread and the collector: go through
  // request_stop() and collector/stop_flag.h so both sides see one atomic access.
  volatile bool stop_requested = false;
  // Wakes the pause between passes when stop is requested; waited on with `mutex`.
  pthread_cond_t stop_wake = PTHREAD_COND_INITIALIZER;

  // The options, read by construct_event_provider from the table in provider_options.h.
  ProviderOptions options;

  uint16_t field_count = 0;                // fields of the event type, timestamp included
  field_info_t** field_infos = nullptr;    // `field_count` descriptors in schema order
  IpmitoolCollector* collector = nullptr;  // owned

  // The status and health of every field of the pass that filled the buffer, and of the events
  // `progress` handed over last; guarded by `mutex`.
  EventReport pass_report;
  HandedEventReports handed_reports;
  // When the last pass that ran to its end began and ended, and whether it read the sensors;
  // all 0 before the first. Guarded by `mutex`.
  vtr_ipmitool_pass_t last_pass{};

  // The records vtr_ipmitool_sensor_facts hands out, one per field in schema order, pointing
  // into the collector's fields; fixed by initialize, freed by destroy.
  std::vector<vtr_ipmitool_sensor_facts_t> sensor_facts;
  // Per field in schema order, the states vtr_ipmitool_discrete_states hands out; null but for
  // discrete fields. Fixed by initialize, freed by destroy.
  std::vector<std::unique_ptr<field_states_t>> field_states;
};

// The record must be the first member for provider_from_record to be valid.
static_assert(std::is_standard_layout<provider_t>::value, "provider_t must stay standard-layout");

// The one provider of the library; the entry point hands out the address of its record.
extern provider_t static_provider;

// The first field of every event: the pass's wall-clock time in microseconds.
extern const vtr_type_field_info_t timestamp_field_info;

inline provider_t* provider_from_record(vtr_event_provider_t* record) {
  return reinterpret_cast<provider_t*>(record);
}

// Under the mutex, so that a pause about to begin cannot miss the wake-up.
inline void request_stop(provider_t* provider) {
  pthread_mutex_lock(&provider->mutex);
  setStopRequested(provider->stop_requested);
  pthread_cond_broadcast(&provider->stop_wake);
  pthread_mutex_unlock(&provider->mutex);
}

// A failed initialize destroys the provider's mutex, while a host on another thread may be
// stopping that initialize: this lock, which lives as long as the process, orders the two.
std::mutex& initialize_stop_lock();
inline void set_initializing(provider_t* provider, bool initializing) {
  std::lock_guard<std::mutex> lock(initialize_stop_lock());
  provider->initializing = initializing;
}


// Callbacks, in the order of the record's slots.
bool ipmitool_provider_initialize(vtr_event_provider_t* record, vtr_type_system_t* type_system);

// Reads the options into `record`, logging each value. Throws only what a lookup throws
// (allocation failure).
void read_provider_options(ProviderOptions& record, const vtr_custom_options* options);
// Why `initialize` must refuse the options as read, naming the first option refused; empty
// when every value is acceptable.
std::string refused_option(const ProviderOptions& options);

}  // namespace ipmitool
}  // namespace vtr

bool ipmitool_provider_start(vtr_event_provider_t* record);
int ipmitool_provider_progress(vtr_event_provider_t* record, void* ignored, vtr_data_serializer_t* serializer);
bool ipmitool_provider_stop(vtr_event_provider_t* record);
void ipmitool_provider_destroy(vtr_event_provider_t* record);
vtr_source_array_t* ipmitool_provider_get_sources(vtr_event_provider_t* record);
bool ipmitool_provider_fill_record(vtr_event_provider_t* record, void* ignored, vtr_provider_fill_record_t* out);

#endif
