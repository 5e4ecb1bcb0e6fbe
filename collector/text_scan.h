#ifndef VTR_COLLECTOR_TEXT_SCAN_H
#define VTR_COLLECTOR_TEXT_SCAN_H

#include <string_view>

namespace vtr {
namespace ipmitool {

// The text without leading and trailing blanks; only the space character counts as a blank,
// so tabs and carriage returns stay part of the text.
inline std::string_view trimBlanks(std::string_view text) {
  // By hand: find_first_not_of(' ') costs a search call per byte, and labels are padded.
  std::string_view::size_type first = 0;
  std::string_view::size_type last = text.size();
  while (first < last && text[first] == ' ') ++first;
  while (last > first && text[last - 1] == ' ') --last;
  return text.substr(first, last - first);
}

// A line without the carriage return that a listing with CR LF line ends leaves on it.
inline std::string_view withoutCarriageReturn(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

// Calls `onLine` for each line of `text`, split at '\n' only; a last line without a newline
// counts. One pass, no copies: the views point into `text`.
template <typename OnLine>
void forEachLine(std::string_view text, OnLine&& onLine) {
  std::string_view::size_type start = 0;
  while (start < text.size()) {
    auto end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    onLine(text.substr(start, end - start));
    start = end + 1;
  }
}

}  // namespace ipmitool
}  // namespace vtr

#endif
