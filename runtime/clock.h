#ifndef VTR_CLOCK_H
#define VTR_CLOCK_H

#include <stdint.h>
#include <time.h>

/* Microseconds of a wall-clock reading; a nanosecond part above 999,999,999 carries a second. */
static inline uint64_t vtr_timespec_to_us(struct timespec ts) {
  if (ts.tv_nsec > 999999999) {
    ts.tv_sec += 1;
    ts.tv_nsec -= 1000000000;
  }
  return (uint64_t)ts.tv_sec * 1000000u + (uint64_t)ts.tv_nsec / 1000u;
}

/* Current CLOCK_REALTIME in microseconds since the Unix epoch. */
static inline uint64_t vtr_now_us(void) {
  struct timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  return vtr_timespec_to_us(ts);
}

#endif
