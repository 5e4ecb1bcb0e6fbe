// A misbehaving tool never holds a run, a stop or memory for long, and leaves no process behind.

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "collector/ipmitool_collector.h"
#include "support/fake_ipmitool.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using Clock = std::chrono::steady_clock;

struct ToolFault {
  const char* name;
  const char* shellCode;  // each process it starts appends its pid to $dir/pids
  unsigned int timeoutSec;
  int stopAfterMs;  // < 0: no stop
  int result;
  const char* logged;  // an error line it must write, or ""
};

void PrintTo(const ToolFault& row, std::ostream* out) { *out << row.name; }

// Generous against a loaded machine, far below what an unbounded run would take.
constexpr auto kRunBound = std::chrono::seconds(30);

// Zombies count as gone: whoever inherited them reaps them in its own time.
bool processGone(const std::string& pid) {
  std::ifstream stat("/proc/" + pid + "/stat");
  std::string line;
  if (!std::getline(stat, line)) return true;
  return line.find(") Z ") != std::string::npos;
}

bool everyStartedProcessGone(const std::string& pidsFile) {
  const auto deadline = Clock::now() + kRunBound;
  std::ifstream pids(pidsFile);
  for (std::string pid; pids >> pid;) {
    while (!processGone(pid)) {
      if (Clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  return true;
}

class ToolFaults : public ::testing::TestWithParam<ToolFault> {};

TEST_P(ToolFaults, EndTheRunInBoundedTimeAndLeaveNothingRunning) {
  const ToolFault& row = GetParam();
  test::FakeIpmitool fake;
  test::LogRecorder log;
  fake.injectFault(row.shellCode);
  volatile bool stop = false;
  const IpmitoolCollector collector(CollectorConfig(false, true, false, "", row.timeoutSec, false), stop);

  std::thread stopper;
  if (row.stopAfterMs >= 0) {
    stopper = std::thread([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(row.stopAfterMs));
      __atomic_store_n(&stop, true, __ATOMIC_RELEASE);
    });
  }
  std::string output = "untouched";
  const auto started = Clock::now();
  const int result = collector.runCommandAndCheck("ipmitool sensor -v", output);
  const auto took = Clock::now() - started;
  if (stopper.joinable()) stopper.join();

  EXPECT_EQ(result, row.result);
  EXPECT_LT(took, kRunBound);
  if (result == 0) {
    EXPECT_EQ(output, test::readFile(test::fixturePath("small-server", "verbose.txt")));
  } else if (result == -1) {
    EXPECT_EQ(output, "untouched");
  }
  if (*row.logged != '\0') {
    EXPECT_TRUE(log.contains(VTR_LOG_ERR, row.logged));
  }
  EXPECT_TRUE(everyStartedProcessGone(fake.directory() + "/pids"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ToolFaults,
    ::testing::Values(
        ToolFault{"HangIgnoringTerm", "trap '' TERM; echo $$ >>\"$dir/pids\"; sleep 3600 & echo $! >>\"$dir/pids\"; wait",
                  1, -1, 124, "[ipmitool collector] Command timed out"},
        ToolFault{"ChildHoldingThePipe", "sleep 3600 & echo $! >>\"$dir/pids\"", 30, -1, 0, ""},
        ToolFault{"OversizedListing", "head -c 100000000 /dev/zero; exit 0", 30, -1, -1,
                  "[ipmitool collector] Command output exceeded 67108864 bytes; run abandoned: 'timeout 30 ipmitool "
                  "sensor -v 2>&1'"},
        ToolFault{"StopDuringARunWithoutTimeLimit", "echo $$ >>\"$dir/pids\"; sleep 3600", 0, 300, -1, ""}),
    [](const ::testing::TestParamInfo<ToolFault>& info) { return info.param.name; });

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
