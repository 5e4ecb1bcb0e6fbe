#include "runtime/plugin_options.h"

#include <stdlib.h>

#include <optional>
#include <type_traits>

#include <boost/lexical_cast.hpp>

#include "runtime/c_free.h"
#include "runtime/lexical_cast_bool.h"
#include "runtime/logger.h"
#include "runtime/options.h"

namespace vtr {
namespace plugin {
namespace {

std::optional<std::string> option_text(const vtr_custom_options* options, const char* name,
                                       const std::string& env_prefix) {
  if (options != nullptr) {
    const char* value = vtr_dict_get(options, name);
    if (value != nullptr) return std::string(value);
  }
  CPtr<char> key(vtr_option_name_to_environment_key(name, env_prefix.c_str()));
  if (!key) return std::nullopt;
  const char* value = vtr_getenv(key.get());
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

// lexical_cast reads unsigned numbers with one optional sign, '-' wrapping modulo 2^32,
// and rejects blanks, other characters and overflow; bool goes through the framework's rule.
template <typename T>
T convert_or_default(const std::string& text, const T& default_value) {
  try {
    return boost::lexical_cast<T>(text);
  } catch (const boost::bad_lexical_cast&) {
    return default_value;
  }
}

}  // namespace

template <typename T>
T get_configuration_option(const vtr_custom_options* options, const char* name, const T& default_value,
                           const std::string& env_prefix) {
  const std::optional<std::string> text = option_text(options, name, env_prefix);
  if (!text) return default_value;
  if constexpr (std::is_same_v<T, std::string>)
    return *text;
  else
    return convert_or_default(*text, default_value);
}

template bool get_configuration_option<bool>(const vtr_custom_options*, const char*, const bool&,
                                             const std::string&);
template unsigned int get_configuration_option<unsigned int>(const vtr_custom_options*, const char*,
                                                             const unsigned int&, const std::string&);
template std::string get_configuration_option<std::string>(const vtr_custom_options*, const char*,
                                                           const std::string&, const std::string&);

}  // namespace plugin
}  // namespace vtr
