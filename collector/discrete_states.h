#ifndef VTR_COLLECTOR_DISCRETE_STATES_H
#define VTR_COLLECTOR_DISCRETE_STATES_H

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "collector/collector_config.h"
#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// Reads the compact table ("ipmitool sensor | grep discrete") into sensor name -> states
// word. A name printed twice, an "na" (unless empty fields are included) or an unreadable
// word leaves the sensor out. At start-up (`knownAtStart` null) each refusal is logged;
// afterwards only the sensors of `knownAtStart` are read, silently.
void readDiscreteStatesTable(const CollectorConfig& config, const std::string& output,
                             const std::unordered_set<std::string>* knownAtStart,
                             DiscreteSensorsData& discrete_sensors_data);

// What stands for the states word of a discrete sensor the tool could not read ("na" in the
// compact table, "ns" in the SDR listing): the empty text when empty fields are included (with
// a rate-limited warning), else nothing (logged when `reportRefusals`).
std::optional<std::string> unreadableStates(const CollectorConfig& config, const std::string& name,
                                            bool reportRefusals);

// The states word of one row of the compact table: "0x" and four digits, the empty text for
// an "na" row when empty fields are included, nothing for a refused row (logged when
// `reportRefusals`).
std::optional<std::string> discreteRowStates(const CollectorConfig& config, std::string_view line,
                                             const std::string& name, bool reportRefusals);

// Gives a discrete sensor's record its states word from the compact table, unless the
// verbose listing already gave it one.
void updateDiscreteSensorData(const CollectorConfig& config, const DiscreteSensorsData& discrete_sensors_data,
                              const std::string& sensorName, ListedSensor& sensor);

}  // namespace ipmitool
}  // namespace vtr

#endif
