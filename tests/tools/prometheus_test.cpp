// Metric names, escapes and sample values of the /metrics page, rule by rule.

#include "tools/prometheus.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

namespace vtr {
namespace host {
namespace {

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
