#include "src/data/schema.h"

#include <stdlib.h>
#include <string.h>

#include "runtime/logger.h"
#include "src/data/owners.h"
#include "src/data/type_definition.h"

using vtr::data::FieldDefinitionPtr;
using vtr::data::printable_name;
using vtr::data::TypeDefinitionPtr;

namespace {

// Printed by the messages that carry a source location.
constexpr const char* kSourcePath = "src/data/schema";

int check_room_and_name(const vtr_schema_t* schema, const char* name) {
  if (schema->num_types >= VTR_MAX_TYPES) {
    vtr_log(VTR_LOG_ERR, "[%s] Unable to add new type, reached VTR_MAX_TYPES. schema->num_types = %d",
            "vtr_schema_add_type", schema->num_types);
    return VTR_SCHEMA_ERR_FULL;
  }
  if (vtr_schema_find_type_definition(schema, name)) {
    vtr_log(VTR_LOG_ERR, "Schema '%s' already contains type '%s'", printable_name(schema->name), name);
    return VTR_SCHEMA_ERR_EXISTS;
  }
  return VTR_SCHEMA_OK;
}

int check_field_types(const vtr_schema_t* schema, const char* name, const vtr_type_field_info_t* infos,
                      size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (!vtr_schema_find_type_definition(schema, infos[i].type_name)) {
      vtr_log(VTR_LOG_ERR, "Unable to register type '%s': type '%s' of the field '%s' is undefined", name,
              printable_name(infos[i].type_name), printable_name(infos[i].field_name));
      return VTR_SCHEMA_ERR_UNDEFINED_TYPE;
    }
  }
  return VTR_SCHEMA_OK;
}

bool same_name(const char* a, const char* b) { return a && b && strcmp(a, b) == 0; }

// Looks at fields 1 to count-2 only: the last field, and types of one or two fields, are not
// checked for repeats; registered types rely on that.
int check_repeated_field_names(const char* name, const vtr_type_field_info_t* infos, size_t count) {
  for (size_t i = 1; i + 1 < count; ++i) {
    for (size_t j = 0; j < i; ++j) {
      if (same_name(infos[i].field_name, infos[j].field_name)) {
        vtr_log(VTR_LOG_ERR, "[%s] Failed to register new type '%s': field name '%s' occurs more than once.",
                "vtr_schema_add_type", name, infos[i].field_name);
        return VTR_SCHEMA_ERR_EXISTS;
      }
    }
  }
  return VTR_SCHEMA_OK;
}

// Packs the fields one after the other, without alignment or padding.
int lay_out_fields(const vtr_schema_t* schema, vtr_type_definition_t* type, const vtr_type_field_info_t* infos,
                   size_t count) {
  for (size_t i = 0; i < count; ++i) {
    FieldDefinitionPtr field(vtr_type_field_definition_from_info(&infos[i]));
    if (!field) {
      vtr_log(VTR_LOG_ERR, "[%s] cannot get type definition from fields_info[%d]", "vtr_schema_add_type",
              static_cast<int>(i));
      return VTR_SCHEMA_ERR_ALLOC;
    }
    field->offset = type->size;
    vtr_type_field_definition_t* attached = field.release();
    type->fields[i] = attached;
    attached->type_def = vtr_schema_find_type_definition(schema, attached->type_name);
    if (!attached->type_def) {
      vtr_log(VTR_LOG_ERR, "[%s] cannot find type_definition of type_field_definition '%s', number %d",
              "vtr_schema_add_type", printable_name(attached->field_name), static_cast<int>(i));
      return VTR_SCHEMA_ERR_ALLOC;
    }
    attached->type_size = attached->type_def->size;
    type->size += static_cast<uint64_t>(attached->count) * attached->type_size;
  }
  return VTR_SCHEMA_OK;
}

int build_type(const vtr_schema_t* schema, const char* name, const vtr_type_field_info_t* infos, size_t count,
               TypeDefinitionPtr* out) {
  TypeDefinitionPtr type(vtr_create_type_definition());
  if (!type || !(type->name = strdup(name))) {
    vtr_log(VTR_LOG_ERR, "[%s] cannot allocate type definition", "vtr_schema_add_type");
    return VTR_SCHEMA_ERR_ALLOC;
  }
  if (count > 0) {
    type->fields = static_cast<vtr_type_field_definition_t**>(calloc(count, sizeof(vtr_type_field_definition_t*)));
    if (!type->fields) {
      vtr_log(VTR_LOG_ERR, "[%s] cannot allocate fields for type definition", "vtr_schema_add_type");
      return VTR_SCHEMA_ERR_ALLOC;
    }
    type->num_fields = static_cast<int32_t>(count);
  }
  int status = lay_out_fields(schema, type.get(), infos, count);
  if (status == VTR_SCHEMA_OK) *out = std::move(type);
  return status;
}

}  // namespace

vtr_schema_t* vtr_create_schema(const char* name, uint32_t version) {
  auto* schema = static_cast<vtr_schema_t*>(calloc(1, sizeof(vtr_schema_t)));
  if (!schema) return nullptr;
  schema->version = version;
  if (name && !(schema->name = strdup(name))) {
    free(schema);
    return nullptr;
  }
  vtr_log(VTR_LOG_DEBUG, "clearing md5_digest of schema: %p", static_cast<void*>(schema));
  memset(schema->schema_id, 0, sizeof schema->schema_id);
  memset(schema->schema_id_string, 0, sizeof schema->schema_id_string);
  return schema;
}

void vtr_destroy_schema(vtr_schema_t* schema) {
  if (!schema) return;
  for (int i = 0; i < schema->num_types; ++i) vtr_destroy_type_definition(schema->types[i]);
  free(schema->name);
  free(schema);
}

