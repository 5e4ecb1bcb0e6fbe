#ifndef VTR_COLLECTOR_VALUE_RULES_H
#define VTR_COLLECTOR_VALUE_RULES_H

#include <string>

#include "collector/collector_config.h"
#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// Which values count and how a value text is cleaned, as the configuration says.

// False for an empty value and for the configured invalid texts.
bool isValidValue(const CollectorConfig& config, const std::string& value);
// Cuts a reading down to its number, and a states text to its comma-separated states.
void parseFieldValue(const CollectorConfig& config, const std::string& label, std::string& value);
// Leaves an invalid value out, or (with empty fields included) stores its type's default.
void handleInvalidSensorValue(const CollectorConfig& config, const std::string& sensorName, const std::string& label,
                              std::string& value, SensorRecord& record);
// Whether a parsed sensor is kept: identified, of an included kind, with a publishable value.
bool toAddSensorData(const CollectorConfig& config, const SensorRecord& record);

}  // namespace ipmitool
}  // namespace vtr

#endif
