#include "provider/field_status.h"

#include <pthread.h>

#include <algorithm>

#include "provider/host_extensions.h"
#include "provider/provider_state.h"

namespace vtr {
namespace ipmitool {

void HandedFieldStatuses::add(const EventFieldStatus& event) {
  if (events_.size() == kEventsKept) events_.pop_front();
  events_.push_back(event);
}

const EventFieldStatus* HandedFieldStatuses::newest() const { return events_.empty() ? nullptr : &events_.back(); }

const EventFieldStatus* HandedFieldStatuses::find(uint64_t timestamp_us) const {
  const auto found = std::find_if(events_.rbegin(), events_.rend(),
                                  [timestamp_us](const EventFieldStatus& event) { return event.timestamp_us == timestamp_us; });
  return found == events_.rend() ? nullptr : &*found;
}

namespace {

// Copies one event's statuses out under the provider's mutex; -1 when there is no such event.
template <typename Select>
int copy_statuses(vtr_event_provider_t* record, uint8_t* statuses, size_t capacity, Select select) {
  if (record == nullptr) return -1;
  provider_t* provider = provider_from_record(record);
  pthread_mutex_lock(&provider->mutex);
  const EventFieldStatus* event = select(provider->handed_field_status);
  const int count = event == nullptr ? -1 : static_cast<int>(event->statuses.size());
  if (event != nullptr && statuses != nullptr)
    std::copy_n(event->statuses.begin(), std::min(capacity, event->statuses.size()), statuses);
  pthread_mutex_unlock(&provider->mutex);
  return count;
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr

using vtr::ipmitool::HandedFieldStatuses;

int vtr_ipmitool_field_status(vtr_event_provider_t* record, uint8_t* statuses, size_t capacity) {
  return vtr::ipmitool::copy_statuses(record, statuses, capacity,
                                      [](const HandedFieldStatuses& handed) { return handed.newest(); });
}

int vtr_ipmitool_event_field_status(vtr_event_provider_t* record, uint64_t event_timestamp_us, uint8_t* statuses,
                                    size_t capacity) {
  return vtr::ipmitool::copy_statuses(record, statuses, capacity, [event_timestamp_us](const HandedFieldStatuses& handed) {
    return handed.find(event_timestamp_us);
  });
}
