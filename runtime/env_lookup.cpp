#include "runtime/env_lookup.h"

#include <stdlib.h>
#include <string.h>

#include <new>

namespace vtr {
namespace {

constexpr char kPrefix[] = "VTR_";
constexpr size_t kPrefixLength = sizeof(kPrefix) - 1;

}  // namespace

EnvLookup look_up_env(const char* key) {
  EnvLookup lookup;
  if (strncmp(key, kPrefix, kPrefixLength) == 0) {
    lookup.prefixed_name = key;
    lookup.bare_name = key + kPrefixLength;
  } else {
    lookup.prefixed_name = std::string(kPrefix) + key;
    lookup.bare_name = key;
  }
  lookup.prefixed_value = getenv(lookup.prefixed_name.c_str());
  lookup.bare_value = getenv(lookup.bare_name.c_str());
  return lookup;
}

const char* quiet_getenv(const char* key) noexcept {
  try {
    return look_up_env(key).value();
  } catch (const std::bad_alloc&) {
    return getenv(key);
  }
}

}  // namespace vtr
