// vtr-host as a user runs it: one JSON line per sample with the host's own keys, the sample and
// time limits, the schema file, and --option reaching the provider. What the lines hold field by
// field is checked once, by the golden fixtures.

#include <gtest/gtest.h>

#include "host_process.h"
#include "support/fake_ipmitool.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

std::vector<std::string> withArgs(std::vector<std::string> args, const std::vector<std::string>& more) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

TEST(HostPrintsEvents, SamplesLimitEndsTheRunAfterThatManyLinesAndWritesTheSchema) {
  FakeIpmitool tool;
  const std::string dir = makeTempDirectory("vtr-host-schema");
  HostProcess host(withArgs(kDiscreteEverySecond, {"--samples", "2", "--schema-out", dir + "/schema.json"}));
  ASSERT_EQ(host.wait(), 0) << host.errorOutput();
  const std::string schema = readFile(dir + "/schema.json");
  removeDirectory(dir);
  const std::vector<std::string> lines = host.remainingLines();
  ASSERT_EQ(lines.size(), 2u);
  for (const std::string& line : lines) {
    EXPECT_EQ(line.rfind("{\"timestamp\":17", 0), 0u) << line;  // microseconds, this decade
    EXPECT_NE(line.find("\"ps1_status\":256,"), std::string::npos) << line;
    EXPECT_NE(line.find("\"source\":\""), std::string::npos) << line;
    EXPECT_NE(line.find("\"schema\":\"ipmitool\",\"type\":\"ipmitool_event\"}"), std::string::npos) << line;
  }
  for (const char* part : {"\"provider_name\": \"ipmitool\"", "\"name\": \"ipmitool_event\"", "\"field_name\": \"ps2_status\""})
    EXPECT_NE(schema.find(part), std::string::npos) << part << " in " << schema;
}

TEST(HostPrintsEvents, DurationEndsTheRunSuccessfully) {
  FakeIpmitool tool;
  HostProcess host(withArgs(kDiscreteEverySecond, {"--duration", "1.5"}));
  ASSERT_EQ(host.wait(), 0) << host.errorOutput();
  for (const std::string& line : host.remainingLines()) EXPECT_NE(line.find("\"cpu1_temp\":45,"), std::string::npos);
}

}  // namespace
}  // namespace test
}  // namespace vtr
