// The type system document: every provider schema plus the counters schema.

#include "runtime/logger.h"
#include "src/data/counters_schema.h"
#include "src/data/owners.h"
#include "src/data/schema_id.h"
#include "src/data/schema_json.h"
#include "src/data/type_system.h"
#include "src/data/version.h"

using vtr::data::append_owned;
using vtr::data::CountersSchemaPtr;
using vtr::data::JsonPtr;
using vtr::data::SchemaPtr;
using vtr::data::set_owned;
using vtr::data::TypeSystemPtr;

namespace {

constexpr const char* kTypeSystemTitle = "Vantrove type system";
constexpr uint32_t kOldestReadableVersion = VTR_MAKE_VERSION(1, 4, 0);
constexpr const char* kOldestReadableVersionText = "1.4.0";

JsonPtr schemas_array_of(const vtr_type_system_t* type_system) {
  JsonPtr array(json_value_init_array());
  for (int i = 0; array && i < type_system->num_schemas; ++i)
    if (!append_owned(json_value_get_array(array.get()), JsonPtr(vtr_schema_jsonify(type_system->schemas[i]))))
      return nullptr;
  return array;
}

bool readable_version(const char* text) {
  using namespace vtr::data;
  uint32_t version = 0;
  if (!parse_format_version(text, &version)) return false;
  if (version_major(version) != version_major(kOldestReadableVersion))
    return version_major(version) > version_major(kOldestReadableVersion);
  return version_minor(version) >= version_minor(kOldestReadableVersion);
}

// Swaps in the counters schema decoded from `json`; false if it cannot be decoded.
bool replace_counters_schema(vtr_type_system_t* type_system, const JSON_Value* json) {
  CountersSchemaPtr counters(vtr_counters_schema_from_json(json));
  if (!counters) return false;
  vtr_destroy_counters_schema(type_system->counters_schema);
  type_system->counters_schema = counters.release();
  return true;
}

// Decodes one schema element, gives it the id of its own text and appends it.
bool append_schema(vtr_type_system_t* type_system, const JSON_Value* element) {
  SchemaPtr schema(vtr_schema_from_json(element));
  if (!schema) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: unable to decode type schema");
    return false;
  }
  if (!vtr_type_system_get_json_schema_id(schema->schema_id, element))
    vtr_log(VTR_LOG_ERR, "[ts] Failed to fill schema '%s' md5 digest", vtr::data::printable_name(schema->name));
  vtr_schema_id_to_schema_string(schema->schema_id, schema->schema_id_string);
  vtr_schema_t* appended = schema.release();
  type_system->schemas[type_system->num_schemas++] = appended;
  if (!vtr_type_system_adjust_type_references(type_system, appended)) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: unable to adjust type fields of schema %s",
            vtr::data::printable_name(appended->name));
    return false;
  }
  return true;
}

// A document without "schemas": the counters schema of a type system, or a counters schema.
vtr_type_system_t* finish_without_schemas(TypeSystemPtr type_system, const JSON_Value* json) {
  const JSON_Object* object = json_value_get_object(json);
  if (json_object_has_value(object, "counters_schema")) return type_system.release();
  if (!json_object_has_value(object, "counter_groups")) {
    vtr_log(VTR_LOG_ERR, "[schema writer] schema was not recognized as either type system or counters schema");
    return nullptr;
  }
  if (!replace_counters_schema(type_system.get(), json)) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: unable to decode JSON as counters schema");
    return nullptr;
  }
  return type_system.release();
}

}  // namespace

JSON_Value* vtr_type_system_jsonify(const vtr_type_system_t* type_system) {
  if (!type_system) return nullptr;
  JsonPtr json(json_value_init_object());
  JSON_Object* object = json_value_get_object(json.get());
  bool written = object && json_object_set_string(object, "name", kTypeSystemTitle) == JSONSuccess &&
                 json_object_set_string(object, "version", vtr::data::kFormatVersionText) == JSONSuccess &&
                 (!type_system->counters_schema ||
                  set_owned(object, "counters_schema", JsonPtr(vtr_counters_schema_jsonify(type_system->counters_schema)))) &&
                 set_owned(object, "schemas", schemas_array_of(type_system));
  return written ? json.release() : nullptr;
}

vtr_type_system_t* vtr_type_system_from_json(const JSON_Value* json) {
  const JSON_Object* object = json_value_get_object(json);
  if (!object) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: schema is not a JSON object");
    return nullptr;
  }
  const char* version = json_object_get_string(object, "version");
  if (!version) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: missing Vantrove schema version");
    return nullptr;
  }
  if (!readable_version(version)) {
    vtr_log(VTR_LOG_ERR,
            "[ts] Failed to deserialize: schema version %s is incompatible with the deserializer, the minimal "
            "supported schema version is %s",
            version, kOldestReadableVersionText);
    return nullptr;
  }
  TypeSystemPtr type_system(vtr_create_type_system());
  if (!type_system) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: unable to create type system object");
    return nullptr;
  }
  const JSON_Value* counters = json_object_get_value(object, "counters_schema");
  if (counters && !replace_counters_schema(type_system.get(), counters)) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: unable to decode counters schema");
    return nullptr;
  }
  const JSON_Array* schemas = json_object_get_array(object, "schemas");
  if (!schemas) return finish_without_schemas(std::move(type_system), json);
  size_t count = json_array_get_count(schemas);
  if (count > VTR_MAX_SCHEMAS) {
    vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: number of schemas %zu exceeds limit %d", count, VTR_MAX_SCHEMAS);
    return nullptr;
  }
  for (size_t i = 0; i < count; ++i) {
    const JSON_Value* element = json_array_get_value(schemas, i);
    if (!element) {
      vtr_log(VTR_LOG_ERR, "[ts] Failed to deserialize: unable to get schema #%d from the array", static_cast<int>(i));
      return nullptr;
    }
    if (!append_schema(type_system.get(), element)) return nullptr;
  }
  return type_system.release();
}

char* vtr_type_system_serialize(const vtr_type_system_t* type_system, bool pretty) {
  JsonPtr json(vtr_type_system_jsonify(type_system));
  if (!json) return nullptr;
  return pretty ? json_serialize_to_string_pretty(json.get()) : json_serialize_to_string(json.get());
}

vtr_type_system_t* vtr_type_system_deserialize(const char* text) {
  JsonPtr json(text ? json_parse_string(text) : nullptr);
  if (!json) {
    vtr_log(VTR_LOG_ERR, "Failed parsing schema JSON string");
    return nullptr;
  }
  return vtr_type_system_from_json(json.get());
}
