#ifndef VTR_DATA_OWNERS_H
#define VTR_DATA_OWNERS_H

// RAII owners for the heap records of the C interface; released when handed over.

#include <memory>

#include "json/parson.h"
#include "src/data/counters_schema.h"
#include "src/data/schema.h"
#include "src/data/type_definition.h"

namespace vtr {
namespace data {

struct JsonValueDeleter {
  void operator()(JSON_Value* value) const { json_value_free(value); }
};
struct JsonTextDeleter {
  void operator()(char* text) const { json_free_serialized_string(text); }
};
struct FieldDefinitionDeleter {
  void operator()(vtr_type_field_definition_t* field) const { vtr_destroy_type_field_definition(field); }
};
struct TypeDefinitionDeleter {
  void operator()(vtr_type_definition_t* type) const { vtr_destroy_type_definition(type); }
};
struct SchemaDeleter {
  void operator()(vtr_schema_t* schema) const { vtr_destroy_schema(schema); }
};
struct TypeSystemDeleter {
  void operator()(vtr_type_system_t* type_system) const { vtr_destroy_type_system(type_system); }
};
struct CountersSchemaDeleter {
  void operator()(vtr_counters_schema_t* counters) const { vtr_destroy_counters_schema(counters); }
};

using JsonPtr = std::unique_ptr<JSON_Value, JsonValueDeleter>;
using JsonTextPtr = std::unique_ptr<char, JsonTextDeleter>;
using FieldDefinitionPtr = std::unique_ptr<vtr_type_field_definition_t, FieldDefinitionDeleter>;
using TypeDefinitionPtr = std::unique_ptr<vtr_type_definition_t, TypeDefinitionDeleter>;
using SchemaPtr = std::unique_ptr<vtr_schema_t, SchemaDeleter>;
using TypeSystemPtr = std::unique_ptr<vtr_type_system_t, TypeSystemDeleter>;
using CountersSchemaPtr = std::unique_ptr<vtr_counters_schema_t, CountersSchemaDeleter>;

// Attaches `value` under `key`; the object owns it only on success, so failure frees it here.
inline bool set_owned(JSON_Object* object, const char* key, JsonPtr value) {
  if (!value || json_object_set_value(object, key, value.get()) != JSONSuccess) return false;
  value.release();
  return true;
}

inline bool append_owned(JSON_Array* array, JsonPtr value) {
  if (!value || json_array_append_value(array, value.get()) != JSONSuccess) return false;
  value.release();
  return true;
}

// Names may be null in the records; messages print them as this.
inline const char* printable_name(const char* name) { return name ? name : "<undefined>"; }

}  // namespace data
}  // namespace vtr

#endif
