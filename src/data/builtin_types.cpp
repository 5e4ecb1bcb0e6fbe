#include "src/data/builtin_types.h"

#include <string.h>

#include "src/data/owners.h"

namespace {

struct BuiltinType {
  uint32_t id;
  const char* name;
  size_t size;
};

// Ends with the id-0 entry.
constexpr BuiltinType kBuiltinTypes[] = {
    {VTR_BUILTIN_BOOL, "bool", 1},
    {VTR_BUILTIN_CHAR, "char", 1},
    {VTR_BUILTIN_SHORT, "short", 2},
    {VTR_BUILTIN_INT, "int", 4},
    {VTR_BUILTIN_LONG, "long", 8},
    {VTR_BUILTIN_LONG_LONG, "long long", 8},
    {VTR_BUILTIN_UNSIGNED_CHAR, "unsigned char", 1},
    {VTR_BUILTIN_UNSIGNED_SHORT, "unsigned short", 2},
    {VTR_BUILTIN_UNSIGNED_INT, "unsigned int", 4},
    {VTR_BUILTIN_UNSIGNED_LONG, "unsigned long", 8},
    {VTR_BUILTIN_UNSIGNED_LONG_LONG, "unsigned long long", 8},
    {VTR_BUILTIN_FLOAT, "float", 4},
    {VTR_BUILTIN_DOUBLE, "double", 8},
    {VTR_BUILTIN_INT8, "int8_t", 1},
    {VTR_BUILTIN_INT16, "int16_t", 2},
    {VTR_BUILTIN_INT32, "int32_t", 4},
    {VTR_BUILTIN_INT64, "int64_t", 8},
    {VTR_BUILTIN_UINT8, "uint8_t", 1},
    {VTR_BUILTIN_UINT16, "uint16_t", 2},
    {VTR_BUILTIN_UINT32, "uint32_t", 4},
    {VTR_BUILTIN_UINT64, "uint64_t", 8},
    {VTR_BUILTIN_TIMESTAMP, "timestamp", 8},
    {VTR_BUILTIN_NONE, nullptr, 0},
};

const BuiltinType* find_by_id(uint32_t id) {
  for (const BuiltinType* entry = kBuiltinTypes; entry->id != VTR_BUILTIN_NONE; ++entry)
    if (entry->id == id) return entry;
  return nullptr;
}

vtr::data::TypeDefinitionPtr make_definition(const BuiltinType& entry) {
  vtr::data::TypeDefinitionPtr type(vtr_create_type_definition());
  if (!type) return nullptr;
  type->name = strdup(entry.name);
  if (!type->name) return nullptr;
  type->builtin_id = entry.id;
  type->size = entry.size;
  return type;
}

}  // namespace

const char* vtr_builtin_type_name(uint32_t id) {
  const BuiltinType* entry = find_by_id(id);
  return entry ? entry->name : nullptr;
}

size_t vtr_builtin_type_size(uint32_t id) {
  const BuiltinType* entry = find_by_id(id);
  return entry ? entry->size : 0;
}

uint32_t vtr_builtin_type_from_name(const char* name) {
  if (!name) return VTR_BUILTIN_NONE;
  for (const BuiltinType* entry = kBuiltinTypes; entry->id != VTR_BUILTIN_NONE; ++entry)
    if (strcmp(entry->name, name) == 0) return entry->id;
  return VTR_BUILTIN_NONE;
}

int vtr_builtin_type_get_type_defs(vtr_type_definition_t** defs, size_t capacity) {
  if (!defs) return -1;
  size_t count = 0;
  for (const BuiltinType* entry = kBuiltinTypes; entry->id != VTR_BUILTIN_NONE && count < capacity; ++entry) {
    vtr::data::TypeDefinitionPtr type = make_definition(*entry);
    if (!type) {
      while (count > 0) vtr_destroy_type_definition(defs[--count]);
      return -1;
    }
    defs[count++] = type.release();
  }
  return static_cast<int>(count);
}

bool vtr_schema_register_builtin_types(vtr_schema_t* schema) {
  if (!schema) return false;
  int count = vtr_builtin_type_get_type_defs(schema->types, VTR_MAX_TYPES);
  if (count < 0) return false;
  schema->num_types = static_cast<uint8_t>(count);
  return true;
}

bool vtr_builtin_type_register_types(vtr_type_system_t* type_system) {
  if (!type_system || !type_system->builtin_schema) return false;
  vtr_type_definition_t* defs[VTR_BUILTIN_TYPE_COUNT];
  int count = vtr_builtin_type_get_type_defs(defs, VTR_BUILTIN_TYPE_COUNT);
  if (count < 0) return false;
  vtr_schema_t* schema = type_system->builtin_schema;
  for (int i = 0; i < count; ++i) {
    if (schema->num_types < VTR_MAX_TYPES)
      schema->types[schema->num_types++] = defs[i];
    else
      vtr_destroy_type_definition(defs[i]);
  }
  return true;
}

void vtr_builtin_type_print_info(FILE* stream) {
  if (!stream) return;
  fprintf(stream, " %2s %-25s  %-8s\n", "Id", "Name", "Size");
  for (const BuiltinType* entry = kBuiltinTypes; entry->id != VTR_BUILTIN_NONE; ++entry)
    fprintf(stream, " %2d %-25s  %-8zu\n", static_cast<int>(entry->id), entry->name, entry->size);
}
