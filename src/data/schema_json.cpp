#include "src/data/schema_json.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "runtime/logger.h"
#include "src/data/owners.h"
#include "src/data/schema_id.h"
#include "src/data/type_definition.h"
#include "src/data/version.h"

using vtr::data::append_owned;
using vtr::data::FieldDefinitionPtr;
using vtr::data::JsonPtr;
using vtr::data::SchemaPtr;
using vtr::data::set_owned;
using vtr::data::TypeDefinitionPtr;

namespace {

constexpr const char* kFieldTemplate =
    "{\"field_name\" : \"\", \"description\" : \"\", \"type_size\" : 0, \"offset\" : 0, \"type_name\" : \"\", "
    "\"counting_mode\" : \"\", \"index\" : 0}";
constexpr const char* kFieldTemplateWithoutIndex =
    "{\"field_name\" : \"\", \"description\" : \"\", \"type_size\" : 0, \"offset\" : 0, \"type_name\" : \"\", "
    "\"counting_mode\" : \"\"}";
constexpr const char* kTypeTemplate = "{\"name\" : \"\", \"size\" : 0, \"fields\" : []}";
constexpr const char* kSchemaTemplate =
    "{\"vtr_version\" : \"\", \"provider_name\" : \"\", \"provider_version\" : \"\", \"types\" : []}";

constexpr const char* kSchemaTitle = "Vantrove schema";

// Templates are parsed once per process; they are constants, so a failure would repeat anyway.
const JSON_Value* parsed_template(const char* text, const char* failure_format) {
  struct Cache {
    const char* text;
    JsonPtr value;
  };
  static Cache cache[] = {{kFieldTemplate, JsonPtr(json_parse_string(kFieldTemplate))},
                          {kFieldTemplateWithoutIndex, JsonPtr(json_parse_string(kFieldTemplateWithoutIndex))},
                          {kTypeTemplate, JsonPtr(json_parse_string(kTypeTemplate))},
                          {kSchemaTemplate, JsonPtr(json_parse_string(kSchemaTemplate))}};
  for (const Cache& entry : cache) {
    if (entry.text != text) continue;
    if (!entry.value && failure_format) vtr_log(VTR_LOG_ERR, failure_format, text);
    return entry.value.get();
  }
  return nullptr;
}

bool matches_template(const JSON_Value* json, const char* text, const char* failure_format = nullptr) {
  const JSON_Value* schema = parsed_template(text, failure_format);
  return schema && json_validate(schema, json) == JSONSuccess;
}

// JSON numbers are doubles; negative or NaN values read as 0 and huge ones saturate.
uint64_t number_as_u64(double number) {
  if (!(number >= 0)) return 0;
  if (number >= 18446744073709551616.0) return UINT64_MAX;
  return static_cast<uint64_t>(number);
}

uint64_t get_u64(const JSON_Object* object, const char* key) {
  return number_as_u64(json_object_get_number(object, key));
}

bool set_string(JSON_Object* object, const char* key, const char* value) {
  return json_object_set_string(object, key, value) == JSONSuccess;
}

bool set_number(JSON_Object* object, const char* key, double value) {
  return json_object_set_number(object, key, value) == JSONSuccess;
}

JsonPtr new_object(JSON_Object** object) {
  JsonPtr json(json_value_init_object());
  *object = json_value_get_object(json.get());
  return json;
}

JsonPtr types_array_of(const vtr_schema_t* schema) {
  JsonPtr array(json_value_init_array());
  for (int i = 0; array && i < schema->num_types; ++i) {
    JsonPtr type(vtr_type_definition_jsonify(schema->types[i]));
    if (!type || !set_number(json_value_get_object(type.get()), "type_index", i) ||
        !append_owned(json_value_get_array(array.get()), std::move(type)))
      return nullptr;
  }
  return array;
}

bool copy_string(const JSON_Object* object, const char* key, char** target) {
  const char* value = json_object_get_string(object, key);
  *target = value ? strdup(value) : nullptr;
  return *target != nullptr;
}

bool wanted_type(const vtr_provider_field_set_t* field_set, const char* type_name) {
  return !field_set || vtr_provider_field_set_is_type_of_interest(field_set, type_name);
}

bool wanted_field(const vtr_provider_field_set_t* field_set, const char* type_name, const char* field_name) {
  return !field_set || vtr_provider_field_set_should_include_field(field_set, type_name, field_name);
}

// Reads the "fields" of a type document, keeping the ones the field set wants.
bool read_fields(const JSON_Object* object, const vtr_provider_field_set_t* field_set, vtr_type_definition_t* type) {
  const JSON_Array* fields = json_object_get_array(object, "fields");
  size_t count = json_array_get_count(fields);
  if (count == 0) return true;
  type->fields = static_cast<vtr_type_field_definition_t**>(calloc(count, sizeof(vtr_type_field_definition_t*)));
  if (!type->fields) return false;
  for (size_t i = 0; i < count; ++i) {
    const JSON_Value* element = json_array_get_value(fields, i);
    FieldDefinitionPtr field(element ? vtr_type_field_definition_from_json(element) : nullptr);
    if (!field) return false;
    if (!wanted_field(field_set, type->name, field->field_name)) {
      vtr_log(VTR_LOG_DEBUG, "Skipping field '%s.%s' as it is not required by the provided field set", type->name,
              field->field_name);
      continue;
    }
    type->fields[type->num_fields++] = field.release();
  }
  return true;
}

bool compatible_format_version(const char* text) {
  uint32_t version = 0;
  return vtr::data::parse_format_version(text, &version) &&
         vtr::data::version_major(version) == vtr::data::version_major(vtr::data::kFormatVersion) &&
         vtr::data::version_minor(version) <= vtr::data::version_minor(vtr::data::kFormatVersion);
}

// Appends the types of a schema document; false (after logging) on the first broken one.
bool read_types(const JSON_Object* object, const vtr_provider_field_set_t* field_set, vtr_schema_t* schema) {
  const JSON_Array* types = json_object_get_array(object, "types");
  size_t count = json_array_get_count(types);
  for (size_t i = 0; i < count; ++i) {
    const JSON_Value* element = json_array_get_value(types, i);
    if (!element) {
      vtr_log(VTR_LOG_ERR, "Failed to get type #%d from JSON array", static_cast<int>(i));
      return false;
    }
    bool filtered = false;
    TypeDefinitionPtr type(vtr_type_definition_from_json_filtered_by_fset(element, field_set, &filtered));
    if (!type) {
      if (filtered) continue;
      vtr_log(VTR_LOG_ERR, "Failed to deserialize type #%d from JSON array", static_cast<int>(i));
      return false;
    }
    if (schema->num_types >= VTR_MAX_TYPES) {
      vtr_log(VTR_LOG_ERR, "Schema '%s' cannot hold type #%d: reached VTR_MAX_TYPES",
              vtr::data::printable_name(schema->name), static_cast<int>(i));
      return false;
    }
    schema->types[schema->num_types++] = type.release();
  }
  return true;
}

}  // namespace