vtr_type_definition_t* vtr_schema_find_type_definition(const vtr_schema_t* schema, const char* name) {
  if (!name) return nullptr;
  for (; schema; schema = schema->parent) {
    for (int i = 0; i < schema->num_types; ++i) {
      vtr_type_definition_t* type = schema->types[i];
      if (type && type->name && strcmp(type->name, name) == 0) return type;
    }
  }
  return nullptr;
}

uint64_t vtr_schema_sizeof_type(const vtr_schema_t* schema, const char* name) {
  const vtr_type_definition_t* type = vtr_schema_find_type_definition(schema, name);
  return type ? type->size : 0;
}

int vtr_schema_add_type(vtr_schema_t* schema, const char* name, const vtr_type_field_info_t* infos, size_t count,
                        uint8_t* out_index) {
  if (!schema || !name || (count > 0 && !infos)) {
    vtr_log(VTR_LOG_ERR, "[%s] missing schema, type name or fields", "vtr_schema_add_type");
    return VTR_SCHEMA_ERR_ALLOC;
  }
  int status = check_room_and_name(schema, name);
  if (status == VTR_SCHEMA_OK) status = check_field_types(schema, name, infos, count);
  if (status == VTR_SCHEMA_OK) status = check_repeated_field_names(name, infos, count);
  TypeDefinitionPtr type;
  if (status == VTR_SCHEMA_OK) status = build_type(schema, name, infos, count, &type);
  if (status != VTR_SCHEMA_OK) return status;
  if (out_index) *out_index = schema->num_types;
  schema->types[schema->num_types++] = type.release();
  return VTR_SCHEMA_OK;
}

int vtr_schema_set_field_indexes(vtr_schema_t* schema, uint8_t type_index, const char** names, size_t count) {
  static const char* const kFunction = "vtr_schema_set_field_indexes";
  if (!schema) {
    vtr_log(VTR_LOG_ERR, "[%s] Schema pointer is NULL!", kFunction);
    return VTR_SCHEMA_ERR_UNDEFINED_TYPE;
  }
  if (!names) {
    vtr_log(VTR_LOG_ERR, "[%s] Index names array is NULL!", kFunction);
    return VTR_SCHEMA_ERR_UNDEFINED_TYPE;
  }
  if (type_index >= schema->num_types || !schema->types[type_index]) {
    vtr_log(VTR_LOG_ERR, "[%s] Invalid type_index: %u (out of range, max: %u)", kFunction,
            static_cast<unsigned>(type_index), schema->num_types ? schema->num_types - 1u : 0u);
    return VTR_SCHEMA_ERR_UNDEFINED_TYPE;
  }
  vtr_type_definition_t* type = schema->types[type_index];
  for (int32_t f = 0; f < type->num_fields; ++f) type->fields[f]->index = 0;
  if (count == 0) return VTR_SCHEMA_OK;
  uint16_t assigned = 0;
  for (size_t n = 0; n < count; ++n) {
    for (int32_t f = 0; f < type->num_fields; ++f) {
      if (same_name(type->fields[f]->field_name, names[n])) {
        type->fields[f]->index = ++assigned;
        break;
      }
    }
  }
  if (assigned < count)
    vtr_log(VTR_LOG_DEBUG, "Mismatch in assigned indices: expected %zu, but assigned %u (%s).", count,
            static_cast<unsigned>(assigned), printable_name(type->name));
  return VTR_SCHEMA_OK;
}

const char** vtr_schema_get_indexed_fields(const vtr_schema_t* schema, uint8_t type_index, size_t* out_count) {
  if (!out_count) {
    vtr_log(VTR_LOG_ERR, "[%s %i] out_count is NULL", kSourcePath, __LINE__);
    return nullptr;
  }
  *out_count = 0;
  if (!schema) {
    vtr_log(VTR_LOG_ERR, "[%s %i] schema is NULL", kSourcePath, __LINE__);
    return nullptr;
  }
  if (type_index >= VTR_MAX_TYPES) {
    vtr_log(VTR_LOG_ERR, "[%s %i] type_index %u out of bounds (max: %u)", kSourcePath, __LINE__,
            static_cast<unsigned>(type_index), VTR_MAX_TYPES - 1u);
    return nullptr;
  }
  const vtr_type_definition_t* type = schema->types[type_index];
  if (!type) {
    vtr_log(VTR_LOG_ERR, "[%s %i] schema->types[%u] is NULL", kSourcePath, __LINE__,
            static_cast<unsigned>(type_index));
    return nullptr;
  }
  size_t indexed = 0;
  for (int32_t f = 0; f < type->num_fields; ++f) indexed += type->fields[f]->index != 0;
  // One slot at least, so that an empty answer is still an array the caller can free.
  auto* names = static_cast<const char**>(malloc((indexed ? indexed : 1) * sizeof(const char*)));
  if (!names) {
    vtr_log(VTR_LOG_ERR, "[%s %i] malloc failed for %zu fields", kSourcePath, __LINE__, indexed);
    return nullptr;
  }
  size_t n = 0;
  for (int32_t f = 0; f < type->num_fields; ++f)
    if (type->fields[f]->index != 0) names[n++] = type->fields[f]->field_name;
  *out_count = n;
  return names;
}

bool vtr_schema_adjust_field_type_references(const vtr_schema_t* schema, vtr_type_definition_t* type) {
  if (!schema || !type) return false;
  for (int32_t f = 0; f < type->num_fields; ++f) {
    vtr_type_field_definition_t* field = type->fields[f];
    field->type_def = vtr_schema_find_type_definition(schema, field->type_name);
    if (!field->type_def) {
      vtr_log(VTR_LOG_ERR, "Definition of type %s not found within the schema %s", printable_name(field->type_name),
              printable_name(schema->name));
      return false;
    }
  }
  return true;
}
