// How vtr-host ends: bad input gives one line on stderr and a failing exit code with nothing
// left running; SIGINT and SIGTERM end a run cleanly with exit code 0.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <thread>

#include "host_process.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace test {
namespace {

// A real shared library that is not a provider: the C++ runtime this test runs on.
std::string libraryWithoutEntryPoint() {
  Dl_info info{};
  dladdr(reinterpret_cast<void*>(&std::terminate), &info);
  return info.dli_fname ? info.dli_fname : "";
}

struct BadInput {
  const char* name;
  std::vector<std::string> args;  // "{busy-port}" and "{not-a-provider}" are filled in per run
  const char* reported;           // part of the one stderr line
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const BadInput& row, std::ostream* out) { *out << row.name; }

class HostRefusesBadInput : public ::testing::TestWithParam<BadInput> {};

TEST_P(HostRefusesBadInput, WithOneLineAndAFailingExitCode) {
  const BadInput& row = GetParam();
  BusyPort busy;
  std::vector<std::string> args;
  for (const std::string& arg : row.args)
    args.push_back(arg == "{busy-port}" ? std::to_string(busy.port())
                   : arg == "{not-a-provider}" ? libraryWithoutEntryPoint() : arg);
  HostProcess host(args);
  const int exitCode = host.wait();
  EXPECT_GT(exitCode, 0);
  EXPECT_LT(exitCode, 128) << "ended by a signal";
  const std::vector<std::string> lines = host.errorLines();
  ASSERT_EQ(lines.size(), 1u) << host.errorOutput();
  EXPECT_NE(lines[0].find(row.reported), std::string::npos) << lines[0];
  EXPECT_TRUE(host.remainingLines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, HostRefusesBadInput,
    ::testing::Values(BadInput{"UnknownFlag", {"--bogus"}, "--bogus"},
                      BadInput{"MissingPlugin", {"--plugin", "/nonexistent/libprovider.so"}, "plug-in not found"},
                      BadInput{"PluginWithoutEntryPoint", {"--plugin", "{not-a-provider}"}, "construct_event_provider"},
                      BadInput{"OptionWithoutValue", {"--option", "ipmitool-use-sudo"}, "KEY=VALUE"},
                      BadInput{"ListenPortInUse", {"--listen", "{busy-port}"}, "cannot listen"},
                      BadInput{"ListenAddressNotAPort", {"--listen", "localhost:http"}, "--listen"}),
    [](const ::testing::TestParamInfo<BadInput>& info) { return info.param.name; });

// The library's own error lines come first by default, so the failure names its cause.
TEST(HostRefusesBadInput, ProviderThatCannotInitializeIsReportedWithItsReason) {
  FakeIpmitool tool;
  tool.setExitCode(1);
  HostProcess host(kDiscreteEverySecond);
  EXPECT_EQ(host.wait(), 1);
  const std::vector<std::string> lines = host.errorLines();
  ASSERT_GE(lines.size(), 2u) << host.errorOutput();
  EXPECT_NE(lines.back().find("failed to initialize"), std::string::npos) << lines.back();
  EXPECT_NE(host.errorOutput().find("[ipmitool collector] Failed to execute 'ipmitool sensor -v' command."), std::string::npos);
}

// The tool hangs with no time limit while the provider initialises: the stop still ends it.
TEST(HostStopsDuringInitialize, OnSignalWithExitCodeZero) {
  FakeIpmitool tool;
  tool.injectFault("sleep 3600");
  HostProcess host({"--option", "ipmitool-command-timeout=0"});
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (tool.recordedCalls().empty() && std::chrono::steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  host.signal(SIGTERM);
  EXPECT_EQ(host.wait(), 0) << host.errorOutput();
  EXPECT_TRUE(host.remainingLines().empty());
}

TEST(HostStopsOnSignal, InterruptOrTerminateEndTheRunWithExitCodeZero) {
  FakeIpmitool tool;
  for (int signal : {SIGINT, SIGTERM}) {
    HostProcess host(kDiscreteEverySecond);
    ASSERT_TRUE(host.readLine()) << host.errorOutput();
    host.signal(signal);
    EXPECT_EQ(host.wait(), 0) << host.errorOutput();
    EXPECT_EQ(host.errorOutput(), "") << "signal " << signal;
  }
}

}  // namespace
}  // namespace test
}  // namespace vtr
