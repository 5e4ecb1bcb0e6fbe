#include "src/data/data_serializer.h"

#include <algorithm>
#include <cstring>

#include "runtime/clock.h"
#include "runtime/magic_value.h"
#include "runtime/rate_limit.h"

// Shared by the call sites below, each of which keeps its own rate-limit clock.
#define VTR_ZERO_SIZE_TYPE_MESSAGE "schema %s type index %u size is zero"

namespace {

const vtr_schema_t* schema_at(const vtr_data_serializer_t* serializer, uint8_t schema_index) {
  return serializer->type_system->schemas[schema_index];
}

uint64_t type_size(const vtr_data_serializer_t* serializer, uint8_t schema_index, uint8_t type_index) {
  return schema_at(serializer, schema_index)->types[type_index]->size;
}

// Bytes left for events once a block header is written; 0 when not even the header fits.
uint64_t room_after_header(const vtr_data_serializer_t* serializer) {
  const uint64_t taken = serializer->used + VTR_EVENT_BLOCK_HEADER_SIZE;
  return taken < serializer->capacity ? serializer->capacity - taken : 0;
}

void store_le(uint8_t* at, uint64_t value, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}

// Appends a block header at the end of the used part; returns where the events go.
uint8_t* append_block_header(vtr_data_serializer_t* serializer, uint8_t schema_index, uint8_t type_index,
                             uint8_t count, uint64_t timestamp_us) {
  uint8_t* header = serializer->buffer + serializer->used;
  vtr_magic_value_fill(header + offsetof(vtr_event_block_header_t, magic), VTR_MAGIC_EVENTS);
  store_le(header + offsetof(vtr_event_block_header_t, timestamp_us), timestamp_us, 8);
  store_le(header + offsetof(vtr_event_block_header_t, schema_index), schema_index, 1);
  store_le(header + offsetof(vtr_event_block_header_t, type_index), type_index, 2);
  store_le(header + offsetof(vtr_event_block_header_t, count), count, 1);
  serializer->used += VTR_EVENT_BLOCK_HEADER_SIZE;
  return header + VTR_EVENT_BLOCK_HEADER_SIZE;
}

}  // namespace

int vtr_data_serializer_write_events_ts(vtr_data_serializer_t* serializer, uint8_t schema_index, uint8_t type_index,
                                        const void* events, uint8_t count, uint64_t timestamp_us) {
  const uint64_t size = type_size(serializer, schema_index, type_index);
  if (size == 0) {
    vtr_log_rate_limited(VTR_LOG_ERR, VTR_ZERO_SIZE_TYPE_MESSAGE,
                         schema_at(serializer, schema_index)->schema_id_string, static_cast<unsigned>(type_index));
    return 0;
  }
  const uint64_t room = room_after_header(serializer);
  if (room < size) return 0;

  // Whole events only; the caller writes the rest into a later block.
  const uint8_t written = static_cast<uint8_t>(std::min<uint64_t>(count, room / size));
  uint8_t* data = append_block_header(serializer, schema_index, type_index, written, timestamp_us);
  const uint64_t bytes = written * size;
  if (bytes) memcpy(data, events, bytes);
  serializer->used += bytes;
  return written;
}

int vtr_data_serializer_write_events(vtr_data_serializer_t* serializer, uint8_t schema_index, uint8_t type_index,
                                     const void* events, uint8_t count) {
  return vtr_data_serializer_write_events_ts(serializer, schema_index, type_index, events, count, vtr_now_us());
}

void* vtr_data_serializer_get_events_buffer(vtr_data_serializer_t* serializer, uint8_t schema_index,
                                            uint8_t type_index, uint8_t count, size_t* out_data_size) {
  const uint64_t data_size = count * type_size(serializer, schema_index, type_index);
  const uint64_t room = room_after_header(serializer);
  // The header itself must fit too, even for an empty block.
  if (data_size > room || serializer->used + VTR_EVENT_BLOCK_HEADER_SIZE > serializer->capacity) {
    vtr_log(VTR_LOG_DEBUG, "[Data Serializer][%s] Cannot get data buffer. free_space = %zu < data_size = %zu",
            __func__, static_cast<size_t>(room), static_cast<size_t>(data_size));
    return nullptr;
  }
  uint8_t* data = append_block_header(serializer, schema_index, type_index, count, vtr_now_us());
  serializer->used += data_size;
  if (out_data_size) *out_data_size = data_size;
  return data;
}

void* vtr_data_serializer_reserve_buffer(vtr_data_serializer_t* serializer, size_t bytes) {
  if (serializer->used > serializer->capacity || serializer->capacity - serializer->used < bytes) return nullptr;
  uint8_t* reserved = serializer->buffer + serializer->used;
  serializer->used += bytes;
  return reserved;
}

size_t vtr_data_serializer_get_capacity(vtr_data_serializer_t* serializer, uint8_t schema_index,
                                        uint8_t type_index) {
  const uint64_t size = type_size(serializer, schema_index, type_index);
  if (size == 0) {
    vtr_log_rate_limited(VTR_LOG_ERR, VTR_ZERO_SIZE_TYPE_MESSAGE,
                         schema_at(serializer, schema_index)->schema_id_string, static_cast<unsigned>(type_index));
    return 0;
  }
  return room_after_header(serializer) / size;
}
