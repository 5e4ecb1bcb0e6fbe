// The host's pieces that read a provider's output: the block decoder over buffers the
// library's real serializer wrote, and the escapes, sample values and families of /metrics.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <tuple>
#include <utility>
#include <vector>

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

// Each family is one block: its HELP, its TYPE, its samples, and it never comes back.
void expectOneBlockPerFamily(const std::string& page) {
  std::istringstream in(page);
  std::vector<std::string> blocks;
  for (std::string line; std::getline(in, line);) {
    const bool comment = line.rfind("# ", 0) == 0;
    const std::string name =
        comment ? line.substr(7, line.find(' ', 7) - 7) : line.substr(0, line.find_first_of("{ "));
    if (!blocks.empty() && blocks.back() == name) continue;
    EXPECT_EQ(std::count(blocks.begin(), blocks.end(), name), 0) << name << " comes back in\n" << page;
    EXPECT_EQ(line.rfind("# HELP " + name + " ", 0), 0u) << line;
    blocks.push_back(name);
  }
}

TEST(PrometheusText, EscapesAndValuesFollowTheExpositionRules) {
  // HELP text keeps quotes; label values escape them too; bytes that are not UTF-8 become U+FFFD.
  const std::tuple<std::string, std::string, std::string> escapes[] = {
      {"plain text", "plain text", "plain text"}, {"a\\b", "a\\\\b", "a\\\\b"},
      {"two\nlines", "two\\nlines", "two\\nlines"}, {"say \"hi\"", "say \"hi\"", "say \\\"hi\\\""},
      {"<&>", "<&>", "<&>"}, {"t\xe9", "t\xef\xbf\xbd", "t\xef\xbf\xbd"},
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

TEST(PrometheusExposition, BeforeTheFirstEventOnlyTheHostsOwnFamiliesAppear) {
  MetricsBoard board;
  board.setUp(true);
  EXPECT_EQ(renderExposition(board.view()),
            "# HELP vtr_host_events_total Events received from the provider.\n"
            "# TYPE vtr_host_events_total counter\n"
            "vtr_host_events_total 0\n"
            "# HELP vtr_host_up 1 while the provider runs.\n"
            "# TYPE vtr_host_up gauge\n"
            "vtr_host_up 1\n");
}

// Sensors sharing a name stay apart by id and field; a field the facts do not know, or with a
// unit of no family of its own, goes to ipmi_sensor_reading; one without a reading is absent,
// with all its series. Beside each reading, with the same labels, its sensor's health (none
// when unknown, never 0) and thresholds (none where the listing has none); each state a
// discrete sensor can name, asserted or not; and the last pass as ipmi_up and its length.
TEST(PrometheusExposition, ReadingsGoToTheirUnitsFamilyWithTheSensorInTheLabelsAndItsHealthBeside) {
  MetricsBoard board;
  board.setSensorFacts({
      {"cpu1_temp", {"CPU1 Temp", "1", "3.1", "Temperature", "degrees C", false, {}}},
      {"fan1", {"FAN1", "6", "29.1", "Fan", "RPM", false, {}}},
      {"12v", {"12V", "8", "7.1", "Voltage", "Volts", false, {}}},
      {"psu_in", {"PSU In", "9", "10.1", "Current", "Amps", false, {}}},
      {"psu_power", {"PSU Power", "10", "10.1", "Other", "Watts", false, {}}},
      {"humidity", {"Humidity", "11", "7.1", "Other", "percent", false, {}}},
      {"ps2_status",
       {"PS2 Status", "12", "10.2", "Power Supply", "", true,
        {{0, "Presence detected", VTR_HEALTH_NOMINAL}, {1, "Failure detected", VTR_HEALTH_CRITICAL},
         {2, "Predictive failure", VTR_HEALTH_WARNING}, {3, "Power Supply AC lost", VTR_HEALTH_CRITICAL}}}},
      {"temp_3", {"Temp", "3", "3.1", "Temperature", "degrees C", false, {}}},
      {"temp_4", {"Temp", "4", "3.2", "Temperature", "degrees C", false, {}}},
      {"odd", {"a \"b\" c\\d\ne <&>", "", "", "", "furlongs", false, {}}},
      {"gone", {"Gone", "13", "3.1", "Temperature", "degrees C", false, {}}},
  });
  const auto health = [](std::uint8_t state, std::array<std::optional<double>, 6> thresholds, std::uint16_t asserted) {
    return std::optional<FieldHealth>(FieldHealth{state, "", thresholds, asserted});
  };
  const std::optional<double> na;
  board.publish({"ipmitool", "node1", 2000000, 1000000, 0.25,
                 {{"cpu1_temp", 47, health(VTR_HEALTH_UNKNOWN, {na, na, na, 85, 90, na}, 0)},
                  {"fan1", 540, health(VTR_HEALTH_WARNING, {300, 480, 600, na, na, na}, 0)},
                  {"12v", 10.5, health(VTR_HEALTH_CRITICAL, {10.2, 10.8, 11.22, 12.72, 13.2, 13.8}, 0)},
                  {"psu_in", 0.5, {}}, {"psu_power", 120, {}},
                  {"humidity", 40, health(VTR_HEALTH_NOMINAL, {na, na, na, 80, na, na}, 0)},
                  {"ps2_status", 2816, health(VTR_HEALTH_CRITICAL, {}, 0x000b)}, {"temp_3", 38, {}}, {"temp_4", 41, {}},
                  {"odd", 1, {}}, {"gone", std::nullopt, health(VTR_HEALTH_CRITICAL, {na, na, na, 85, 90, na}, 0)},
                  {"no_facts", 7, health(VTR_HEALTH_NOMINAL, {}, 0)}}});
  board.setLastPass({false, 1.5});
  const std::string page = renderExposition(board.view());
  const std::string cpu1 =
      R"({name="CPU1 Temp",id="1",entity="3.1",type="Temperature",field="cpu1_temp",source="node1")";
  const std::string fan = R"({name="FAN1",id="6",entity="29.1",type="Fan",field="fan1",source="node1")";
  const std::string volts = R"({name="12V",id="8",entity="7.1",type="Voltage",field="12v",source="node1")";
  const std::string humidity =
      R"({name="Humidity",id="11",entity="7.1",type="Other",unit="percent",field="humidity",source="node1")";
  const std::string ps2 =
      R"({name="PS2 Status",id="12",entity="10.2",type="Power Supply",field="ps2_status",source="node1")";
  const std::string lines[] = {
      "ipmi_temperature_celsius" + cpu1 + "} 47\n",
      R"(ipmi_temperature_celsius{name="Temp",id="3",entity="3.1",type="Temperature",field="temp_3",source="node1"} 38)"
      "\n",
      R"(ipmi_temperature_celsius{name="Temp",id="4",entity="3.2",type="Temperature",field="temp_4",source="node1"} 41)"
      "\n",
      "ipmi_fan_speed_rpm" + fan + "} 540\n",
      "ipmi_voltage_volts" + volts + "} 10.5\n",
      R"(ipmi_current_amperes{name="PSU In",id="9",entity="10.1",type="Current",field="psu_in",source="node1"} 0.5)"
      "\n",
      R"(ipmi_power_watts{name="PSU Power",id="10",entity="10.1",type="Other",field="psu_power",source="node1"} 120)"
      "\n",
      "ipmi_sensor_reading" + humidity + "} 40\n",
      "ipmi_sensor_reading{name=\"a \\\"b\\\" c\\\\d\\ne <&>\",unit=\"furlongs\",field=\"odd\",source=\"node1\"} 1\n",
      R"(ipmi_sensor_reading{field="no_facts",source="node1"} 7)" "\n",
      "ipmi_sensor_states_asserted" + ps2 + "} 2816\n",
      "# TYPE ipmi_sensor_states_asserted gauge\n",
      "ipmi_fan_speed_state" + fan + "} 1\n",
      "ipmi_fan_speed_threshold_rpm" + fan + R"(,level="lower_non_recoverable"} 300)" "\n",
      "ipmi_fan_speed_threshold_rpm" + fan + R"(,level="lower_non_critical"} 600)" "\n",
      "ipmi_voltage_state" + volts + "} 2\n",
      "ipmi_voltage_threshold_volts" + volts + R"(,level="lower_critical"} 10.8)" "\n",
      "ipmi_voltage_threshold_volts" + volts + R"(,level="upper_non_recoverable"} 13.8)" "\n",
      "ipmi_temperature_threshold_celsius" + cpu1 + R"(,level="upper_critical"} 90)" "\n",
      "ipmi_sensor_state" + humidity + "} 0\n",
      "ipmi_sensor_threshold" + humidity + R"(,level="upper_non_critical"} 80)" "\n",
      "ipmi_sensor_state" + ps2 + "} 2\n",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Presence detected",severity="nominal"} 1)" "\n",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Failure detected",severity="critical"} 1)" "\n",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Predictive failure",severity="warning"} 0)" "\n",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Power Supply AC lost",severity="critical"} 1)" "\n",
      R"(ipmi_sensor_state{field="no_facts",source="node1"} 0)" "\n",
      R"(ipmi_up{collector="ipmi"} 0)" "\n",
      "ipmi_scrape_duration_seconds 1.5\n",
      "vtr_host_sample_duration_seconds 0.25\n",
      "vtr_host_fields_without_reading 1\n",
  };
  for (const std::string& line : lines) EXPECT_NE(page.find(line), std::string::npos) << line << "\nin\n" << page;
  const std::pair<std::string, const char*> absent[] = {
      {"Gone", "a field without a reading has no series at all"},
      {"ipmi_temperature_state", "an unknown health is no state, not 0"},
      {fan + R"(,level="upper_critical")", "a threshold the listing has none for is no series"},
      {"ipmi_current_state", "no health told, no state"},
  };
  for (const auto& [part, why] : absent) EXPECT_EQ(page.find(part), std::string::npos) << why << ": " << part;
  expectOneBlockPerFamily(page);
}

}  // namespace
}  // namespace host
}  // namespace vtr
