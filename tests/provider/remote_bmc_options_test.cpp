// The remote BMC options as a host meets them: accepted values become the tool's LAN
// arguments, refused ones stop initialize with one line before any tool runs.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "support/test_env.h"
#include "support/hosted_provider.h"
#include "support/log_capture.h"

namespace vtr {
namespace test {
namespace {

std::string passwordFile(const ScratchFile& file, mode_t mode) {
  std::ofstream(file.path()) << "secret\n";
  chmod(file.path(), mode);
  return file.path();
}

TEST(RemoteBmcOptions, AcceptedValuesBecomeLanArgumentsRefusedOnesStopInitialize) {
  const ScratchFile ownerOnly, groupReadable;
  const std::string privateFile = passwordFile(ownerOnly, 0600);
  const std::string sharedFile = passwordFile(groupReadable, 0640);
  const char* host = "ipmitool-bmc-host";
  struct Case {
    Options options;
    std::string firstToolCall;  // empty: refused
    const char* refusedOption;
  };
  const Case cases[] = {
      {{}, "sensor -v", nullptr},
      {{{"ipmitool-bmc-user", "admin"}}, "sensor -v", nullptr},
      {{{host, "bmc1.example.net"}}, "-I lanplus -H bmc1.example.net -E sensor -v", nullptr},
      {{{host, "bmc1"}, {"ipmitool-include-discrete-sensors", "true"}}, "-I lanplus -H bmc1 -E sensor", nullptr},
      {{{host, "10.0.0.12:623"},
        {"ipmitool-bmc-user", "monitor"},
        {"ipmitool-bmc-interface", "lan"},
        {"ipmitool-bmc-cipher-suite", "3"},
        {"ipmitool-bmc-privilege-level", "USER"},
        {"ipmitool-bmc-password-file", privateFile}},
       "-I lan -H 10.0.0.12 -p 623 -U monitor -L USER -C 3 -f " + privateFile + " sensor -v", nullptr},
      {{{host, "[fd00::12]:6230"}}, "-I lanplus -H fd00::12 -p 6230 -E sensor -v", nullptr},
      {{{host, "[fd00::12]"}}, "-I lanplus -H fd00::12 -E sensor -v", nullptr},
      {{{host, "bmc;reboot"}}, "", host},
      {{{host, "fd00::12"}}, "", host},
      {{{host, "bmc:70000"}}, "", host},
      {{{host, "-oProxyCommand"}}, "", host},
      {{{host, "[fd00::12]x"}}, "", host},
      {{{"ipmitool-bmc-user", "$(id)"}}, "", "ipmitool-bmc-user"},
      {{{"ipmitool-bmc-interface", "open"}}, "", "ipmitool-bmc-interface"},
      {{{"ipmitool-bmc-cipher-suite", "3 -P x"}}, "", "ipmitool-bmc-cipher-suite"},
      {{{"ipmitool-bmc-privilege-level", "root"}}, "", "ipmitool-bmc-privilege-level"},
      {{{"ipmitool-bmc-password-file", "/nonexistent/password"}}, "", "ipmitool-bmc-password-file"},
      {{{"ipmitool-bmc-password-file", sharedFile}}, "", "ipmitool-bmc-password-file"},
      {{{"ipmitool-bmc-password-file", privateFile + " x"}}, "", "ipmitool-bmc-password-file"},
  };
  for (const Case& c : cases) {
    const std::string name = c.options.empty() ? "defaults" : c.options.back().first + "=" + c.options.back().second;
    FakeIpmitool fake;
    LogRecorder log(exported<LogRecorder::SetLogFunc>("vtr_set_log_func"));
    try {
      HostedProvider hosted(c.options);
      EXPECT_EQ(c.refusedOption, nullptr) << name;
    } catch (const host::HostError&) {
      EXPECT_NE(c.refusedOption, nullptr) << name;
    }
    const auto calls = fake.recordedCalls();
    if (c.refusedOption == nullptr) {
      ASSERT_FALSE(calls.empty()) << name;
      EXPECT_EQ(calls.front(), c.firstToolCall) << name;
      continue;
    }
    EXPECT_TRUE(calls.empty()) << name;
    const std::string line =
        std::string("[ipmitool] [ipmitool_provider_initialize] Option '") + c.refusedOption + "' refused: ";
    EXPECT_EQ(log.countContaining(line), 1u) << name;
    EXPECT_EQ(log.countContaining("[ipmitool] [ipmitool_provider_initialize] "), 1u) << name;
  }
}

}  // namespace
}  // namespace test
}  // namespace vtr
