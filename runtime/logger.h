#ifndef VTR_LOGGER_H
#define VTR_LOGGER_H

#include <pthread.h>
#include <stdint.h>
#include <stdio.h>

#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* Priorities are syslog's: 3 error, 4 warning, 6 info, 7 debug. */
#define VTR_LOG_ERR 3
#define VTR_LOG_WARNING 4
#define VTR_LOG_INFO 6
#define VTR_LOG_DEBUG 7

/* The environment variable the level is first read from (API_LOG_LEVEL counts too). */
#define VTR_LOG_LEVEL_VARIABLE "VTR_API_LOG_LEVEL"

/* Level value meaning "not read from the environment yet". */
#define VTR_LOG_LEVEL_UNSET 0xFFFFFFFFu

typedef enum vtr_logger_type {
  VTR_LOGGER_STDERR = 0,
  VTR_LOGGER_SYSLOG = 1,
  VTR_LOGGER_FILE = 2,
  VTR_LOGGER_FUNC = 3
} vtr_logger_type;

typedef void (*vtr_log_func_t)(int priority, const char* format, ...);

/* Snapshot of a logger's state, handed from a host to a plug-in. */
typedef struct vtr_logger_ctx {
  uint32_t type;
  FILE* stream;
  vtr_log_func_t log_func;
  uint32_t level;
  pthread_mutex_t* mutex;
} vtr_logger_ctx_t;

VTR_API extern uint32_t vtr_log_level;
VTR_API extern uint8_t is_registered;

VTR_API uint32_t vtr_set_log_level(uint32_t level);
VTR_API void vtr_set_log_func(vtr_log_func_t func, uint32_t level);
VTR_API vtr_log_func_t vtr_get_log_func(void);
/* Caller owns the result; free it with vtr_destroy_logger_ctx. */
VTR_API vtr_logger_ctx_t* vtr_get_logger_ctx(void);
VTR_API void vtr_destroy_logger_ctx(vtr_logger_ctx_t* ctx);
VTR_API int _vtr_register_logger(vtr_logger_ctx_t* ctx);
VTR_API int vtr_register_logger(vtr_logger_ctx_t* ctx);
VTR_API int vtr_init_stderr_logger(uint32_t level);
VTR_API int vtr_init_syslog_logger(const char* ident, uint32_t level);
VTR_API int vtr_init_file_logger(const char* path, uint32_t level);
VTR_API void vtr_close_logger(void);
VTR_API int __vtr_init_logger_default(void);
VTR_API void _vtr_log(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));
VTR_API void vtr_dump_timestamp_logger(FILE* stream);
VTR_API const char* vtr_priority_level_string_logger(int priority);
VTR_API void vtr_logger_cleanup_mutex_exit_handler(void);
VTR_API void log_hex(const void* bytes, size_t length);

/* Environment lookup that accepts a key with or without the "VTR_" prefix; the prefixed
 * variable wins. It logs what it found (a conflict of the two forms as a warning, the outcome
 * at debug), except for VTR_LOG_LEVEL_VARIABLE, which the logger reads while it sets itself
 * up. The result points into the environment; null when neither is set. */
VTR_API const char* vtr_getenv(const char* key);

/* Checks the level without formatting anything when the message would not be written. */
static inline int vtr_log_enabled(int priority) {
  if (vtr_log_level == VTR_LOG_LEVEL_UNSET) __vtr_init_logger_default();
  return vtr_log_level >= (uint32_t)priority;
}

/* The one calling pattern of every message in the library. */
#define vtr_log(priority, ...)                                   \
  do {                                                           \
    if (vtr_log_enabled(priority)) {                             \
      vtr_log_func_t vtr_log_func__ = vtr_get_log_func();        \
      if (vtr_log_func__)                                        \
        vtr_log_func__((priority), __VA_ARGS__);                 \
      else                                                       \
        _vtr_log((priority), __VA_ARGS__);                       \
    }                                                            \
  } while (0)

VTR_EXTERN_C_END

#endif
