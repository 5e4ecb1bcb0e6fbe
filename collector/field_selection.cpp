#include "collector/ipmitool_collector.h"

namespace vtr {
namespace ipmitool {

bool IpmitoolCollector::toAddSensorField(const std::string& label, CollectorSensorType sensorType) const {
  const std::map<std::string, bool>* fields = nullptr;
  if (sensorType == Discrete) {
    fields = &config_.discreteFields;
  } else if (sensorType == Threshold) {
    fields = &config_.continuousFields;
  } else {
    return false;
  }
  const auto it = fields->find(label);
  return it != fields->end() && it->second;
}

}  // namespace ipmitool
}  // namespace vtr
