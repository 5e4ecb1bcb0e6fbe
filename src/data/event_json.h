#ifndef VTR_DATA_EVENT_JSON_H
#define VTR_DATA_EVENT_JSON_H

#include <stdint.h>

#include "json/parson.h"
#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* One event record as a JSON object, one key per field in field order. With
 * VTR_CONVERT_GUID_TO_HEX_STRING on (read once per process), fields named with a "guid" word
 * are written as "0x%016lx" strings. Caller frees; null on failure. */
VTR_API JSON_Value* vtr_type_definition_jsonify_data(const vtr_type_definition_t* type, const void* record);

/* A field's value; `data` points at the field's own bytes (record + offset). */
VTR_API JSON_Value* vtr_type_field_definition_jsonify_data(const vtr_type_field_definition_t* field, const void* data);
/* A field of array length 1: its scalar, or a nested object for a type made of fields. */
VTR_API JSON_Value* vtr_type_field_definition_jsonify_scalar(const vtr_type_field_definition_t* field,
                                                             const void* data);
/* A field of any other array length: a string for char arrays, otherwise an array. */
VTR_API JSON_Value* vtr_type_field_definition_jsonify_array(const vtr_type_field_definition_t* field,
                                                            const void* data);

/* One built-in value; 64-bit values of a field named with "guid" or "GUID" become hex strings.
 * Null for an id that is not built in. */
VTR_API JSON_Value* vtr_builtin_type_jsonify_with_field_name(uint32_t id, const void* value, const char* field_name);
VTR_API JSON_Value* vtr_builtin_type_jsonify(uint32_t id, const void* value);

VTR_EXTERN_C_END

#endif
