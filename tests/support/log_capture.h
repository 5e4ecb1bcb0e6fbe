#ifndef VTR_TEST_SUPPORT_LOG_CAPTURE_H
#define VTR_TEST_SUPPORT_LOG_CAPTURE_H

// Helpers for tests that look at what the logger wrote: a log function that keeps every
// formatted message, and scratch files for the file sink.

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "runtime/logger.h"

namespace vtr {
namespace test {

struct CapturedLine {
  int priority;
  std::string text;
};

inline std::vector<CapturedLine>& captured_lines() {
  static std::vector<CapturedLine> lines;
  return lines;
}

inline void capture_log_line(int priority, const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  const int length = vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  if (length > 0) vsnprintf(&text[0], text.size() + 1, format, args);
  va_end(args);
  captured_lines().push_back({priority, text});
}

// Routes every message at or below `level` into captured_lines().
inline void capture_log(uint32_t level) {
  captured_lines().clear();
  vtr_set_log_func(capture_log_line, level);
}

inline bool captured(const std::string& text) {
  for (const CapturedLine& line : captured_lines())
    if (line.text == text) return true;
  return false;
}

inline bool captured_containing(const std::string& part) {
  for (const CapturedLine& line : captured_lines())
    if (line.text.find(part) != std::string::npos) return true;
  return false;
}

// Captures every message, debug included, while it lives. One per test.
class LogRecorder {
 public:
  LogRecorder() { capture_log(VTR_LOG_DEBUG); }
  ~LogRecorder() { vtr_set_log_func(nullptr, 0); }
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  const std::vector<CapturedLine>& all() const { return captured_lines(); }
  void clear() { captured_lines().clear(); }

  size_t count(int priority, const std::string& text) const {
    return static_cast<size_t>(std::count_if(all().begin(), all().end(), [&](const CapturedLine& line) {
      return line.priority == priority && line.text == text;
    }));
  }
  bool contains(int priority, const std::string& text) const { return count(priority, text) > 0; }
  // Lines at this priority or more urgent (numerically at most).
  size_t countAtMost(int priority) const {
    return static_cast<size_t>(std::count_if(all().begin(), all().end(),
                                             [&](const CapturedLine& line) { return line.priority <= priority; }));
  }
};

// A file name in the temporary directory, removed when the object goes.
class ScratchFile {
 public:
  ScratchFile() {
    char pattern[] = "/tmp/vtr_runtime_test_XXXXXX";
    const int fd = mkstemp(pattern);
    if (fd >= 0) close(fd);
    path_ = pattern;
  }
  ~ScratchFile() { unlink(path_.c_str()); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const char* path() const { return path_.c_str(); }

  std::vector<std::string> lines() const {
    std::ifstream in(path_);
    std::vector<std::string> result;
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
  }

 private:
  std::string path_;
};

}  // namespace test
}  // namespace vtr

#endif
