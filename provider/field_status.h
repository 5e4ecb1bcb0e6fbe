#ifndef VTR_PROVIDER_FIELD_STATUS_H
#define VTR_PROVIDER_FIELD_STATUS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace vtr {
namespace ipmitool {

// Where each field's slot of one event got its value: one vtr_field_status_t per field of the
// event type, in schema order.
struct EventFieldStatus {
  uint64_t timestamp_us = 0;  // the event's own timestamp field, which names it
  std::vector<uint8_t> statuses;
};

// The statuses of the events `progress` handed over most recently, so that a host that drains
// several events into one block finds each event's own.
class HandedFieldStatuses {
 public:
  static constexpr std::size_t kEventsKept = 16;

  void add(const EventFieldStatus& event);
  // Null when no event has been handed over yet.
  const EventFieldStatus* newest() const;
  // The newest of the kept events with this timestamp, or null.
  const EventFieldStatus* find(uint64_t timestamp_us) const;
  void clear() { std::deque<EventFieldStatus>().swap(events_); }

 private:
  std::deque<EventFieldStatus> events_;  // oldest first
};

}  // namespace ipmitool
}  // namespace vtr

#endif
