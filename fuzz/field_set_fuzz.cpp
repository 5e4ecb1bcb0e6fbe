// Field-set text of any shape: parsing never fails, and every query on the result is safe.
#include <cstdint>
#include <string>
#include <vector>

#include "runtime/field_set.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> lines;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.emplace_back(text, start, end - start);
    start = end + 1;
  }
  vtr::ProviderFieldSet set;
  set.loadFromLines(lines);
  for (const std::string& line : lines) {
    set.isTypeOfInterest(line);
    set.shouldIncludeField(line, line);
    set.shouldIncludeField("", line);
    set.getFieldPatterns(line);
  }
  return 0;
}
