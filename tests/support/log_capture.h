#ifndef VTR_TEST_SUPPORT_LOG_CAPTURE_H
#define VTR_TEST_SUPPORT_LOG_CAPTURE_H

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "runtime/logger.h"

namespace vtr {
namespace test {

struct CapturedLine {
  int priority;
  std::string text;
};

// Keeps every line a logger writes while it lives, from any thread. It installs itself with
// the linked runtime's vtr_set_log_func or with the one found in a library loaded by dlopen.
class LogRecorder {
 public:
  using SetLogFunc = void (*)(vtr_log_func_t, uint32_t);
  explicit LogRecorder(SetLogFunc setLogFunc = vtr_set_log_func, uint32_t level = VTR_LOG_DEBUG)
      : setLogFunc_(setLogFunc) {
    clear();
    setLogFunc_(capture, level);
  }
  ~LogRecorder() { setLogFunc_(nullptr, 0); }
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  std::vector<CapturedLine> all() const {
    std::lock_guard<std::mutex> lock(shared().mutex);
    return shared().lines;
  }
  void clear() {
    std::lock_guard<std::mutex> lock(shared().mutex);
    shared().lines.clear();
  }
  // Lines that are exactly `text`, at `priority` when one is given.
  size_t count(const std::string& text, int priority = -1) const {
    const auto lines = all();
    return std::count_if(lines.begin(), lines.end(), [&](const CapturedLine& line) {
      return line.text == text && (priority < 0 || line.priority == priority);
    });
  }
  bool contains(const std::string& text, int priority = -1) const { return count(text, priority) > 0; }
  // Lines at any priority that contain `part`.
  size_t countContaining(const std::string& part) const {
    const auto lines = all();
    return std::count_if(lines.begin(), lines.end(),
                         [&](const CapturedLine& line) { return line.text.find(part) != std::string::npos; });
  }

  // The log function itself, for a host logger record.
  static void capture(int priority, const char* format, ...) {
    char text[4096];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    std::lock_guard<std::mutex> lock(shared().mutex);
    shared().lines.push_back({priority, text});
  }

 private:
  struct Shared {
    std::mutex mutex;
    std::vector<CapturedLine> lines;
  };
  static Shared& shared() {
    static Shared instance;
    return instance;
  }
  SetLogFunc setLogFunc_;
};

// A file name in the temporary directory, removed when the object goes.
class ScratchFile {
 public:
  ScratchFile() {
    char pattern[] = "/tmp/vtr_test_XXXXXX";
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
