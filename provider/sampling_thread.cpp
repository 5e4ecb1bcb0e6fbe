#include "provider/sampling_thread.h"

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>

#include "collector/ipmitool_collector.h"
#include "provider/field_info.h"
#include "provider/host_extensions.h"
#include "runtime/clock.h"
#include "runtime/logger.h"
#include "runtime/number_parse.h"
#include "runtime/rate_limit.h"
#include "src/data/data_serializer.h"

namespace vtr {
namespace ipmitool {
namespace {

constexpr uint64_t kMicrosecondsPerSecond = 1000000;
// Names the lines of a pass and of the loop carry, whichever helper writes them.
constexpr const char* kPass = "ipmitool_provider_generate_events";
constexpr const char* kLoop = "ipmitool_thread_callback";

template <typename T>
void store_at(uint8_t* event, uint64_t offset, T value) {
  memcpy(event + offset, &value, sizeof value);
}

// Writes one field's text in its binary form; false (and the slot left 0) when it does not convert.
bool convert_field(const field_info_t& info, const char* name, const std::string& text, uint8_t* event) {
  switch (info.kind) {
    case CollectorFieldType::Uint64: {
      uint64_t value = 0;
      if (string_to_u64(text.c_str(), &value)) {
        store_at(event, info.offset, value);
        return true;
      }
      vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool] [%s] Could not convert '%s' to uint64_t", kPass,
                           text.c_str());
      return false;
    }
    case CollectorFieldType::Uint16: {
      uint16_t value = 0;
      if (string_to_u16(text.c_str(), &value)) {
        store_at(event, info.offset, value);
        return true;
      }
      vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool] [%s] Could not convert '%s' to uint16_t", kPass,
                           text.c_str());
      return false;
    }
    case CollectorFieldType::Double:
      try {
        store_at(event, info.offset, std::stod(text));
        return true;
      } catch (const std::logic_error& error) {  // invalid_argument and out_of_range
        vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool] [%s] Could not convert '%s' to double: %s", kPass,
                             text.c_str(), error.what());
      }
      return false;
    case CollectorFieldType::Unknown:
      vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool] [%s] Unknown field type for '%s'", kPass, name);
      return false;
    default:
      vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool] [%s] Unhandled field type for '%s'", kPass, name);
      return false;
  }
}

}  // namespace

void write_sample_to_event(provider_t* provider, const SensorSample& sample, uint64_t timestamp_us) {
  uint8_t* event = provider->event_buffer;
  EventReport& pass = provider->pass_report;
  pass.timestamp_us = timestamp_us;
  pass.statuses.assign(provider->field_count, VTR_FIELD_MISSING);
  pass.health.assign(provider->field_count, field_health_record(nullptr));
  for (uint16_t i = 0; i < provider->field_count; ++i) {
    const field_info_t* info = provider->field_infos[i];
    if (info == nullptr) {
      vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool] [%s] 'field_info' is nullptr", kPass);
      continue;
    }
    if (i == 0) {
      store_at(event, info->offset, timestamp_us);
      pass.statuses[i] = VTR_FIELD_READ;
      continue;
    }
    // Field i of the event type is field i - 1 of the collector.
    const char* name = info->name != nullptr ? info->name : "";
    const FieldReading* reading = i <= sample.size() ? &sample[i - 1] : nullptr;
    if (reading == nullptr || !reading->hasValue()) {
      vtr_log_rate_limited(VTR_LOG_WARNING, "[ipmitool] [%s] Could not retrieve value for '%s'", kPass, name);
      convert_field(*info, name, defaultValueText(info->kind), event);
      continue;
    }
    if (!convert_field(*info, name, reading->text, event)) {
      pass.statuses[i] = VTR_FIELD_NOT_CONVERTIBLE;
    } else {
      pass.statuses[i] = reading->status == ReadingStatus::EmptyDefault ? VTR_FIELD_EMPTY_DEFAULT : VTR_FIELD_READ;
    }
    pass.health[i] = field_health_record(&reading->health);
  }
}

namespace {

// The collector's sample; a collector that throws counts as a failed pass.
bool take_sample(provider_t* provider, SensorSample& sample) {
  if (provider->collector == nullptr) return false;
  try {
    return provider->collector->getSensorsData(sample);
  } catch (const std::exception& error) {
    vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool] [%s] Reading the sensors failed: %s", kPass, error.what());
  }
  sample.clear();
  return false;
}

// Holds the provider's mutex for one scope.
class BufferLock {
 public:
  explicit BufferLock(pthread_mutex_t* mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
  ~BufferLock() { pthread_mutex_unlock(mutex_); }
  BufferLock(const BufferLock&) = delete;
  BufferLock& operator=(const BufferLock&) = delete;

 private:
  pthread_mutex_t* mutex_;
};

// A stop that arrives while the tool runs leaves the buffer untouched.
void run_pass(provider_t* provider, SensorSample& sample) {
  const uint64_t timestamp_us = vtr_now_us();
  const bool ok = take_sample(provider, sample);
  if (isStopRequested(provider->stop_requested)) return;
  BufferLock lock(&provider->mutex);
  if (isStopRequested(provider->stop_requested)) return;
  const bool read = ok && holdsAnyValue(sample);
  provider->last_pass = {timestamp_us, vtr_now_us(), static_cast<uint8_t>(read)};
  if (!read) {
    vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool] [%s] Failed to retrieve ipmitool sensor data.", kPass);
    provider->pending_events = 0;  // an event not handed over yet is stale now
    return;
  }
  // One event of room: a newer sample replaces one the host has not drained.
  provider->pending_events = 1;
  memset(provider->event_buffer, 0, provider->event_size);
  write_sample_to_event(provider, sample, timestamp_us);
}