JSON_Value* vtr_type_field_definition_jsonify(const vtr_type_field_definition_t* field) {
  if (!field) return nullptr;
  JSON_Object* object = nullptr;
  JsonPtr json = new_object(&object);
  bool written = object && set_string(object, "field_name", field->field_name) &&
                 set_string(object, "description", field->description) &&
                 set_string(object, "type_name", field->type_name) &&
                 set_string(object, "counting_mode", vtr_value_type_string(field->value_type)) &&
                 (field->count <= 1 || set_number(object, "array_length", field->count)) &&
                 set_number(object, "offset", static_cast<double>(field->offset)) &&
                 set_number(object, "type_size", static_cast<double>(field->type_size)) &&
                 set_number(object, "index", field->index);
  return written ? json.release() : nullptr;
}

JSON_Value* vtr_type_definition_jsonify(const vtr_type_definition_t* type) {
  if (!type) return nullptr;
  JSON_Object* object = nullptr;
  JsonPtr json = new_object(&object);
  JsonPtr fields(json_value_init_array());
  if (!object || !fields || !set_string(object, "name", type->name) ||
      !set_number(object, "size", static_cast<double>(type->size)))
    return nullptr;
  for (int32_t i = 0; i < type->num_fields; ++i)
    if (!append_owned(json_value_get_array(fields.get()), JsonPtr(vtr_type_field_definition_jsonify(type->fields[i]))))
      return nullptr;
  return set_owned(object, "fields", std::move(fields)) ? json.release() : nullptr;
}

JSON_Value* vtr_schema_jsonify(const vtr_schema_t* schema) {
  if (!schema || schema->num_types == 0) return nullptr;
  JSON_Object* object = nullptr;
  JsonPtr json = new_object(&object);
  bool written = object && set_string(object, "title", kSchemaTitle) &&
                 set_string(object, "vtr_version", vtr::data::kFormatVersionText) &&
                 set_string(object, "provider_name", schema->name) &&
                 set_string(object, "provider_version", vtr::data::version_string(schema->version).c_str()) &&
                 set_owned(object, "types", types_array_of(schema));
  return written ? json.release() : nullptr;
}

char* vtr_type_definition_serialize(const vtr_type_definition_t* type, bool pretty) {
  JsonPtr json(vtr_type_definition_jsonify(type));
  if (!json) return nullptr;
  return pretty ? json_serialize_to_string_pretty(json.get()) : json_serialize_to_string(json.get());
}

