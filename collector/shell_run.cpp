#include "collector/shell_run.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "collector/stop_flag.h"

extern char** environ;

namespace vtr {
namespace ipmitool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kStopPollPeriod{200};
// Without a process descriptor the shell's end is noticed only by looking again.
constexpr std::chrono::milliseconds kExitPollPeriod{10};
constexpr std::size_t kReadBlockBytes = 64 * 1024;

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  ~FileDescriptor() { reset(); }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  void reset() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};


// posix_spawn: nothing but async-signal-safe work happens between fork and exec, whatever
// other threads of the host do. The child leads a session of its own (so it has no terminal
// to prompt on), with an empty signal mask and the default actions of the signals a host
// commonly blocks or ignores.
pid_t spawnShell(const std::string& line, int stdoutFd) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  if (posix_spawn_file_actions_init(&actions) != 0) return -1;
  if (posix_spawnattr_init(&attributes) != 0) {
    posix_spawn_file_actions_destroy(&actions);
    return -1;
  }
  sigset_t noSignals;
  sigemptyset(&noSignals);
  sigset_t defaultSignals;
  sigemptyset(&defaultSignals);
  for (int number : {SIGINT, SIGTERM, SIGPIPE}) sigaddset(&defaultSignals, number);
  posix_spawn_file_actions_adddup2(&actions, stdoutFd, STDOUT_FILENO);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawnattr_setsigmask(&attributes, &noSignals);
  posix_spawnattr_setsigdefault(&attributes, &defaultSignals);

  char shell[] = "sh";
  char dashC[] = "-c";
  char* argv[] = {shell, dashC, const_cast<char*>(line.c_str()), nullptr};
  pid_t pid = -1;
  const int failed = posix_spawn(&pid, "/bin/sh", &actions, &attributes, argv, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return failed != 0 ? -1 : pid;
}

// True once the shell has ended. It is left unreaped, so its pid keeps naming the group.
bool shellEnded(pid_t pid) {
  siginfo_t info{};
  if (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0) return errno != EINTR;
  return info.si_pid == pid;
}

// Outputs up to this size grow in the heap, whose pages are reused from run to run; a larger
// one moves once into room reserved for the whole cap, so that no copies of it pile up in
// the heap on the way there.
constexpr std::size_t kGrowInHeapBytes = 2u << 20;

// Appends what the pipe holds now, through `block`, in large blocks; false at end of file.
bool readAvailable(int fd, char* block, std::string& output) {
  while (output.size() <= kMaxCommandOutputBytes) {
    const ssize_t got = read(fd, block, kReadBlockBytes);
    if (got > 0) {
      if (output.size() + static_cast<std::size_t>(got) > kGrowInHeapBytes &&
          output.capacity() < kMaxCommandOutputBytes)
        output.reserve(kMaxCommandOutputBytes + kReadBlockBytes);
      output.append(block, static_cast<std::size_t>(got));
      continue;
    }
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return true;
    return false;
  }
  return true;
}

// The session of a process, from /proc/<pid>/stat; -1 when it cannot be read.
pid_t sessionOf(const char* pid) {
  const std::string path = std::string("/proc/") + pid + "/stat";
  FILE* file = std::fopen(path.c_str(), "re");
  if (file == nullptr) return -1;
  char stat[512];
  const std::size_t got = std::fread(stat, 1, sizeof stat - 1, file);
  std::fclose(file);
  stat[got] = '\0';
  // The command name in parentheses may hold anything; the fields after it do not.
  const char* afterName = std::strrchr(stat, ')');
  char state = 0;
  int parent = 0;
  int group = 0;
  int session = -1;
  if (afterName == nullptr || std::sscanf(afterName + 1, " %c %d %d %d", &state, &parent, &group, &session) != 4) {
    return -1;
  }
  return session;
}

