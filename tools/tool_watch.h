#ifndef VTR_HOST_TOOL_WATCH_H
#define VTR_HOST_TOOL_WATCH_H

#include <chrono>
#include <string>

namespace vtr {
namespace host {

// The plug-in logs a failed ipmitool run as an error but its cause (the shell's 127, "not
// found") only at info level. vtr-host sees the commonest cause itself: for the provider named
// "ipmitool" it looks for the tool in PATH when initialisation fails and while no events
// arrive, and says on stderr, at any log level, that it is missing. Under sudo or against a
// remote BMC the tool still runs on this machine. Host thread only.
class ToolWatch {
 public:
  // Watches nothing for a provider of another name.
  explicit ToolWatch(const std::string& providerName);
  // Looks now: says it once while the tool is missing, and again after it was found between.
  void look();
  // After each drain of the provider: looks every few seconds without an event.
  void afterDrain(bool eventArrived);

 private:
  using Clock = std::chrono::steady_clock;

  bool watching_;
  bool missingReported_ = false;
  Clock::time_point quietSince_;
};

}  // namespace host
}  // namespace vtr

#endif
