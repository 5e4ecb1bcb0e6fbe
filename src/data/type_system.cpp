#include "src/data/type_system.h"

#include <stdlib.h>
#include <string.h>

#include "runtime/logger.h"
#include "src/data/builtin_types.h"
#include "src/data/counters_schema.h"
#include "src/data/owners.h"
#include "src/data/schema_json.h"
#include "src/data/version.h"

using vtr::data::TypeSystemPtr;

namespace {

constexpr const char* kBuiltinSchemaName = "<built-in>";

uint64_t largest_type_size(const vtr_schema_t* schema) {
  uint64_t largest = 0;
  for (int i = 0; i < schema->num_types; ++i)
    if (schema->types[i] && schema->types[i]->size > largest) largest = schema->types[i]->size;
  return largest;
}

// Closes the gaps left by moved schemas, keeping the order of those that stay.
void compact_schemas(vtr_type_system_t* type_system) {
  uint8_t kept = 0;
  for (int i = 0; i < type_system->num_schemas; ++i)
    if (type_system->schemas[i]) type_system->schemas[kept++] = type_system->schemas[i];
  for (int i = kept; i < type_system->num_schemas; ++i) type_system->schemas[i] = nullptr;
  type_system->num_schemas = kept;
}

}  // namespace

vtr_type_system_t* vtr_create_type_system(void) {
  TypeSystemPtr type_system(static_cast<vtr_type_system_t*>(calloc(1, sizeof(vtr_type_system_t))));
  if (!type_system) return nullptr;
  type_system->builtin_schema = vtr_create_schema(kBuiltinSchemaName, vtr::data::kFormatVersion);
  if (!type_system->builtin_schema || !vtr_schema_register_builtin_types(type_system->builtin_schema)) {
    vtr_log(VTR_LOG_ERR, "Failed to register built-in types");
    return nullptr;
  }
  type_system->counters_schema = vtr_create_counters_schema();
  if (!type_system->counters_schema) {
    vtr_log(VTR_LOG_ERR, "Failed to create counters schema object");
    return nullptr;
  }
  return type_system.release();
}

void vtr_destroy_type_system(vtr_type_system_t* type_system) {
  if (!type_system) return;
  for (vtr_schema_t* schema : type_system->schemas) vtr_destroy_schema(schema);
  vtr_destroy_schema(type_system->builtin_schema);
  vtr_destroy_counters_schema(type_system->counters_schema);
  free(type_system);
}

vtr_schema_t* vtr_type_system_add_schema(vtr_type_system_t* type_system, const char* name, uint32_t version,
                                         uint8_t* out_index) {
  if (!type_system || type_system->num_schemas >= VTR_MAX_SCHEMAS) return nullptr;
  vtr_schema_t* schema = vtr_create_schema(name, version);
  if (!schema) return nullptr;
  schema->parent = type_system->builtin_schema;
  vtr::data::refresh_schema_id(schema);
  if (out_index) *out_index = type_system->num_schemas;
  type_system->schemas[type_system->num_schemas++] = schema;
  return schema;
}

uint8_t vtr_type_system_remove_last_schema(vtr_type_system_t* type_system) {
  if (!type_system) return 0;
  if (type_system->num_schemas > 0) {
    uint8_t last = --type_system->num_schemas;
    vtr_destroy_schema(type_system->schemas[last]);
    type_system->schemas[last] = nullptr;
  }
  return type_system->num_schemas;
}

bool vtr_type_system_find_schema(const vtr_type_system_t* type_system, const char* name, uint8_t* out_index) {
  if (!type_system || !name) return false;
  for (uint8_t i = 0; i < type_system->num_schemas; ++i) {
    const vtr_schema_t* schema = type_system->schemas[i];
    if (schema && schema->name && strcmp(schema->name, name) == 0) {
      vtr_log(VTR_LOG_DEBUG, "Schema already exists %s", name);
      if (out_index) *out_index = i;
      return true;
    }
  }
  return false;
}

bool vtr_type_system_adjust_type_references(vtr_type_system_t* type_system, vtr_schema_t* schema) {
  if (!type_system || !schema) return false;
  schema->parent = type_system->builtin_schema;
  for (int i = 0; i < schema->num_types; ++i)
    if (!vtr_schema_adjust_field_type_references(schema, schema->types[i])) return false;
  return true;
}

uint32_t vtr_type_system_clone_schemas(vtr_type_system_t* target, vtr_type_system_t* source, uint8_t* out_index) {
  if (!target || !source) return 0xFFFFFFFFu;
  if (out_index) *out_index = target->num_schemas;
  uint32_t moved = 0;
  for (int i = 0; i < source->num_schemas; ++i) {
    vtr_schema_t* schema = source->schemas[i];
    if (target->num_schemas >= VTR_MAX_SCHEMAS || !vtr_type_system_adjust_type_references(target, schema)) {
      vtr_log(VTR_LOG_ERR, "Cannot add schema to type system");
      compact_schemas(source);
      return 0xFFFFFFFFu;
    }
    target->schemas[target->num_schemas++] = schema;
    source->schemas[i] = nullptr;
    ++moved;
  }
  compact_schemas(source);
  return moved;
}

uint32_t vtr_type_system_get_max_event_type_size(const vtr_type_system_t* type_system) {
  if (!type_system) return 0;
  uint64_t largest = 0;
  for (int i = 0; i < type_system->num_schemas; ++i) {
    uint64_t size = largest_type_size(type_system->schemas[i]);
    if (size > largest) largest = size;
  }
  return largest > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(largest);
}

uint32_t vtr_type_system_max_type_size(const vtr_type_system_t* type_system) {
  uint32_t events = vtr_type_system_get_max_event_type_size(type_system);
  uint32_t counters =
      type_system && type_system->counters_schema ? vtr_counters_schema_record_size(type_system->counters_schema) : 0;
  return events > counters ? events : counters;
}

void vtr_type_system_update_md5_hashes(vtr_type_system_t* type_system) {
  if (!type_system) return;
  for (int i = 0; i < type_system->num_schemas; ++i) vtr::data::refresh_schema_id(type_system->schemas[i]);
}
