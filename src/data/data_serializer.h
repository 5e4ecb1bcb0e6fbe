#ifndef VTR_DATA_DATA_SERIALIZER_H
#define VTR_DATA_DATA_SERIALIZER_H

#include <stddef.h>
#include <stdint.h>

#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* Created and owned by the host; providers only write through it. */
typedef struct vtr_data_serializer {
  vtr_type_system_t* type_system;
  uint8_t* buffer;
  uint64_t capacity;
  uint64_t used;
} vtr_data_serializer_t;

#define VTR_EVENT_BLOCK_HEADER_SIZE 16

/* Event block header as written into the buffer: packed, little-endian. */
typedef struct __attribute__((packed)) vtr_event_block_header {
  uint8_t magic[4];
  uint64_t timestamp_us;
  uint8_t schema_index;
  uint16_t type_index;
  uint8_t count;
} vtr_event_block_header_t;

VTR_API int vtr_data_serializer_write_events_ts(vtr_data_serializer_t* serializer, uint8_t schema_index,
                                                uint8_t type_index, const void* events, uint8_t count,
                                                uint64_t timestamp_us);
VTR_API int vtr_data_serializer_write_events(vtr_data_serializer_t* serializer, uint8_t schema_index,
                                             uint8_t type_index, const void* events, uint8_t count);
VTR_API void* vtr_data_serializer_get_events_buffer(vtr_data_serializer_t* serializer, uint8_t schema_index,
                                                    uint8_t type_index, uint8_t count, size_t* out_data_size);
VTR_API void* vtr_data_serializer_reserve_buffer(vtr_data_serializer_t* serializer, size_t bytes);
VTR_API size_t vtr_data_serializer_get_capacity(vtr_data_serializer_t* serializer, uint8_t schema_index,
                                                uint8_t type_index);

VTR_EXTERN_C_END

#endif
