#ifndef VTR_COLLECTOR_SENSOR_FACTS_H
#define VTR_COLLECTOR_SENSOR_FACTS_H

#include <string>
#include <string_view>

#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// What the verbose listing said about the sensor behind a field, kept from start-up so that
// hosts can label and group its values without running the tool again.
struct SensorFacts {
  std::string name;    // the Sensor ID up to " (", as printed: "CPU1 Temp"
  int number = -1;     // the hexadecimal number of the Sensor ID: 1 for "(0x1)"; -1 when it has none
  std::string entity;  // Entity ID: "3.1"
  std::string type;    // the sensor type text: "Temperature", "Power Supply"
  std::string unit;    // after a threshold sensor's reading: "degrees C", "RPM"; empty when none
  CollectorSensorType kind = Unknown;
};

// The facts of a record the schema was built from; quiet (the schema's own steps already
// warned about anything odd in it).
SensorFacts sensorFactsOf(const SensorRecord& record, CollectorSensorType kind);
// The unit the tool prints after a reading: "45 (+/- 0.5) degrees C" -> "degrees C",
// "45 degrees C" -> "degrees C"; empty for "0x1f" or "na".
std::string readingUnit(std::string_view reading);

}  // namespace ipmitool
}  // namespace vtr

#endif
