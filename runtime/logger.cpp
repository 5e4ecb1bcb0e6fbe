#include "runtime/logger.h"

#include <ctype.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include <new>
#include <string>

uint32_t vtr_log_level = VTR_LOG_LEVEL_UNSET;
uint8_t is_registered = 0;

namespace {

pthread_mutex_t* logger_mutex = nullptr;
vtr_log_func_t log_func = nullptr;
uint32_t sink_kind = VTR_LOGGER_STDERR;
FILE* log_stream = nullptr;
pthread_mutex_t own_mutex;

// Bytes per line of a hex dump, and room enough for one line's text.
constexpr size_t kHexBytesPerLine = 16;
constexpr size_t kHexLineBufferSize = 100;

// The framework's environment variables carry this prefix; the bare name counts too.
constexpr char kEnvPrefix[] = "VTR_";
constexpr size_t kEnvPrefixLength = sizeof(kEnvPrefix) - 1;

bool thread_safety_disabled_by_environment() {
  const char* value = vtr_getenv("VTR_LOG_THREAD_SAFE");
  if (value == nullptr || value[0] == '\0') return false;
  const int first = tolower(static_cast<unsigned char>(value[0]));
  return first != '1' && first != 't' && first != 'y';
}

// 1 when lines are serialised by a mutex, 0 when they are not. Named as its debug line names it.
int _vtr_init_logger_mutex() {
  if (thread_safety_disabled_by_environment()) {
    vtr_log(VTR_LOG_DEBUG, "[logger] [%s] Thread safety is disabled by environment variable VTR_LOG_THREAD_SAFE",
            __func__);
    return 0;
  }
  if (is_registered || logger_mutex != nullptr) return 1;
  logger_mutex = &own_mutex;
  if (pthread_mutex_init(logger_mutex, nullptr) != 0) {
    vtr_log(VTR_LOG_ERR, "[logger] [%s] failed to initialize logger mutex", __func__);
    logger_mutex = nullptr;
    return 0;
  }
  atexit(vtr_logger_cleanup_mutex_exit_handler);
  return 1;
}

void init_logger_mutex_or_note(const char* initialiser) {
  if (!_vtr_init_logger_mutex())
    vtr_log(VTR_LOG_DEBUG, "[logger] [%s] Initialized logger without thread-safety", initialiser);
}

// A registered host logger owns the sink: the plug-in may not reconfigure it.
bool refuse_when_registered(const char* initialiser) {
  if (!is_registered) return false;
  vtr_log(VTR_LOG_DEBUG, "[logger] [%s] registered logger cannot initialize logger", initialiser);
  return true;
}

// Appends to a terminated buffer without ever running past its end.
void append_bounded(char* buffer, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));
void append_bounded(char* buffer, size_t size, const char* format, ...) {
  const size_t used = strlen(buffer);
  if (used + 1 >= size) return;
  va_list args;
  va_start(args, format);
  vsnprintf(buffer + used, size - used, format, args);
  va_end(args);
}

}  // namespace

uint32_t vtr_set_log_level(uint32_t level) {
  const uint32_t previous = vtr_log_level;
  vtr_log_level = level;
  return previous;
}

void vtr_set_log_func(vtr_log_func_t func, uint32_t level) {
  vtr_log_level = level;
  log_func = func;
  sink_kind = VTR_LOGGER_FUNC;
}

vtr_log_func_t vtr_get_log_func(void) { return log_func; }

vtr_logger_ctx_t* vtr_get_logger_ctx(void) {
  auto* ctx = static_cast<vtr_logger_ctx_t*>(calloc(1, sizeof(vtr_logger_ctx_t)));
  if (ctx == nullptr) return nullptr;
  ctx->type = sink_kind;
  if (sink_kind == VTR_LOGGER_FUNC) ctx->log_func = log_func;
  if (sink_kind == VTR_LOGGER_STDERR || sink_kind == VTR_LOGGER_FILE) ctx->stream = log_stream;
  ctx->mutex = logger_mutex;
  ctx->level = vtr_log_level;
  return ctx;
}

