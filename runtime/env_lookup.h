#ifndef VTR_ENV_LOOKUP_H
#define VTR_ENV_LOOKUP_H

#include <string>

namespace vtr {

// Both environment names of one key and what each holds, read without logging: the logger
// reads its own settings through this while it sets itself up.
struct EnvLookup {
  std::string prefixed_name;  // "VTR_" + the key
  std::string bare_name;      // the key without "VTR_"
  const char* prefixed_value = nullptr;
  const char* bare_value = nullptr;

  // The prefixed variable wins; null when neither is set.
  const char* value() const { return prefixed_value != nullptr ? prefixed_value : bare_value; }
};

// Throws std::bad_alloc only.
EnvLookup look_up_env(const char* key);

// The winning value alone; the bare key as given when the names cannot be built.
const char* quiet_getenv(const char* key) noexcept;

}  // namespace vtr

#endif
