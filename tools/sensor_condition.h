#ifndef VTR_HOST_SENSOR_CONDITION_H
#define VTR_HOST_SENSOR_CONDITION_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/host_board.h"
#include "tools/sensor_facts.h"

namespace vtr {
namespace host {

// How a field's sensor stands in the latest event, in words a person reads on the page.
struct SensorCondition {
  std::uint8_t health;  // a vtr_ipmitool_health_t; unknown without a reading or a report
  // A threshold sensor that is not nominal: the threshold it crossed ("below lower critical
  // 10.8 Volts"). A discrete sensor: its asserted states, those that are not nominal first
  // ("Failure detected, Power Supply AC lost; also asserted: Presence detected").
  // "" for a nominal threshold sensor and when the plug-in reports no health.
  std::string words;
  // Within one health, the lower comes first: a non-recoverable threshold crossed, then a part
  // that reports a state, then any other crossing.
  int urgency;
};

SensorCondition conditionOf(const FieldValue& field, const SensorLabels* sensor);

// "critical", "warning", "unknown" or "nominal"; anything else the plug-in sends is unknown.
const char* healthWord(std::uint8_t health);

// True when `a` belongs before `b` among the sensors that need attention: critical, then
// warning, then unknown; the urgency within each.
bool moreUrgent(const SensorCondition& a, const SensorCondition& b);

// FieldHealth::thresholds' names, by index: "lower non-recoverable" ... "upper non-recoverable".
const char* thresholdName(std::size_t level);
// Whether a crossing of threshold `level` is a warning (non-critical) rather than critical.
bool isNonCriticalThreshold(std::size_t level);

}  // namespace host
}  // namespace vtr

#endif
