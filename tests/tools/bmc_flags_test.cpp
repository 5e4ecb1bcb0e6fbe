#include <gtest/gtest.h>

#include "tools/command_line.h"

namespace vtr {
namespace host {
namespace {

// Each shorthand is its provider option, added after the --option pairs so that it wins.
TEST(HostCommandLine, BmcShorthandsBecomeTheRemoteBmcOptions) {
  const char* argv[] = {"vtr-host", "--option", "ipmitool-bmc-host=old", "--bmc", "127.0.0.1:623",
                        "--bmc-user", "admin", "--bmc-password-file", "/etc/bmc.pw", "--bmc-interface", "lan",
                        "--bmc-cipher-suite", "3", "--bmc-privilege-level", "USER"};
  const CommandLine line = parseCommandLine(static_cast<int>(std::size(argv)), argv);
  ASSERT_TRUE(line.options) << line.error;
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"ipmitool-bmc-host", "old"},           {"ipmitool-bmc-host", "127.0.0.1:623"},
      {"ipmitool-bmc-user", "admin"},         {"ipmitool-bmc-password-file", "/etc/bmc.pw"},
      {"ipmitool-bmc-interface", "lan"},      {"ipmitool-bmc-cipher-suite", "3"},
      {"ipmitool-bmc-privilege-level", "USER"}};
  EXPECT_EQ(line.options->providerOptions, expected);
}

}  // namespace
}  // namespace host
}  // namespace vtr
