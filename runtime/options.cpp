#include "runtime/options.h"

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <typeinfo>

#include <boost/lexical_cast.hpp>

#include "runtime/c_free.h"

namespace {

// The text of an option from the dictionary, else from its "VTR_" variable; null when
// neither has it.
const char* option_text(const vtr_custom_options* options, const char* name) {
  const char* value = vtr_dict_get(options, name);
  if (value != nullptr) return value;
  vtr::CPtr<char> key(vtr_option_to_env_name(name));
  return key ? getenv(key.get()) : nullptr;
}

}  // namespace

char* vtr_option_name_to_environment_key(const char* name, const char* prefix) {
  const size_t prefix_length = strlen(prefix);
  const size_t name_length = strlen(name);
  auto* key = static_cast<char*>(malloc(prefix_length + name_length + 1));
  if (key == nullptr) return nullptr;
  memcpy(key, prefix, prefix_length);
  for (size_t i = 0; i < name_length; ++i)
    key[prefix_length + i] = name[i] == '-' ? '_' : static_cast<char>(toupper(static_cast<unsigned char>(name[i])));
  key[prefix_length + name_length] = '\0';
  return key;
}

char* vtr_option_to_env_name(const char* name) { return vtr_option_name_to_environment_key(name, "VTR_"); }

const char* vtr_get_configuration_option_string(const vtr_custom_options* options, const char* name,
                                                const char* default_value) {
  const char* text = option_text(options, name);
  return text != nullptr ? text : default_value;
}

uint64_t vtr_get_configuration_option_uint64(const vtr_custom_options* options, const char* name,
                                             uint64_t default_value) {
  const char* text = option_text(options, name);
  unsigned long value = 0;
  if (text == nullptr || sscanf(text, "%lu", &value) != 1) return default_value;
  return value;
}

namespace vtr {
namespace detail {

bool string_to_bool(const std::string& text) {
  if (text == "1" || text == "T" || text == "true" || text == "True") return true;
  if (text == "0" || text == "F" || text == "false" || text == "False") return false;
  throw boost::bad_lexical_cast(typeid(std::string), typeid(bool));
}

}  // namespace detail

const char* boolean_to_string(bool value) { return value ? "true" : "false"; }

}  // namespace vtr
