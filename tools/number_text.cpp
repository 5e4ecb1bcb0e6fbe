#include "tools/number_text.h"

#include <charconv>
#include <system_error>

namespace vtr {
namespace host {

namespace {

bool startsNumber(char c) { return c == '-' || (c >= '0' && c <= '9'); }

bool continuesNumber(char c) {
  return (c >= '0' && c <= '9') || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-';
}

// Index just past the string that opens at `at` (its quote), escapes included.
std::size_t endOfString(std::string_view json, std::size_t at) {
  for (std::size_t i = at + 1; i < json.size(); ++i) {
    if (json[i] == '\\') {
      ++i;
    } else if (json[i] == '"') {
      return i + 1;
    }
  }
  return json.size();
}

}  // namespace

std::string shortestText(double value) {
  char text[32];
  const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

std::string withShortestNumbers(std::string_view json) {
  std::string out;
  out.reserve(json.size());
  std::size_t i = 0;
  while (i < json.size()) {
    if (json[i] == '"') {
      const std::size_t end = endOfString(json, i);
      out.append(json.substr(i, end - i));
      i = end;
    } else if (startsNumber(json[i])) {
      std::size_t end = i + 1;
      while (end < json.size() && continuesNumber(json[end])) ++end;
      const std::string_view token = json.substr(i, end - i);
      double value = 0;
      const std::from_chars_result read = std::from_chars(token.data(), token.data() + token.size(), value);
      const bool whole = read.ec == std::errc() && read.ptr == token.data() + token.size();
      out += whole ? shortestText(value) : std::string(token);
      i = end;
    } else {
      out += json[i++];
    }
  }
  return out;
}

}  // namespace host
}  // namespace vtr
