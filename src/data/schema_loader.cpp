// Schema files: read, filter, resolve against a parent, identify.

#include "runtime/logger.h"
#include "src/data/owners.h"
#include "src/data/schema_json.h"
#include "src/data/type_system.h"

using vtr::data::JsonPtr;
using vtr::data::SchemaPtr;

namespace {

SchemaPtr read_schema_file(const char* path, const vtr_provider_field_set_t* field_set, bool* out_filtered) {
  JsonPtr json(path ? json_parse_file(path) : nullptr);
  if (!json) {
    vtr_log(VTR_LOG_ERR, "Failed reading schema JSON from file '%s'", vtr::data::printable_name(path));
    return nullptr;
  }
  return SchemaPtr(vtr_schema_from_json_filtered_by_fset(json.get(), field_set, out_filtered));
}

bool resolve_types(vtr_schema_t* schema) {
  for (int i = 0; i < schema->num_types; ++i)
    if (!vtr_schema_adjust_field_type_references(schema, schema->types[i])) return false;
  return true;
}

}  // namespace

vtr_schema_t* vtr_schema_load_from_file(const char* path, vtr_schema_t* parent) {
  SchemaPtr schema = read_schema_file(path, nullptr, nullptr);
  if (!schema) return nullptr;
  schema->parent = parent;
  if (!resolve_types(schema.get())) return nullptr;
  vtr::data::refresh_schema_id(schema.get());
  return schema.release();
}

vtr_schema_t* vtr_type_system_load_schema(vtr_type_system_t* type_system, const char* path) {
  return vtr_type_system_load_schema_filtered_by_fset(type_system, path, nullptr, nullptr);
}

vtr_schema_t* vtr_type_system_load_schema_filtered_by_fset(vtr_type_system_t* type_system, const char* path,
                                                           const vtr_provider_field_set_t* field_set,
                                                           bool* out_filtered) {
  if (!type_system) return nullptr;
  if (type_system->num_schemas >= VTR_MAX_SCHEMAS) {
    vtr_log(VTR_LOG_ERR, "Failed to load schema: schema limit exceeded '%u'", static_cast<unsigned>(VTR_MAX_SCHEMAS));
    return nullptr;
  }
  SchemaPtr schema = read_schema_file(path, field_set, out_filtered);
  if (!schema) return nullptr;
  if (!vtr_type_system_adjust_type_references(type_system, schema.get())) {
    vtr_log(VTR_LOG_ERR, "Failed to adjust type fields within schema %s", vtr::data::printable_name(schema->name));
    if (out_filtered) *out_filtered = false;
    return nullptr;
  }
  vtr::data::refresh_schema_id(schema.get());
  if (out_filtered) *out_filtered = true;
  type_system->schemas[type_system->num_schemas++] = schema.get();
  return schema.release();
}