// Whole seconds left of the interval after a pass that began at `start_us`; a clock set back
// during the pass wraps the difference and so leaves nothing to wait.
int64_t seconds_left_of_interval(const provider_t* provider, uint64_t start_us) {
  const uint64_t elapsed_sec = (vtr_now_us() - start_us) / kMicrosecondsPerSecond;
  return static_cast<int64_t>(provider->options.sampleIntervalSec) - static_cast<int64_t>(elapsed_sec);
}

// Waits on the monotonic clock until `until`; false when a stop came first.
bool wait_unless_stopped(provider_t* provider, const timespec& until) {
  BufferLock lock(&provider->mutex);
  while (!isStopRequested(provider->stop_requested)) {
    if (pthread_cond_clockwait(&provider->stop_wake, &provider->mutex, CLOCK_MONOTONIC, &until) == ETIMEDOUT)
      return true;
  }
  return false;
}

// Between samples the collector may keep its tool's BMC session; that failing costs the next
// sample a new process, never the sampling thread.
void keep_tool_session(provider_t* provider) {
  if (provider->collector == nullptr) return;
  try {
    provider->collector->keepToolShellSession();
  } catch (const std::exception& error) {
    vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool] [%s] Keeping the tool's session failed: %s", kLoop, error.what());
  }
}

// Sleeps `seconds` on the monotonic clock, or less when stop is requested meanwhile, waking
// every keep-alive period to keep the tool's session.
void pause_unless_stopped(provider_t* provider, int64_t seconds) {
  const time_t keepAlive = static_cast<time_t>(IpmitoolCollector::kToolShellKeepAlive.count());
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  timespec wake = end;
  end.tv_sec += static_cast<time_t>(seconds);
  for (;;) {
    wake.tv_sec = std::min(wake.tv_sec + keepAlive, end.tv_sec);
    if (!wait_unless_stopped(provider, wake) || wake.tv_sec == end.tv_sec) return;
    keep_tool_session(provider);
  }
}

void sampling_loop(provider_t* provider) {
  SensorSample sample;
  do {
    const uint64_t start_us = vtr_now_us();
    ipmitool_provider_generate_events(provider, sample);
    if (isStopRequested(provider->stop_requested)) return;

    const int64_t seconds = seconds_left_of_interval(provider, start_us);
    if (seconds < 1) {
      vtr_log_rate_limited(VTR_LOG_WARNING,
                           "[ipmitool] [%s] Data collection exceeded the sample interval. Actual interval will be "
                           "longer than expected.",
                           kLoop);
      continue;
    }
    vtr_log_rate_limited(VTR_LOG_DEBUG, "[ipmitool] [%s] Sleeping for %ld seconds.", kLoop,
                         static_cast<long>(seconds));
    pause_unless_stopped(provider, seconds);
  } while (!isStopRequested(provider->stop_requested));
}

}  // namespace

void ipmitool_provider_generate_events(provider_t* provider, SensorSample& sample) {
  run_pass(provider, sample);
  sample.clear();
}

void* ipmitool_thread_callback(void* argument) {
  auto* provider = static_cast<provider_t*>(argument);
  if (isStopRequested(provider->stop_requested)) return nullptr;
  try {
    sampling_loop(provider);
  } catch (const std::exception& error) {
    // Only allocation failures get here; the thread ends rather than take the host down.
    vtr_log(VTR_LOG_ERR, "[ipmitool] [%s] Sampling stopped: %s", __func__, error.what());
  }
  return nullptr;
}

}  // namespace ipmitool
}  // namespace vtr

bool ipmitool_provider_start(vtr_event_provider_t* record) {
  vtr::ipmitool::provider_t* provider = vtr::ipmitool::provider_from_record(record);
  pthread_t thread;
  if (pthread_create(&thread, nullptr, vtr::ipmitool::ipmitool_thread_callback, provider) != 0) {
    vtr_log(VTR_LOG_ERR, "[ipmitool] [%s] Failed to start internal thread", __func__);
    return false;
  }
  provider->thread = thread;
  return true;
}

int vtr_ipmitool_last_pass(vtr_event_provider_t* record, vtr_ipmitool_pass_t* pass) {
  if (record == nullptr) return -1;
  vtr::ipmitool::provider_t* provider = vtr::ipmitool::provider_from_record(record);
  pthread_mutex_lock(&provider->mutex);
  const vtr_ipmitool_pass_t last = provider->last_pass;
  pthread_mutex_unlock(&provider->mutex);
  if (last.started_us == 0) return -1;
  if (pass != nullptr) *pass = last;
  return 0;
}

int ipmitool_provider_progress(vtr_event_provider_t* record, void*, vtr_data_serializer_t* serializer) {
  vtr::ipmitool::provider_t* provider = vtr::ipmitool::provider_from_record(record);
  // The host thread never waits for a pass that is filling the buffer.
  if (pthread_mutex_trylock(&provider->mutex) != 0) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool] [%s] Failed to lock mutex, skipping provider progress.", __func__);
    return 0;
  }
  int result = 0;
  if (provider->pending_events != 0) {
    const int written = vtr_data_serializer_write_events(serializer, provider->schema_id, provider->type_id,
                                                         provider->event_buffer, provider->pending_events);
    if (written < 0) {
      result = -1;
    } else {
      provider->pending_events = static_cast<uint8_t>(provider->pending_events - written);
      if (written > 0) provider->handed_reports.add(provider->pass_report);
      result = provider->pending_events != 0 ? 1 : 0;
    }
  }
  pthread_mutex_unlock(&provider->mutex);
  return result;
}
