#include "collector/collector_types.h"

#include <algorithm>
#include <utility>

namespace vtr {
namespace ipmitool {

std::string fieldTypeName(CollectorFieldType type) {
  switch (type) {
    case CollectorFieldType::Double:
      return "double";
    case CollectorFieldType::Uint64:
      return "uint64_t";
    case CollectorFieldType::Uint16:
      return "uint16_t";
    case CollectorFieldType::Timestamp:
      return "timestamp";
    default:
      return "";
  }
}

const std::string& defaultValueText(CollectorFieldType type) {
  static const std::string kDouble = "0.0";
  static const std::string kInteger = "0x0";
  static const std::string kTimestamp = "0";
  static const std::string kNone;
  switch (type) {
    case CollectorFieldType::Double:
      return kDouble;
    case CollectorFieldType::Uint64:
    case CollectorFieldType::Uint16:
      return kInteger;
    case CollectorFieldType::Timestamp:
      return kTimestamp;
    default:
      return kNone;
  }
}

void ListedSensor::store(const std::string& label, std::string value, bool isDefault) {
  record[label] = std::move(value);
  const auto marked = std::find(defaultedLabels.begin(), defaultedLabels.end(), label);
  if (isDefault && marked == defaultedLabels.end()) defaultedLabels.push_back(label);
  if (!isDefault && marked != defaultedLabels.end()) defaultedLabels.erase(marked);
}

bool ListedSensor::holdsDefault(const std::string& label) const {
  return std::find(defaultedLabels.begin(), defaultedLabels.end(), label) != defaultedLabels.end();
}

}  // namespace ipmitool
}  // namespace vtr
