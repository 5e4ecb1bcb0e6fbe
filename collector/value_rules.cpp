#include "collector/value_rules.h"

#include <string>
#include <utility>

#include "collector/field_naming.h"
#include "collector/field_selection.h"
#include "collector/listing_labels.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

constexpr std::string::size_type kMaxStatesTextLength = 64;

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (auto pos = text.find(from); pos != std::string::npos; pos = text.find(from, pos + 1)) {
    text.replace(pos, from.size(), to);
  }
}

// "45 (+/- 0.5) degrees C" -> "45".
void cleanSensorReading(std::string& value) {
  const auto paren = value.find('(');
  if (paren != std::string::npos) value.erase(paren);
  removeSpaces(value);
}

// "[Device Present] [Transition to OK]" -> "Device Present,Transition to OK".
void cleanStatesText(std::string& value) {
  const auto bracket = value.find('[');
  if (bracket != std::string::npos) value.erase(0, bracket);
  removeSpaces(value);
  // The outer brackets go whatever they are.
  if (value.size() > 2) value = value.substr(1, value.size() - 2);
  replaceAll(value, "] [", ",");
  if (value.size() > kMaxStatesTextLength) value.resize(kMaxStatesTextLength);
}

}  // namespace

bool toAddSensorData(const CollectorConfig& config, ListedSensor& sensor) {
  const SensorRecord& record = sensor.record;
  if (record.count(kSensorIdLabel) == 0) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Sensor ID not found in sensor data. Skipping sensor.");
    return false;
  }
  if (record.count(kEntityIdLabel) == 0) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Entity ID not found in sensor data. Skipping sensor.");
    return false;
  }
  sensor.kind = getSensorType(record);
  if (sensor.kind == Unknown) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Sensor type is unknown. Skipping sensor.");
    return false;
  }
  if ((sensor.kind == Discrete && !config.includeDiscreteSensors) ||
      (sensor.kind == Threshold && !config.includeContinuousSensors)) {
    return false;
  }
  // Worth keeping only if some selected label has a publishable value right now.
  bool publishable = false;
  const auto& fields = sensor.kind == Discrete ? config.discreteFields : config.continuousFields;
  for (const auto& entry : fields) {
    const std::string& label = entry.first;
    if (!toAddSensorField(config, label, sensor.kind)) continue;
    const auto it = record.find(label);
    if (it == record.end()) continue;
    std::string value = it->second;
    parseFieldValue(config, label, value);
    const CollectorFieldType type = getFieldType(value, sensor.kind);
    publishable = publishable || type != CollectorFieldType::Unknown;
    sensor.values.push_back(LabelValue{&label, std::move(value), type});
  }
  return publishable;
}

void parseFieldValue(const CollectorConfig& config, const std::string& label, std::string& value) {
  if (label == kSensorReadingLabel) {
    cleanSensorReading(value);
  } else if (label == kStatesAssertedLabel && config.statesAssertedAsText) {
    cleanStatesText(value);
  }
}

bool isValidValue(const CollectorConfig& config, const std::string& value) {
  return !value.empty() && config.invalidValues.count(value) == 0;
}

InvalidValue handleInvalidSensorValue(const CollectorConfig& config, const std::string& sensorName,
                                      const std::string& label, std::string& value) {
  if (!config.includeEmptyFields) {
    vtr_log_rate_limited(VTR_LOG_DEBUG,
                         "[ipmitool collector] Value for sensor '%s', field '%s' is missing. Skipping this field.",
                         sensorName.c_str(), label.c_str());
    return InvalidValue::Dropped;
  }
  const auto typed = config.fieldDefaultTypes.find(label);
  if (typed != config.fieldDefaultTypes.end()) {
    value = defaultValueText(typed->second);
    if (value.empty()) return InvalidValue::Dropped;
    vtr_log_rate_limited(VTR_LOG_DEBUG,
                         "[ipmitool collector] Value for sensor '%s', field '%s' is missing. Using default value: '%s'.",
                         sensorName.c_str(), label.c_str(), value.c_str());
    return InvalidValue::Default;
  }
  // Keeps the sensor recognisable as discrete even when its type text is unusable.
  if (label == kDiscreteTypeLabel && config.includeDiscreteSensors) {
    vtr_log_rate_limited(VTR_LOG_DEBUG, "[ipmitool collector] The type for discrete sensor '%s' is unknown.",
                         sensorName.c_str());
    return InvalidValue::Kept;
  }
  return InvalidValue::Dropped;
}

void storeSensorValue(const CollectorConfig& config, const std::string& sensorName, const std::string& label,
                      std::string value, ListedSensor& sensor) {
  if (isValidValue(config, value)) {
    sensor.store(label, std::move(value), false);
    return;
  }
  const InvalidValue outcome = handleInvalidSensorValue(config, sensorName, label, value);
  if (outcome != InvalidValue::Dropped) sensor.store(label, std::move(value), outcome == InvalidValue::Default);
}

}  // namespace ipmitool
}  // namespace vtr
