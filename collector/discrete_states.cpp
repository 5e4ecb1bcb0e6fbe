#include "collector/discrete_states.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "collector/field_naming.h"
#include "collector/listing_labels.h"
#include "collector/text_scan.h"
#include "collector/value_rules.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

// The two column markers of the compact table that are relied on.
constexpr std::string_view kNaMarker = "discrete   | na";
constexpr std::string_view kWordMarker = "discrete   | 0";
// The states word is "0x" and four digits; whatever follows in the line is not part of it.
constexpr std::string_view::size_type kStatesWordLength = 6;

}  // namespace

void updateDiscreteSensorData(const CollectorConfig& config, const DiscreteSensorsData& discrete_sensors_data,
                              const std::string& sensorName, ListedSensor& sensor) {
  if (!config.includeDiscreteSensors || getSensorType(sensor.record) != Discrete) return;
  if (sensor.record.count(kStatesAssertedLabel) != 0 || config.statesAssertedAsText) return;
  const auto entry = discrete_sensors_data.find(sensorName);
  if (entry == discrete_sensors_data.end()) return;
  // The empty text of an "na" sensor is not valid: that is where an empty field gets its default.
  storeSensorValue(config, sensorName, kStatesAssertedLabel, entry->second, sensor);
}

std::optional<std::string> unreadableStates(const CollectorConfig& config, const std::string& name,
                                            bool reportRefusals) {
  if (config.includeEmptyFields) {
    vtr_log_rate_limited(
        VTR_LOG_WARNING,
        "[ipmitool collector] Default value will be used for sensor '%s' because the original value is 'na'.",
        name.c_str());
    return std::string();
  }
  if (reportRefusals) {
    vtr_log(VTR_LOG_WARNING, "[ipmitool collector] Sensor '%s' will not be collected since the value is 'na'.",
            name.c_str());
  }
  return std::nullopt;
}

std::optional<std::string> discreteRowStates(const CollectorConfig& config, std::string_view line,
                                             const std::string& name, bool reportRefusals) {
  if (line.find(kNaMarker) != std::string_view::npos) return unreadableStates(config, name, reportRefusals);

  const auto marker = line.find(kWordMarker);
  if (marker != std::string_view::npos) {
    const auto word = marker + kWordMarker.size() - 1;
    return std::string(line.substr(word, kStatesWordLength));
  }

  if (reportRefusals) {
    vtr_log_rate_limited(VTR_LOG_WARNING,
                         "[ipmitool collector] Sensor '%s' will not be collected since the value is invalid.",
                         name.c_str());
  }
  return std::nullopt;
}

void readDiscreteStatesTable(const CollectorConfig& config, const std::string& output,
                             const std::unordered_set<std::string>* knownAtStart,
                             DiscreteSensorsData& discrete_sensors_data) {
  // Refusals are reported while the schema is built and stay silent on every later sample.
  const bool reportRefusals = knownAtStart == nullptr;
  std::unordered_set<std::string> rejectedNames;

  forEachLine(output, [&](std::string_view line) {
    const auto bar = line.find('|');
    if (bar == std::string_view::npos) return;
    const std::string name(trimBlanks(line.substr(0, bar)));
    if (knownAtStart != nullptr && knownAtStart->count(name) == 0) return;

    if (rejectedNames.count(name) != 0 || discrete_sensors_data.count(name) != 0) {
      if (reportRefusals) {
        vtr_log(VTR_LOG_WARNING,
                "[ipmitool collector] Sensor '%s' will not be collected since it appears multiple times.",
                name.c_str());
      }
      // A name printed twice is dropped entirely, not kept once.
      discrete_sensors_data.erase(name);
      rejectedNames.insert(name);
      return;
    }

    auto states = discreteRowStates(config, line, name, reportRefusals);
    if (states) {
      discrete_sensors_data.emplace(name, std::move(*states));
    } else {
      rejectedNames.insert(name);
    }
  });
}

}  // namespace ipmitool
}  // namespace vtr
