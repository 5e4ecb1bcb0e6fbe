#include "collector/sensor_health.h"

#include <charconv>

#include "collector/listing_labels.h"
#include "collector/text_scan.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

// "300.000" -> 300; nothing for "na" or any other text.
std::optional<double> thresholdValue(std::string_view text) {
  text = trimBlanks(withoutCarriageReturn(text));
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

// A status the tables do not know is reported, never taken for nominal; "na" means no reading.
SensorHealth statusHealth(const std::string& sensorName, const std::string& status) {
  if (status.empty() || status == "na") return SensorHealth::Unknown;
  const SensorHealth health = thresholdStatusHealth(status);
  if (health == SensorHealth::Unknown) {
    vtr_log_rate_limited(VTR_LOG_WARNING,
                         "[ipmitool collector] Sensor '%s' has the status '%s', which the state tables do not know; "
                         "its state is unknown.",
                         sensorName.c_str(), status.c_str());
  }
  return health;
}

}  // namespace

Thresholds thresholdsOfRecord(const SensorRecord& record) {
  Thresholds thresholds;
  for (int level = 0; level < kThresholdLevels; ++level) {
    const auto value = record.find(kThresholdLabels[level]);
    if (value != record.end()) thresholds[level] = thresholdValue(value->second);
  }
  return thresholds;
}

FieldHealth thresholdHealthOfStatus(const std::string& sensorName, std::string status, const Thresholds& thresholds) {
  FieldHealth health;
  health.statusText = std::move(status);
  health.state = statusHealth(sensorName, health.statusText);
  health.thresholds = thresholds;
  return health;
}

FieldHealth thresholdHealthOfRecord(const std::string& sensorName, const SensorRecord& record) {
  const auto status = record.find(kStatusLabel);
  return thresholdHealthOfStatus(
      sensorName, status != record.end() ? std::string(withoutCarriageReturn(status->second)) : std::string(),
      thresholdsOfRecord(record));
}

FieldHealth thresholdHealthOfRow(const std::string& sensorName, std::string_view line,
                                 std::string_view::size_type bar) {
  // Columns after the name: reading, unit, status, then the six thresholds.
  constexpr int kStatusColumn = 2;
  FieldHealth health;
  int column = 0;
  std::string_view::size_type start = bar + 1;
  while (start <= line.size() && column <= kStatusColumn + kThresholdLevels) {
    const auto end = std::min(line.find('|', start), line.size());
    const std::string_view cell = trimBlanks(line.substr(start, end - start));
    if (column == kStatusColumn) health.statusText = std::string(cell);
    if (column > kStatusColumn) health.thresholds[column - kStatusColumn - 1] = thresholdValue(cell);
    ++column;
    start = end + 1;
  }
  health.state = statusHealth(sensorName, health.statusText);
  return health;
}

FieldHealth discreteHealth(DiscreteType type, std::string_view statesWord) {
  FieldHealth health;
  const std::optional<AssertedStates> states = decodeStatesWord(statesWord);
  if (states) health.asserted = *states;
  health.state = statesHealth(type, states);
  return health;
}

DiscreteType discreteTypeOf(const std::string& sensorTypeText, const std::vector<std::string>& assertedNames) {
  DiscreteType type{sensorTypeCode(withoutCarriageReturn(sensorTypeText)).value_or(0)};
  const std::vector<std::string_view> names(assertedNames.begin(), assertedNames.end());
  type.readingType = readingTypeOfNames(type.sensorType, names).value_or(kSensorSpecificReadingType);
  return type;
}

}  // namespace ipmitool
}  // namespace vtr
