#ifndef VTR_COLLECTOR_SENSOR_IDENTITY_H
#define VTR_COLLECTOR_SENSOR_IDENTITY_H

#include <string>
#include <unordered_map>

#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// "Sensor ID" text -> the sensor's unique field-name stem.
using SensorNames = std::unordered_map<std::string, std::string>;

// Names every sensor of the start-up listing after its "Sensor ID": snake case, with
// "_<number>" for every sensor sharing a name. A sensor whose name stays ambiguous is left
// out, with a warning.
SensorNames uniqueSensorNames(const SensorListing& listing);

// The "Sensor ID" text before its " (0x..)" in snake case: "CPU1 Temp (0x1)" -> "cpu1_temp".
void getSensorName(const std::string& sensorId, std::string& sensorName);
// The hexadecimal number between the parentheses of a "Sensor ID"; -1 when there is none
// (with a warning when the parentheses hold no usable number).
int getSensorNumber(const std::string& sensorId);

enum class SensorNumberParse { Found, NoParentheses, NotANumber, OutOfRange };
// The same reading without a message: `number` is set only when the result is Found.
SensorNumberParse parseSensorNumber(const std::string& sensorId, int& number);

}  // namespace ipmitool
}  // namespace vtr

#endif
