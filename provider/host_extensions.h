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

/* The status of every field of one event handed over by `progress`, in schema order (the
   timestamp first, always VTR_FIELD_READ), one vtr_field_status_t per byte. The event is named
   by its own timestamp field (field 0: microseconds since the Unix epoch, as the event holds
   it), so a host that drains several events into one block reads each event's own statuses;
   the provider keeps them for the 16 events it handed over last. `statuses` is owned by the
   caller and receives at most `capacity` entries. Returns the number of fields of the event
   type, or -1 when `provider` is null or holds no statuses for that event (never handed over,
   or older than the last 16). Call it on the thread that calls `progress`, after that call. */
VTR_API int vtr_ipmitool_event_field_status(vtr_event_provider_t* provider, uint64_t event_timestamp_us,
                                            uint8_t* statuses, size_t capacity);

typedef int (*vtr_ipmitool_event_field_status_fn)(vtr_event_provider_t* provider, uint64_t event_timestamp_us,
                                                  uint8_t* statuses, size_t capacity);

/* The same for the event most recently handed over; -1 before the first. Kept for hosts that
   drain one event at a time. */
VTR_API int vtr_ipmitool_field_status(vtr_event_provider_t* provider, uint8_t* statuses, size_t capacity);

typedef int (*vtr_ipmitool_field_status_fn)(vtr_event_provider_t* provider, uint8_t* statuses, size_t capacity);

/* Which kind of sensor stands behind a field. */
typedef enum vtr_ipmitool_sensor_kind {
  VTR_SENSOR_KIND_NONE = 0,      /* no sensor: the timestamp */
  VTR_SENSOR_KIND_DISCRETE = 1,  /* the field holds the sensor's states word */
  VTR_SENSOR_KIND_THRESHOLD = 2  /* the field holds the sensor's reading, in `unit` */
} vtr_ipmitool_sensor_kind_t;

/* What the verbose listing said at start-up about the sensor behind one field. Texts are as the
   BMC printed them (not necessarily UTF-8) and never null; "" where the listing had none. */
typedef struct vtr_ipmitool_sensor_facts {
  const char* field_name;  /* the schema field: "cpu1_temp" */
  const char* sensor_name; /* the Sensor ID up to " (": "CPU1 Temp" */
  int32_t sensor_number;   /* from the Sensor ID's "(0x1)": 1; -1 when it has none */
  const char* entity;      /* the Entity ID: "3.1" */
  const char* sensor_type; /* "Temperature", "Fan", "Power Supply" */
  const char* unit;        /* after a threshold reading: "degrees C", "RPM", "Volts", "Watts", "Amps", "percent" */
  uint8_t kind;            /* a vtr_ipmitool_sensor_kind_t */
} vtr_ipmitool_sensor_facts_t;

/* One record per field of the event type, in schema order (the timestamp first, of kind
   VTR_SENSOR_KIND_NONE), stored through `facts`. The array and its texts are owned by the
   provider and stay valid and unchanged from a successful `initialize` to `destroy`; do not
   free them. Returns the number of records, or -1 (and stores null) when `provider` is null or
   not initialised. */
VTR_API int vtr_ipmitool_sensor_facts(vtr_event_provider_t* provider, const vtr_ipmitool_sensor_facts_t** facts);

typedef int (*vtr_ipmitool_sensor_facts_fn)(vtr_event_provider_t* provider, const vtr_ipmitool_sensor_facts_t** facts);

VTR_EXTERN_C_END

#endif
