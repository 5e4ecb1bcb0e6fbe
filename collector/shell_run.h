#ifndef VTR_COLLECTOR_SHELL_RUN_H
#define VTR_COLLECTOR_SHELL_RUN_H

#include <cstddef>
#include <string>

namespace vtr {
namespace ipmitool {

// Far above any real listing (a 500-sensor verbose listing is about 0.5 MB).
constexpr std::size_t kMaxCommandOutputBytes = 64u << 20;
// Time `timeout` gets past its own limit to stop the tool before the whole group is killed.
constexpr unsigned int kTimeLimitGraceSec = 3;

// How one shell run ended.
enum class ShellEnd {
  Exited,          // the shell ended by itself; `status` is its wait status
  NotStarted,      // no pipe or no process
  DeadlineKilled,  // still running at the time limit plus the grace: the session was killed
  Stopped,         // the stop flag was set while it ran: the session was killed
  OutputTooLarge,  // wrote more than kMaxCommandOutputBytes: the session was killed
  Answered,        // a long-lived tool (tool_shell.h) printed its prompt again and waits
};

struct ShellRun {
  ShellEnd end = ShellEnd::NotStarted;
  int status = 0;
  std::string output;  // standard output; empty unless the shell exited, hit the deadline or answered
};

// Runs `/bin/sh -c line` in a session of its own, its standard output into a pipe (standard
// error is inherited, as with popen). The run ends when the shell does; whatever the shell
// left behind in its session is then killed, so a background child holding the pipe
// cannot keep the reader waiting. `timeLimitSec` 0 means no deadline; `stopFlag` is polled
// at least every 200 ms. Nothing is left running or unreaped when this returns.
ShellRun runInOwnSession(const std::string& line, unsigned int timeLimitSec, const volatile bool& stopFlag);

}  // namespace ipmitool
}  // namespace vtr

#endif
