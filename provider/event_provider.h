#ifndef VTR_EVENT_PROVIDER_H
#define VTR_EVENT_PROVIDER_H

#include <stdbool.h>
#include <stdint.h>

#include "runtime/dict.h"
#include "runtime/logger.h"
#include "runtime/source.h"
#include "runtime/vtr_export.h"
#include "src/data/data_serializer.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

typedef struct vtr_event_provider vtr_event_provider_t;

/* Record that the fill-record callback writes (its meaning belongs to the host). */
typedef struct vtr_provider_fill_record {
  uint64_t first;
  uint32_t second;
  uint16_t third;
} vtr_provider_fill_record_t;

typedef bool (*vtr_provider_initialize_fn)(vtr_event_provider_t* provider, vtr_type_system_t* type_system);
typedef bool (*vtr_provider_start_fn)(vtr_event_provider_t* provider);
typedef int (*vtr_provider_progress_fn)(vtr_event_provider_t* provider, void* ignored,
                                        vtr_data_serializer_t* serializer);
typedef bool (*vtr_provider_stop_fn)(vtr_event_provider_t* provider);
typedef void (*vtr_provider_destroy_fn)(vtr_event_provider_t* provider);
/* The caller owns the returned array (vtr_destroy_source_array). */
typedef vtr_source_array_t* (*vtr_provider_get_sources_fn)(vtr_event_provider_t* provider);
typedef bool (*vtr_provider_fill_record_fn)(vtr_event_provider_t* provider, void* ignored,
                                            vtr_provider_fill_record_t* record);

/* The host-facing record of an event provider, in the order hosts expect. */
struct vtr_event_provider {
  uint32_t version;
  const char* name;
  const char* description;
  void* reserved0;
  vtr_provider_initialize_fn initialize;
  void* reserved1;
  vtr_provider_start_fn start;
  vtr_provider_progress_fn progress;
  vtr_provider_stop_fn stop;
  vtr_provider_destroy_fn destroy;
  vtr_provider_get_sources_fn get_sources;
  vtr_provider_fill_record_fn fill_record;
  uint64_t reserved2;
};

typedef vtr_event_provider_t* (*vtr_construct_event_provider_fn)(vtr_custom_options* options);

/* The plug-in's entry point. Returns the static provider record, or null. */
VTR_API vtr_event_provider_t* construct_event_provider(vtr_custom_options* options);

VTR_EXTERN_C_END

#endif
