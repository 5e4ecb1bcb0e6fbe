#ifndef VTR_COLLECTOR_TYPES_H
#define VTR_COLLECTOR_TYPES_H

#include <string>
#include <unordered_map>
#include <vector>

namespace vtr {
namespace ipmitool {

enum CollectorSensorType { Unknown = 0, Discrete = 1, Threshold = 2 };

// Kinds of schema field; the values double as the provider's field kinds.
enum class CollectorFieldType { Unknown = 0, Double = 1, Uint64 = 2, Uint16 = 3, Timestamp = 4 };

// "double", "uint64_t", "uint16_t", "timestamp"; empty for anything else.
std::string fieldTypeName(CollectorFieldType type);

// One sensor of the verbose listing: label -> value text.
using SensorRecord = std::unordered_map<std::string, std::string>;
// The sensors in the order the tool printed them.
using SensorListing = std::vector<SensorRecord>;
// Discrete sensors of the compact table: sensor name -> states word text.
using DiscreteSensorsData = std::unordered_map<std::string, std::string>;
// One sample: schema field name -> value text.
using SensorSample = std::unordered_map<std::string, std::string>;

// A record holds this extra label, with an empty value, for each label whose value is the
// empty-field default rather than a reading. No listing label starts with '\x01'.
inline std::string defaultMarkLabel(const std::string& label) { return '\x01' + label; }
inline bool isDefaultMarkLabel(const std::string& label) { return !label.empty() && label[0] == '\x01'; }

}  // namespace ipmitool
}  // namespace vtr

#endif
