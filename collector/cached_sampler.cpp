#include "collector/cached_sampler.h"

#include <optional>
#include <string_view>

#include "collector/discrete_states.h"
#include "collector/ipmi_state_tables.h"
#include "collector/listing_labels.h"
#include "collector/sample_assembly.h"
#include "collector/text_scan.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

// The status of a sensor the BMC gave no reading for.
constexpr std::string_view kNoReading = "ns";

// One row: the sensor's name, and the cells after it.
struct SdrRow {
  std::string_view name;
  std::string_view cells;
};

// The name is the text before the first comma, unless start-up names hold commas: then it is
// the longest text before a comma that names a start-up sensor. Nothing for a line without a
// comma (a message of the tool, not a row).
std::optional<SdrRow> splitRow(std::string_view line, const SensorRows& rows, bool commasInNames) {
  auto end = line.find(',');
  if (end == std::string_view::npos) return std::nullopt;
  if (commasInNames) {
    for (auto comma = line.find(',', end + 1); comma != std::string_view::npos; comma = line.find(',', comma + 1))
      if (rows.knows(compactRowName(line.substr(0, comma)))) end = comma;
  }
  return SdrRow{line.substr(0, end), line.substr(end + 1)};
}

// The next cell of `cells`, which then holds the rest.
std::string_view takeCell(std::string_view& cells) {
  const auto comma = cells.find(',');
  const std::string_view cell = cells.substr(0, comma);
  cells = comma == std::string_view::npos ? std::string_view() : cells.substr(comma + 1);
  return cell;
}

// A discrete sensor's cells, "31h,ok,10.1,Presence detected, Failure detected", into its states
// word; `unread` tells a sensor the BMC gave no reading for ("0Dh,ns,10.3,No Reading").
std::optional<std::string> discreteValue(const CollectorConfig& config, const SensorField& field,
                                         std::string_view cells, bool reservedBit, bool& unread) {
  takeCell(cells);  // the sensor number, which the cache supplies
  unread = takeCell(cells) == kNoReading;
  takeCell(cells);  // the entity, likewise
  if (unread) return unreadableStates(config, field.sensor.name, false);
  const NamedStates states = statesFromNames(field.discreteType, splitStateList(field.discreteType, cells));
  if (!states.unplaced.empty()) {
    vtr_log_rate_limited(VTR_LOG_WARNING,
                         "[ipmitool collector] Sensor '%s' asserts '%s', which its state tables cannot place; its "
                         "states word leaves it out.",
                         field.sensor.name.c_str(), states.unplaced.front().c_str());
  }
  return encodeStatesWord(states.asserted, reservedBit);
}

// One matched row's cells into the reading of one of its sensor's fields; true when the BMC
// gave the sensor no reading.
bool sampleRow(const CollectorConfig& config, const SensorField& field, std::string_view cells,
               const Thresholds& thresholds, bool reservedBit, FieldReading& reading) {
  bool unread = false;
  if (field.sensor.kind == Discrete) {
    storeRowValue(config, field, discreteValue(config, field, cells, reservedBit, unread), reading,
                  [] { return FieldHealth(); });
    return unread;
  }
  // "12.036,Volts,ok"; ",,ns" without a reading.
  const std::string_view value = takeCell(cells);
  const std::string_view status = cells.substr(cells.rfind(',') + 1);
  unread = status == kNoReading;
  storeRowValue(config, field, std::string(value), reading,
                [&] { return thresholdHealthOfStatus(field.sensor.name, std::string(status), thresholds); });
  return unread;
}

}  // namespace

CachedSampler::CachedSampler(const ListingOrder& order, const SensorFields& fields, const SensorListing& listing)
    : rows_(order, fields),
      thresholds_(fields.size()),
      reservedBit_(fields.size(), false),
      readThroughCache_(fields.size(), false) {
  for (const auto& entry : order) commasInNames_ = commasInNames_ || entry.first.find(',') != std::string::npos;
  for (const ListedSensor& sensor : listing) {
    const std::vector<std::size_t>* sensorFields = fields.ofSensor(sensor.record.at(kSensorIdLabel));
    if (sensorFields == nullptr) continue;
    const auto word = sensor.record.find(kStatesAssertedLabel);
    for (const std::size_t index : *sensorFields) {
      thresholds_[index] = thresholdsOfRecord(sensor.record);
      reservedBit_[index] = word != sensor.record.end() && setsReservedBit(word->second);
    }
  }
}

void CachedSampler::startCache() { readThroughCache_.assign(readThroughCache_.size(), false); }

CachedPass CachedSampler::sample(const CollectorConfig& config, const SensorFields& fields, const std::string& answer,
                                 SensorSample& out) {
  CachedPass pass;
  SensorRows::Walk walk(rows_);
  forEachLine(answer, [&](std::string_view line) {
    const std::optional<SdrRow> row = splitRow(withoutCarriageReturn(line), rows_, commasInNames_);
    if (!row) return;
    const std::vector<std::size_t>* rowFields = walk.next(compactRowName(row->name));
    if (rowFields == nullptr) return;
    for (const std::size_t index : *rowFields) {
      const bool unread =
          sampleRow(config, fields[index], row->cells, thresholds_[index], reservedBit_[index], out[index]);
      if (unread && readThroughCache_[index] && pass.staleSensor.empty()) pass.staleSensor = fields[index].sensor.name;
      if (!unread) readThroughCache_[index] = true;
    }
  });
  walk.reportUnmatched("ipmitool sdr elist");
  if (walk.matched() != 0) pass.outcome = pass.staleSensor.empty() ? CachedPass::Read : CachedPass::CacheStale;
  return pass;
}

}  // namespace ipmitool
}  // namespace vtr
