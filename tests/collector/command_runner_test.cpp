#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "support/log_capture.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::FakeIpmitool;
using test::LogRecorder;

CollectorConfig runnerConfig(unsigned int timeout, bool sudo = false) {
  return CollectorConfig(false, true, false, "", timeout, sudo);
}

class CommandRunnerTest : public ::testing::Test {
 protected:
  FakeIpmitool fake{"small-server"};
  LogRecorder log;
  volatile bool stop = false;
};

TEST_F(CommandRunnerTest, ReturnsTheToolsExitCodeAndItsWholeOutput) {
  for (const int code : {0, 1, 3, 255}) {
    fake.setExitCode(code);
    const IpmitoolCollector collector(runnerConfig(30), stop);
    std::string output = "previous";
    EXPECT_EQ(collector.runCommandAndCheck("ipmitool sensor -v", output), code);
    EXPECT_EQ(output, test::readFile(test::fixturePath("small-server", "verbose.txt"))) << "exit code " << code;
  }
  EXPECT_EQ(fake.recordedCalls(), std::vector<std::string>(4, "sensor -v"));
}

TEST_F(CommandRunnerTest, StandardErrorIsPartOfTheOutput) {
  const IpmitoolCollector collector(runnerConfig(30), stop);
  std::string output;
  EXPECT_EQ(collector.runCommandAndCheck("ipmitool raw 0x06 0x01", output), 1);
  EXPECT_EQ(output, "fake ipmitool: unsupported arguments: raw 0x06 0x01\n");
}

// The tool never finishes on its own, so only the time limit can end the run: the outcome
// does not depend on how busy the machine is (a tool that merely slept longer than the limit
// could still win the race when the limit's signal came late).
TEST_F(CommandRunnerTest, HungToolIsStoppedByTheTimeLimit) {
  fake.hang();
  const IpmitoolCollector collector(runnerConfig(1), stop);
  std::string output = "previous";
  EXPECT_EQ(collector.runCommandAndCheck("ipmitool sensor -v", output), 124);
  EXPECT_EQ(output, "");
  EXPECT_TRUE(log.contains(VTR_LOG_ERR, "[ipmitool collector] Command timed out"));
}

TEST_F(CommandRunnerTest, PipelineReportsTheLastProgramsStatus) {
  const IpmitoolCollector collector(runnerConfig(30), stop);
  std::string output;
  EXPECT_EQ(collector.runCommandAndCheck("ipmitool sensor | grep discrete", output), 0);
  EXPECT_EQ(output.find("CPU1 Temp"), std::string::npos);
  EXPECT_NE(output.find("PS1 Status"), std::string::npos);
  EXPECT_EQ(collector.runCommandAndCheck("ipmitool sensor | grep no-such-sensor", output), 1);
}

TEST_F(CommandRunnerTest, StopFlagSetBeforehandRunsNothing) {
  stop = true;
  const IpmitoolCollector collector(runnerConfig(30), stop);
  std::string output = "untouched";
  EXPECT_EQ(collector.runCommandAndCheck("ipmitool sensor -v", output), -1);
  EXPECT_EQ(output, "untouched");
  EXPECT_TRUE(fake.recordedCalls().empty());
  EXPECT_TRUE(log.contains(VTR_LOG_DEBUG, "[ipmitool collector] Stop flag asserted - skipping command execution"));
}

TEST_F(CommandRunnerTest, CommandKilledBySignalIsUnrecognized) {
  const IpmitoolCollector collector(runnerConfig(30), stop);
  std::string output = "previous";
  EXPECT_EQ(collector.runCommandAndCheck("echo partial; kill -9 $$", output), -1);
  EXPECT_EQ(output, "partial\n");
  EXPECT_TRUE(log.contains(VTR_LOG_ERR, "[ipmitool collector] Command exited with an unrecognized status code"));
}

TEST_F(CommandRunnerTest, SudoWrapsTheTimeLimitedCommand) {
  // A stand-in sudo next to the fake tool: records its arguments and runs them.
  const std::string sudo = fake.directory() + "/sudo";
  std::ofstream(sudo) << "#!/bin/sh\nprintf '%s\\n' \"$*\" >\"$(dirname \"$0\")/sudo.log\"\nexec \"$@\"\n";
  ASSERT_EQ(chmod(sudo.c_str(), 0755), 0);

  const IpmitoolCollector collector(runnerConfig(7, true), stop);
  std::string output;
  EXPECT_EQ(collector.runCommandAndCheck("ipmitool sensor -v", output), 0);
  EXPECT_EQ(test::readFile(fake.directory() + "/sudo.log"), "timeout 7 ipmitool sensor -v\n");
  EXPECT_EQ(fake.recordedCalls(), std::vector<std::string>{"sensor -v"});
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
