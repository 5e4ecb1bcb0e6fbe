#include "runtime/filter.h"

#include <cctype>
#include <cstring>
#include <string_view>

namespace {

bool equals_ignoring_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

bool contains_ignoring_case(std::string_view haystack, std::string_view needle) {
  if (needle.size() > haystack.size()) return false;
  for (size_t at = 0; at + needle.size() <= haystack.size(); ++at) {
    if (equals_ignoring_case(haystack.substr(at, needle.size()), needle)) return true;
  }
  return false;
}

}  // namespace

int vtr_filter_match_single_token(const char* name, const char* token) {
  if (!name || !token) return 0;
  std::string_view text(token, strnlen(token, VTR_FILTER_TOKEN_MAX));
  bool at_start = false;
  while (!text.empty() && text.front() == '^') {
    text.remove_prefix(1);
    at_start = true;
  }
  bool at_end = false;
  if (!text.empty() && text.back() == '$') {
    text.remove_suffix(1);
    at_end = true;
  }

  std::string_view subject(name);
  if (text.size() > subject.size()) return 0;
  if (at_start && at_end) return equals_ignoring_case(subject, text);
  if (at_start) return equals_ignoring_case(subject.substr(0, text.size()), text);
  if (at_end) return equals_ignoring_case(subject.substr(subject.size() - text.size()), text);
  return contains_ignoring_case(subject, text);
}
