#ifndef VTR_LEXICAL_CAST_BOOL_H
#define VTR_LEXICAL_CAST_BOOL_H

// Include this header wherever text is cast to bool: every such cast in the library then
// accepts only the framework's boolean forms (see vtr::detail::string_to_bool).

#include <string>

#include <boost/lexical_cast.hpp>

#include "runtime/options.h"

namespace boost {
template <>
inline bool lexical_cast<bool, std::string>(const std::string& text) {
  return vtr::detail::string_to_bool(text);
}
}  // namespace boost

#endif
