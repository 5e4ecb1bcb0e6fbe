#ifndef VTR_FIELD_SET_API_H
#define VTR_FIELD_SET_API_H

#include <stdbool.h>
#include <stddef.h>

#include "runtime/vtr_export.h"

#ifdef __cplusplus
namespace vtr {
class ProviderFieldSet;
}
#endif

VTR_EXTERN_C_BEGIN

/* Handle of a field set for callers of the plain functions; owns its set. */
typedef struct vtr_provider_field_set {
#ifdef __cplusplus
  vtr::ProviderFieldSet* set;
#else
  void* set; /* opaque outside C++ */
#endif
} vtr_provider_field_set_t;

/* Null on allocation failure; release with vtr_provider_field_set_destroy. */
VTR_API vtr_provider_field_set_t* vtr_provider_field_set_create(void);
/* Accepts null. */
VTR_API void vtr_provider_field_set_destroy(vtr_provider_field_set_t* field_set);
VTR_API bool vtr_provider_field_set_init_from_file(vtr_provider_field_set_t* field_set, const char* fset_filename);
/* Null entries are skipped; true once parsed, even when no pattern was found. */
VTR_API bool vtr_provider_field_set_init_from_lines(vtr_provider_field_set_t* field_set, const char** lines,
                                                    size_t num_lines);
/* False when the question cannot be answered: a broken field set drops the field. */
VTR_API bool vtr_provider_field_set_should_include_field(const vtr_provider_field_set_t* field_set,
                                                         const char* type_name, const char* field_name);
/* True when the question cannot be answered: a broken field set never hides a type. */
VTR_API bool vtr_provider_field_set_is_type_of_interest(const vtr_provider_field_set_t* field_set,
                                                        const char* type_name);
/* A strdup'ed copy of the set's name; the caller frees it. Null on failure. */
VTR_API char* vtr_provider_field_set_get_name(const vtr_provider_field_set_t* field_set);
VTR_API bool vtr_provider_field_set_is_initialized(const vtr_provider_field_set_t* field_set);
VTR_API void vtr_provider_field_set_print_configuration(const vtr_provider_field_set_t* field_set);

VTR_EXTERN_C_END

#endif
