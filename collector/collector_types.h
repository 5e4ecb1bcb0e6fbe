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
// What stands for a missing value of this type: "0.0", "0x0", "0"; empty for Unknown.
const std::string& defaultValueText(CollectorFieldType type);

// One sensor of the verbose listing: label -> value text.
using SensorRecord = std::unordered_map<std::string, std::string>;
// Discrete sensors of the compact table: sensor name -> states word text.
using DiscreteSensorsData = std::unordered_map<std::string, std::string>;

// The value of a label that may become a field, cleaned and typed once per listing.
struct LabelValue {
  const std::string* label;  // a key of the configuration's field tables
  std::string text;
  CollectorFieldType type = CollectorFieldType::Unknown;
};

// One sensor of the verbose listing as it is read.
struct ListedSensor {
  SensorRecord record;
  // Labels whose value in `record` is the empty-field default rather than a reading.
  std::vector<std::string> defaultedLabels;
  // Set once the record is complete (see toAddSensorData).
  CollectorSensorType kind = Unknown;
  // The selected labels the record holds, in the order of the kind's field table.
  std::vector<LabelValue> values;
  // A discrete sensor's asserted states as the listing names them: "Failure detected".
  std::vector<std::string> stateNames;

  // A label printed twice keeps its last value, and with it whether that is a default.
  void store(const std::string& label, std::string value, bool isDefault);
  bool holdsDefault(const std::string& label) const;
};
// The kept sensors in the order the tool printed them.
using SensorListing = std::vector<ListedSensor>;

}  // namespace ipmitool
}  // namespace vtr

#endif
