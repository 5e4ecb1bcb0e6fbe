#ifndef VTR_DATA_TYPE_SYSTEM_H
#define VTR_DATA_TYPE_SYSTEM_H

#include <stdbool.h>
#include <stdint.h>

#include "json/parson.h"
#include "runtime/field_set_api.h"
#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* Creation, destruction and vtr_type_system_add_schema are declared in schema.h. */

/* Destroys the last schema; returns how many remain. */
VTR_API uint8_t vtr_type_system_remove_last_schema(vtr_type_system_t* type_system);
/* Slot of the first schema of that name in *out_index (may be null); 1 when found. */
VTR_API bool vtr_type_system_find_schema(const vtr_type_system_t* type_system, const char* name, uint8_t* out_index);
/* Makes "<built-in>" the schema's parent and re-resolves every field of every type. */
VTR_API bool vtr_type_system_adjust_type_references(vtr_type_system_t* type_system, vtr_schema_t* schema);
/* Moves the source's schemas into the target, resolved against the target. Returns how many
 * were moved, the slot of the first in *out_index (may be null), or 0xFFFFFFFF when one could
 * not be added: the schemas moved before it stay with the target, the rest with the source. */
VTR_API uint32_t vtr_type_system_clone_schemas(vtr_type_system_t* target, vtr_type_system_t* source,
                                               uint8_t* out_index);

/* Reads a schema file, keeps what the field set wants (null keeps everything), resolves and
 * appends it. *out_filtered (may be null) tells whether the field set was consulted. */
VTR_API vtr_schema_t* vtr_type_system_load_schema(vtr_type_system_t* type_system, const char* path);
VTR_API vtr_schema_t* vtr_type_system_load_schema_filtered_by_fset(vtr_type_system_t* type_system, const char* path,
                                                                   const vtr_provider_field_set_t* field_set,
                                                                   bool* out_filtered);

/* Largest event type over the provider schemas, capped at 0xFFFFFFFF. */
VTR_API uint32_t vtr_type_system_get_max_event_type_size(const vtr_type_system_t* type_system);
/* The above or the counters record size, whichever is larger. */
VTR_API uint32_t vtr_type_system_max_type_size(const vtr_type_system_t* type_system);
/* Recomputes the id and id string of every schema; ids go stale as types are added. */
VTR_API void vtr_type_system_update_md5_hashes(vtr_type_system_t* type_system);

/* The whole type system as JSON (the built-in schema is not written); caller frees. */
VTR_API JSON_Value* vtr_type_system_jsonify(const vtr_type_system_t* type_system);
/* A type system document, or a bare counters schema document; null on failure. */
VTR_API vtr_type_system_t* vtr_type_system_from_json(const JSON_Value* json);
/* Pretty or compact text; caller frees with json_free_serialized_string. */
VTR_API char* vtr_type_system_serialize(const vtr_type_system_t* type_system, bool pretty);
VTR_API vtr_type_system_t* vtr_type_system_deserialize(const char* text);

VTR_EXTERN_C_END

#endif
