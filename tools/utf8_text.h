#ifndef VTR_HOST_UTF8_TEXT_H
#define VTR_HOST_UTF8_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace vtr {
namespace host {

inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

// Length of the well-formed UTF-8 sequence at `at` (1 for ASCII), or 0 when the byte there
// does not begin one: overlong forms, surrogates and code points above U+10FFFF included.
std::size_t utf8SequenceLength(std::string_view text, std::size_t at);

// The text with every byte that does not begin a well-formed UTF-8 sequence replaced by
// U+FFFD, so that what the host prints is valid JSON and valid exposition text whatever
// bytes a sensor name holds.
std::string replaceInvalidUtf8(const std::string& text);

}  // namespace host
}  // namespace vtr

#endif
