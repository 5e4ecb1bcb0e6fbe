// vtr-host as a user runs it: the printed JSON lines, the sample and time limits, the schema
// file, and the provider options reaching the provider.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "host_json.h"
#include "host_process.h"
#include "support/fake_ipmitool.h"
#include "support/sim_server.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

std::vector<std::string> withArgs(std::vector<std::string> args, const std::vector<std::string>& more) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

// One event line of the small server: every readable sensor with its value, the two sensors
// named "Temp" told apart by their numbers, the unreadable one absent, and the host's keys.
void expectSmallServerEvent(const std::string& line) {
  JsonDocument document = parseJson(line);
  JSON_Object* event = json_value_get_object(document.get());
  ASSERT_NE(event, nullptr) << line;
  for (const ExpectedReading& reading : kSmallServerReadings) {
    EXPECT_TRUE(json_object_has_value_of_type(event, reading.field, JSONNumber)) << reading.field;
    EXPECT_DOUBLE_EQ(json_object_get_number(event, reading.field), reading.value) << reading.field;
  }
  EXPECT_FALSE(json_object_has_value(event, "ps3_status"));
  EXPECT_FALSE(json_object_has_value(event, "temp"));
  EXPECT_STREQ(json_object_get_string(event, "schema"), "ipmitool");
  EXPECT_STREQ(json_object_get_string(event, "type"), "ipmitool_event");
  ASSERT_NE(json_object_get_string(event, "source"), nullptr);
  EXPECT_STRNE(json_object_get_string(event, "source"), "");
  EXPECT_GT(json_object_get_number(event, "timestamp"), 1.6e15);  // microseconds, after 2020
}

TEST(HostPrintsEvents, EverySensorOfTheFakeToolsServerAppearsWithItsValue) {
  FakeIpmitool tool;
  HostProcess host(withArgs(discreteEverySecond(), {"--samples", "1"}));
  std::optional<std::string> line = host.readLine();
  ASSERT_TRUE(line) << host.errorOutput();
  expectSmallServerEvent(*line);
  EXPECT_EQ(host.wait(), 0) << host.errorOutput();
}

TEST(HostPrintsEvents, EverySensorOfTheSimulatedServerAppearsWithItsValue) {
  SimServer sim("small");
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  sim.useShim();
  HostProcess host(withArgs(discreteEverySecond(), {"--samples", "1"}));
  std::optional<std::string> line = host.readLine();
  ASSERT_TRUE(line) << host.errorOutput();
  expectSmallServerEvent(*line);
  EXPECT_EQ(host.wait(), 0) << host.errorOutput();
}

TEST(HostPrintsEvents, StopsAfterTheRequestedNumberOfSamples) {
  FakeIpmitool tool;
  HostProcess host(withArgs(discreteEverySecond(), {"--samples", "2"}));
  ASSERT_EQ(host.wait(), 0) << host.errorOutput();
  std::vector<std::string> lines = host.remainingLines();
  ASSERT_EQ(lines.size(), 2u);
  for (const std::string& line : lines) expectSmallServerEvent(line);
}

TEST(HostPrintsEvents, DurationEndsTheRunSuccessfully) {
  FakeIpmitool tool;
  HostProcess host(withArgs(discreteEverySecond(), {"--duration", "1.5"}));
  ASSERT_EQ(host.wait(), 0) << host.errorOutput();
  for (const std::string& line : host.remainingLines()) expectSmallServerEvent(line);
}

TEST(HostPrintsEvents, SchemaOutHoldsTheProvidersEventType) {
  FakeIpmitool tool;
  std::string dir = makeTempDirectory("vtr-host-schema");
  std::string path = dir + "/schema.json";
  HostProcess host(withArgs(discreteEverySecond(), {"--samples", "1", "--schema-out", path}));
  ASSERT_EQ(host.wait(), 0) << host.errorOutput();
  JsonDocument document = parseJsonFile(path);
  removeDirectory(dir);

  JSON_Array* schemas = json_object_get_array(json_value_get_object(document.get()), "schemas");
  ASSERT_EQ(json_array_get_count(schemas), 1u);
  JSON_Object* schema = json_array_get_object(schemas, 0);
  EXPECT_STREQ(json_object_get_string(schema, "provider_name"), "ipmitool");
  JSON_Object* type = json_array_get_object(json_object_get_array(schema, "types"), 0);
  EXPECT_STREQ(json_object_get_string(type, "name"), "ipmitool_event");
  JSON_Array* fields = json_object_get_array(type, "fields");
  // The timestamp, then one field per readable sensor.
  EXPECT_EQ(json_array_get_count(fields), 1 + std::size(kSmallServerReadings));
  EXPECT_STREQ(json_object_get_string(json_array_get_object(fields, 0), "field_name"), "timestamp");
}

// Discrete sensors are off by default; each way of turning them on must reach the provider.
struct DiscreteSwitch {
  const char* name;
  std::vector<std::string> args;
  const char* environmentName;  // set to "true" for the run when not null
  bool discretePublished;
};

void PrintTo(const DiscreteSwitch& row, std::ostream* out) { *out << row.name; }

class ProviderOptionsReachTheProvider : public ::testing::TestWithParam<DiscreteSwitch> {};

TEST_P(ProviderOptionsReachTheProvider, DiscreteSensorsFollowTheSwitch) {
  const DiscreteSwitch& row = GetParam();
  FakeIpmitool tool;
  if (row.environmentName) setenv(row.environmentName, "true", 1);
  HostProcess host(withArgs(row.args, {"--option", "ipmitool-sample-interval-sec=1", "--samples", "1"}));
  std::optional<std::string> line = host.readLine();
  ASSERT_TRUE(line) << host.errorOutput();
  JsonDocument document = parseJson(*line);
  JSON_Object* event = json_value_get_object(document.get());
  EXPECT_EQ(json_object_has_value(event, "ps1_status") == 1, row.discretePublished);
  EXPECT_TRUE(json_object_has_value(event, "cpu1_temp"));
  EXPECT_EQ(host.wait(), 0) << host.errorOutput();
}

INSTANTIATE_TEST_SUITE_P(
    Switches, ProviderOptionsReachTheProvider,
    ::testing::Values(
        DiscreteSwitch{"Default", {}, nullptr, false},
        DiscreteSwitch{"DictionaryKey", {"--option", "ipmitool-include-discrete-sensors=true"}, nullptr, true},
        DiscreteSwitch{"EnvironmentName", {}, "VTR_IPMITOOL_INCLUDE_DISCRETE_SENSORS", true},
        DiscreteSwitch{"DictionaryBeatsEnvironment",
                       {"--option", "ipmitool-include-discrete-sensors=false"},
                       "VTR_IPMITOOL_INCLUDE_DISCRETE_SENSORS",
                       false}),
    [](const ::testing::TestParamInfo<DiscreteSwitch>& info) { return info.param.name; });

}  // namespace
}  // namespace test
}  // namespace vtr
