// How a tool run ends: its exit code and whole output, and a misbehaving tool never holding a
// run, a stop or memory for long, nor leaving a process behind. Then the rules of the collector
// that no provider option or call order of the provider reaches, so only a direct call guards
// them: the per-label field switches, discrete states published as text, the order of schema
// and sample, and text rules for kinds the provider never asks about.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "collector/ipmitool_collector.h"
#include "collector/value_rules.h"
#include "support/test_env.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using Clock = std::chrono::steady_clock;

CollectorOptions discreteSensorsIncluded() {
  CollectorOptions options;
  options.includeDiscreteSensors = true;
  return options;
}

// One run of a command line, or one answer of the long-lived tool shell to a command.
enum class Via { Run, Shell };

struct ToolRun {
  const char* name;
  Via via;
  const char* command;  // with Via::Shell: what the shell ("ipmitool shell") is asked
  const char* fault;  // shell code the tool runs first; each process it starts appends its pid to $dir/pids
  const char* answerFault;  // shell code the tool's shell runs before it answers
  int exitCode;             // the tool's own, after printing
  unsigned int timeoutSec;
  int stopAfterMs;  // < 0: no stop; 0: stopped before the run
  int result;
  std::string output;  // "<listing>": the recorded listing; "untouched": left as it was
  const char* logged;  // a line it must write, or ""
};

void PrintTo(const ToolRun& row, std::ostream* out) { *out << row.name; }

// Generous against a loaded machine, far below what an unbounded run would take.
constexpr auto kRunBound = std::chrono::seconds(30);

