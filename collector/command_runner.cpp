#include <string>
#include <utility>

#include "collector/ipmitool_collector.h"
#include "collector/shell_run.h"
#include "runtime/logger.h"
#include "runtime/rate_limit.h"

namespace vtr {
namespace ipmitool {

namespace {

// `timeout` wraps only the first program of a pipeline and the redirection applies to the last:
// the line is composed as it stands, without quoting.
std::string composeCommandLine(const std::string& command, unsigned int timeoutSeconds, bool useSudo) {
  std::string line = "timeout " + std::to_string(timeoutSeconds) + " " + command + " 2>&1";
  if (useSudo) line.insert(0, "sudo ");
  return line;
}

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

int IpmitoolCollector::runCommandAndCheck(std::string command, std::string& output) const {
  if (stopIsRequested()) {
    vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Stop flag asserted - skipping command execution");
    return -1;
  }
  const std::string line = composeCommandLine(command, config_.commandTimeout, config_.useSudo);
  vtr_log_rate_limited(VTR_LOG_INFO, "[ipmitool collector] Running command: '%s'", line.c_str());

  ShellRun run = runInOwnSession(line, config_.commandTimeout, stopRequested);
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
    case ShellEnd::Exited:
      break;
  }
  // A stop that came while the tool ran makes its output worthless.
  if (stopIsRequested()) return -1;

  // A tool that outlived `timeout` by the grace is reported as `timeout` itself would have.
  const int result = run.end == ShellEnd::DeadlineKilled ? reportTimedOut() : classifyStatus(run.status);
  output = std::move(run.output);
  return result;
}

}  // namespace ipmitool
}  // namespace vtr
