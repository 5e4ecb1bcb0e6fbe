#include "runtime/env.h"

#include <stdlib.h>
#include <string.h>

#include <new>

#include "runtime/env_lookup.h"
#include "runtime/logger.h"

const char* vtr_getenv(const char* key) {
  if (key == nullptr) return nullptr;
  // The logger's level is read as quietly here as the logger reads it.
  if (strcmp(key, VTR_LOG_LEVEL_VARIABLE) == 0) return vtr::quiet_getenv(key);
  vtr::EnvLookup lookup;
  try {
    lookup = vtr::look_up_env(key);
  } catch (const std::bad_alloc&) {
    return getenv(key);
  }
  const char* prefixed_name = lookup.prefixed_name.c_str();
  const char* bare_name = lookup.bare_name.c_str();
  if (lookup.prefixed_value != nullptr) {
    if (lookup.bare_value != nullptr && strcmp(lookup.prefixed_value, lookup.bare_value) != 0)
      vtr_log(VTR_LOG_WARNING, "[%s] Environment variables conflict - %s=%s and %s=%s. Using %s", __func__,
              prefixed_name, lookup.prefixed_value, bare_name, lookup.bare_value, prefixed_name);
    vtr_log(VTR_LOG_DEBUG, "[%s] Using '%s'='%s'", __func__, prefixed_name, lookup.prefixed_value);
    return lookup.prefixed_value;
  }
  if (lookup.bare_value != nullptr) {
    vtr_log(VTR_LOG_DEBUG, "[%s] Using '%s'='%s'", __func__, bare_name, lookup.bare_value);
    return lookup.bare_value;
  }
  vtr_log(VTR_LOG_DEBUG, "[%s] No value for '%s' or '%s'", __func__, prefixed_name, bare_name);
  return nullptr;
}
