#ifndef VTR_TEST_TOOLS_HOST_PROCESS_H
#define VTR_TEST_TOOLS_HOST_PROCESS_H

// vtr-host run as a child process, and plain HTTP exchanges, for the tools tests.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/test_env.h"

namespace vtr {
namespace test {

// The options most runs pass: discrete sensors on, one sample a second.
inline const std::vector<std::string> kDiscreteEverySecond = {"--option", "ipmitool-include-discrete-sensors=true",
                                                              "--option", "ipmitool-sample-interval-sec=1"};

// The binary under test (or another program the test talks to), started through the shell,
// which prints its pid and then becomes it (exec), so the pipe's status is the program's own.
// Its stderr goes to a file. A child still running at the end is killed; a hung host is
// bounded by the test's own time limit.
class HostProcess {
 public:
  explicit HostProcess(const std::vector<std::string>& args, const std::string& program = VTR_HOST_BINARY)
      : errorFile_(makeTempDirectory("vtr-host") + "/stderr") {
    std::string command = "echo $$; exec " + shellQuote(program);
    for (const std::string& arg : args) command += " " + shellQuote(arg);
    pipe_ = popen((command + " 2>" + shellQuote(errorFile_)).c_str(), "r");
    if (const std::optional<std::string> pid = readLine()) pid_ = std::stoi(*pid);
  }
  ~HostProcess() {
    if (pipe_ != nullptr) {
      signal(SIGKILL);
      pclose(pipe_);
    }
    removeDirectory(errorFile_.substr(0, errorFile_.rfind('/')));
  }
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  // The next line of standard output; nullopt once it ended.
  std::optional<std::string> readLine() {
    std::string line;
    char chunk[4096];
    while (pipe_ != nullptr && fgets(chunk, sizeof chunk, pipe_) != nullptr) {
      line += chunk;
      if (line.back() == '\n') return line.substr(0, line.size() - 1);
    }
    return line.empty() ? std::nullopt : std::optional<std::string>(line);
  }
  // Reads the rest of the output and returns the exit code (128 + signal for a killed host).
  int wait() {
    for (std::optional<std::string> line; (line = readLine());) rest_.push_back(*line);
    const int status = pipe_ != nullptr ? pclose(pipe_) : -1;
    pipe_ = nullptr;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  void signal(int number) {
    if (pid_ > 0) kill(pid_, number);
  }
  // The program's peak resident size so far (VmHWM), in KiB; 0 when it cannot be read.
  long peakResidentKib() const {
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    for (std::string line; std::getline(status, line);)
      if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
    return 0;
  }
  // Lines wait() read after the last readLine().
  const std::vector<std::string>& remainingLines() const { return rest_; }
  std::string errorOutput() const { return readFile(errorFile_); }
  std::vector<std::string> errorLines() const {
    std::vector<std::string> lines;
    std::istringstream in(errorOutput());
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

 private:
  std::string errorFile_;
  FILE* pipe_ = nullptr;
  pid_t pid_ = -1;
  std::vector<std::string> rest_;
};

// A loopback socket listening on a port of its own, to make that port busy.
class BusyPort {
 public:
  BusyPort() : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
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

// A loopback TCP port that was free a moment ago.
inline int pickFreeLoopbackPort() { return BusyPort().port(); }

// A connected loopback socket (the caller closes it), or -1. Sending or receiving gives up
// after 30 s.
inline int connectLoopback(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  timeval limit{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) return fd;
  close(fd);
  return -1;
}

struct HttpResponse {
  std::string head;  // status line and headers
  std::string body;
};

// Sends `request` whole to 127.0.0.1:<port>, then `streamedBytes` more bytes behind it
// without waiting for an answer, until the server stops taking them; reads the answer until
// the server closes. nullopt when nothing answered.
inline std::optional<HttpResponse> httpExchange(int port, const std::string& request, std::size_t streamedBytes = 0) {
  const int fd = connectLoopback(port);
  if (fd < 0) return std::nullopt;
  send(fd, request.data(), request.size(), MSG_NOSIGNAL);
  const std::string filler(1 << 20, 'x');
  for (ssize_t sent; streamedBytes > 0; streamedBytes -= static_cast<std::size_t>(sent))
    if ((sent = send(fd, filler.data(), std::min(streamedBytes, filler.size()), MSG_NOSIGNAL)) <= 0) break;
  std::string response;
  char chunk[4096];
  for (ssize_t got; (got = recv(fd, chunk, sizeof(chunk), 0)) > 0;) response.append(chunk, static_cast<std::size_t>(got));
  close(fd);
  const std::size_t split = response.find("\r\n\r\n");
  if (split == std::string::npos) return std::nullopt;
  return HttpResponse{response.substr(0, split), response.substr(split + 4)};
}

inline std::optional<HttpResponse> httpGet(int port, const std::string& path) {
  return httpExchange(port, "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
}

// GETs `path` from `port` every half second until `done` holds for the body; that body, or
// nullopt after 90 s: generous, as Prometheus and Chromium start slowly on a loaded machine.
inline std::optional<std::string> awaitBody(int port, const std::string& path,
                                            const std::function<bool(const std::string&)>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(90);
  while (std::chrono::steady_clock::now() < deadline) {
    const std::optional<HttpResponse> response = httpGet(port, path);
    if (response && done(response->body)) return response->body;
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  return std::nullopt;
}

}  // namespace test
}  // namespace vtr

#endif