// Kills every process of the session `leader` leads. `timeout` moves the tool into a group
// of its own, so the shell's group alone would miss it. The leader is still unreaped, so
// its id cannot name anyone else's session. A second sweep catches what forked during the
// first.
void killSession(pid_t leader) {
  for (int sweep = 0; sweep < 2; ++sweep) {
    DIR* proc = opendir("/proc");
    if (proc == nullptr) break;
    while (const dirent* entry = readdir(proc)) {
      if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
      if (sessionOf(entry->d_name) == leader) kill(static_cast<pid_t>(std::atoi(entry->d_name)), SIGKILL);
    }
    closedir(proc);
  }
}

int pollMilliseconds(Clock::time_point deadline, bool watchingExit, bool readingPipe) {
  auto wait = std::min<Clock::duration>(kStopPollPeriod, deadline - Clock::now());
  if (!watchingExit && !readingPipe) wait = std::min<Clock::duration>(wait, kExitPollPeriod);
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
  return static_cast<int>(std::max<decltype(ms)>(ms, 0));
}

// Reads until the shell ends or a reason to kill its session comes up. `reader` is closed
// once it reached end of file.
ShellEnd watch(pid_t pid, FileDescriptor& reader, Clock::time_point deadline, const volatile bool& stopFlag,
               std::string& output) {
  const FileDescriptor exitWatch(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  const std::unique_ptr<char[]> block(new char[kReadBlockBytes]);
  for (;;) {
    if (isStopRequested(stopFlag)) return ShellEnd::Stopped;
    if (shellEnded(pid)) {
      if (reader.valid() && !readAvailable(reader.get(), block.get(), output)) reader.reset();
      return output.size() > kMaxCommandOutputBytes ? ShellEnd::OutputTooLarge : ShellEnd::Exited;
    }
    if (Clock::now() >= deadline) return ShellEnd::DeadlineKilled;

    pollfd watched[2];
    nfds_t count = 0;
    if (reader.valid()) watched[count++] = {reader.get(), POLLIN, 0};
    if (exitWatch.valid()) watched[count++] = {exitWatch.get(), POLLIN, 0};
    if (poll(watched, count, pollMilliseconds(deadline, exitWatch.valid(), reader.valid())) <= 0) continue;
    if (reader.valid() && watched[0].revents != 0 && !readAvailable(reader.get(), block.get(), output))
      reader.reset();
    if (output.size() > kMaxCommandOutputBytes) return ShellEnd::OutputTooLarge;
  }
}

}  // namespace

ShellRun runInOwnSession(const std::string& line, unsigned int timeLimitSec, const volatile bool& stopFlag) {
  ShellRun run;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return run;
  FileDescriptor reader(ends[0]);
  FileDescriptor writer(ends[1]);
  const pid_t pid = spawnShell(line, writer.get());
  writer.reset();  // the pipe ends when the last child lets go of it
  if (pid < 0) return run;
  fcntl(reader.get(), F_SETFL, O_NONBLOCK);

  const Clock::time_point deadline =
      timeLimitSec == 0 ? Clock::time_point::max()
                        : Clock::now() + std::chrono::seconds(timeLimitSec) + std::chrono::seconds(kTimeLimitGraceSec);
  run.end = watch(pid, reader, deadline, stopFlag, run.output);
  // The tool past its limit, or whatever the shell left behind holding the pipe. A run that
  // ended cleanly, its output closed, needs no search.
  kill(-pid, SIGKILL);
  if (run.end != ShellEnd::Exited || reader.valid()) killSession(pid);
  while (waitpid(pid, &run.status, 0) < 0 && errno == EINTR) {
  }
  if (run.end != ShellEnd::Exited && run.end != ShellEnd::DeadlineKilled) run.output.clear();
  // Only the room reserved for the cap is worth giving back at once.
  if (run.output.capacity() > kGrowInHeapBytes) run.output.shrink_to_fit();
  return run;
}

}  // namespace ipmitool
}  // namespace vtr
