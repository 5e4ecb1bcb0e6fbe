#ifndef VTR_PLUGIN_OPTIONS_H
#define VTR_PLUGIN_OPTIONS_H

#include <string>

#include "runtime/dict.h"

namespace vtr {
namespace plugin {

// The option `name` from the host's dictionary, else from the environment variable
// env_prefix + name upper-cased with '-' as '_' (also honoured without the "VTR_" prefix),
// else `default_value`. A dictionary value wins even when it does not convert; a text that
// does not convert yields the default silently. Available for bool, unsigned int and
// std::string; may throw std::bad_alloc.
template <typename T>
T get_configuration_option(const vtr_custom_options* options, const char* name, const T& default_value,
                           const std::string& env_prefix);

extern template bool get_configuration_option<bool>(const vtr_custom_options*, const char*, const bool&,
                                                    const std::string&);
extern template unsigned int get_configuration_option<unsigned int>(const vtr_custom_options*, const char*,
                                                                    const unsigned int&, const std::string&);
extern template std::string get_configuration_option<std::string>(const vtr_custom_options*, const char*,
                                                                  const std::string&, const std::string&);

}  // namespace plugin
}  // namespace vtr

#endif