void vtr_destroy_logger_ctx(vtr_logger_ctx_t* ctx) { free(ctx); }

int _vtr_register_logger(vtr_logger_ctx_t* ctx) {
  if (ctx == nullptr) return 0;
  // A context taken from this very image changes nothing, and must not lock the logger.
  if (ctx->type == sink_kind && ctx->level == vtr_log_level && ctx->mutex == logger_mutex &&
      ctx->log_func == log_func && ctx->stream == log_stream)
    return 1;
  logger_mutex = ctx->mutex;
  vtr_log_level = ctx->level;
  is_registered = 1;
  sink_kind = ctx->type;
  if (sink_kind == VTR_LOGGER_FUNC) log_func = ctx->log_func;
  if (sink_kind == VTR_LOGGER_STDERR || sink_kind == VTR_LOGGER_FILE) log_stream = ctx->stream;
  return 1;
}

int vtr_register_logger(vtr_logger_ctx_t* ctx) { return _vtr_register_logger(ctx); }

int vtr_init_stderr_logger(uint32_t level) {
  if (refuse_when_registered(__func__)) return 0;
  vtr_log_level = level;
  sink_kind = VTR_LOGGER_STDERR;
  log_stream = stderr;
  init_logger_mutex_or_note(__func__);
  return 1;
}

int vtr_init_syslog_logger(const char* ident, uint32_t level) {
  if (refuse_when_registered(__func__)) return 0;
  openlog(ident, LOG_PID | LOG_CONS, LOG_DAEMON);
  vtr_log_level = level;
  sink_kind = VTR_LOGGER_SYSLOG;
  init_logger_mutex_or_note(__func__);
  return 1;
}

int vtr_init_file_logger(const char* path, uint32_t level) {
  if (refuse_when_registered(__func__)) return 0;
  vtr_close_logger();
  FILE* file = fopen(path, "w");
  if (file == nullptr) {
    vtr_init_stderr_logger(level);
    return 0;
  }
  log_stream = file;
  sink_kind = VTR_LOGGER_FILE;
  vtr_log_level = level;
  init_logger_mutex_or_note(__func__);
  return 1;
}

void vtr_close_logger(void) {
  if (is_registered) {
    vtr_log(VTR_LOG_DEBUG, "[logger] [%s] tried closing a registered logger, skipping closure", __func__);
    return;
  }
  if (sink_kind == VTR_LOGGER_SYSLOG) {
    closelog();
  } else if (sink_kind == VTR_LOGGER_FILE && log_stream != nullptr) {
    fclose(log_stream);
    log_stream = nullptr;
  }
  vtr_init_stderr_logger(vtr_log_level);
}

const char* vtr_getenv(const char* key) {
  if (key == nullptr) return nullptr;
  std::string prefixed_name;
  const char* bare_name = key;
  try {
    if (strncmp(key, kEnvPrefix, kEnvPrefixLength) == 0) {
      prefixed_name = key;
      bare_name = key + kEnvPrefixLength;
    } else {
      prefixed_name = std::string(kEnvPrefix) + key;
    }
  } catch (const std::bad_alloc&) {
    return getenv(key);
  }
  const char* prefixed_value = getenv(prefixed_name.c_str());
  const char* bare_value = getenv(bare_name);
  // The level is read while the logger sets itself up: a message here would recurse into that.
  if (strcmp(key, VTR_LOG_LEVEL_VARIABLE) == 0) return prefixed_value != nullptr ? prefixed_value : bare_value;
  if (prefixed_value != nullptr) {
    if (bare_value != nullptr && strcmp(prefixed_value, bare_value) != 0)
      vtr_log(VTR_LOG_WARNING, "[%s] Environment variables conflict - %s=%s and %s=%s. Using %s", __func__,
              prefixed_name.c_str(), prefixed_value, bare_name, bare_value, prefixed_name.c_str());
    vtr_log(VTR_LOG_DEBUG, "[%s] Using '%s'='%s'", __func__, prefixed_name.c_str(), prefixed_value);
    return prefixed_value;
  }
  if (bare_value != nullptr) {
    vtr_log(VTR_LOG_DEBUG, "[%s] Using '%s'='%s'", __func__, bare_name, bare_value);
    return bare_value;
  }
  vtr_log(VTR_LOG_DEBUG, "[%s] No value for '%s' or '%s'", __func__, prefixed_name.c_str(), bare_name);
  return nullptr;
}