char* vtr_schema_serialize_type_definition(const vtr_schema_t* schema, const char* type_name, bool pretty) {
  const vtr_type_definition_t* type = vtr_schema_find_type_definition(schema, type_name);
  return type ? vtr_type_definition_serialize(type, pretty) : nullptr;
}

bool vtr_schema_extract_id(const vtr_schema_t* schema, uint8_t* out_id) {
  JsonPtr json(vtr_schema_jsonify(schema));
  return json && vtr_type_system_get_json_schema_id(out_id, json.get());
}

vtr_type_field_definition_t* vtr_type_field_definition_from_json(const JSON_Value* json) {
  bool with_index = matches_template(json, kFieldTemplate, "Unable to parse schema to JSON value: '%s'");
  if (!with_index &&
      !matches_template(json, kFieldTemplateWithoutIndex, "Unable to parse schema to JSON value (without index): '%s'")) {
    vtr_log(VTR_LOG_ERR, "Field definition JSON does not match schema with or without 'index'.");
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(json);
  FieldDefinitionPtr field(vtr_create_type_field_definition());
  if (!field) return nullptr;
  field->count = static_cast<uint16_t>(get_u64(object, "array_length"));
  if (field->count == 0) field->count = 1;
  field->value_type = vtr_value_type_from_string(json_object_get_string(object, "counting_mode"));
  if (!copy_string(object, "field_name", &field->field_name) ||
      !copy_string(object, "description", &field->description) ||
      !copy_string(object, "type_name", &field->type_name))
    return nullptr;
  field->type_size = get_u64(object, "type_size");
  field->offset = get_u64(object, "offset");
  if (with_index) field->index = static_cast<uint16_t>(get_u64(object, "index"));
  return field.release();
}

vtr_type_definition_t* vtr_type_definition_from_json(const JSON_Value* json) {
  return vtr_type_definition_from_json_filtered_by_fset(json, nullptr, nullptr);
}

vtr_type_definition_t* vtr_type_definition_from_json_filtered_by_fset(const JSON_Value* json,
                                                                      const vtr_provider_field_set_t* field_set,
                                                                      bool* out_filtered) {
  bool ignored = false;
  bool& filtered = out_filtered ? *out_filtered : ignored;
  filtered = false;
  if (!matches_template(json, kTypeTemplate)) {
    vtr_log(VTR_LOG_ERR, "Type definition JSON does not match schema '%s'", kTypeTemplate);
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(json);
  TypeDefinitionPtr type(vtr_create_type_definition());
  if (!type || !copy_string(object, "name", &type->name)) return nullptr;
  if (!wanted_type(field_set, type->name)) {
    vtr_log(VTR_LOG_DEBUG, "Skipping type definition '%s' as it is not required by the provided field set",
            type->name);
    filtered = true;
    return nullptr;
  }
  type->size = get_u64(object, "size");
  if (type->size != 0 && !read_fields(object, field_set, type.get())) return nullptr;
  filtered = true;
  if (field_set && type->num_fields == 0) {
    vtr_log(VTR_LOG_DEBUG, "Skipping type definition '%s' as it has no fields after filtering by field set",
            type->name);
    return nullptr;
  }
  return type.release();
}

vtr_schema_t* vtr_schema_from_json(const JSON_Value* json) {
  return vtr_schema_from_json_filtered_by_fset(json, nullptr, nullptr);
}

vtr_schema_t* vtr_schema_from_json_filtered_by_fset(const JSON_Value* json, const vtr_provider_field_set_t* field_set,
                                                    bool* out_filtered) {
  if (!matches_template(json, kSchemaTemplate)) {
    vtr_log(VTR_LOG_INFO, "Not an event schema");
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(json);
  const char* format_version = json_object_get_string(object, "vtr_version");
  if (!compatible_format_version(format_version)) {
    vtr_log(VTR_LOG_ERR, "Schema version %s is incompatible with current version %s", format_version,
            vtr::data::kFormatVersionText);
    return nullptr;
  }
  const char* name = json_object_get_string(object, "provider_name");
  SchemaPtr schema(vtr_create_schema(
      name, vtr::data::parse_provider_version(json_object_get_string(object, "provider_version"))));
  if (!schema) {
    vtr_log(VTR_LOG_ERR, "Failed to initialize '%s' schema: %s", name, strerror(errno));
    return nullptr;
  }
  if (!read_types(object, field_set, schema.get())) return nullptr;
  if (out_filtered) *out_filtered = true;
  if (field_set && schema->num_types == 0) {
    vtr_log(VTR_LOG_DEBUG, "No types found in the schema after filtering by field set");
    return nullptr;
  }
  return schema.release();
}

namespace vtr {
namespace data {

void refresh_schema_id(vtr_schema_t* schema) {
  vtr_schema_extract_id(schema, schema->schema_id);
  vtr_schema_id_to_schema_string(schema->schema_id, schema->schema_id_string);
}

}  // namespace data
}  // namespace vtr
