#include "runtime/number_parse.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <limits>

bool string_to_u64(const char* text, uint64_t* value) {
  if (text == nullptr) return false;
  const char* first = text;
  while (std::isspace(static_cast<unsigned char>(*first))) ++first;
  // strtoull would silently wrap a negative number.
  if (*first == '-') return false;
  char* end = nullptr;
  errno = 0;
  const unsigned long long parsed = std::strtoull(text, &end, 0);
  if (end == text || *end != '\0' || errno == ERANGE) return false;
  *value = parsed;
  return true;
}

bool string_to_u16(const char* text, uint16_t* value) {
  uint64_t wide = 0;
  if (!string_to_u64(text, &wide) || wide > std::numeric_limits<uint16_t>::max()) return false;
  *value = static_cast<uint16_t>(wide);
  return true;
}
