#include "runtime/env.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <memory>

#include "runtime/logger.h"

namespace {

constexpr char kPrefix[] = "VTR_";
constexpr size_t kPrefixLength = sizeof(kPrefix) - 1;

struct FreeDeleter {
  void operator()(char* text) const { free(text); }
};

}  // namespace

const char* vtr_getenv(const char* key) {
  if (key == nullptr) return nullptr;
  // Looking up the log level happens while the logger initialises itself: logging here
  // would recurse into that initialisation.
  const bool quiet = strcmp(key, "VTR_API_LOG_LEVEL") == 0;
  const bool has_prefix = strncmp(key, kPrefix, kPrefixLength) == 0;
  const char* prefixed_name = key;
  const char* bare_name = key + kPrefixLength;
  std::unique_ptr<char, FreeDeleter> scratch;
  if (!has_prefix) {
    const size_t buffer_size = strlen(key) + 6;
    scratch.reset(static_cast<char*>(malloc(buffer_size)));
    if (!scratch) return getenv(key);
    snprintf(scratch.get(), buffer_size, "%s%s", kPrefix, key);
    prefixed_name = scratch.get();
    bare_name = key;
  }
  const char* prefixed_value = getenv(prefixed_name);
  const char* bare_value = getenv(bare_name);

  if (prefixed_value != nullptr) {
    if (!quiet && bare_value != nullptr && strcmp(prefixed_value, bare_value) != 0)
      vtr_log(VTR_LOG_WARNING, "[%s] Environment variables conflict - %s=%s and %s=%s. Using %s", __func__,
              prefixed_name, prefixed_value, bare_name, bare_value, prefixed_name);
    if (!quiet) vtr_log(VTR_LOG_DEBUG, "[%s] Using '%s'='%s'", __func__, prefixed_name, prefixed_value);
    return prefixed_value;
  }
  if (bare_value != nullptr) {
    if (!quiet) vtr_log(VTR_LOG_DEBUG, "[%s] Using '%s'='%s'", __func__, bare_name, bare_value);
    return bare_value;
  }
  if (!quiet) vtr_log(VTR_LOG_DEBUG, "[%s] No value for '%s' or '%s'", __func__, prefixed_name, bare_name);
  return nullptr;
}
