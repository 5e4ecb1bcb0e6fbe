#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "collector/collector_config.h"
#include "collector/ipmitool_collector.h"
#include "provider/field_facts.h"
#include "provider/field_info.h"
#include "provider/provider_state.h"
#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {
namespace {

constexpr const char* kInitializer = "ipmitool_provider_initialize";

using FieldInfoRecords = std::vector<std::unique_ptr<vtr_type_field_info_t>>;

// The collector's field records, released (texts included) however initialisation ends.
class CollectedFields {
 public:
  CollectedFields() = default;
  CollectedFields(const CollectedFields&) = delete;
  CollectedFields& operator=(const CollectedFields&) = delete;
  ~CollectedFields() { IpmitoolCollector::freeFieldsInfo(records); }

  FieldInfoRecords records;
};

// The event type's fields: the timestamp, then shallow copies of the collector's records.
std::vector<vtr_type_field_info_t> event_fields(const FieldInfoRecords& collected) {
  std::vector<vtr_type_field_info_t> fields;
  fields.reserve(collected.size() + 1);
  fields.push_back(timestamp_field_info);
  for (const auto& record : collected) fields.push_back(*record);
  return fields;
}

// Registers "ipmitool_event" and notes its id, size and field count; an error text or null.
const char* register_event_type(provider_t& provider, vtr_type_system_t* type_system,
                                const std::vector<vtr_type_field_info_t>& fields) {
  vtr_schema_t* schema =
      vtr_type_system_add_schema(type_system, provider.record.name, provider.record.version, &provider.schema_id);
  if (schema == nullptr) return "Failed to add ipmitool schema to type system.";
  if (vtr_schema_add_type(schema, kEventTypeName, fields.data(), fields.size(), &provider.type_id) != VTR_SCHEMA_OK)
    return "Failed to add ipmitool event type to schema.";
  const vtr_type_definition_t* type = schema->types[provider.type_id];
  provider.event_size = type->size;
  provider.field_count = static_cast<uint16_t>(type->num_fields);
  return nullptr;
}

const char* build_field_descriptors(provider_t& provider, const vtr_type_definition_t* type) {
  provider.field_infos = static_cast<field_info_t**>(calloc(provider.field_count, sizeof(field_info_t*)));
  if (provider.field_infos == nullptr) return "Failed to allocate memory for ipmitool fields.";
  for (uint16_t i = 0; i < provider.field_count; ++i) {
    provider.field_infos[i] = ipmitool_field_info_from_vtr_type_field_definition(type->fields[i]);
    if (provider.field_infos[i] == nullptr) return "Failed to create ipmitool field info.";
  }
  return nullptr;
}

// Builds collector, event type, descriptors and buffer; an error text, or null on success.
// Whatever was built before a failure stays in `provider` for the destroy callback.
const char* build_provider(provider_t& provider, vtr_type_system_t* type_system, CollectedFields& collected) {
  try {
    provider.collector = new IpmitoolCollector(CollectorConfig(provider.options.collector), provider.stop_requested);
  } catch (const std::exception&) {
    return "Failed to create 'IpmitoolCollector'.";
  }

  try {
    if (!provider.collector->setFieldsInfo(collected.records)) return "Failed to create schema for ipmitool provider.";
  } catch (const std::exception& error) {
    vtr_log(VTR_LOG_ERR, "[ipmitool] [%s] Reading the sensors failed: %s", kInitializer, error.what());
    return "Failed to create schema for ipmitool provider.";
  }
  if (collected.records.empty()) return "No fields found in ipmitool schema.";

  std::vector<vtr_type_field_info_t> fields;
  try {
    fields = event_fields(collected.records);
  } catch (const std::bad_alloc&) {
    return "Failed to allocate memory for ipmitool fields.";
  }
  if (const char* error = register_event_type(provider, type_system, fields)) return error;

  const vtr_schema_t* schema = type_system->schemas[provider.schema_id];
  if (const char* error = build_field_descriptors(provider, schema->types[provider.type_id])) return error;
  keep_field_facts(provider);

  provider.event_buffer = static_cast<uint8_t*>(calloc(1, provider.event_size));
  if (provider.event_buffer == nullptr) return "Failed to allocate memory for ipmitool event data.";
  return nullptr;
}

// A value that may not go into the tool's command line stops everything before it runs: the
// error text (kept in `refusal`), or null.
const char* refuse_options(const provider_t& provider, std::string& refusal) {
  try {
    refusal = refused_option(provider.options);
  } catch (const std::exception&) {
    return "Failed to check the remote BMC options.";
  }
  return refusal.empty() ? nullptr : refusal.c_str();
}

}  // namespace

bool ipmitool_provider_initialize(vtr_event_provider_t* record, vtr_type_system_t* type_system) {
  provider_t* provider = provider_from_record(record);
  CollectedFields collected;
  std::string refusal;
  const char* error = refuse_options(*provider, refusal);
  set_initializing(provider, true);
  if (error == nullptr) error = build_provider(*provider, type_system, collected);
  set_initializing(provider, false);
  if (error == nullptr) {
    vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] ipmitool provider initialized successfully.", kInitializer);
    return true;
  }
  vtr_log(VTR_LOG_ERR, "[ipmitool] [%s] %s", kInitializer, error);
  ipmitool_provider_destroy(record);
  return false;
}

}  // namespace ipmitool
}  // namespace vtr
