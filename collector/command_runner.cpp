#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "collector/ipmitool_collector.h"
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

// Closes the pipe even when reading throws (memory exhaustion), so no child is left behind.
class ReadPipe {
 public:
  explicit ReadPipe(const std::string& line) : pipe_(popen(line.c_str(), "r")) {}
  ~ReadPipe() {
    if (pipe_ != nullptr) pclose(pipe_);
  }
  ReadPipe(const ReadPipe&) = delete;
  ReadPipe& operator=(const ReadPipe&) = delete;

  bool isOpen() const { return pipe_ != nullptr; }
  FILE* stream() const { return pipe_; }
  // The status word of pclose (-1 when it failed).
  int close() {
    const int status = pclose(pipe_);
    pipe_ = nullptr;
    return status;
  }

 private:
  FILE* pipe_;
};

std::string readWholeOutput(FILE* pipe) {
  std::string collected;
  char chunk[128];
  while (fgets(chunk, sizeof chunk, pipe) != nullptr) collected.append(chunk, strlen(chunk));
  return collected;
}

// The shell's exit code, or -1 when it did not exit normally (signal, or pclose failed).
int classifyStatus(int status) {
  if ((status & 0x7f) != 0) {
    vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] Command exited with an unrecognized status code");
    return -1;
  }
  const int code = (status >> 8) & 0xff;
  if (code == 124) {
    vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] Command timed out");
    return code;
  }
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

  ReadPipe pipe(line);
  if (!pipe.isOpen()) {
    vtr_log_rate_limited(VTR_LOG_ERR, "[ipmitool collector] Unable to open pipe for command execution: '%s'",
                         line.c_str());
    return -1;
  }
  std::string collected = readWholeOutput(pipe.stream());
  const int status = pipe.close();
  // A stop that came while the tool ran makes its output worthless.
  if (stopIsRequested()) return -1;

  const int result = classifyStatus(status);
  output = std::move(collected);
  return result;
}

}  // namespace ipmitool
}  // namespace vtr
