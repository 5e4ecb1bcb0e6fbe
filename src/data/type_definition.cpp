#include "src/data/type_definition.h"

#include <stdlib.h>
#include <string.h>

namespace {

struct ValueTypeName {
  vtr_value_type_t value;
  const char* name;
};

constexpr ValueTypeName kValueTypeNames[] = {
    {VTR_VALUE_TYPE_ABSOLUTE, "ABSOLUTE"},
    {VTR_VALUE_TYPE_RUNNING_SUM, "RUNNING_SUM"},
};

// Older documents call running sums monotonic.
constexpr const char* kRunningSumSynonym = "ABSOLUTE_MONOTONIC";

// Copies `source` into `*target`; a null source leaves a null target and counts as success.
bool copy_optional(char** target, const char* source) {
  if (!source) return true;
  *target = strdup(source);
  return *target != nullptr;
}

}  // namespace

vtr_type_field_definition_t* vtr_create_type_field_definition(void) {
  return static_cast<vtr_type_field_definition_t*>(calloc(1, sizeof(vtr_type_field_definition_t)));
}

void vtr_destroy_type_field_definition(vtr_type_field_definition_t* field) {
  if (!field) return;
  free(field->field_name);
  free(field->description);
  free(field->type_name);
  free(field);
}

vtr_type_definition_t* vtr_create_type_definition(void) {
  return static_cast<vtr_type_definition_t*>(calloc(1, sizeof(vtr_type_definition_t)));
}

void vtr_destroy_type_definition(vtr_type_definition_t* type) {
  if (!type) return;
  for (int32_t i = 0; type->fields && i < type->num_fields; ++i) vtr_destroy_type_field_definition(type->fields[i]);
  free(type->fields);
  free(type->name);
  free(type);
}

vtr_type_field_definition_t* vtr_type_field_definition_from_info(const vtr_type_field_info_t* info) {
  if (!info) return nullptr;
  vtr_type_field_definition_t* field = vtr_create_type_field_definition();
  if (!field) return nullptr;
  field->value_type = info->value_type;
  field->count = info->count;
  if (!copy_optional(&field->field_name, info->field_name) || !copy_optional(&field->description, info->description) ||
      !copy_optional(&field->type_name, info->type_name)) {
    vtr_destroy_type_field_definition(field);
    return nullptr;
  }
  return field;
}

const char* vtr_value_type_string(vtr_value_type_t value_type) {
  for (const ValueTypeName& entry : kValueTypeNames)
    if (entry.value == value_type) return entry.name;
  return nullptr;
}

vtr_value_type_t vtr_value_type_from_string(const char* name) {
  if (!name) return VTR_VALUE_TYPE_INVALID;
  if (strcmp(name, kRunningSumSynonym) == 0) return VTR_VALUE_TYPE_RUNNING_SUM;
  for (const ValueTypeName& entry : kValueTypeNames)
    if (strcmp(entry.name, name) == 0) return entry.value;
  return VTR_VALUE_TYPE_INVALID;
}
