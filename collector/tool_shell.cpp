#include "collector/tool_shell.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string_view>
#include <thread>

#include "collector/stop_flag.h"

namespace vtr {
namespace ipmitool {

namespace {

// How long a process asked to exit gets before its session is killed.
constexpr std::chrono::milliseconds kExitGrace{500};
constexpr std::chrono::milliseconds kExitPollPeriod{10};

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// The answer without the prompt after it and the echo of the command before it (the tool's
// line editor echoes what it reads).
void trimAnswer(const std::string& command, std::string& text) {
  text.resize(text.size() - std::string_view(kToolPrompt).size());
  const std::string echo = command + "\n";
  if (text.compare(0, echo.size(), echo) == 0) text.erase(0, echo.size());
}

}  // namespace

bool ToolShell::start(const std::string& line) {
  Pipe output = makePipe();
  int commands[2];
  if (!output.reader.valid() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, commands) != 0) return false;
  FileDescriptor ours(commands[0]);
  const FileDescriptor theirs(commands[1]);
  pid_ = spawnInOwnSession(line, output.writer.get(), theirs.get());
  if (pid_ < 0) return false;
  fcntl(output.reader.get(), F_SETFL, O_NONBLOCK);
  input_ = std::move(ours);
  output_ = std::move(output.reader);
  line_ = line;
  answers_ = 0;
  return true;
}

ShellEnd ToolShell::awaitPrompt(Clock::time_point deadline, std::string& text) {
  const std::unique_ptr<char[]> block(new char[kReadBlockBytes]);
  for (;;) {
    if (isStopRequested(stopFlag_)) return ShellEnd::Stopped;
    if (Clock::now() >= deadline) return ShellEnd::DeadlineKilled;
    pollfd watched{output_.get(), POLLIN, 0};
    if (poll(&watched, 1, pollMilliseconds(deadline)) <= 0) continue;
    const bool open = readAvailable(output_.get(), block.get(), text);
    if (text.size() > kMaxCommandOutputBytes) return ShellEnd::OutputTooLarge;
    if (endsWith(text, kToolPrompt)) return ShellEnd::Answered;
    if (!open) return ShellEnd::Exited;
  }
}

ShellRun ToolShell::ask(const std::string& line, const std::string& command, unsigned int timeLimitSec,
                        std::chrono::seconds idleLimit) {
  ShellRun run;
  if (isStopRequested(stopFlag_)) {
    run.end = ShellEnd::Stopped;
    return run;
  }
  const Clock::time_point now = Clock::now();
  if (running() && processEnded(pid_)) kill();  // it died while it waited: no command was lost
  // A session the BMC dropped cannot be closed: asking the process to exit would only wait.
  if (running() && idleLimit.count() != 0 && now - lastAnswer_ > idleLimit) kill();
  if (running() && (line != line_ || answers_ >= kAnswersPerToolShell)) end();
  const Clock::time_point deadline =
      timeLimitSec == 0 ? Clock::time_point::max() : now + std::chrono::seconds(timeLimitSec);

  std::string text;
  if (!running()) {
    if (!start(line)) {
      kill();
      return run;  // NotStarted
    }
    run.end = awaitPrompt(deadline, text);
    text.clear();  // whatever it printed before its first prompt
  } else {
    run.end = ShellEnd::Answered;
  }
  if (run.end == ShellEnd::Answered) {
    const std::string request = command + "\n";
    if (send(input_.get(), request.data(), request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(request.size()))
      run.end = awaitPrompt(deadline, text);
    else
      run.end = ShellEnd::Exited;
  }
  if (run.end != ShellEnd::Answered) {
    run.status = kill();
    return run;
  }
  trimAnswer(command, text);
  releaseOversizedRoom(text);
  run.output = std::move(text);
  lastAnswer_ = Clock::now();
  ++answers_;
  return run;
}

int ToolShell::kill() {
  if (!running()) return 0;
  input_.reset();
  output_.reset();
  // Whatever the process left behind, wherever it moved, goes with it.
  const int status = endSession(pid_, true);
  pid_ = -1;
  return status;
}

void ToolShell::end() {
  if (!running()) return;
  static constexpr char kExit[] = "exit\n";
  send(input_.get(), kExit, sizeof kExit - 1, MSG_NOSIGNAL);
  input_.reset();
  const Clock::time_point giveUp = Clock::now() + kExitGrace;
  while (!processEnded(pid_) && Clock::now() < giveUp) std::this_thread::sleep_for(kExitPollPeriod);
  kill();
}

}  // namespace ipmitool
}  // namespace vtr
