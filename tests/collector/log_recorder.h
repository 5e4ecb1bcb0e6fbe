#ifndef VTR_TEST_COLLECTOR_LOG_RECORDER_H
#define VTR_TEST_COLLECTOR_LOG_RECORDER_H

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "runtime/logger.h"

namespace vtr {
namespace test {

struct LoggedLine {
  int priority;
  std::string text;
};

// Records every message, debug included, while it lives. One per test.
class LogRecorder {
 public:
  LogRecorder() {
    lines().clear();
    vtr_set_log_func(&record, VTR_LOG_DEBUG);
  }
  ~LogRecorder() { vtr_set_log_func(nullptr, 0); }
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  const std::vector<LoggedLine>& all() const { return lines(); }
  void clear() { lines().clear(); }

  size_t count(int priority, const std::string& text) const {
    return static_cast<size_t>(std::count_if(lines().begin(), lines().end(), [&](const LoggedLine& line) {
      return line.priority == priority && line.text == text;
    }));
  }
  bool contains(int priority, const std::string& text) const { return count(priority, text) > 0; }
  // Lines at this priority or more urgent (numerically at most).
  size_t countAtMost(int priority) const {
    return static_cast<size_t>(std::count_if(lines().begin(), lines().end(),
                                             [&](const LoggedLine& line) { return line.priority <= priority; }));
  }

 private:
  static std::vector<LoggedLine>& lines() {
    static std::vector<LoggedLine> recorded;
    return recorded;
  }

  static void record(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0) vsnprintf(&text[0], text.size() + 1, format, args);
    va_end(args);
    lines().push_back({priority, text});
  }
};

}  // namespace test
}  // namespace vtr

#endif
