#include "collector/process_session.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "collector/shell_run.h"

extern char** environ;

namespace vtr {
namespace ipmitool {

namespace {

// Outputs up to this size grow in the heap, whose pages are reused from run to run; a larger
// one moves once into room reserved for the whole cap, so that no copies of it pile up in
// the heap on the way there.
constexpr std::size_t kGrowInHeapBytes = 2u << 20;

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

// Kills every process of the session `leader` leads. The leader is still unreaped, so its id
// cannot name anyone else's session. A second sweep catches what forked during the first.
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

}  // namespace

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    reset();
    fd_ = other.fd_;
    other.fd_ = -1;
  }
  return *this;
}

void FileDescriptor::reset() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

Pipe makePipe() {
  Pipe pipe;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return pipe;
  pipe.reader = FileDescriptor(ends[0]);
  pipe.writer = FileDescriptor(ends[1]);
  return pipe;
}

// posix_spawn: nothing but async-signal-safe work happens between fork and exec, whatever
// other threads of the host do. The child has an empty signal mask and the default actions of
// the signals a host commonly blocks or ignores.
pid_t spawnInOwnSession(const std::string& line, int stdoutFd, int stdinFd) {
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
  if (stdinFd >= 0) posix_spawn_file_actions_adddup2(&actions, stdinFd, STDIN_FILENO);
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

bool processEnded(pid_t pid) {
  siginfo_t info{};
  if (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0) return errno != EINTR;
  return info.si_pid == pid;
}

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

int endSession(pid_t leader, bool searchSession) {
  kill(-leader, SIGKILL);
  if (searchSession) killSession(leader);
  int status = 0;
  while (waitpid(leader, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

int pollMilliseconds(std::chrono::steady_clock::time_point deadline, std::chrono::milliseconds longest) {
  const auto wait = std::min<std::chrono::steady_clock::duration>(longest, deadline - std::chrono::steady_clock::now());
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
  return static_cast<int>(std::max<decltype(ms)>(ms, 0));
}

void releaseOversizedRoom(std::string& output) {
  // Only the room reserved for the cap is worth giving back at once.
  if (output.capacity() > kGrowInHeapBytes) output.shrink_to_fit();
}

}  // namespace ipmitool
}  // namespace vtr
