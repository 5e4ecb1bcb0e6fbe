#include "tools/utf8_text.h"

#include <cstddef>

namespace vtr {
namespace host {

namespace {

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

}  // namespace

// The ranges of RFC 3629's grammar.
std::size_t utf8SequenceLength(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;  // bounds of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (text.size() - at < length || byte(1) < low || byte(1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (!isContinuation(byte(i))) return 0;
  }
  return length;
}

std::string replaceInvalidUtf8(const std::string& text) {
  std::string valid;
  valid.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = utf8SequenceLength(text, at);
    if (length == 0) {
      valid += kReplacementCharacter;
      ++at;
    } else {
      valid.append(text, at, length);
      at += length;
    }
  }
  return valid;
}

}  // namespace host
}  // namespace vtr
