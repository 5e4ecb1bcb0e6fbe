// The real tool against the simulated BMC, reached through the remote BMC options alone: the
// password, from a file or from IPMI_PASSWORD, is on no process's command line and in no log
// line; in cached sampling one tool process keeps its session from sample to sample.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

#include "support/test_env.h"
#include "support/hosted_provider.h"
#include "support/log_capture.h"
#include "support/sim_server.h"

namespace vtr {
namespace test {
namespace {

// A process's arguments joined by blanks; empty once it has gone (read(2): a stream would throw).
std::string commandLineOf(const char* pid) {
  const int fd = open((std::string("/proc/") + pid + "/cmdline").c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return "";
  std::string line;
  char chunk[4096];
  for (ssize_t n; (n = read(fd, chunk, sizeof chunk)) > 0;) line.append(chunk, static_cast<size_t>(n));
  close(fd);
  std::replace(line.begin(), line.end(), '\0', ' ');
  return line;
}

// Collects, while it lives, the command line (arguments joined by blanks) of every process
// that names `marker` among its arguments.
class CommandLineWatch {
 public:
  explicit CommandLineWatch(std::string marker) : marker_(std::move(marker)), thread_([this] { watch(); }) {}
  ~CommandLineWatch() { stop(); }
  std::set<std::string> seen() {
    stop();
    return seen_;
  }

 private:
  void stop() {
    done_ = true;
    if (thread_.joinable()) thread_.join();
  }
  void watch() {
    while (!done_) {
      DIR* proc = opendir("/proc");
      while (dirent* entry = readdir(proc)) {
        const std::string line = commandLineOf(entry->d_name);
        if (line.find(" " + marker_ + " ") != std::string::npos) seen_.insert(line);
      }
      closedir(proc);
    }
  }

  std::string marker_;
  std::atomic<bool> done_{false};
  std::set<std::string> seen_;
  std::thread thread_;
};

TEST(RemoteBmcSimulated, PasswordFromFileOrEnvironmentStaysOffCommandLinesAndLogs) {
  SimServer sim("small");
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  std::string password = readFile(sim.passwordFile());
  password.erase(password.find_last_not_of('\n') + 1);
  ASSERT_FALSE(password.empty());

  for (const bool fromFile : {true, false}) {
    if (!fromFile) setenv("IPMI_PASSWORD", password.c_str(), 1);
    LogRecorder log(exported<LogRecorder::SetLogFunc>("vtr_set_log_func"));
    CommandLineWatch watch(std::to_string(sim.port()));
    std::string event;
    {
      HostedProvider hosted(sim.bmcOptions(fromFile));
      hosted.start();
      event = hosted.nextEvent().json;
    }
    const std::set<std::string> commandLines = watch.seen();
    EXPECT_NE(event.find("\"cpu1_temp\":45"), std::string::npos) << event;
    EXPECT_FALSE(commandLines.empty()) << "the tool was never seen running";
    for (const std::string& line : commandLines) {
      EXPECT_EQ(line.find(password), std::string::npos) << line;
      EXPECT_NE(line.find(fromFile ? " -f " : " -E "), std::string::npos) << line;
    }
    // The line is written at most once per 10 s, so only the first pass shows it.
    if (fromFile) {
      EXPECT_EQ(log.countContaining("Running command: 'timeout 30 ipmitool -I lanplus -H 127.0.0.1 -p "), 1u);
    }
    EXPECT_EQ(log.countContaining(password), 0u);
    unsetenv("IPMI_PASSWORD");
  }
}

// Samples 31 s apart, against a simulator that drops a session left idle for 30 s: the tool's
// process is kept alive between them, so one process, and one session, reads every sample.
TEST(RemoteBmcSimulated, CachedSamplingKeepsOneToolProcessAcrossTheInterval) {
  SimServer sim("small");
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  FakeIpmitool recorder;  // records each start of the tool, then runs the real one
  recorder.injectFault("exec /usr/bin/ipmitool \"$@\"");
  Options options = sim.bmcOptions();
  options.push_back({"ipmitool-cached-sampling", "true"});
  options.push_back({"ipmitool-sample-interval-sec", "31"});
  HostedProvider hosted(options);
  hosted.start();
  for (int sample = 0; sample < 2; ++sample) {
    const std::string event = hosted.nextEvent(std::chrono::seconds(90)).json;
    EXPECT_NE(event.find("\"cpu1_temp\":45"), std::string::npos) << sample << ": " << event;
  }
  const std::vector<std::string> calls = recorder.recordedCalls();
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                          [](const std::string& call) { return call.size() > 9 && call.compare(call.size() - 9, 9, " -c shell") == 0; }),
            1)
      << "a new tool process for the second sample";
}

}  // namespace
}  // namespace test
}  // namespace vtr