// Zombies count as gone: whoever inherited them reaps them in its own time.
bool everyStartedProcessGone(const std::string& pidsFile) {
  const auto deadline = Clock::now() + kRunBound;
  std::ifstream pids(pidsFile);
  for (std::string pid; pids >> pid;) {
    for (;;) {
      std::ifstream stat("/proc/" + pid + "/stat");
      std::string line;
      if (!std::getline(stat, line) || line.find(") Z ") != std::string::npos) break;
      if (Clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  return true;
}

class ToolRuns : public ::testing::TestWithParam<ToolRun> {};

TEST_P(ToolRuns, EndWithTheirResultInBoundedTimeAndLeaveNothingRunning) {
  const ToolRun& row = GetParam();
  test::FakeIpmitool fake;
  test::LogRecorder log;
  fake.injectFault(row.fault);
  fake.injectShellFault(row.answerFault);
  fake.setExitCode(row.exitCode);
  volatile bool stop = row.stopAfterMs == 0;
  CollectorOptions options;
  options.commandTimeout = row.timeoutSec;
  auto collector = std::make_unique<IpmitoolCollector>(CollectorConfig(options), stop);
  std::thread stopper;
  if (row.stopAfterMs > 0) {
    stopper = std::thread([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(row.stopAfterMs));
      __atomic_store_n(&stop, true, __ATOMIC_RELEASE);
    });
  }
  std::string output = "untouched";
  const auto started = Clock::now();
  EXPECT_EQ(row.via == Via::Run ? collector->runCommandAndCheck(row.command, output)
                                : collector->askToolShell("ipmitool shell", row.command, output),
            row.result);
  EXPECT_LT(Clock::now() - started, kRunBound);
  if (stopper.joinable()) stopper.join();
  collector.reset();  // a tool shell that answered lives as long as its collector
  EXPECT_EQ(output, row.output == "<listing>" ? test::readFile(test::fixturePath("small-server", "verbose.txt")) : row.output);
  EXPECT_TRUE(*row.logged == '\0' || log.contains(row.logged)) << row.logged;
  EXPECT_TRUE(everyStartedProcessGone(fake.directory() + "/pids"));
  EXPECT_TRUE(row.stopAfterMs != 0 || fake.recordedCalls().empty()) << "a stopped run starts no tool";
}

constexpr const char* kListing = "ipmitool sensor -v";
constexpr const char* kRequest = "sensor -v";
constexpr const char* kHangIgnoringTerm =
    "trap '' TERM; echo $$ >>\"$dir/pids\"; sleep 3600 & echo $! >>\"$dir/pids\"; wait";
constexpr const char* kRecordPid = "echo $$ >>\"$dir/pids\"";

INSTANTIATE_TEST_SUITE_P(
    Rows, ToolRuns,
    ::testing::Values(
        ToolRun{"Success", Via::Run, kListing, "", "", 0, 30, -1, 0, "<listing>", ""},
        ToolRun{"FailureKeepsTheOutput", Via::Run, kListing, "", "", 3, 30, -1, 3, "<listing>", ""},
        ToolRun{"ExitCode255", Via::Run, kListing, "", "", 255, 30, -1, 255, "<listing>", ""},
        ToolRun{"StandardErrorIsOutput", Via::Run, "ipmitool raw 0x06 0x01", "", "", 0, 30, -1, 1,
                "fake ipmitool: unsupported arguments: raw 0x06 0x01\n", ""},
        ToolRun{"PipelineGivesTheLastProgramsStatus", Via::Run, "ipmitool sensor | grep no-such-sensor", "", "", 0, 30,
                -1, 1, "", ""},
        ToolRun{"KilledBySignal", Via::Run, "echo partial; kill -9 $$", "", "", 0, 30, -1, -1, "partial\n",
                "[ipmitool collector] Command exited with an unrecognized status code"},
        ToolRun{"StopFlagSetBeforehandRunsNothing", Via::Run, kListing, "", "", 0, 30, 0, -1, "untouched",
                "[ipmitool collector] Stop flag asserted - skipping command execution"},
        // Only the time limit can end this run, so the outcome does not depend on how busy the
        // machine is.
        ToolRun{"HungToolIgnoringTermIsStoppedByTheTimeLimit", Via::Run, kListing, kHangIgnoringTerm, "", 0, 1, -1,
                124, "", "[ipmitool collector] Command timed out"},
        ToolRun{"ChildHoldingThePipe", Via::Run, kListing, "sleep 3600 & echo $! >>\"$dir/pids\"", "", 0, 30, -1, 0,
                "<listing>", ""},
        ToolRun{"OversizedListing", Via::Run, kListing, "head -c 100000000 /dev/zero; exit 0", "", 0, 30, -1, -1,
                "untouched",
                "[ipmitool collector] Command output exceeded 67108864 bytes; run abandoned: 'timeout 30 ipmitool "
                "sensor -v 2>&1'"},
        ToolRun{"StopDuringARunWithoutTimeLimit", Via::Run, kListing, "echo $$ >>\"$dir/pids\"; sleep 3600", "", 0, 0,
                300, -1, "untouched", ""},
        // The long-lived tool shell of cached sampling: the same bounds for each answer.
        ToolRun{"ShellAnswers", Via::Shell, kRequest, kRecordPid, "", 0, 30, -1, 0, "<listing>", ""},
        ToolRun{"ShellStopFlagSetBeforehandStartsNothing", Via::Shell, kRequest, "", "", 0, 30, 0, -1, "untouched",
                "[ipmitool collector] Stop flag asserted - skipping command execution"},
        ToolRun{"ShellWithoutPromptIgnoringTermIsKilledAtTheTimeLimit", Via::Shell, kRequest, kHangIgnoringTerm, "", 0,
                1, -1, 124, "untouched", "[ipmitool collector] Command timed out"},
        // A BMC that is gone, or forgot the session, leaves the tool waiting for answers.
        ToolRun{"ShellThatNeverAnswersIsKilledAtTheTimeLimit", Via::Shell, kRequest, kRecordPid,
                "trap '' TERM; sleep 3600 & echo $! >>\"$dir/pids\"; wait", 0, 1, -1, 124, "untouched",
                "[ipmitool collector] Command timed out"},
        ToolRun{"ShellEndingBeforeItsAnswer", Via::Shell, kRequest, "",
                "echo 'Error: Unable to establish IPMI v2 / RMCP+ session' >&2; exit 1", 0, 30, -1, -1, "untouched",
                "[ipmitool collector] The tool ended before it answered: 'exec ipmitool shell 2>&1'"},
        ToolRun{"ShellChildHoldingThePipe", Via::Shell, kRequest, "sleep 3600 & echo $! >>\"$dir/pids\"", "", 0, 30,
                -1, 0, "<listing>", ""},
        ToolRun{"ShellOversizedAnswer", Via::Shell, kRequest, "", "head -c 100000000 /dev/zero", 0, 30, -1, -1,
                "untouched",
                "[ipmitool collector] Command output exceeded 67108864 bytes; run abandoned: 'exec ipmitool shell "
                "2>&1'"},
        ToolRun{"ShellStopDuringAnAnswerWithoutTimeLimit", Via::Shell, kRequest, kRecordPid, "sleep 3600", 0, 0, 300,
                -1, "untouched", ""}),
    [](const ::testing::TestParamInfo<ToolRun>& info) { return info.param.name; });

TEST(ToolRunUnderSudo, SudoWrapsTheTimeLimitedCommand) {
  test::FakeIpmitool fake;
  // A stand-in sudo next to the fake tool: records its arguments and runs them.
  const std::string sudo = fake.directory() + "/sudo";
  std::ofstream(sudo) << "#!/bin/sh\nprintf '%s\\n' \"$*\" >\"$(dirname \"$0\")/sudo.log\"\nexec \"$@\"\n";
  ASSERT_EQ(chmod(sudo.c_str(), 0755), 0);
  volatile bool stop = false;
  CollectorOptions options;
  options.commandTimeout = 7;
  options.useSudo = true;
  const IpmitoolCollector collector(CollectorConfig(options), stop);
  std::string output;
  EXPECT_EQ(collector.runCommandAndCheck(kListing, output), 0);
  EXPECT_EQ(test::readFile(fake.directory() + "/sudo.log"), "timeout 7 ipmitool sensor -v\n");
  EXPECT_EQ(fake.recordedCalls(), std::vector<std::string>{"sensor -v"});
}

TEST(CollectorFieldSwitches, ChangeOnlyKnownLabelsOfIncludedKinds) {
  test::LogRecorder log;
  CollectorConfig config{CollectorOptions{}};
  config.excludeContinuousField("Sensor Reading");
  EXPECT_FALSE(config.continuousFields.at("Sensor Reading"));
  config.includeContinuousField("Sensor Reading");
  EXPECT_TRUE(config.continuousFields.at("Sensor Reading"));
  config.includeDiscreteField("States Asserted");
  EXPECT_FALSE(config.discreteFields.at("States Asserted")) << "discrete sensors are off";
  config.includeContinuousField("Status");
  config.excludeDiscreteField("Status");
  EXPECT_EQ(config.continuousFields.count("Status") + config.discreteFields.count("Status"), 0u);
  EXPECT_TRUE(log.contains("[ipmitool collector] Discrete sensors are disabled. Skipping field: 'States Asserted'.",
                           VTR_LOG_WARNING));
  EXPECT_TRUE(log.contains("[ipmitool collector] Field 'Status' not found in continuous sensor fields. Skipping.",
                           VTR_LOG_WARNING));
  EXPECT_TRUE(log.contains("[ipmitool collector] Field 'Status' not found in discrete sensor fields.", VTR_LOG_DEBUG));
}

TEST(CollectorStatesText, BecomesACommaListOfTheBracketedStates) {
  CollectorConfig config(discreteSensorsIncluded());
  std::string numeric = "0x0100";
  parseFieldValue(config, "States Asserted", numeric);
  EXPECT_EQ(numeric, "0x0100");
  config.statesAssertedAsText = true;
  const std::pair<std::string, std::string> rows[] = {
      {"[Device Present] [Transition to OK]", "Device Present,Transition to OK"},
      {"Presence detected [Device Present]", "Device Present"},
      {"[]", "[]"},
      {"[A] [B] [C]", "A,B,C"},
      {"Power Supply", "ower Suppl"},
      {"[" + std::string(98, 'a') + "]", std::string(64, 'a')},
  };
  for (auto [value, want] : rows) {
    parseFieldValue(config, "States Asserted", value);
    EXPECT_EQ(value, want);
  }
}

TEST(CollectorCallOrder, SampleNeedsTheSchemaAndTheSchemaIsBuiltOnce) {
  test::FakeIpmitool fake;
  test::LogRecorder log;
  volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(discreteSensorsIncluded()), stop);
  SensorSample sample;
  EXPECT_FALSE(collector.getSensorsData(sample));
  std::vector<std::unique_ptr<vtr_type_field_info_t>> fields;
  ASSERT_TRUE(collector.setFieldsInfo(fields));
  EXPECT_FALSE(collector.setFieldsInfo(fields));
  IpmitoolCollector::freeFieldsInfo(fields);
  EXPECT_TRUE(fields.empty());
  EXPECT_TRUE(log.contains("[ipmitool collector] The schema has not been created. Cannot parse sensor data.", VTR_LOG_ERR));
  EXPECT_TRUE(log.contains("[ipmitool collector] Schema has already been created.", VTR_LOG_ERR));
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
