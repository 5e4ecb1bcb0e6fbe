#include "provider/event_reports.h"

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "provider/provider_state.h"

namespace vtr {
namespace ipmitool {

vtr_ipmitool_field_health_t field_health_record(const FieldHealth* health) {
  vtr_ipmitool_field_health_t record{};
  record.health = VTR_HEALTH_UNKNOWN;
  std::fill(std::begin(record.thresholds), std::end(record.thresholds), std::nan(""));
  if (health == nullptr) return record;
  record.health = static_cast<uint8_t>(health->state);
  health->statusText.copy(record.status, sizeof record.status - 1);
  for (int level = 0; level < kThresholdLevels; ++level)
    if (health->thresholds[level]) record.thresholds[level] = *health->thresholds[level];
  record.asserted = health->asserted.bits();
  return record;
}

void HandedEventReports::add(const EventReport& event) {
  if (events_.size() == kEventsKept) events_.pop_front();
  events_.push_back(event);
}

const EventReport* HandedEventReports::newest() const { return events_.empty() ? nullptr : &events_.back(); }

const EventReport* HandedEventReports::find(uint64_t timestamp_us) const {
  const auto found = std::find_if(events_.rbegin(), events_.rend(),
                                  [timestamp_us](const EventReport& event) { return event.timestamp_us == timestamp_us; });
  return found == events_.rend() ? nullptr : &*found;
}

namespace {

// Copies a part of one event's report out under the provider's mutex; -1 when there is no such
// event.
template <typename Item, typename Select>
int copy_report(vtr_event_provider_t* record, std::vector<Item> EventReport::*part, Item* out, size_t capacity,
                Select select) {
  if (record == nullptr) return -1;
  provider_t* provider = provider_from_record(record);
  pthread_mutex_lock(&provider->mutex);
  const EventReport* event = select(provider->handed_reports);
  const std::vector<Item>* items = event != nullptr ? &(event->*part) : nullptr;
  const int count = items == nullptr ? -1 : static_cast<int>(items->size());
  if (items != nullptr && out != nullptr) std::copy_n(items->begin(), std::min(capacity, items->size()), out);
  pthread_mutex_unlock(&provider->mutex);
  return count;
}

auto event_named(uint64_t timestamp_us) {
  return [timestamp_us](const HandedEventReports& handed) { return handed.find(timestamp_us); };
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr

using vtr::ipmitool::EventReport;
using vtr::ipmitool::HandedEventReports;

int vtr_ipmitool_field_status(vtr_event_provider_t* record, uint8_t* statuses, size_t capacity) {
  return vtr::ipmitool::copy_report(record, &EventReport::statuses, statuses, capacity,
                                    [](const HandedEventReports& handed) { return handed.newest(); });
}

int vtr_ipmitool_event_field_status(vtr_event_provider_t* record, uint64_t event_timestamp_us, uint8_t* statuses,
                                    size_t capacity) {
  return vtr::ipmitool::copy_report(record, &EventReport::statuses, statuses, capacity,
                                    vtr::ipmitool::event_named(event_timestamp_us));
}

int vtr_ipmitool_event_field_health(vtr_event_provider_t* record, uint64_t event_timestamp_us,
                                    vtr_ipmitool_field_health_t* health, size_t capacity) {
  return vtr::ipmitool::copy_report(record, &EventReport::health, health, capacity,
                                    vtr::ipmitool::event_named(event_timestamp_us));
}
