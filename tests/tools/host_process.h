#ifndef VTR_TEST_TOOLS_HOST_PROCESS_H
#define VTR_TEST_TOOLS_HOST_PROCESS_H

// vtr-host run as a child process, and a plain HTTP GET, for the tools tests.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vtr {
namespace test {

// The options most runs pass: discrete sensors on, one sample a second.
inline const std::vector<std::string> kDiscreteEverySecond = {"--option", "ipmitool-include-discrete-sensors=true",
                                                              "--option", "ipmitool-sample-interval-sec=1"};

// Bounds for the waits below: only a safety net against a hung child, never a measurement.
constexpr std::chrono::seconds kHostStartLimit{60};
constexpr std::chrono::seconds kHostExitLimit{60};

// The binary under test with its stdout and stderr on pipes. The destructor kills and reaps a
// child that is still running, so a failed assertion leaves nothing behind.
class HostProcess {
 public:
  explicit HostProcess(const std::vector<std::string>& args) {
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      dup2(out[1], STDOUT_FILENO);
      dup2(err[1], STDERR_FILENO);
      std::vector<char*> argv{const_cast<char*>(VTR_HOST_BINARY)};
      for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
      argv.push_back(nullptr);
      execv(VTR_HOST_BINARY, argv.data());
      _exit(127);
    }
    close(out[1]);
    close(err[1]);
    stdout_ = out[0];
    stderr_ = err[0];
  }

  ~HostProcess() {
    if (running()) {
      kill(pid_, SIGKILL);
      reap(true);
    }
    if (stdout_ >= 0) close(stdout_);
    if (stderr_ >= 0) close(stderr_);
  }

  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  bool started() const { return pid_ > 0; }

  // The next line of standard output; nullopt when the output ended or the limit passed.
  std::optional<std::string> readLine(std::chrono::seconds limit = kHostStartLimit) {
    auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
      std::size_t newline = out_.find('\n', consumed_);
      if (newline != std::string::npos) {
        std::string line = out_.substr(consumed_, newline - consumed_);
        consumed_ = newline + 1;
        return line;
      }
      if (!pump(deadline)) return std::nullopt;
    }
  }

  // Waits for the exit and returns its code (128 + signal for a killed child); -1 when the
  // child had to be killed at the limit.
  int wait(std::chrono::seconds limit = kHostExitLimit) {
    auto deadline = std::chrono::steady_clock::now() + limit;
    while (pump(deadline)) {
    }
    return reap(!closed());
  }

  void signal(int number) {
    if (running()) kill(pid_, number);
  }

  // All of standard output that readLine has not returned yet.
  std::string remainingOutput() const { return out_.substr(consumed_); }
  const std::string& errorOutput() const { return err_; }
  std::vector<std::string> errorLines() const { return split(err_); }
  std::vector<std::string> remainingLines() const { return split(remainingOutput()); }

 private:
  static std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      lines.push_back(text.substr(start, end - start));
    }
    if (start < text.size()) lines.push_back(text.substr(start));
    return lines;
  }

  bool running() const { return pid_ > 0 && status_ < 0; }
  bool closed() const { return stdout_ < 0 && stderr_ < 0; }

  // Reads whatever either pipe has; false once both are closed or the deadline passed.
  bool pump(std::chrono::steady_clock::time_point deadline) {
    if (closed()) return false;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd fds[2] = {{stdout_, POLLIN, 0}, {stderr_, POLLIN, 0}};
    if (poll(fds, 2, static_cast<int>(left.count())) <= 0) return true;
    drain(fds[0], stdout_, out_);
    drain(fds[1], stderr_, err_);
    return true;
  }

  static void drain(const pollfd& fd, int& descriptor, std::string& into) {
    if (descriptor < 0 || fd.revents == 0) return;
    char chunk[4096];
    ssize_t got = read(descriptor, chunk, sizeof(chunk));
    if (got > 0) {
      into.append(chunk, static_cast<std::size_t>(got));
    } else {
      close(descriptor);
      descriptor = -1;
    }
  }

  int reap(bool killFirst) {
    if (pid_ <= 0) return -1;
    if (status_ < 0) {
      if (killFirst) kill(pid_, SIGKILL);
      int status = 0;
      while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
      }
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      if (killFirst) return -1;
    }
    return status_;
  }

  pid_t pid_ = -1;
  int stdout_ = -1;
  int stderr_ = -1;
  int status_ = -1;
  std::string out_;
  std::string err_;
  std::size_t consumed_ = 0;
};

// A loopback TCP port that was free a moment ago.
inline int pickFreeLoopbackPort() {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  close(fd);
  return ntohs(address.sin_port);
}

// A loopback socket listening on a port of its own, to make that port busy.
class BusyPort {
 public:
  BusyPort() : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    listen(fd_, 1);
    getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
  }
  ~BusyPort() { close(fd_); }
  BusyPort(const BusyPort&) = delete;
  BusyPort& operator=(const BusyPort&) = delete;
  int port() const { return port_; }

 private:
  int fd_;
  int port_ = 0;
};

struct HttpResponse {
  std::string head;  // status line and headers
  std::string body;
};

// GET http://127.0.0.1:<port><path> over a plain socket; nullopt when nothing answered.
inline std::optional<HttpResponse> httpGet(int port, const std::string& path) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  timeval limit{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    close(fd);
    return std::nullopt;
  }
  std::string request = "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
  send(fd, request.data(), request.size(), MSG_NOSIGNAL);
  std::string response;
  char chunk[4096];
  for (ssize_t got; (got = recv(fd, chunk, sizeof(chunk), 0)) > 0;) response.append(chunk, static_cast<std::size_t>(got));
  close(fd);
  std::size_t split = response.find("\r\n\r\n");
  if (split == std::string::npos) return std::nullopt;
  return HttpResponse{response.substr(0, split), response.substr(split + 4)};
}

}  // namespace test
}  // namespace vtr

#endif
