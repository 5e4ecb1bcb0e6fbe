#include "collector/field_naming.h"

#include <cctype>
#include <string>

#include "collector/listing_labels.h"
#include "collector/text_scan.h"

namespace vtr {
namespace ipmitool {

namespace {

bool isDecimalDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }
bool isHexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

bool hasHexPrefix(const std::string& value) {
  return value.size() >= 3 && value[0] == '0' && (value[1] == 'x' || value[1] == 'X');
}

CollectorFieldType hexadecimalType(const std::string& value, CollectorSensorType sensorType) {
  for (std::string::size_type i = 2; i < value.size(); ++i) {
    if (!isHexDigit(value[i])) return CollectorFieldType::Unknown;
  }
  switch (sensorType) {
    case Discrete:
      return CollectorFieldType::Uint16;
    case Threshold:
      return CollectorFieldType::Uint64;
    default:
      return CollectorFieldType::Unknown;
  }
}

// Lenient on purpose: dots are not counted ("1.2.3" passes), since every sample is re-typed
// by the same rule and so always agrees with the schema.
bool looksDecimal(const std::string& value) {
  const char first = value[0];
  if (!isDecimalDigit(first) && first != '+' && first != '-') return false;
  for (std::string::size_type i = 1; i < value.size(); ++i) {
    const char c = value[i];
    const bool innerDot = c == '.' && i + 1 < value.size();
    if (!isDecimalDigit(c) && !innerDot) return false;
  }
  return true;
}

}  // namespace

void removeSpaces(std::string& text) {
  const std::string_view trimmed = trimBlanks(text);
  if (trimmed.empty()) {
    text.clear();
    return;
  }
  const auto first = static_cast<std::string::size_type>(trimmed.data() - text.data());
  text.erase(first + trimmed.size());
  text.erase(0, first);
}

bool isValidKey(const std::string& key) {
  return !key.empty() && key != kUnableToReadLabel;
}

void convertToSnakeCase(std::string& text) {
  removeSpaces(text);
  for (char& c : text) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (c == ' ') c = '_';
  }
}

namespace {

bool isMainValueLabel(const std::string& label) {
  return label == kStatesAssertedLabel || label == kSensorReadingLabel;
}

}  // namespace

bool nameTheSameField(const std::string& label, const std::string& other) {
  return label == other || (isMainValueLabel(label) && isMainValueLabel(other));
}

void getFieldNameInSchema(const std::string& sensorName, const std::string& label, std::string& out) {
  // The sensor's main value carries the sensor's own name.
  if (isMainValueLabel(label)) {
    out = sensorName;
    return;
  }
  std::string suffix = label;
  convertToSnakeCase(suffix);
  out = sensorName + "_" + suffix;
}

CollectorFieldType getFieldType(std::string value, CollectorSensorType sensorType) {
  if (value.empty()) return CollectorFieldType::Unknown;
  if (value.size() == 1) return isDecimalDigit(value[0]) ? CollectorFieldType::Double : CollectorFieldType::Unknown;
  if (hasHexPrefix(value)) return hexadecimalType(value, sensorType);
  return looksDecimal(value) ? CollectorFieldType::Double : CollectorFieldType::Unknown;
}

CollectorSensorType getSensorType(const SensorRecord& record) {
  if (record.count(kDiscreteTypeLabel) != 0) return Discrete;
  if (record.count(kThresholdTypeLabel) != 0) return Threshold;
  return Unknown;
}

void getSensorDescription(const SensorRecord& record, CollectorSensorType kind, std::string& out) {
  // Required labels: a record without them throws std::out_of_range.
  out = record.at(kSensorIdLabel);
  out += ' ';
  out += record.at(kEntityIdLabel);
  if (kind == Discrete) {
    out += ' ';
    out += record.at(kDiscreteTypeLabel);
  } else if (kind == Threshold) {
    out += ' ';
    out += record.at(kThresholdTypeLabel);
  }
}

}  // namespace ipmitool
}  // namespace vtr
