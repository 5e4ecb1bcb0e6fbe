#ifndef VTR_DATA_SCHEMA_JSON_H
#define VTR_DATA_SCHEMA_JSON_H

#include <stdbool.h>
#include <stdint.h>

#include "json/parson.h"
#include "runtime/field_set_api.h"
#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* JSON form of fields, types and schemas. Every jsonify returns a new value (caller frees with
 * json_value_free) or null when the record has no JSON form: a null name, description or type
 * name, or a schema without types. */
VTR_API JSON_Value* vtr_type_field_definition_jsonify(const vtr_type_field_definition_t* field);
VTR_API JSON_Value* vtr_type_definition_jsonify(const vtr_type_definition_t* type);
VTR_API JSON_Value* vtr_schema_jsonify(const vtr_schema_t* schema);

/* Pretty or compact text of a type; caller frees with json_free_serialized_string. */
VTR_API char* vtr_type_definition_serialize(const vtr_type_definition_t* type, bool pretty);

/* JSON text of the named type, pretty or compact; caller frees with json_free_serialized_string.
 * Null if the type is not found or has no JSON form. */
VTR_API char* vtr_schema_serialize_type_definition(const vtr_schema_t* schema, const char* type_name, bool pretty);

/* A schema's id is the MD5 of its pretty JSON; 0 (and *out_id untouched) when it has no JSON form. */
VTR_API bool vtr_schema_extract_id(const vtr_schema_t* schema, uint8_t* out_id);

/* Readers return new records (null on failure). Sizes and offsets are taken as written; field
 * type pointers, a schema's parent and its id are left to the caller. */
VTR_API vtr_type_field_definition_t* vtr_type_field_definition_from_json(const JSON_Value* json);
VTR_API vtr_type_definition_t* vtr_type_definition_from_json(const JSON_Value* json);
VTR_API vtr_schema_t* vtr_schema_from_json(const JSON_Value* json);

/* The same, keeping only what `field_set` wants (null keeps everything). `*out_filtered`
 * (may be null) becomes 1 once the field set has been consulted, so a null result with the
 * flag set means "left out on purpose" rather than "broken". */
VTR_API vtr_type_definition_t* vtr_type_definition_from_json_filtered_by_fset(const JSON_Value* json,
                                                                               const vtr_provider_field_set_t* field_set,
                                                                               bool* out_filtered);
VTR_API vtr_schema_t* vtr_schema_from_json_filtered_by_fset(const JSON_Value* json,
                                                            const vtr_provider_field_set_t* field_set,
                                                            bool* out_filtered);

VTR_EXTERN_C_END

#ifdef __cplusplus
namespace vtr {
namespace data {

// Recomputes a schema's id from its JSON (kept as it was when there is none) and its id string.
void refresh_schema_id(vtr_schema_t* schema);

}  // namespace data
}  // namespace vtr
#endif

#endif
