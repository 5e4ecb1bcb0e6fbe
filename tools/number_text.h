#ifndef VTR_HOST_NUMBER_TEXT_H
#define VTR_HOST_NUMBER_TEXT_H

#include <string>
#include <string_view>

namespace vtr {
namespace host {

// The shortest text that reads back as the same double: 5.01, not 5.0099999999999998.
// Finite values only; callers spell NaN and infinities their own way.
std::string shortestText(double value);

// The JSON text with every number outside strings rewritten as its shortest text; strings,
// and anything that does not read as a number, stay byte for byte.
std::string withShortestNumbers(std::string_view json);

}  // namespace host
}  // namespace vtr

#endif