int __vtr_init_logger_default(void) {
  const char* text = vtr_getenv(VTR_LOG_LEVEL_VARIABLE);
  int level = 0;
  if (text == nullptr || sscanf(text, "%d", &level) != 1) level = 0;
  // A negative level wraps to a huge unsigned one, which admits every message.
  return vtr_init_stderr_logger(static_cast<uint32_t>(level));
}

void _vtr_log(int priority, const char* format, ...) {
  va_list args;
  va_start(args, format);
  if (sink_kind == VTR_LOGGER_SYSLOG) {
    vsyslog(priority, format, args);
    va_end(args);
    return;
  }
  if (log_stream == nullptr) vtr_init_stderr_logger(vtr_log_level);
  pthread_mutex_t* mutex = logger_mutex;
  if (mutex != nullptr) pthread_mutex_lock(mutex);
  vtr_dump_timestamp_logger(log_stream);
  fputs(vtr_priority_level_string_logger(priority), log_stream);
  vfprintf(log_stream, format, args);
  fputc('\n', log_stream);
  fflush(log_stream);
  if (mutex != nullptr) pthread_mutex_unlock(mutex);
  va_end(args);
}

void vtr_dump_timestamp_logger(FILE* stream) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  int milliseconds = static_cast<int>(now.tv_nsec / 1000000);
  if (milliseconds > 999) {
    milliseconds -= 1000;
    now.tv_sec += 1;
  }
  struct tm local;
  localtime_r(&now.tv_sec, &local);
  char date_time[26];
  strftime(date_time, sizeof(date_time), "[%Y-%m-%d %H:%M:%S", &local);
  fprintf(stream, "%s.%03d] ", date_time, milliseconds);
}

const char* vtr_priority_level_string_logger(int priority) {
  switch (priority) {
    case VTR_LOG_ERR:
      return "[error] ";
    case VTR_LOG_WARNING:
      return "[warning] ";
    case VTR_LOG_INFO:
      return "[info] ";
    case VTR_LOG_DEBUG:
      return "[debug] ";
    default:
      return "";
  }
}

void vtr_logger_cleanup_mutex_exit_handler(void) {
  if (is_registered || logger_mutex == nullptr) return;
  pthread_mutex_destroy(logger_mutex);
  logger_mutex = nullptr;
}

void log_hex(const void* bytes, size_t length) {
  if (!vtr_log_enabled(VTR_LOG_DEBUG)) return;
  const auto* data = static_cast<const unsigned char*>(bytes);
  char line[kHexLineBufferSize] = "";
  char ascii[kHexBytesPerLine + 1] = "";
  size_t in_line = 0;
  for (size_t i = 0; i < length; ++i) {
    append_bounded(line, sizeof(line), "%02X ", data[i]);
    ascii[in_line] = (data[i] >= 0x20 && data[i] <= 0x7E) ? static_cast<char>(data[i]) : '.';
    ascii[++in_line] = '\0';
    // A blank splits the two halves of a line and closes the last one.
    if (in_line % 8 == 0 || i + 1 == length) append_bounded(line, sizeof(line), " ");
    if (in_line == kHexBytesPerLine) {
      append_bounded(line, sizeof(line), "|  %s ", ascii);
      vtr_log(VTR_LOG_DEBUG, "%s", line);
      line[0] = '\0';
      ascii[0] = '\0';
      in_line = 0;
    }
  }
  if (in_line == 0) return;
  // Pad a short last line so that its bar lines up with the full ones.
  if (in_line < 9) append_bounded(line, sizeof(line), " ");
  for (size_t missing = in_line; missing < kHexBytesPerLine; ++missing) append_bounded(line, sizeof(line), "   ");
  append_bounded(line, sizeof(line), "|  %s ", ascii);
  vtr_log(VTR_LOG_DEBUG, "%s", line);
}
