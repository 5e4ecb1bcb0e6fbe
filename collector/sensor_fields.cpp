#include "collector/sensor_fields.h"

#include <utility>

namespace vtr {
namespace ipmitool {

bool FieldReading::take(std::string&& value, bool isDefault) {
  if (hasValue()) return false;
  text = std::move(value);
  status = isDefault ? ReadingStatus::EmptyDefault : ReadingStatus::Read;
  return true;
}

bool holdsAnyValue(const SensorSample& sample) {
  for (const FieldReading& reading : sample)
    if (reading.hasValue()) return true;
  return false;
}

SensorFields::SensorFields(std::vector<SensorField> fields) : fields_(std::move(fields)) {
  for (std::size_t index = 0; index < fields_.size(); ++index) {
    bySensorId_[fields_[index].sensorId].push_back(index);
    names_.insert(fields_[index].name);
  }
}

const std::vector<std::size_t>* SensorFields::ofSensor(const std::string& sensorId) const {
  const auto found = bySensorId_.find(sensorId);
  return found == bySensorId_.end() ? nullptr : &found->second;
}

}  // namespace ipmitool
}  // namespace vtr
