#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "support/event_blocks.h"
#include "support/fake_ipmitool.h"
#include "support/provider_host.h"
#include "support/sim_server.h"

namespace vtr {
namespace test {
namespace {

using Event = std::vector<uint8_t>;

// What the small server reports (tests/fixtures/small-server), field by field.
struct ExpectedReading {
  const char* field;
  const char* type;
  double value;
};
const ExpectedReading kSmallServer[] = {
    {"cpu1_temp", "double", 45},    {"cpu2_temp", "double", 47},     {"inlet_temp", "double", 23},
    {"temp_4", "double", 38},       {"temp_5", "double", 41},        {"fan1", "double", 5400},
    {"fan2", "double", 5340},       {"12v", "double", 12.06},        {"3.3v", "double", 3.3},
    {"cpu1_vcore", "double", 1.05}, {"ps1_status", "uint16_t", 0x0100}, {"ps2_status", "uint16_t", 0x0300},
};

double readingOf(const Event& event, const vtr_type_field_definition_t& field) {
  if (strcmp(field.type_name, "uint16_t") == 0) return fieldAt<uint16_t>(event, field.offset);
  return fieldAt<double>(event, field.offset);
}

// The whole life of the provider as a host drives it, checked against the small server.
void runHostAgainstTheSmallServer() {
  ProviderLibrary library;
  ASSERT_TRUE(library.loaded()) << library.error();
  ProviderHost host(library, {{"ipmitool-include-discrete-sensors", "true"}, {"ipmitool-sample-interval-sec", "1"}});
  ASSERT_NE(host.provider(), nullptr);
  ASSERT_TRUE(host.initialize());

  vtr_source_array_t* sources = host.provider()->get_sources(host.provider());
  ASSERT_NE(sources, nullptr);
  EXPECT_EQ(sources->count, 1u);
  library.function<decltype(&vtr_destroy_source_array)>("vtr_destroy_source_array")(sources);

  const vtr_type_definition_t* type = host.eventType();
  ASSERT_NE(type, nullptr);
  EXPECT_EQ(type->num_fields, 1 + static_cast<int32_t>(std::size(kSmallServer)));

  ASSERT_TRUE(host.start());
  const std::vector<Event> events = host.collectEvents(2, std::chrono::seconds(20));
  EXPECT_TRUE(host.stop());
  ASSERT_EQ(events.size(), 2u);

  const vtr_type_field_definition_t* timestamp = host.field("timestamp");
  ASSERT_NE(timestamp, nullptr);
  EXPECT_LT(fieldAt<uint64_t>(events[0], timestamp->offset), fieldAt<uint64_t>(events[1], timestamp->offset));
  for (const ExpectedReading& expected : kSmallServer) {
    const vtr_type_field_definition_t* field = host.field(expected.field);
    ASSERT_NE(field, nullptr) << expected.field;
    EXPECT_STREQ(field->type_name, expected.type) << expected.field;
    for (const Event& event : events) EXPECT_DOUBLE_EQ(readingOf(event, *field), expected.value) << expected.field;
  }
}

TEST(TestHost, SamplesTheRecordedSmallServerThroughTheFakeTool) {
  FakeIpmitool fake("small-server");
  runHostAgainstTheSmallServer();
}

TEST(TestHost, SamplesTheSimulatedSmallServerThroughTheRealTool) {
  SimServer sim("small");
  if (!sim.running()) GTEST_SKIP() << "simulator unavailable: " << sim.reason();
  sim.useShim();
  runHostAgainstTheSmallServer();
}

}  // namespace
}  // namespace test
}  // namespace vtr
