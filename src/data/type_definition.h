#ifndef VTR_DATA_TYPE_DEFINITION_H
#define VTR_DATA_TYPE_DEFINITION_H

#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* Zero-filled records; destroyers accept null and free every string and field they own. */
VTR_API vtr_type_field_definition_t* vtr_create_type_field_definition(void);
VTR_API void vtr_destroy_type_field_definition(vtr_type_field_definition_t* field);
VTR_API vtr_type_definition_t* vtr_create_type_definition(void);
VTR_API void vtr_destroy_type_definition(vtr_type_definition_t* type);

/* New field definition with copies of the info's strings, counting mode and array length;
 * offset, type size and type pointer are left for the caller. Null on allocation failure. */
VTR_API vtr_type_field_definition_t* vtr_type_field_definition_from_info(const vtr_type_field_info_t* info);

/* "ABSOLUTE" / "RUNNING_SUM"; null for an unknown value. Static storage. */
VTR_API const char* vtr_value_type_string(vtr_value_type_t value_type);
/* Inverse of the above, also accepting "ABSOLUTE_MONOTONIC"; VTR_VALUE_TYPE_INVALID if unknown. */
VTR_API vtr_value_type_t vtr_value_type_from_string(const char* name);

VTR_EXTERN_C_END

#endif
