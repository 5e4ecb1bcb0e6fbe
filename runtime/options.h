#ifndef VTR_OPTIONS_H
#define VTR_OPTIONS_H

#include <stdint.h>

#include "runtime/dict.h"
#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* New string (caller frees): prefix + name upper-cased with '-' turned into '_'; null on
 * allocation failure. */
VTR_API char* vtr_option_name_to_environment_key(const char* name, const char* prefix);
VTR_API char* vtr_option_to_env_name(const char* name);
/* Dictionary first, then the "VTR_" environment variable, then the default. */
VTR_API const char* vtr_get_configuration_option_string(const vtr_custom_options* options, const char* name,
                                                        const char* default_value);
VTR_API uint64_t vtr_get_configuration_option_uint64(const vtr_custom_options* options, const char* name,
                                                     uint64_t default_value);

VTR_EXTERN_C_END

#ifdef __cplusplus
#include <string>

namespace vtr {
namespace detail {
// "1", "T", "true", "True" and "0", "F", "false", "False"; anything else throws
// boost::bad_lexical_cast.
bool string_to_bool(const std::string& text);
}  // namespace detail

// "true" or "false".
const char* boolean_to_string(bool value);
}  // namespace vtr

#endif

#endif
