#ifndef VTR_SOURCE_H
#define VTR_SOURCE_H

#include <stddef.h>
#include <stdint.h>

#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

#define VTR_SOURCE_ID_SIZE 64
#define VTR_SOURCE_TAG_SIZE 16
#define VTR_MAX_SOURCES 65534
#define VTR_SOURCE_NOT_FOUND 0xFFFFu

typedef struct vtr_source {
  char id[VTR_SOURCE_ID_SIZE];
  char tag[VTR_SOURCE_TAG_SIZE];
} vtr_source_t;

/* Owns its sources. */
typedef struct vtr_source_array {
  uint16_t count;
  vtr_source_t** sources;
} vtr_source_array_t;

VTR_API vtr_source_t* vtr_create_source(const char* id, const char* tag);
VTR_API vtr_source_t* vtr_create_default_source(const char* tag);
VTR_API void vtr_destroy_source(vtr_source_t* source);
VTR_API vtr_source_array_t* vtr_create_source_array(void);
VTR_API int vtr_source_array_append(vtr_source_array_t* array, vtr_source_t* source);
VTR_API uint16_t vtr_source_array_find_source(const vtr_source_array_t* array, const vtr_source_t* source);
VTR_API void vtr_destroy_source_array(vtr_source_array_t* array);
VTR_API vtr_source_array_t* vtr_create_default_source_array(const char* tag);
VTR_API void vtr_source_copy(vtr_source_t* destination, const vtr_source_t* source);
VTR_API int vtr_source_compare(const vtr_source_t* a, const vtr_source_t* b);
/* Caller frees. */
VTR_API char* vtr_source_string(const vtr_source_t* source);
VTR_API int vtr_source_full_string(const vtr_source_t* source, char* buffer, size_t buffer_size);
VTR_API void vtr_source_array_log(const vtr_source_array_t* array, const char* name);
VTR_API vtr_source_array_t* vtr_create_source_array_from_string(const char* text);
VTR_API vtr_source_array_t* vtr_create_source_array_from_input(const char* text_or_path);

VTR_EXTERN_C_END

#endif
