#include "tools/tool_watch.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace vtr {
namespace host {

namespace {

constexpr const char* kProviderName = "ipmitool";
constexpr const char* kTool = "ipmitool";
// How long without an event before each look.
constexpr std::chrono::seconds kQuietPeriod{5};
// Where execvp, which runs the tool under `timeout`, looks when PATH is unset.
constexpr const char* kDefaultSearchPath = "/bin:/usr/bin";

bool isExecutableFile(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), X_OK) == 0;
}

// True when PATH (unset: the default search path) names an executable file `command`.
bool foundInPath(const std::string& command) {
  const char* path = std::getenv("PATH");
  const std::string directories = path != nullptr ? path : kDefaultSearchPath;
  for (std::size_t start = 0; start <= directories.size();) {
    std::size_t end = directories.find(':', start);
    if (end == std::string::npos) end = directories.size();
    // An empty entry is the working directory.
    const std::string directory = end > start ? directories.substr(start, end - start) : ".";
    if (isExecutableFile(directory + "/" + command)) return true;
    start = end + 1;
  }
  return false;
}

}  // namespace

ToolWatch::ToolWatch(const std::string& providerName)
    : watching_(providerName == kProviderName), quietSince_(Clock::now()) {}

void ToolWatch::look() {
  if (!watching_) return;
  const bool missing = !foundInPath(kTool);
  if (missing && !missingReported_) std::fprintf(stderr, "vtr-host: '%s' is not installed or not in PATH\n", kTool);
  missingReported_ = missing;
}

void ToolWatch::afterDrain(bool eventArrived) {
  const Clock::time_point now = Clock::now();
  if (eventArrived) {
    quietSince_ = now;
  } else if (now - quietSince_ >= kQuietPeriod) {
    quietSince_ = now;
    look();
  }
}

}  // namespace host
}  // namespace vtr
