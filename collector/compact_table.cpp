#include "collector/compact_table.h"

#include <optional>
#include <string_view>
#include <utility>

#include "collector/discrete_states.h"
#include "collector/field_naming.h"
#include "collector/sample_assembly.h"
#include "collector/text_scan.h"
#include "collector/value_rules.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

// The sensor repository keeps names of at most 16 characters, and the table prints no more.
constexpr std::string_view::size_type kRowNameLength = 16;

std::string rowName(std::string_view name) {
  return std::string(trimBlanks(trimBlanks(name).substr(0, kRowNameLength)));
}

// The second column: a threshold sensor's reading ("45.000", "na").
std::string readingColumn(std::string_view line, std::string_view::size_type bar) {
  const std::string_view rest = line.substr(bar + 1);
  return std::string(trimBlanks(rest.substr(0, rest.find('|'))));
}

// The row's value as the verbose path would hold it, or nothing when that path would have
// left the sensor out of the sample.
std::optional<std::string> rowValue(const CollectorConfig& config, const std::string& listingName,
                                    const TableField& field, std::string_view line,
                                    std::string_view::size_type bar) {
  if (field.kind == Discrete) return discreteRowStates(config, line, listingName, false);
  return readingColumn(line, bar);
}

}  // namespace

CompactTableSampler::CompactTableSampler(const ListingOrder& order, const std::vector<TableField>& kept) {
  std::size_t keptIndex = 0;
  for (const auto& [listingName, wasKept] : order) {
    Sensor sensor{listingName, wasKept ? kept.at(keptIndex++) : TableField{}};
    sensorsByRowName_[rowName(listingName)].push_back(std::move(sensor));
  }
  sensorCount_ = order.size();
}

bool CompactTableSampler::sample(const CollectorConfig& config, const std::string& table, SensorSample& out,
                                 std::unordered_set<std::string>& filledWithDefault) const {
  std::unordered_map<std::string, std::size_t> rowsSeen;
  std::size_t rows = 0;
  std::size_t matched = 0;
  SensorRecord defaults;  // where the empty-field rule leaves its default

  forEachLine(table, [&](std::string_view line) {
    const auto bar = line.find('|');
    if (bar == std::string_view::npos) return;
    ++rows;
    const std::string name = rowName(line.substr(0, bar));
    const std::size_t occurrence = rowsSeen[name]++;
    const auto named = sensorsByRowName_.find(name);
    if (named == sensorsByRowName_.end() || occurrence >= named->second.size()) return;
    ++matched;
    const Sensor& sensor = named->second[occurrence];
    const TableField& field = sensor.field;
    if (field.fieldName.empty()) return;

    std::optional<std::string> value = rowValue(config, sensor.listingName, field, line, bar);
    if (!value) return;
    bool isDefault = false;
    if (!isValidValue(config, *value)) {
      defaults.clear();
      handleInvalidSensorValue(config, sensor.listingName, field.label, *value, defaults);
      const auto stored = defaults.find(field.label);
      if (stored == defaults.end()) return;
      *value = stored->second;
      isDefault = true;
    }
    parseFieldValue(config, field.label, *value);
    const CollectorFieldType type = getFieldType(*value, field.kind);
    // The verbose path drops a sensor without a typed value before it assembles the sample.
    if (type == CollectorFieldType::Unknown) return;
    if (storeSampleValue(field.label, field.fieldName, std::move(*value), type, field.type, out) && isDefault)
      filledWithDefault.insert(field.fieldName);
  });

  const std::size_t unmatched = (rows - matched) + (sensorCount_ - matched);
  if (unmatched != 0) {
    vtr_log_rate_limited(VTR_LOG_WARNING,
                         "[ipmitool collector] %zu sensors of 'ipmitool sensor' did not match the sensors read at "
                         "start-up; their fields are left out of the sample.",
                         unmatched);
  }
  return rows != 0;
}

}  // namespace ipmitool
}  // namespace vtr
