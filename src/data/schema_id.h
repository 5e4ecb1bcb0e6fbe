#ifndef VTR_DATA_SCHEMA_ID_H
#define VTR_DATA_SCHEMA_ID_H

#include <stdbool.h>
#include <stdint.h>

#include "json/parson.h"
#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* A schema id is the MD5 digest of the schema's pretty-printed JSON text (16 bytes). */

VTR_API bool vtr_schema_id_is_unset(const uint8_t* id);
VTR_API void vtr_copy_schema_id(uint8_t* target, const uint8_t* source);
VTR_API void vtr_reset_schema_id(uint8_t* id);
VTR_API int vtr_compare_schema_id(const uint8_t* a, const uint8_t* b);

/* 32 lower-case hex digits; the first returns a new string (caller frees, null on allocation
 * failure), the second writes into a buffer of at least VTR_SCHEMA_ID_STRING_SIZE bytes. */
VTR_API char* vtr_schema_id_string(const uint8_t* id);
VTR_API void vtr_schema_id_to_schema_string(const uint8_t* id, char* out);
/* Exactly 32 hex digits of either case -> 16 bytes; 0 for anything else. */
VTR_API bool vtr_schema_from_id_string(const char* text, uint8_t* out_id);

/* The id of events that carry opaque data instead of typed records. */
VTR_API bool vtr_schema_id_is_blob(const uint8_t* id);
VTR_API void vtr_schema_id_set_blob(uint8_t* id);

/* MD5 of the text's bytes without its terminator; 0 for null text. */
VTR_API bool vtr_get_schema_id_from_pretty_json_string(const char* text, uint8_t* out_id);
/* Pretty-serialises `json` and digests that text. */
VTR_API bool vtr_type_system_get_json_schema_id(uint8_t* out_id, const JSON_Value* json);

VTR_EXTERN_C_END

#endif
