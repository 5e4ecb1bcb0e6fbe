#ifndef VTR_COLLECTOR_FIELD_NAMING_H
#define VTR_COLLECTOR_FIELD_NAMING_H

#include <string>

#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// Field names and types, worked out from the listing's texts alone.

// Strips leading and trailing blanks in place.
void removeSpaces(std::string& text);
// False for an empty label and for the "Unable to read sensor" line.
bool isValidKey(const std::string& key);
// Trimmed, lower case, inner blanks as '_': "CPU1 Temp" -> "cpu1_temp".
void convertToSnakeCase(std::string& text);
// The sensor's main value is named after the sensor; any other label adds "_<label>".
void getFieldNameInSchema(const std::string& sensorName, const std::string& label, std::string& out);
// Whether two labels of one sensor name the same field: the two main values both carry the
// sensor's own name.
bool nameTheSameField(const std::string& label, const std::string& other);
// The field type a value text reads as; Unknown when it is neither decimal nor "0x" hexadecimal.
CollectorFieldType getFieldType(std::string value, CollectorSensorType sensorType);
CollectorSensorType getSensorType(const SensorRecord& record);
// "<Sensor ID> <Entity ID> <sensor type>"; throws std::out_of_range without the first two.
void getSensorDescription(const SensorRecord& record, CollectorSensorType kind, std::string& out);

}  // namespace ipmitool
}  // namespace vtr

#endif
