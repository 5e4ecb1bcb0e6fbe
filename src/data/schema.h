#ifndef VTR_DATA_SCHEMA_H
#define VTR_DATA_SCHEMA_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

#define VTR_MAX_TYPES 254
#define VTR_MAX_SCHEMAS 255
#define VTR_SCHEMA_ID_SIZE 16
#define VTR_SCHEMA_ID_STRING_SIZE 33

/* Counting mode of a field. */
typedef uint32_t vtr_value_type_t;
#define VTR_VALUE_TYPE_ABSOLUTE 0u
#define VTR_VALUE_TYPE_RUNNING_SUM 1u
#define VTR_VALUE_TYPE_INVALID 0xFFFFFFFFu

/* Input record of one field; owned by the caller. */
typedef struct vtr_type_field_info {
  char* field_name;
  char* description;
  char* type_name;
  vtr_value_type_t value_type;
  uint32_t count;
} vtr_type_field_info_t;

struct vtr_type_definition;

/* One field of a registered type; owned by its type definition. */
typedef struct vtr_type_field_definition {
  char* field_name;
  char* description;
  char* type_name;
  uint64_t type_size;
  vtr_value_type_t value_type;
  uint32_t count;
  uint64_t offset;
  struct vtr_type_definition* type_def; /* not owned */
  uint16_t index;
} vtr_type_field_definition_t;

typedef struct vtr_type_definition {
  char* name;
  uint32_t builtin_id;
  int32_t num_fields;
  vtr_type_field_definition_t** fields;
  uint64_t size;
} vtr_type_definition_t;

typedef struct vtr_schema {
  uint32_t version;
  char* name;
  vtr_type_definition_t* types[VTR_MAX_TYPES];
  uint8_t num_types;
  struct vtr_schema* parent; /* not owned */
  uint8_t schema_id[VTR_SCHEMA_ID_SIZE];
  char schema_id_string[VTR_SCHEMA_ID_STRING_SIZE];
} vtr_schema_t;

struct vtr_counters_schema;

typedef struct vtr_type_system {
  vtr_schema_t* builtin_schema;
  vtr_schema_t* schemas[VTR_MAX_SCHEMAS];
  uint8_t num_schemas;
  struct vtr_counters_schema* counters_schema;
} vtr_type_system_t;

/* Packed version: bits 0-7 major, 8-15 minor, 16-31 patch. */
#define VTR_MAKE_VERSION(major, minor, patch) \
  ((uint32_t)(major) | ((uint32_t)(minor) << 8) | ((uint32_t)(patch) << 16))

/* Status values of vtr_schema_add_type. */
#define VTR_SCHEMA_OK 0
#define VTR_SCHEMA_ERR_ALLOC 1
#define VTR_SCHEMA_ERR_EXISTS 2
#define VTR_SCHEMA_ERR_UNDEFINED_TYPE 3
#define VTR_SCHEMA_ERR_FULL 5

VTR_API vtr_type_system_t* vtr_create_type_system(void);
VTR_API void vtr_destroy_type_system(vtr_type_system_t* type_system);
VTR_API vtr_schema_t* vtr_type_system_add_schema(vtr_type_system_t* type_system, const char* name, uint32_t version,
                                                 uint8_t* out_index);
VTR_API int vtr_schema_add_type(vtr_schema_t* schema, const char* name, const vtr_type_field_info_t* infos,
                                size_t count, uint8_t* out_index);
VTR_API vtr_type_definition_t* vtr_schema_find_type_definition(const vtr_schema_t* schema, const char* name);
VTR_API uint64_t vtr_schema_sizeof_type(const vtr_schema_t* schema, const char* name);

/* Zero-filled schema with a copy of `name` (may be null) and a cleared id; null on failure.
 * The destroyer frees its types and name, not its parent; null is ignored. */
VTR_API vtr_schema_t* vtr_create_schema(const char* name, uint32_t version);
VTR_API void vtr_destroy_schema(vtr_schema_t* schema);

/* Numbers the first field of each given name 1, 2, ... in the order given, after clearing
 * every index of the type; names that match no field are skipped. Status 0, or 3 for bad
 * arguments. */
VTR_API int vtr_schema_set_field_indexes(vtr_schema_t* schema, uint8_t type_index, const char** names, size_t count);

/* New array of the names of the indexed fields in field order, their number in *out_count;
 * the caller frees the array, not the names. Null on failure. */
VTR_API const char** vtr_schema_get_indexed_fields(const vtr_schema_t* schema, uint8_t type_index,
                                                   size_t* out_count);

/* Points every field of `type` at the definition of its type_name in the schema chain. */
VTR_API bool vtr_schema_adjust_field_type_references(const vtr_schema_t* schema, vtr_type_definition_t* type);

/* Reads a schema document from a file, resolves it against `parent` and computes its id. */
VTR_API vtr_schema_t* vtr_schema_load_from_file(const char* path, vtr_schema_t* parent);

VTR_EXTERN_C_END

#endif
