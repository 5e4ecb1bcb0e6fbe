// The host's pieces that read a provider's output: the block decoder over buffers the
// library's real serializer wrote, and the metric names, escapes and sample values of /metrics.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <tuple>

#include "src/data/data_serializer.h"
#include "src/data/type_system.h"
#include "tools/event_blocks.h"
#include "tools/plugin_library.h"
#include "tools/prometheus.h"

namespace vtr {
namespace host {
namespace {

// A type system holding one schema with one type of a double and a uint16_t (10 bytes), and a
// serializer over a buffer.
class SerializedEvents : public ::testing::Test {
 protected:
  void SetUp() override {
    vtr_schema_t* schema = vtr_type_system_add_schema(typeSystem_.get(), "demo", 1, &schemaIndex_);
    char value[] = "value", state[] = "state", doubleType[] = "double", wordType[] = "uint16_t";
    vtr_type_field_info_t fields[] = {{value, value, doubleType, 0, 1}, {state, state, wordType, 0, 1}};
    ASSERT_EQ(vtr_schema_add_type(schema, "demo_event", fields, 2, &typeIndex_), 0);
  }

  // `count` events, event i filled with the byte `first + i`, written as one block.
  void write(std::uint8_t count, std::uint8_t first, std::uint64_t timestampUs) {
    std::vector<std::uint8_t> events;
    for (std::uint8_t i = 0; i < count; ++i) events.insert(events.end(), 10, static_cast<std::uint8_t>(first + i));
    ASSERT_EQ(vtr_data_serializer_write_events_ts(&serializer_, schemaIndex_, typeIndex_, events.data(), count, timestampUs),
              count);
  }

