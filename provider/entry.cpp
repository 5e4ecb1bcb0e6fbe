#include <cstdlib>
#include <exception>
#include <mutex>

#include "collector/ipmitool_collector.h"
#include "provider/event_provider.h"
#include "provider/field_facts.h"
#include "provider/field_info.h"
#include "provider/provider_state.h"
#include "runtime/logger.h"
#include "runtime/source.h"

namespace vtr {
namespace ipmitool {

provider_t static_provider;

std::mutex& initialize_stop_lock() {
  static std::mutex lock;
  return lock;
}

namespace {
char kTimestampFieldName[] = "timestamp";
char kTimestampDescription[] = "Event timestamp";
char kTimestampTypeName[] = "timestamp";
}  // namespace

const vtr_type_field_info_t timestamp_field_info = {kTimestampFieldName, kTimestampDescription, kTimestampTypeName,
                                                    VTR_VALUE_TYPE_ABSOLUTE, 1};

namespace {

// Starts from the state a fresh load has, so that a host which destroyed the provider can
// construct it again in the same process: no stop request, no thread, nothing pending.
void reset_provider(provider_t& provider) {
  provider = provider_t{};
  vtr_event_provider_t& record = provider.record;
  record.version = kProviderVersion;
  record.name = kProviderName;
  record.description = kProviderDescription;
  record.initialize = ipmitool_provider_initialize;
  record.start = ipmitool_provider_start;
  record.progress = ipmitool_provider_progress;
  record.stop = ipmitool_provider_stop;
  record.destroy = ipmitool_provider_destroy;
  record.get_sources = ipmitool_provider_get_sources;
  record.fill_record = ipmitool_provider_fill_record;
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr

using vtr::ipmitool::provider_from_record;
using vtr::ipmitool::provider_t;

vtr_event_provider_t* construct_event_provider(vtr_custom_options* options) {
  provider_t& provider = vtr::ipmitool::static_provider;
  vtr::ipmitool::reset_provider(provider);
  try {
    vtr::ipmitool::read_provider_options(provider.options, options);
  } catch (const std::exception& error) {
    vtr_log(VTR_LOG_ERR,
            "[ipmitool] [%s] Failed to construct ipmitool provider: could not retrieve configuration options (%s)",
            __func__, error.what());
    return nullptr;
  }
  return &provider.record;
}

bool ipmitool_provider_stop(vtr_event_provider_t* record) {
  provider_t* provider = provider_from_record(record);
  if (provider->thread == 0) {
    // A host on another thread may stop an initialize that is reading the sensors.
    std::lock_guard<std::mutex> lock(vtr::ipmitool::initialize_stop_lock());
    if (provider->initializing) vtr::ipmitool::request_stop(provider);
    return true;
  }
  vtr::ipmitool::request_stop(provider);
  pthread_join(provider->thread, nullptr);
  provider->thread = 0;
  return true;
}

// The pointers are reset so that a host calling destroy after a failed initialize (which
// already destroyed) does not free twice.
void ipmitool_provider_destroy(vtr_event_provider_t* record) {
  provider_t* provider = provider_from_record(record);
  if (provider->field_infos != nullptr) {
    for (uint16_t i = 0; i < provider->field_count; ++i)
      vtr::ipmitool::destroy_ipmitool_field_info(provider->field_infos[i]);
    free(provider->field_infos);
    provider->field_infos = nullptr;
  }
  delete provider->collector;
  provider->collector = nullptr;
  free(provider->event_buffer);
  provider->event_buffer = nullptr;
  provider->pass_report = {};
  provider->handed_reports.clear();
  vtr::ipmitool::drop_field_facts(*provider);
  pthread_cond_destroy(&provider->stop_wake);
  pthread_mutex_destroy(&provider->mutex);
}

vtr_source_array_t* ipmitool_provider_get_sources(vtr_event_provider_t*) {
  vtr_source_array_t* sources = vtr_create_source_array();
  if (sources == nullptr) return nullptr;
  vtr_source_t* source = vtr_create_default_source(vtr::ipmitool::kProviderName);
  if (source == nullptr) {
    vtr_destroy_source_array(sources);
    return nullptr;
  }
  if (!vtr_source_array_append(sources, source)) {
    vtr_destroy_source_array(sources);
    vtr_destroy_source(source);
    return nullptr;
  }
  return sources;
}

bool ipmitool_provider_fill_record(vtr_event_provider_t*, void*, vtr_provider_fill_record_t* out) {
  if (out == nullptr) return false;
  out->first = 7;
  out->second = 0;
  out->third = 0;
  return true;
}
