#ifndef VTR_PROVIDER_EVENT_REPORTS_H
#define VTR_PROVIDER_EVENT_REPORTS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "collector/sensor_health.h"
#include "provider/host_extensions.h"

namespace vtr {
namespace ipmitool {

// What the provider tells hosts about the fields of one event, field by field in schema order:
// where each slot got its value (a vtr_field_status_t) and how its sensor stood.
struct EventReport {
  uint64_t timestamp_us = 0;  // the event's own timestamp field, which names it
  std::vector<uint8_t> statuses;
  std::vector<vtr_ipmitool_field_health_t> health;
};

// A field's health as hosts get it; VTR_HEALTH_UNKNOWN with no thresholds for a field without one.
vtr_ipmitool_field_health_t field_health_record(const FieldHealth* health);

// The reports of the events `progress` handed over most recently, so that a host that drains
// several events into one block finds each event's own.
class HandedEventReports {
 public:
  static constexpr std::size_t kEventsKept = 16;

  void add(const EventReport& event);
  // Null when no event has been handed over yet.
  const EventReport* newest() const;
  // The newest of the kept events with this timestamp, or null.
  const EventReport* find(uint64_t timestamp_us) const;
  void clear() { std::deque<EventReport>().swap(events_); }

 private:
  std::deque<EventReport> events_;  // oldest first
};

}  // namespace ipmitool
}  // namespace vtr

#endif
