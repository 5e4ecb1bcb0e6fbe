#ifndef VTR_COLLECTOR_TOOL_SHELL_H
#define VTR_COLLECTOR_TOOL_SHELL_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "collector/process_session.h"
#include "collector/shell_run.h"

namespace vtr {
namespace ipmitool {

// What the tool's shell prints when it waits for the next command.
inline constexpr const char* kToolPrompt = "ipmitool> ";
// A process is retired after this many answers, so that what it keeps per command (its line
// history) stays bounded.
constexpr std::size_t kAnswersPerToolShell = 1000;

// One long-lived tool process that answers command after command: the tool's own shell
// ("ipmitool ... shell"), which keeps its BMC session and the SDR it loaded at start between
// commands and pays its start-up once. Each answer ends with the prompt. It runs as a one-shot
// run does: `/bin/sh -c line` leading a session of its own, its standard output and error
// read in blocks, and each command bound by the time limit, the stop flag (polled every
// 200 ms) and the output cap; a command that breaks one of them ends the whole session. Used by
// one thread at a time.
class ToolShell {
 public:
  explicit ToolShell(const volatile bool& stopFlag, std::size_t answersPerProcess = kAnswersPerToolShell)
      : stopFlag_(stopFlag), answersPerProcess_(answersPerProcess) {}
  ~ToolShell() { end(); }
  ToolShell(const ToolShell&) = delete;
  ToolShell& operator=(const ToolShell&) = delete;

  // Sends `command` and reads what it prints up to the next prompt. A process is started by
  // `line` first (and its first prompt awaited) when none runs, when the one running was started
  // by another line, when it has waited longer than `idleLimit` since its last answer (zero: no
  // limit; a BMC drops a session left idle) or when it gave `answersPerProcess` answers.
  // `timeLimitSec` (0: none) bounds the start and the answer together. Returns Answered with the
  // answer, the echo of the command and the prompt taken off, and the process kept; otherwise
  // why the answer is not whole (Exited: the process ended first, with its wait status), no
  // output, and nothing of the process left.
  ShellRun ask(const std::string& line, const std::string& command, unsigned int timeLimitSec,
               std::chrono::seconds idleLimit);

  // Ends the process, if one runs: it is asked to exit (so it closes its BMC session) and given
  // a moment, then its whole session is killed. One idle past the limit is killed at once.
  void end();
  bool running() const { return pid_ > 0; }
  // How long the process has waited since its last answer.
  std::chrono::steady_clock::duration idleFor() const { return Clock::now() - lastAnswer_; }

 private:
  using Clock = std::chrono::steady_clock;

  bool start(const std::string& line);
  // Reads until the prompt ends `text` or a reason to give up comes up.
  ShellEnd awaitPrompt(Clock::time_point deadline, std::string& text);
  // Ends the process at once; its wait status.
  int kill();

  const volatile bool& stopFlag_;
  const std::size_t answersPerProcess_;
  pid_t pid_ = -1;
  FileDescriptor input_;   // a socket, so that writing to a process that died raises no SIGPIPE
  FileDescriptor output_;  // non-blocking
  std::string line_;
  Clock::time_point lastAnswer_;
  std::size_t answers_ = 0;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
