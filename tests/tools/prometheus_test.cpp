// The /metrics page rule by rule: families by unit with the sensor in the labels, escapes,
// sample values, and the host's own metrics.

#include "tools/prometheus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <sstream>
#include <vector>

namespace vtr {
namespace host {
namespace {

struct TextCase {
  std::string input;
  std::string want;
};

TEST(PrometheusText, HelpAndLabelValuesAreEscaped) {
  const TextCase help[] = {{"plain text", "plain text"}, {"a\\b", "a\\\\b"}, {"two\nlines", "two\\nlines"},
                           {"say \"hi\"", "say \"hi\""}};
  for (const TextCase& row : help) EXPECT_EQ(escapeHelp(row.input), row.want) << row.input;
  const TextCase labels[] = {{"node1", "node1"}, {"a\\b", "a\\\\b"}, {"two\nlines", "two\\nlines"},
                             {"say \"hi\"", "say \\\"hi\\\""}, {"<&>", "<&>"}, {"t\xe9", "t\xef\xbf\xbd"}};
  for (const TextCase& row : labels) EXPECT_EQ(escapeLabelValue(row.input), row.want) << row.input;
}

TEST(PrometheusText, SampleValuesReadBackExactly) {
  const std::pair<double, std::string> cases[] = {
      {45, "45"},
      {12.06, "12.06"},
      {-0.5, "-0.5"},
      {1732180000.123456, "1732180000.123456"},
      {std::numeric_limits<double>::infinity(), "+Inf"},
      {-std::numeric_limits<double>::infinity(), "-Inf"},
      {std::numeric_limits<double>::quiet_NaN(), "NaN"},
  };
  for (const auto& [value, want] : cases) EXPECT_EQ(formatSampleValue(value), want);
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

TEST(PrometheusExposition, ReadingsGoToTheirUnitsFamilyWithTheSensorInTheLabels) {
  MetricsBoard board;
  board.setSensorFacts({
      {"cpu1_temp", {"CPU1 Temp", "1", "3.1", "Temperature", "degrees C", false}},
      {"fan1", {"FAN1", "6", "29.1", "Fan", "RPM", false}},
      {"12v", {"12V", "8", "7.1", "Voltage", "Volts", false}},
      {"psu_in", {"PSU In", "9", "10.1", "Current", "Amps", false}},
      {"psu_power", {"PSU Power", "10", "10.1", "Other", "Watts", false}},
      {"humidity", {"Humidity", "11", "7.1", "Other", "percent", false}},
      {"ps1_status", {"PS1 Status", "12", "10.1", "Power Supply", "", true}},
      {"temp_3", {"Temp", "3", "3.1", "Temperature", "degrees C", false}},
      {"temp_4", {"Temp", "4", "3.2", "Temperature", "degrees C", false}},
      {"odd", {"a \"b\" c\\d\ne <&>", "", "", "", "furlongs", false}},
      {"gone", {"Gone", "13", "3.1", "Temperature", "degrees C", false}},
  });
  board.publish({"ipmitool", "node1", 2000000, 1000000, 0.25,
                 {{"cpu1_temp", 47}, {"fan1", 5460}, {"12v", 12.06}, {"psu_in", 0.5}, {"psu_power", 120},
                  {"humidity", 40}, {"ps1_status", 256}, {"temp_3", 38}, {"temp_4", 41}, {"odd", 1},
                  {"gone", std::nullopt}, {"no_facts", 7}}});
  const std::string page = renderExposition(board.view());

  const char* lines[] = {
      "ipmi_temperature_celsius{name=\"CPU1 Temp\",id=\"1\",entity=\"3.1\",type=\"Temperature\","
      "field=\"cpu1_temp\",source=\"node1\"} 47\n",
      "ipmi_temperature_celsius{name=\"Temp\",id=\"3\",entity=\"3.1\",type=\"Temperature\",field=\"temp_3\","
      "source=\"node1\"} 38\n",
      "ipmi_temperature_celsius{name=\"Temp\",id=\"4\",entity=\"3.2\",type=\"Temperature\",field=\"temp_4\","
      "source=\"node1\"} 41\n",
      "ipmi_fan_speed_rpm{name=\"FAN1\",id=\"6\",entity=\"29.1\",type=\"Fan\",field=\"fan1\",source=\"node1\"} 5460\n",
      "ipmi_voltage_volts{name=\"12V\",id=\"8\",entity=\"7.1\",type=\"Voltage\",field=\"12v\",source=\"node1\"} 12.06\n",
      "ipmi_current_amperes{name=\"PSU In\",id=\"9\",entity=\"10.1\",type=\"Current\",field=\"psu_in\","
      "source=\"node1\"} 0.5\n",
      "ipmi_power_watts{name=\"PSU Power\",id=\"10\",entity=\"10.1\",type=\"Other\",field=\"psu_power\","
      "source=\"node1\"} 120\n",
      "ipmi_sensor_reading{name=\"Humidity\",id=\"11\",entity=\"7.1\",type=\"Other\",unit=\"percent\","
      "field=\"humidity\",source=\"node1\"} 40\n",
      "ipmi_sensor_reading{name=\"a \\\"b\\\" c\\\\d\\ne <&>\",unit=\"furlongs\",field=\"odd\",source=\"node1\"} 1\n",
      "ipmi_sensor_reading{field=\"no_facts\",source=\"node1\"} 7\n",
      "ipmi_sensor_states_asserted{name=\"PS1 Status\",id=\"12\",entity=\"10.1\",type=\"Power Supply\","
      "field=\"ps1_status\",source=\"node1\"} 256\n",
      "# TYPE ipmi_sensor_states_asserted gauge\n",
      "vtr_host_sample_duration_seconds 0.25\n",
      "vtr_host_fields_without_reading 1\n",
  };
  for (const char* line : lines) EXPECT_NE(page.find(line), std::string::npos) << line << "\nin\n" << page;
  EXPECT_EQ(page.find("Gone"), std::string::npos) << "a field without a reading is absent";
  // Each family is one block: its HELP, its TYPE, its samples, and it never comes back.
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

}  // namespace
}  // namespace host
}  // namespace vtr
