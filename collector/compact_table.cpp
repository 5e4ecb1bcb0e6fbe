#include "collector/compact_table.h"

#include <optional>
#include <string_view>

#include "collector/discrete_states.h"
#include "collector/sample_assembly.h"
#include "collector/text_scan.h"

namespace vtr {
namespace ipmitool {

namespace {

// The second column: a threshold sensor's reading ("45.000", "na").
std::string readingColumn(std::string_view line, std::string_view::size_type bar) {
  const std::string_view rest = line.substr(bar + 1);
  return std::string(trimBlanks(rest.substr(0, rest.find('|'))));
}

// One matched row's value into the reading of one of its sensor's fields.
void sampleRow(const CollectorConfig& config, const SensorField& field, std::string_view line,
               std::string_view::size_type bar, FieldReading& reading) {
  std::optional<std::string> value = field.sensor.kind == Discrete
                                         ? discreteRowStates(config, line, field.sensor.name, false)
                                         : readingColumn(line, bar);
  storeRowValue(config, field, std::move(value), reading,
                [&] { return thresholdHealthOfRow(field.sensor.name, line, bar); });
}

}  // namespace

bool CompactTableSampler::sample(const CollectorConfig& config, const SensorFields& fields, const std::string& table,
                                 SensorSample& out) const {
  SensorRows::Walk walk(rows_);
  forEachLine(table, [&](std::string_view line) {
    const auto bar = line.find('|');
    if (bar == std::string_view::npos) return;
    const std::vector<std::size_t>* rowFields = walk.next(compactRowName(line.substr(0, bar)));
    if (rowFields == nullptr) return;
    for (const std::size_t index : *rowFields) sampleRow(config, fields[index], line, bar, out[index]);
  });
  walk.reportUnmatched("ipmitool sensor");
  return walk.rows() != 0;
}

}  // namespace ipmitool
}  // namespace vtr
