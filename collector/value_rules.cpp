#include "collector/value_rules.h"

#include <string>

#include "collector/field_naming.h"
#include "collector/listing_labels.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

constexpr std::string::size_type kMaxStatesTextLength = 64;

// The text a missing value of this type is replaced with; empty means no default.
std::string defaultValueText(CollectorFieldType type) {
  switch (type) {
    case CollectorFieldType::Double:
      return "0.0";
    case CollectorFieldType::Uint64:
    case CollectorFieldType::Uint16:
      return "0x0";
    case CollectorFieldType::Timestamp:
      return "0";
    default:
      return "";
  }
}

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

bool toAddSensorData(const CollectorConfig& config, const SensorRecord& record) {
  if (record.count(kSensorIdLabel) == 0) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Sensor ID not found in sensor data. Skipping sensor.");
    return false;
  }
  if (record.count(kEntityIdLabel) == 0) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Entity ID not found in sensor data. Skipping sensor.");
    return false;
  }
  const CollectorSensorType kind = getSensorType(record);
  if (kind == Unknown) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Sensor type is unknown. Skipping sensor.");
    return false;
  }
  if ((kind == Discrete && !config.includeDiscreteSensors) ||
      (kind == Threshold && !config.includeContinuousSensors)) {
    return false;
  }
  // Worth keeping only if some selected label has a publishable value right now.
  const auto& fields = kind == Discrete ? config.discreteFields : config.continuousFields;
  for (const auto& [label, selected] : fields) {
    if (!selected) continue;
    const auto it = record.find(label);
    if (it == record.end()) continue;
    std::string value = it->second;
    parseFieldValue(config, label, value);
    const CollectorFieldType type = getFieldType(value, kind);
    if (type != CollectorFieldType::Unknown && !fieldTypeName(type).empty()) return true;
  }
  return false;
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

void handleInvalidSensorValue(const CollectorConfig& config, const std::string& sensorName, const std::string& label,
                              std::string& value, SensorRecord& record) {
  if (!config.includeEmptyFields) {
    vtr_log_rate_limited(VTR_LOG_DEBUG,
                         "[ipmitool collector] Value for sensor '%s', field '%s' is missing. Skipping this field.",
                         sensorName.c_str(), label.c_str());
    return;
  }
  const auto typed = config.fieldDefaultTypes.find(label);
  if (typed != config.fieldDefaultTypes.end()) {
    value = defaultValueText(typed->second);
    if (value.empty()) return;
    vtr_log_rate_limited(VTR_LOG_DEBUG,
                         "[ipmitool collector] Value for sensor '%s', field '%s' is missing. Using default value: '%s'.",
                         sensorName.c_str(), label.c_str(), value.c_str());
    record[label] = value;
    record[defaultMarkLabel(label)];
    return;
  }
  // Keeps the sensor recognisable as discrete even when its type text is unusable.
  if (label == kDiscreteTypeLabel && config.includeDiscreteSensors) {
    vtr_log_rate_limited(VTR_LOG_DEBUG, "[ipmitool collector] The type for discrete sensor '%s' is unknown.",
                         sensorName.c_str());
    record[label] = value;
  }
}

}  // namespace ipmitool
}  // namespace vtr
