#ifndef VTR_HOST_EXTENSIONS_H
#define VTR_HOST_EXTENSIONS_H

/* What this provider tells hosts beyond the provider record. Hosts that resolve these by
   name (dlsym) keep working with providers that lack them. */

#include <stddef.h>
#include <stdint.h>

#include "provider/event_provider.h"
#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* Where a field's slot in an event got its value. Only VTR_FIELD_READ is a reading: every
   other status leaves the slot at the stand-by 0, which must not be shown as a value. */
typedef enum vtr_field_status {
  VTR_FIELD_READ = 1,            /* read from the tool in the pass that made the event */
  VTR_FIELD_MISSING = 2,         /* the pass had no value for it (sensor gone, run failed) */
  VTR_FIELD_NOT_CONVERTIBLE = 3, /* the pass's text did not convert to the field's type */
  VTR_FIELD_EMPTY_DEFAULT = 4    /* the tool had no reading: filled with the empty-field default */
} vtr_field_status_t;

/* The status of every field of the event most recently handed over by `progress`, in schema
   order (the timestamp first, always VTR_FIELD_READ), one vtr_field_status_t per byte.
   `statuses` is owned by the caller and receives at most `capacity` entries. Returns the
   number of fields of the event type, or -1 when `provider` is null or no event has been
   handed over yet. Call it on the thread that calls `progress`, after that call. */
VTR_API int vtr_ipmitool_field_status(vtr_event_provider_t* provider, uint8_t* statuses, size_t capacity);

typedef int (*vtr_ipmitool_field_status_fn)(vtr_event_provider_t* provider, uint8_t* statuses, size_t capacity);

VTR_EXTERN_C_END

#endif
