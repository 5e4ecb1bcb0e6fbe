// The test doubles themselves: the fake ipmitool replays its fixtures faithfully and obeys its
// settings, and the simulated BMC answers the real tool through its shim.
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/fake_ipmitool.h"
#include "support/sim_server.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

// The command lines as the collector builds them: bounded by `timeout`, through the shell.
const char* const kVerboseCommand = "timeout 30 ipmitool sensor -v 2>&1";
const char* const kDiscreteCommand = "timeout 30 ipmitool sensor | grep discrete 2>&1";

std::vector<std::string> discreteLines(const std::string& compactListing) {
  std::vector<std::string> lines;
  std::istringstream in(compactListing);
  for (std::string line; std::getline(in, line);) {
    if (line.find("discrete") != std::string::npos) {
      lines.push_back(line);
    }
  }
  return lines;
}

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

class FakeReplaysFixture : public ::testing::TestWithParam<const char*> {};

TEST_P(FakeReplaysFixture, VerboseListingByteForByte) {
  FakeIpmitool fake(GetParam());
  const ShellResult run = runShell(kVerboseCommand);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.output, readFile(fixturePath(GetParam(), "sensor-v.txt")));
  EXPECT_EQ(fake.recordedCalls(), std::vector<std::string>{"sensor -v"});
}

TEST_P(FakeReplaysFixture, CompactListingThroughGrep) {
  FakeIpmitool fake(GetParam());
  const ShellResult run = runShell(kDiscreteCommand);
  EXPECT_EQ(splitLines(run.output), discreteLines(readFile(fixturePath(GetParam(), "sensor.txt"))));
  EXPECT_EQ(fake.recordedCalls(), std::vector<std::string>{"sensor"});
}

INSTANTIATE_TEST_SUITE_P(Cases, FakeReplaysFixture,
                         ::testing::Values("small-server", "na-readings", "device-not-present",
                                           "duplicate-names", "names-without-parentheses",
                                           "cr-line-ends", "hex-readings", "garbage-bytes",
                                           "long-line", "large-1000"),
                         [](const auto& info) {
                           std::string name = info.param;
                           for (char& c : name) {
                             if (c == '-') c = '_';
                           }
                           return name;
                         });

TEST(FakeIpmitool, ReplaysGivenTextAndRecordsEveryRun) {
  FakeIpmitool fake;
  fake.replayText("Sensor ID : X (0x1)\n", "X | 0x0 | discrete | 0x0100| na\n");
  EXPECT_EQ(runShell(kVerboseCommand).output, "Sensor ID : X (0x1)\n");
  EXPECT_EQ(runShell(kDiscreteCommand).output, "X | 0x0 | discrete | 0x0100| na\n");
  EXPECT_EQ(fake.recordedCalls(), (std::vector<std::string>{"sensor -v", "sensor"}));
}

TEST(FakeIpmitool, ExitsWithTheChosenCodeAfterPrinting) {
  FakeIpmitool fake;
  fake.setExitCode(7);
  const ShellResult run = runShell(kVerboseCommand);
  EXPECT_EQ(run.exitCode, 7);
  EXPECT_EQ(run.output, readFile(fixturePath("small-server", "sensor-v.txt")));
}

TEST(FakeIpmitool, RefusesOtherArguments) {
  FakeIpmitool fake;
  const ShellResult run = runShell("ipmitool sdr list 2>&1");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.output.find("unsupported arguments: sdr list"), std::string::npos);
}

TEST(FakeIpmitool, SleepsBeforePrinting) {
  FakeIpmitool fake;
  fake.setSleepSeconds(0.2);
  const ShellResult run = runShell(kVerboseCommand);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.output, readFile(fixturePath("small-server", "sensor-v.txt")));
}

TEST(FakeIpmitool, LongSleepIsCutByTimeout) {
  FakeIpmitool fake;
  fake.setSleepSeconds(60);
  const ShellResult run = runShell("timeout 1 ipmitool sensor -v 2>&1");
  EXPECT_EQ(run.exitCode, 124);
  EXPECT_EQ(run.output, "");
}

TEST(FakeIpmitool, PathIsRestoredAfterwards) {
  const std::string before = std::getenv("PATH");
  {
    FakeIpmitool fake;
    EXPECT_EQ(std::string(std::getenv("PATH")), fake.directory() + ":" + before);
  }
  EXPECT_EQ(std::string(std::getenv("PATH")), before);
}

bool processGone(int pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  const auto close = text.rfind(')');
  return close == std::string::npos || text.compare(close, 3, ") Z") == 0;
}

// Starts the simulator or skips when it is not installed; any other failure fails the test.
#define START_SIM(sim)                                      \
  if (!(sim).installed()) GTEST_SKIP() << (sim).reason();   \
  ASSERT_TRUE((sim).running()) << (sim).reason()

TEST(SimServer, SmallServerListsItsSensorsThroughTheShim) {
  SimServer sim("small");
  START_SIM(sim);
  sim.useShim();
  const ShellResult run = runShell(kVerboseCommand);
  ASSERT_EQ(run.exitCode, 0) << run.output;
  for (const char* name : {"CPU1 Temp (0x1)", "Inlet Temp (0x3)", "Temp (0x4)", "Temp (0x5)",
                           "FAN1 (0x6)", "12V (0x8)", "CPU1 VCORE (0xa)", "PS1 Status (0xb)",
                           "PS3 Status (0xd)"}) {
    EXPECT_NE(run.output.find(std::string("Sensor ID              : ") + name), std::string::npos)
        << name;
  }
  EXPECT_NE(run.output.find("Sensor Reading        : 12.060 (+/- 0) Volts"), std::string::npos);
}

TEST(SimServer, SmallServerPrintsTheRecordedFixture) {
  SimServer sim("small");
  START_SIM(sim);
  sim.useShim();
  EXPECT_EQ(runShell(kVerboseCommand).output, readFile(fixturePath("small-server", "sensor-v.txt")));
  EXPECT_EQ(runShell("ipmitool sensor 2>&1").output,
            readFile(fixturePath("small-server", "sensor.txt")));
}

TEST(SimServer, TwoSocketServerHasSixtySensorsOrMore) {
  SimServer sim("two-socket");
  START_SIM(sim);
  sim.useShim();
  const ShellResult run = runShell("ipmitool sensor 2>&1");
  ASSERT_EQ(run.exitCode, 0) << run.output;
  EXPECT_GE(splitLines(run.output).size(), 60u);
  EXPECT_EQ(discreteLines(run.output).size(), 11u);
}

TEST(SimServer, IsGoneOnceItsOwnerIs) {
  int pid = 0;
  {
    SimServer sim("small");
    START_SIM(sim);
    pid = sim.pid();
    EXPECT_FALSE(processGone(pid));
  }
  EXPECT_TRUE(processGone(pid));
}

}  // namespace
}  // namespace test
}  // namespace vtr
