#include "src/data/version.h"

#include <stdio.h>

#include <cctype>
#include <cstdlib>


namespace vtr {
namespace data {
namespace {

// Reads one run of decimal digits no larger than `limit`; advances `p` past it.
bool read_component(const char*& p, unsigned long limit, unsigned long* value) {
  if (!isdigit(static_cast<unsigned char>(*p))) return false;
  char* end = nullptr;
  *value = strtoul(p, &end, 10);
  p = end;
  return *value <= limit;
}

}  // namespace

std::string version_string(uint32_t version) {
  char buffer[16];
  return vtr_version_to_string(version, buffer, sizeof buffer);
}

bool parse_format_version(const char* text, uint32_t* version) {
  if (!text) return false;
  const char* p = text;
  unsigned long major = 0, minor = 0, patch = 0;
  if (!read_component(p, 0xFF, &major) || *p++ != '.' || !read_component(p, 0xFF, &minor)) return false;
  if (*p == '.') {
    ++p;
    if (!read_component(p, 0xFFFF, &patch)) return false;
  }
  if (*p != '\0') return false;
  *version = VTR_MAKE_VERSION(major, minor, patch);
  return true;
}

uint32_t parse_provider_version(const char* text) {
  unsigned char major = 0, minor = 0;
  unsigned short patch = 0;
  if (!text || sscanf(text, "%hhu.%hhu .%hu", &major, &minor, &patch) < 2) return 0;
  return VTR_MAKE_VERSION(major, minor, patch);
}

}  // namespace data
}  // namespace vtr

char* vtr_version_to_string(uint32_t version, char* buffer, size_t size) {
  using namespace vtr::data;
  if (buffer && size > 0)
    snprintf(buffer, size, "%u.%u.%u", version_major(version), version_minor(version), version_patch(version));
  return buffer;
}
