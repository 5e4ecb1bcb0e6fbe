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

// What becomes of a value that is not valid.
enum class InvalidValue {
  Dropped,  // left out
  Default,  // `value` is now its type's empty-field default
  Kept,     // kept as it stands (a discrete sensor's unusable type text, so it stays discrete)
};
InvalidValue handleInvalidSensorValue(const CollectorConfig& config, const std::string& sensorName,
                                      const std::string& label, std::string& value);
// Stores a label's value in the sensor when it is valid, else what the rule above makes of it.
void storeSensorValue(const CollectorConfig& config, const std::string& sensorName, const std::string& label,
                      std::string value, ListedSensor& sensor);

// Whether a complete sensor is kept: identified, of an included kind, with a publishable
// value. Sets the sensor's kind and its selected values, cleaned and typed.
bool toAddSensorData(const CollectorConfig& config, ListedSensor& sensor);

}  // namespace ipmitool
}  // namespace vtr

#endif
