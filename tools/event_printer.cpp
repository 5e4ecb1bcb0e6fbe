#include "tools/event_printer.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

#include "runtime/clock.h"
#include "tools/json_text.h"

namespace vtr {
namespace host {

namespace {

// Timestamps are when, not how much: the first one is the sample's own time.
bool isMeasurement(const vtr_type_field_definition_t& field) {
  return !field.type_name || std::strcmp(field.type_name, "timestamp") != 0;
}

// Now less a wall-clock time stamp in microseconds; 0 for a time stamp from the future.
double secondsSince(std::uint64_t timestampUs) {
  const std::uint64_t now = vtr_now_us();
  return now > timestampUs ? static_cast<double>(now - timestampUs) / 1e6 : 0.0;
}

}  // namespace

std::uint64_t EventPrinter::eventTimestamp(const vtr_type_definition_t& type, const std::uint8_t* event) {
  std::uint64_t timestampUs = 0;
  if (type.num_fields > 0) std::memcpy(&timestampUs, event + type.fields[0]->offset, sizeof timestampUs);
  return timestampUs;
}

std::vector<bool> EventPrinter::fieldsWithReading(const vtr_type_definition_t& type, std::uint64_t timestampUs) const {
  const auto count = static_cast<std::size_t>(type.num_fields);
  std::vector<bool> withReading(count, true);
  std::vector<std::uint8_t> statuses(count, VTR_FIELD_READ);
  int known = -1;
  if (api_.event_field_status) {
    known = api_.event_field_status(provider_, timestampUs, statuses.data(), statuses.size());
  } else if (api_.field_status) {
    known = api_.field_status(provider_, statuses.data(), statuses.size());
  }
  if (known != type.num_fields) return withReading;
  for (std::size_t i = 0; i < count; ++i) withReading[i] = statuses[i] == VTR_FIELD_READ;
  return withReading;
}

std::vector<std::optional<FieldHealth>> EventPrinter::fieldsHealth(const vtr_type_definition_t& type,
                                                                   std::uint64_t timestampUs) const {
  const auto count = static_cast<std::size_t>(type.num_fields);
  std::vector<std::optional<FieldHealth>> health(count);
  std::vector<vtr_ipmitool_field_health_t> records(count);
  if (!api_.event_field_health ||
      api_.event_field_health(provider_, timestampUs, records.data(), records.size()) != type.num_fields) {
    return health;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const vtr_ipmitool_field_health_t& record = records[i];
    FieldHealth& field = health[i].emplace();
    field.health = record.health;
    field.status.assign(record.status, strnlen(record.status, sizeof record.status));
    for (std::size_t level = 0; level < field.thresholds.size(); ++level)
      if (!std::isnan(record.thresholds[level])) field.thresholds[level] = record.thresholds[level];
    field.asserted = record.asserted;
  }
  return health;
}

RenderedEvent EventPrinter::render(const EventBlock& block, std::size_t index) const {
  std::unique_ptr<JSON_Value, void (*)(JSON_Value*)> json(
      api_.type_definition_jsonify_data(block.type, block.event(index)), api_.json_value_free);
  JSON_Object* object = api_.json_value_get_object(json.get());
  if (!object) throw HostError(std::string("plug-in cannot write a ") + block.type->name + " event as JSON");

  RenderedEvent rendered;
  rendered.snapshot.schema = block.schema->name;
  rendered.snapshot.source = sourceId_;
  rendered.snapshot.timestampUs = block.timestampUs;
  rendered.snapshot.sampleTimeUs = block.timestampUs;
  bool sampleTimeFound = false;
  const std::uint64_t eventTimeUs = eventTimestamp(*block.type, block.event(index));
  const std::vector<bool> withReading = fieldsWithReading(*block.type, eventTimeUs);
  const std::vector<std::optional<FieldHealth>> health = fieldsHealth(*block.type, eventTimeUs);
  rendered.snapshot.fields.reserve(withReading.size());
  for (std::int32_t i = 0; i < block.type->num_fields; ++i) {
    const vtr_type_field_definition_t& field = *block.type->fields[i];
    if (!withReading[static_cast<std::size_t>(i)]) {
      // The slot's 0 is a stand-by, not a reading: null here, absent on /metrics.
      if (api_.json_object_set_null(object, field.field_name) != JSONSuccess) {
        throw HostError(std::string("plug-in cannot write a ") + block.type->name + " event as JSON");
      }
      rendered.snapshot.fields.push_back({field.field_name, std::nullopt, health[static_cast<std::size_t>(i)]});
      continue;
    }
    JSON_Value* value = api_.json_object_get_value(object, field.field_name);
    if (api_.json_value_get_type(value) != JSONNumber) continue;
    const double number = api_.json_value_get_number(value);
    if (isMeasurement(field)) {
      rendered.snapshot.fields.push_back({field.field_name, number, health[static_cast<std::size_t>(i)]});
    } else if (!sampleTimeFound && number > 0) {
      rendered.snapshot.sampleTimeUs = static_cast<std::uint64_t>(number);
      sampleTimeFound = true;
    }
  }
  rendered.snapshot.sampleDurationSeconds = secondsSince(rendered.snapshot.sampleTimeUs);

  bool complete = api_.json_object_set_number(object, "timestamp", static_cast<double>(block.timestampUs)) ==
                      JSONSuccess &&
                  api_.json_object_set_string(object, "source", sourceId_.c_str()) == JSONSuccess &&
                  api_.json_object_set_string(object, "schema", block.schema->name) == JSONSuccess &&
                  api_.json_object_set_string(object, "type", block.type->name) == JSONSuccess;
  // About a number's and a short name's worth per field: one allocation for most lines.
  rendered.jsonLine.reserve(64 + 32 * static_cast<std::size_t>(block.type->num_fields));
  if (!complete || !appendJsonText(api_, json.get(), rendered.jsonLine)) {
    throw HostError(std::string("plug-in cannot write a ") + block.type->name + " event as JSON");
  }
  return rendered;
}

}  // namespace host
}  // namespace vtr
