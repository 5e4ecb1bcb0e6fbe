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

constexpr std::string_view::size_type kRowNameLength = 16;

// The second column: a threshold sensor's reading ("45.000", "na").
std::string readingColumn(std::string_view line, std::string_view::size_type bar) {
  const std::string_view rest = line.substr(bar + 1);
  return std::string(trimBlanks(rest.substr(0, rest.find('|'))));
}

// The row's value as the verbose path would hold it (and whether that is the empty-field
// default), or nothing when that path would have left the sensor out of the sample.
std::optional<std::string> rowValue(const CollectorConfig& config, const SensorField& field, std::string_view line,
                                    std::string_view::size_type bar, bool& isDefault) {
  std::optional<std::string> value = field.sensor.kind == Discrete
                                         ? discreteRowStates(config, line, field.sensor.name, false)
                                         : readingColumn(line, bar);
  isDefault = false;
  if (!value || isValidValue(config, *value)) return value;
  if (handleInvalidSensorValue(config, field.sensor.name, *field.label, *value) != InvalidValue::Default)
    return std::nullopt;
  isDefault = true;
  return value;
}

// One matched row's value into the reading of one of its sensor's fields.
void sampleRow(const CollectorConfig& config, const SensorField& field, std::string_view line,
               std::string_view::size_type bar, FieldReading& reading) {
  bool isDefault = false;
  std::optional<std::string> value = rowValue(config, field, line, bar, isDefault);
  if (!value) return;
  parseFieldValue(config, *field.label, *value);
  const CollectorFieldType type = getFieldType(*value, field.sensor.kind);
  // The verbose path drops a sensor without a typed value before it assembles the sample.
  if (type == CollectorFieldType::Unknown) return;
  storeSampleValue(*field.label, std::move(*value), type, isDefault, field, reading,
                   [&] { return thresholdHealthOfRow(field.sensor.name, line, bar); });
}

}  // namespace

std::string compactRowName(std::string_view listingName) {
  return std::string(trimBlanks(trimBlanks(listingName).substr(0, kRowNameLength)));
}

CompactTableSampler::CompactTableSampler(const ListingOrder& order, const SensorFields& fields) {
  for (const auto& entry : order) fieldsByRow_[compactRowName(entry.first)].emplace_back();
  for (std::size_t index = 0; index < fields.size(); ++index)
    fieldsByRow_[fields[index].tableRowName].at(fields[index].tableOccurrence).push_back(index);
  sensorCount_ = order.size();
}

bool CompactTableSampler::sample(const CollectorConfig& config, const SensorFields& fields, const std::string& table,
                                 SensorSample& out) const {
  std::unordered_map<std::string, std::size_t> rowsSeen;
  std::size_t rows = 0;
  std::size_t matched = 0;

  forEachLine(table, [&](std::string_view line) {
    const auto bar = line.find('|');
    if (bar == std::string_view::npos) return;
    ++rows;
    const std::string name = compactRowName(line.substr(0, bar));
    const std::size_t occurrence = rowsSeen[name]++;
    const auto named = fieldsByRow_.find(name);
    if (named == fieldsByRow_.end() || occurrence >= named->second.size()) return;
    ++matched;
    for (const std::size_t index : named->second[occurrence]) sampleRow(config, fields[index], line, bar, out[index]);
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
