#ifndef VTR_HOST_NUMBER_TEXT_H
#define VTR_HOST_NUMBER_TEXT_H

#include <string>

namespace vtr {
namespace host {

// The shortest text that reads back as the same double: 5.01, not 5.0099999999999998.
// Finite values only; callers spell NaN and infinities their own way.
std::string shortestText(double value);
// The same text, appended to `out` without a string of its own.
void appendShortestText(std::string& out, double value);

}  // namespace host
}  // namespace vtr

#endif
