#ifndef VTR_MAGIC_VALUE_H
#define VTR_MAGIC_VALUE_H

#include <stdint.h>

#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* Four bytes: "VTR" and the kind of block. */
typedef uint8_t vtr_magic_value_t[4];
#define VTR_MAGIC_EVENTS 'E'
#define VTR_MAGIC_COUNTERS_DATA 'D'

VTR_API void vtr_magic_value_fill(uint8_t* magic, char kind);
VTR_API void vtr_magic_value_fill_lower(uint8_t* magic, char kind);
VTR_API void vtr_magic_value_copy(uint8_t* destination, const uint8_t* source);
VTR_API int vtr_magic_value_match_type(const uint8_t* magic, char kind);
VTR_API int vtr_magic_value_match(const uint8_t* a, const uint8_t* b);

VTR_EXTERN_C_END

#endif
