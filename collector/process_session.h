#ifndef VTR_COLLECTOR_PROCESS_SESSION_H
#define VTR_COLLECTOR_PROCESS_SESSION_H

// The process plumbing that a one-shot tool run (shell_run.h) and a long-lived tool process
// (tool_shell.h) share: a shell started as the leader of a session of its own, its output
// read in blocks up to the cap, and the whole session killed.

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>

namespace vtr {
namespace ipmitool {

// How often a wait for the tool looks at the stop flag.
constexpr std::chrono::milliseconds kStopPollPeriod{200};
// The block size `readAvailable` reads in; its `block` must hold this many bytes.
constexpr std::size_t kReadBlockBytes = 64 * 1024;

// Owns one file descriptor.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  ~FileDescriptor() { reset(); }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  void reset();

 private:
  int fd_;
};

// A pipe whose both ends close on exec; both invalid when it could not be made.
struct Pipe {
  FileDescriptor reader;
  FileDescriptor writer;
};
Pipe makePipe();

// Starts `/bin/sh -c line` as the leader of a new session (so it has no terminal to prompt
// on), its standard output on `stdoutFd` and its standard input on `stdinFd` (inherited when
// -1); standard error is inherited. -1 when it could not be started.
pid_t spawnInOwnSession(const std::string& line, int stdoutFd, int stdinFd = -1);

// True once the process has ended. It is left unreaped, so its pid keeps naming its session.
bool processEnded(pid_t pid);

// Appends what `fd` (non-blocking) holds now, through `block`, in large blocks, stopping once
// `output` is past kMaxCommandOutputBytes; false at end of file.
bool readAvailable(int fd, char* block, std::string& output);

// Gives back the room readAvailable reserved for an output that grew near the cap.
void releaseOversizedRoom(std::string& output);

// Kills the leader's group and, when `searchSession` says something may be left elsewhere,
// every other process of its session (`timeout` moves the tool into a group of its own), then
// reaps the leader; returns its wait status. Nothing of the session is left running.
int endSession(pid_t leader, bool searchSession);

// Milliseconds to wait in poll: at most `longest` and what is left until `deadline`.
int pollMilliseconds(std::chrono::steady_clock::time_point deadline,
                     std::chrono::milliseconds longest = kStopPollPeriod);

}  // namespace ipmitool
}  // namespace vtr

#endif
