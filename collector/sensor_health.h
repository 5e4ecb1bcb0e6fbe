#ifndef VTR_COLLECTOR_SENSOR_HEALTH_H
#define VTR_COLLECTOR_SENSOR_HEALTH_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "collector/collector_types.h"
#include "collector/ipmi_state_tables.h"

namespace vtr {
namespace ipmitool {

// The thresholds of a threshold sensor, in the order the compact table prints them.
enum ThresholdLevel {
  LowerNonRecoverable,
  LowerCritical,
  LowerNonCritical,
  UpperNonCritical,
  UpperCritical,
  UpperNonRecoverable,
  kThresholdLevels
};

// A threshold sensor's thresholds in that order, in the reading's unit; none where the listing
// says "na".
using Thresholds = std::array<std::optional<double>, kThresholdLevels>;

// How one field's sensor stood in one pass, from the listing the pass read.
struct FieldHealth {
  SensorHealth state = SensorHealth::Unknown;
  // A threshold sensor's status as the listing prints it: "ok", "Lower Non-Critical" (verbose
  // listing), "nc" (compact table); empty when it printed none.
  std::string statusText;
  Thresholds thresholds;
  AssertedStates asserted;  // a discrete sensor's
};

// A threshold sensor's health from its verbose listing record ("Status" and the threshold lines).
FieldHealth thresholdHealthOfRecord(const std::string& sensorName, const SensorRecord& record);
// The thresholds alone, from a verbose listing record.
Thresholds thresholdsOfRecord(const SensorRecord& record);
// A threshold sensor's health from a status as a listing prints it and thresholds known
// otherwise.
FieldHealth thresholdHealthOfStatus(const std::string& sensorName, std::string status, const Thresholds& thresholds);
// The same from its compact table row (status and thresholds in the columns after the unit);
// `bar` is the position of the row's first '|'.
FieldHealth thresholdHealthOfRow(const std::string& sensorName, std::string_view line, std::string_view::size_type bar);
// A discrete sensor's health from its states word ("0x0b00"); Unknown for a word that does not
// read as one.
FieldHealth discreteHealth(DiscreteType type, std::string_view statesWord);

// What a discrete sensor's states are named after: its sensor type, and the event/reading type
// told by the state names the start-up listing printed for it (sensor-specific when it printed
// none).
DiscreteType discreteTypeOf(const std::string& sensorTypeText, const std::vector<std::string>& assertedNames);

}  // namespace ipmitool
}  // namespace vtr

#endif
