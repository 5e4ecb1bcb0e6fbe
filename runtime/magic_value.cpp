#include "runtime/magic_value.h"

#include <cctype>
#include <cstring>

namespace {
constexpr uint8_t kPrefix[3] = {'V', 'T', 'R'};
}

void vtr_magic_value_fill(uint8_t* magic, char kind) {
  memcpy(magic, kPrefix, sizeof kPrefix);
  magic[3] = static_cast<uint8_t>(kind);
}

void vtr_magic_value_fill_lower(uint8_t* magic, char kind) {
  vtr_magic_value_fill(magic, kind);
  for (int i = 0; i < 4; ++i) magic[i] = static_cast<uint8_t>(tolower(magic[i]));
}

void vtr_magic_value_copy(uint8_t* destination, const uint8_t* source) { memcpy(destination, source, 4); }

int vtr_magic_value_match_type(const uint8_t* magic, char kind) {
  return memcmp(magic, kPrefix, sizeof kPrefix) == 0 && magic[3] == static_cast<uint8_t>(kind);
}

int vtr_magic_value_match(const uint8_t* a, const uint8_t* b) { return memcmp(a, b, 4) == 0; }
