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

/* How a sensor stood in one event. */
typedef enum vtr_ipmitool_health {
  VTR_HEALTH_NOMINAL = 0,
  VTR_HEALTH_WARNING = 1,  /* a non-critical threshold crossed, or a state that needs a look */
  VTR_HEALTH_CRITICAL = 2, /* a critical or non-recoverable threshold crossed, or a failed part */
  VTR_HEALTH_UNKNOWN = 3   /* no reading in that event's pass, or a status the state tables do not know */
} vtr_ipmitool_health_t;

/* A threshold sensor's thresholds, in this order. */
typedef enum vtr_ipmitool_threshold {
  VTR_THRESHOLD_LOWER_NON_RECOVERABLE = 0,
  VTR_THRESHOLD_LOWER_CRITICAL = 1,
  VTR_THRESHOLD_LOWER_NON_CRITICAL = 2,
  VTR_THRESHOLD_UPPER_NON_CRITICAL = 3,
  VTR_THRESHOLD_UPPER_CRITICAL = 4,
  VTR_THRESHOLD_UPPER_NON_RECOVERABLE = 5,
  VTR_THRESHOLD_COUNT = 6
} vtr_ipmitool_threshold_t;

/* One field's sensor in one event, from the listing that event's pass read (no extra tool
   run). A threshold sensor's health follows its status; a discrete sensor's is the worst of
   its asserted states (see vtr_ipmitool_discrete_states). */
typedef struct vtr_ipmitool_field_health {
  uint8_t health;    /* a vtr_ipmitool_health_t; VTR_HEALTH_UNKNOWN for the timestamp */
  char status[24];   /* a threshold sensor's status as the listing prints it, cut to fit: "ok",
                        "Lower Non-Critical" (verbose listing), "nc" (single-run sampling's
                        compact table); "" when none */
  double thresholds[VTR_THRESHOLD_COUNT]; /* in the reading's unit; NaN where the listing says na */
  uint16_t asserted; /* a discrete sensor's asserted states: bit n for state offset n (0-14) */
} vtr_ipmitool_field_health_t;

/* The health of every field of one event handed over by `progress`, named by its timestamp
   field as for vtr_ipmitool_event_field_status, in schema order. `health` is owned by the
   caller and receives at most `capacity` records. Returns the number of fields, or -1 when
   `provider` is null or holds nothing for that event. Call it on the thread that calls
   `progress`, after that call. */
VTR_API int vtr_ipmitool_event_field_health(vtr_event_provider_t* provider, uint64_t event_timestamp_us,
                                            vtr_ipmitool_field_health_t* health, size_t capacity);

typedef int (*vtr_ipmitool_event_field_health_fn)(vtr_event_provider_t* provider, uint64_t event_timestamp_us,
                                                  vtr_ipmitool_field_health_t* health, size_t capacity);

/* One state of a discrete sensor. */
typedef struct vtr_ipmitool_state {
  const char* name; /* as the tool prints it: "Failure detected"; "state N" where the IPMI
                       tables name none */
  uint8_t health;   /* a vtr_ipmitool_health_t: how serious the state is while asserted */
  uint8_t named;    /* 1 when the tables name it: a state this sensor can report */
} vtr_ipmitool_state_t;

/* The 15 states (offsets 0 to 14) of discrete field `field` (its index in schema order), named
   after its sensor type and event/reading type, stored through `states`. The array and its
   texts are owned by the provider and stay valid and unchanged from a successful `initialize`
   to `destroy`. Returns 15, or -1 (storing null) for a field that is not discrete, a provider
   that is null or not initialised. */
VTR_API int vtr_ipmitool_discrete_states(vtr_event_provider_t* provider, size_t field,
                                         const vtr_ipmitool_state_t** states);

typedef int (*vtr_ipmitool_discrete_states_fn)(vtr_event_provider_t* provider, size_t field,
                                               const vtr_ipmitool_state_t** states);

/* The last sampling pass that ran to its end, whether or not it made an event. */
typedef struct vtr_ipmitool_pass {
  uint64_t started_us; /* wall clock, microseconds since the Unix epoch: the event's timestamp */
  uint64_t ended_us;
  uint8_t read;        /* 1 when the tool answered with readings (an event was made), else 0 */
} vtr_ipmitool_pass_t;

/* Stores the last pass through `pass` and returns 0; -1 when `provider` is null or no pass has
   ended yet. A pass cut short by `stop` does not count. Any thread may call it. */
VTR_API int vtr_ipmitool_last_pass(vtr_event_provider_t* provider, vtr_ipmitool_pass_t* pass);

typedef int (*vtr_ipmitool_last_pass_fn)(vtr_event_provider_t* provider, vtr_ipmitool_pass_t* pass);

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
