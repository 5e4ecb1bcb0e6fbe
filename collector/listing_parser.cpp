#include "collector/listing_parser.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "collector/discrete_states.h"
#include "collector/field_naming.h"
#include "collector/ipmi_state_tables.h"
#include "collector/listing_labels.h"
#include "collector/text_scan.h"
#include "collector/value_rules.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

bool isIn(const std::vector<std::string_view>& labels, std::string_view label) {
  for (const std::string_view read : labels)
    if (label == read) return true;
  return false;
}

// The labels anything but a debug line reads, each once: identity, kind, the values that can
// become fields, the line that stands in for the states, and a threshold sensor's health. Views into the configuration.
std::vector<std::string_view> readLabels(const CollectorConfig& config) {
  std::vector<std::string_view> labels = {kSensorIdLabel,      kEntityIdLabel,       kThresholdTypeLabel,
                                          kDiscreteTypeLabel,  kSensorReadingLabel,  kStatesAssertedLabel,
                                          kUnableToReadLabel,  kStatusLabel};
  for (const std::string& threshold : kThresholdLabels) labels.push_back(threshold);
  const auto add = [&labels](const std::string& label) {
    if (!isIn(labels, label)) labels.push_back(label);
  };
  for (const auto& entry : config.continuousFields) add(entry.first);
  for (const auto& entry : config.discreteFields) add(entry.first);
  for (const auto& entry : config.fieldDefaultTypes) add(entry.first);
  return labels;
}

}  // namespace

std::string listingSensorName(std::string_view sensorId) {
  return std::string(sensorId.substr(0, sensorId.find(" (")));
}

void parseSensorListing(const CollectorConfig& config, const std::string& output,
                        const DiscreteSensorsData& discrete_sensors_data, SensorListing& listing,
                        ListingOrder* order) {
  ListedSensor sensor;
  std::string sensorName;
  // Only whether the last stored line was "States Asserted" matters for continuation lines.
  bool afterStatesAsserted = false;
  bool started = false;
  const bool numericStates = config.includeDiscreteSensors && !config.statesAssertedAsText;
  // Only debug lines read the other labels (a dozen per sensor): without them they are not stored.
  const bool keepEveryLabel = vtr_log_enabled(VTR_LOG_DEBUG);
  const std::vector<std::string_view> labelsRead = readLabels(config);
  // Reused from line to line: the two type labels are too long to be held without an allocation.
  std::string label;

  const auto finishRecord = [&]() {
    updateDiscreteSensorData(config, discrete_sensors_data, sensorName, sensor);
    const bool kept = toAddSensorData(config, sensor);
    if (order != nullptr && started) order->emplace_back(sensorName, kept);
    if (kept) listing.push_back(std::move(sensor));
    sensor = ListedSensor{};
  };

  forEachLine(output, [&](std::string_view line) {
    if (line.empty()) return;
    if (startsWith(line, kSensorIdLabel)) {
      finishRecord();
      sensorName.clear();
      afterStatesAsserted = false;
    } else if (!started) {
      return;  // text before the first sensor is never read
    }
    started = true;

    const auto colon = line.find(':');
    if (colon == std::string_view::npos) {
      // A bracketed continuation of the states text, e.g. "[Device Present]".
      const bool bracketed = line.find('[') != std::string_view::npos && line.find(']') != std::string_view::npos;
      if (!bracketed || !afterStatesAsserted) return;
      if (config.statesAssertedAsText) {
        std::string& states = sensor.record[kStatesAssertedLabel];
        states += ' ';
        states += trimBlanks(line);
      }
      if (const auto name = bracketedStateName(line)) sensor.stateNames.emplace_back(*name);
      return;
    }

    const std::string_view labelText = trimBlanks(line.substr(0, colon));
    if (!keepEveryLabel && !isIn(labelsRead, labelText)) {
      afterStatesAsserted = false;
      return;
    }
    label.assign(labelText);
    std::string value(trimBlanks(line.substr(colon + 1)));
    if (label == kSensorIdLabel) sensorName = listingSensorName(value);

    if (numericStates) {
      // The tool prints this line instead of the states of a sensor it cannot read.
      if (label == kUnableToReadLabel) label = kStatesAssertedLabel;
      if (label == kStatesAssertedLabel) {
        const auto states = discrete_sensors_data.find(sensorName);
        if (states == discrete_sensors_data.end()) {
          vtr_log_rate_limited(VTR_LOG_DEBUG,
                               "[ipmitool collector] Sensor '%s' not found in 'discrete_sensors_data'. Unable to "
                               "retrieve 'States Asserted' value.",
                               sensorName.c_str());
          afterStatesAsserted = false;
          return;
        }
        value = states->second;
      }
    }

    if (!isValidKey(label)) {
      afterStatesAsserted = false;
      return;
    }
    storeSensorValue(config, sensorName, label, std::move(value), sensor);
    afterStatesAsserted = label == kStatesAssertedLabel;
  });
  finishRecord();
}

}  // namespace ipmitool
}  // namespace vtr
