#include "collector/shell_run.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <memory>

#include "collector/process_session.h"
#include "collector/stop_flag.h"

namespace vtr {
namespace ipmitool {

namespace {

using Clock = std::chrono::steady_clock;

// Without a process descriptor the shell's end is noticed only by looking again.
constexpr std::chrono::milliseconds kExitPollPeriod{10};

// Reads until the shell ends or a reason to kill its session comes up. `reader` is closed
// once it reached end of file.
ShellEnd watch(pid_t pid, FileDescriptor& reader, Clock::time_point deadline, const volatile bool& stopFlag,
               std::string& output) {
  const FileDescriptor exitWatch(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  const std::unique_ptr<char[]> block(new char[kReadBlockBytes]);
  for (;;) {
    if (isStopRequested(stopFlag)) return ShellEnd::Stopped;
    if (processEnded(pid)) {
      if (reader.valid() && !readAvailable(reader.get(), block.get(), output)) reader.reset();
      return output.size() > kMaxCommandOutputBytes ? ShellEnd::OutputTooLarge : ShellEnd::Exited;
    }
    if (Clock::now() >= deadline) return ShellEnd::DeadlineKilled;

    pollfd watched[2];
    nfds_t count = 0;
    if (reader.valid()) watched[count++] = {reader.get(), POLLIN, 0};
    if (exitWatch.valid()) watched[count++] = {exitWatch.get(), POLLIN, 0};
    const bool blind = !exitWatch.valid() && !reader.valid();
    if (poll(watched, count, pollMilliseconds(deadline, blind ? kExitPollPeriod : kStopPollPeriod)) <= 0) continue;
    if (reader.valid() && watched[0].revents != 0 && !readAvailable(reader.get(), block.get(), output))
      reader.reset();
    if (output.size() > kMaxCommandOutputBytes) return ShellEnd::OutputTooLarge;
  }
}

}  // namespace

ShellRun runInOwnSession(const std::string& line, unsigned int timeLimitSec, const volatile bool& stopFlag) {
  ShellRun run;
  Pipe pipe = makePipe();
  if (!pipe.reader.valid()) return run;
  const pid_t pid = spawnInOwnSession(line, pipe.writer.get());
  pipe.writer.reset();  // the pipe ends when the last child lets go of it
  if (pid < 0) return run;
  fcntl(pipe.reader.get(), F_SETFL, O_NONBLOCK);

  const Clock::time_point deadline =
      timeLimitSec == 0 ? Clock::time_point::max()
                        : Clock::now() + std::chrono::seconds(timeLimitSec) + std::chrono::seconds(kTimeLimitGraceSec);
  run.end = watch(pid, pipe.reader, deadline, stopFlag, run.output);
  // The tool past its limit, or whatever the shell left behind holding the pipe. A run that
  // ended cleanly, its output closed, needs no search.
  run.status = endSession(pid, run.end != ShellEnd::Exited || pipe.reader.valid());
  if (run.end != ShellEnd::Exited && run.end != ShellEnd::DeadlineKilled) run.output.clear();
  releaseOversizedRoom(run.output);
  return run;
}

}  // namespace ipmitool
}  // namespace vtr
