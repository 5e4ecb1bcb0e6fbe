#include "tools/number_text.h"

#include <charconv>

namespace vtr {
namespace host {

std::string shortestText(double value) {
  std::string text;
  appendShortestText(text, value);
  return text;
}

void appendShortestText(std::string& out, double value) {
  char text[32];  // the longest shortest form, "-2.2250738585072014e-308", is 24
  out.append(text, std::to_chars(text, text + sizeof text, value).ptr);
}

}  // namespace host
}  // namespace vtr
