#ifndef VTR_DATA_BUILTIN_TYPES_H
#define VTR_DATA_BUILTIN_TYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* Ids of the 22 scalar types every schema sees through "<built-in>"; 0 is no built-in type. */
#define VTR_BUILTIN_TYPE_COUNT 22
enum vtr_builtin_type_id {
  VTR_BUILTIN_NONE = 0,
  VTR_BUILTIN_BOOL = 1,
  VTR_BUILTIN_CHAR = 2,
  VTR_BUILTIN_SHORT = 3,
  VTR_BUILTIN_INT = 4,
  VTR_BUILTIN_LONG = 5,
  VTR_BUILTIN_LONG_LONG = 6,
  VTR_BUILTIN_UNSIGNED_CHAR = 7,
  VTR_BUILTIN_UNSIGNED_SHORT = 8,
  VTR_BUILTIN_UNSIGNED_INT = 9,
  VTR_BUILTIN_UNSIGNED_LONG = 10,
  VTR_BUILTIN_UNSIGNED_LONG_LONG = 11,
  VTR_BUILTIN_FLOAT = 12,
  VTR_BUILTIN_DOUBLE = 13,
  VTR_BUILTIN_INT8 = 14,
  VTR_BUILTIN_INT16 = 15,
  VTR_BUILTIN_INT32 = 16,
  VTR_BUILTIN_INT64 = 17,
  VTR_BUILTIN_UINT8 = 18,
  VTR_BUILTIN_UINT16 = 19,
  VTR_BUILTIN_UINT32 = 20,
  VTR_BUILTIN_UINT64 = 21,
  VTR_BUILTIN_TIMESTAMP = 22
};

/* Table look-ups; an unknown id or name gives null, 0 and 0. */
VTR_API const char* vtr_builtin_type_name(uint32_t id);
VTR_API size_t vtr_builtin_type_size(uint32_t id);
VTR_API uint32_t vtr_builtin_type_from_name(const char* name);

/* Writes one new type definition per built-in type into `defs`, at most `capacity`; returns
 * how many, or -1 when an allocation failed (nothing is left allocated then). */
VTR_API int vtr_builtin_type_get_type_defs(vtr_type_definition_t** defs, size_t capacity);

/* Fills an empty schema's type slots with the built-in definitions and sets its count. */
VTR_API bool vtr_schema_register_builtin_types(vtr_schema_t* schema);

/* Appends the built-in definitions to the type system's built-in schema while it has room. */
VTR_API bool vtr_builtin_type_register_types(vtr_type_system_t* type_system);

/* Prints the id, name and size of every built-in type, one line each, after a header line. */
VTR_API void vtr_builtin_type_print_info(FILE* stream);

VTR_EXTERN_C_END

#endif
