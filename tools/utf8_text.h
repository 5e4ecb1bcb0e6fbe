#ifndef VTR_HOST_UTF8_TEXT_H
#define VTR_HOST_UTF8_TEXT_H

#include <string>

namespace vtr {
namespace host {

// The text with every byte that does not begin a well-formed UTF-8 sequence (overlong forms,
// surrogates and code points above U+10FFFF included) replaced by U+FFFD, so that what the
// host prints is valid JSON and valid exposition text whatever bytes a sensor name holds.
std::string replaceInvalidUtf8(const std::string& text);

}  // namespace host
}  // namespace vtr

#endif
