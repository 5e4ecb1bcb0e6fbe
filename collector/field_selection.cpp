#include "collector/field_selection.h"

namespace vtr {
namespace ipmitool {

bool toAddSensorField(const CollectorConfig& config, const std::string& label, CollectorSensorType sensorType) {
  const std::map<std::string, bool>* fields = nullptr;
  if (sensorType == Discrete) {
    fields = &config.discreteFields;
  } else if (sensorType == Threshold) {
    fields = &config.continuousFields;
  } else {
    return false;
  }
  const auto it = fields->find(label);
  return it != fields->end() && it->second;
}

}  // namespace ipmitool
}  // namespace vtr
