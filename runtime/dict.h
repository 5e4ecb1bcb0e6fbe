#ifndef VTR_DICT_H
#define VTR_DICT_H

#include <stdint.h>

#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* The host's option dictionary: string keys to string values (values may be null).
 * The dictionary owns copies of everything added; returned values point into it and stay
 * valid until the entry is replaced or the dictionary deleted. */
typedef struct vtr_custom_options vtr_custom_options;

typedef int (*vtr_dict_enum_callback)(const char* key, const char* value, void* user_data);

VTR_API vtr_custom_options* vtr_dict_create(void);
VTR_API int vtr_dict_add(vtr_custom_options* dict, const char* key, const char* value);
VTR_API const char* vtr_dict_get(const vtr_custom_options* dict, const char* key);
VTR_API int vtr_dict_enum(const vtr_custom_options* dict, vtr_dict_enum_callback callback, void* user_data);
VTR_API void vtr_dict_dump(const vtr_custom_options* dict, const char* name);
VTR_API void vtr_dict_delete(vtr_custom_options* dict);
VTR_API vtr_custom_options* vtr_dict_dup(const vtr_custom_options* dict);

VTR_EXTERN_C_END

#endif