  std::unique_ptr<vtr_type_system_t, decltype(&vtr_destroy_type_system)> typeSystem_{vtr_create_type_system(),
                                                                                      vtr_destroy_type_system};
  std::uint8_t schemaIndex_ = 0;
  std::uint8_t typeIndex_ = 0;
  std::uint8_t buffer_[1024] = {};
  vtr_data_serializer_t serializer_{typeSystem_.get(), buffer_, sizeof(buffer_), 0};
};

TEST_F(SerializedEvents, EveryBlockAndEventComesBackWithItsHeader) {
  write(3, 0x10, 1700000000000001);
  write(1, 0x20, 1700000000000002);
  const std::vector<EventBlock> blocks = decodeEventBlocks(buffer_, serializer_.used, *typeSystem_);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0].timestampUs, 1700000000000001u);
  EXPECT_EQ(blocks[1].timestampUs, 1700000000000002u);
  EXPECT_STREQ(blocks[0].schema->name, "demo");
  EXPECT_STREQ(blocks[1].type->name, "demo_event");
  ASSERT_EQ(blocks[0].count, 3);
  ASSERT_EQ(blocks[1].count, 1);
  EXPECT_EQ(std::vector<std::uint8_t>(blocks[0].event(2), blocks[0].event(2) + 10), std::vector<std::uint8_t>(10, 0x12));
  EXPECT_EQ(std::vector<std::uint8_t>(blocks[1].event(0), blocks[1].event(0) + 10), std::vector<std::uint8_t>(10, 0x20));
}

TEST_F(SerializedEvents, DamagedBuffersAreRefused) {
  write(2, 1, 1);
  const struct {
    const char* damage;
    std::function<void(std::uint8_t*, std::size_t&)> apply;
  } rows[] = {
      {"counters magic", [](std::uint8_t* b, std::size_t&) { b[3] = 'D'; }},
      {"lower-case magic", [](std::uint8_t* b, std::size_t&) { b[0] = 'v'; }},
      {"unknown schema", [](std::uint8_t* b, std::size_t&) { b[12] = 9; }},
      {"unknown type", [](std::uint8_t* b, std::size_t&) { b[13] = 9; }},
      {"type index high byte", [](std::uint8_t* b, std::size_t&) { b[14] = 1; }},
      {"events cut short", [](std::uint8_t*, std::size_t& used) { --used; }},
      {"header cut short", [](std::uint8_t*, std::size_t& used) { used = 10; }},
      {"more events than written", [](std::uint8_t* b, std::size_t&) { b[15] = 3; }},
  };
  for (const auto& row : rows) {
    std::uint8_t copy[sizeof(buffer_)];
    std::memcpy(copy, buffer_, serializer_.used);
    std::size_t used = serializer_.used;
    row.apply(copy, used);
    EXPECT_THROW(decodeEventBlocks(copy, used, *typeSystem_), HostError) << row.damage;
  }
}

TEST(PrometheusText, NamesEscapesAndValuesFollowTheExpositionRules) {
  const std::tuple<std::string, std::string, std::string> names[] = {
      {"ipmitool", "cpu1_temp", "ipmitool_cpu1_temp"}, {"ipmitool", "3.3v", "ipmitool_3_3v"},
      {"ipmitool", "fan_1_upper_non-critical", "ipmitool_fan_1_upper_non_critical"},
      {"ipmitool", "psu_(a)/b#1", "ipmitool_psu__a__b_1"}, {"ipmitool", "ns:value", "ipmitool_ns:value"},
      {"9lives", "temp", "_9lives_temp"}, {"my schema", "t\xc3\xa9", "my_schema_t__"},
  };
  for (const auto& [schema, field, want] : names) EXPECT_EQ(prometheusMetricName(schema, field), want) << field;
  // HELP text keeps quotes; label values escape them too.
  const std::tuple<std::string, std::string, std::string> escapes[] = {
      {"plain text", "plain text", "plain text"}, {"a\\b", "a\\\\b", "a\\\\b"},
      {"two\nlines", "two\\nlines", "two\\nlines"}, {"say \"hi\"", "say \"hi\"", "say \\\"hi\\\""},
  };
  for (const auto& [text, help, label] : escapes) {
    EXPECT_EQ(escapeHelp(text), help) << text;
    EXPECT_EQ(escapeLabelValue(text), label) << text;
  }
  const std::pair<double, std::string> values[] = {
      {45, "45"}, {12.06, "12.06"}, {-0.5, "-0.5"}, {1732180000.123456, "1732180000.123456"},
      {std::numeric_limits<double>::infinity(), "+Inf"}, {-std::numeric_limits<double>::infinity(), "-Inf"},
      {std::numeric_limits<double>::quiet_NaN(), "NaN"},
  };
  for (const auto& [value, want] : values) EXPECT_EQ(formatSampleValue(value), want);
}

TEST(MetricsBoard, BeforeTheFirstEventOnlyTheHostsOwnFamiliesAppear) {
  MetricsBoard board;
  board.setUp(true);
  EXPECT_EQ(board.exposition(),
            "# HELP vtr_host_events_total Events received from the provider.\n"
            "# TYPE vtr_host_events_total counter\n"
            "vtr_host_events_total 0\n"
            "# HELP vtr_host_up 1 while the provider runs.\n"
            "# TYPE vtr_host_up gauge\n"
            "vtr_host_up 1\n");
}

TEST(MetricsBoard, FieldsThatSanitiseToOneNameAppearOnce) {
  MetricsBoard board;
  board.publish({"ipmitool", "node1", 2000000, {{"a.b", "first field", 1}, {"a-b", "other field", 2}}});
  const std::string page = board.exposition();
  EXPECT_NE(page.find("ipmitool_a_b{source=\"node1\"} 1\n"), std::string::npos) << page;
  EXPECT_EQ(page.find("other field"), std::string::npos) << page;
  EXPECT_NE(page.find("vtr_host_last_event_timestamp_seconds 2\n"), std::string::npos) << page;
}

}  // namespace
}  // namespace host
}  // namespace vtr
