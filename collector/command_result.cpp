#include "collector/command_result.h"

#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

// The exit code with which `timeout` reports that it stopped the command.
constexpr int kTimedOutCode = 124;

int reportTimedOut() {
  vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] Command timed out");
  return kTimedOutCode;
}

// The shell's exit code, or -1 when it did not exit normally (signal, or pclose failed).
int classifyStatus(int status) {
  if ((status & 0x7f) != 0) {
    vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] Command exited with an unrecognized status code");
    return -1;
  }
  const int code = (status >> 8) & 0xff;
  if (code == kTimedOutCode) return reportTimedOut();
  vtr_log_rate_limited(VTR_LOG_INFO, "[ipmitool collector] Command exited with code: %d", code);
  return code;
}

}  // namespace

std::string composeCommandLine(const std::string& command, unsigned int timeoutSeconds, bool useSudo) {
  std::string line = "timeout " + std::to_string(timeoutSeconds) + " " + command + " 2>&1";
  if (useSudo) line.insert(0, "sudo ");
  return line;
}

int commandResult(const ShellRun& run, const std::string& line) {
  switch (run.end) {
    case ShellEnd::NotStarted:
      vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] Unable to open pipe for command execution: '%s'",
                           line.c_str());
      return -1;
    case ShellEnd::OutputTooLarge:
      vtr_log_rate_limited(VTR_LOG_ERR,
                           "[ipmitool collector] Command output exceeded %zu bytes; run abandoned: '%s'",
                           kMaxCommandOutputBytes, line.c_str());
      return -1;
    case ShellEnd::Stopped:
      return -1;
    case ShellEnd::DeadlineKilled:
      // A tool that outlived `timeout` by the grace is reported as `timeout` itself would have.
      return reportTimedOut();
    case ShellEnd::Answered:
      return 0;
    case ShellEnd::Exited:
      break;
  }
  return classifyStatus(run.status);
}

int answerResult(const ShellRun& run, const std::string& line) {
  if (run.end != ShellEnd::Exited) return commandResult(run, line);
  vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] The tool ended before it answered: '%s'", line.c_str());
  return -1;
}

}  // namespace ipmitool
}  // namespace vtr
