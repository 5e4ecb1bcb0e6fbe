#ifndef VTR_DATA_COUNTERS_SCHEMA_H
#define VTR_DATA_COUNTERS_SCHEMA_H

#include <stdint.h>

#include "json/parson.h"
#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* The counters schema rides along in every type system. This library does not interpret
 * counters: it keeps the document's "counter_groups" as they are so that a type system read
 * from JSON is written back unchanged. */
typedef struct vtr_counters_schema {
  JSON_Value* counter_groups; /* owned; an array, empty for a fresh counters schema */
} vtr_counters_schema_t;

VTR_API vtr_counters_schema_t* vtr_create_counters_schema(void);
VTR_API void vtr_destroy_counters_schema(vtr_counters_schema_t* counters);

/* Bytes of one counters data record; no counter is laid out here, so 0. */
VTR_API uint32_t vtr_counters_schema_record_size(const vtr_counters_schema_t* counters);

/* {"counter_groups": [...]}; caller frees. Null on failure. */
VTR_API JSON_Value* vtr_counters_schema_jsonify(const vtr_counters_schema_t* counters);
/* Reads an object; a missing "counter_groups" gives an empty counters schema. */
VTR_API vtr_counters_schema_t* vtr_counters_schema_from_json(const JSON_Value* json);

VTR_EXTERN_C_END

#endif
