// The /metrics page of a running vtr-host, scraped over HTTP and read line by line as a
// Prometheus server reads it.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <map>
#include <regex>
#include <sstream>

#include "host_process.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace test {
namespace {

struct ExpositionPage {
  std::map<std::string, std::string> help;    // family -> HELP text as written
  std::map<std::string, std::string> type;    // family -> TYPE
  std::map<std::string, double> samples;      // name{labels} -> value
  std::vector<std::string> malformedLines;
};

ExpositionPage readExposition(const std::string& body) {
  static const std::regex comment(R"(^# (HELP|TYPE) ([a-zA-Z_:][a-zA-Z0-9_:]*) (.*)$)");
  static const std::regex sample(
      R"(^([a-zA-Z_:][a-zA-Z0-9_:]*(\{([a-zA-Z_][a-zA-Z0-9_]*="([^"\\]|\\.)*"(,|(?=\})))*\})?) (\S+)$)");
  ExpositionPage page;
  std::istringstream lines(body);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (std::regex_match(line, match, comment)) {
      (match[1] == "HELP" ? page.help : page.type)[match[2]] = match[3];
    } else if (std::regex_match(line, match, sample)) {
      page.samples[match[1]] = std::stod(match[6]);
    } else {
      page.malformedLines.push_back(line);
    }
  }
  return page;
}

// Source ids come from VTR_SOURCE_ID; quotes and a backslash show the label escaping.
constexpr const char* kSourceId = R"(rack "7"\a)";
constexpr const char* kSourceLabel = R"(source="rack \"7\"\\a"})";

TEST(HostMetrics, ScrapeShowsTheLatestEventByUnitAndTheHostsOwnCounters) {
  FakeIpmitool tool;
  setenv("VTR_SOURCE_ID", kSourceId, 1);
  int port = pickFreeLoopbackPort();
  std::vector<std::string> args = kDiscreteEverySecond;
  args.insert(args.end(), {"--listen", std::to_string(port)});
  HostProcess host(args);
  ASSERT_TRUE(host.readLine()) << host.errorOutput();

  std::optional<HttpResponse> response = httpGet(port, "/metrics");
  ASSERT_TRUE(response);
  EXPECT_NE(response->head.find(" 200 "), std::string::npos) << response->head;
  EXPECT_NE(response->head.find("Content-Type: text/plain; version=0.0.4"), std::string::npos) << response->head;
  ExpositionPage page = readExposition(response->body);
  EXPECT_TRUE(page.malformedLines.empty()) << page.malformedLines.front();

  for (const auto& [sample, value] : {
           std::pair<std::string, double>{R"(ipmi_temperature_celsius{name="CPU1 Temp",id="1",entity="3.1",)"
                                          R"(type="Temperature",field="cpu1_temp",)", 45},
           {R"(ipmi_voltage_volts{name="3.3V",id="9",entity="7.1",type="Voltage",field="3.3v",)", 3.3},
           {R"(ipmi_sensor_states_asserted{name="PS2 Status",id="12",entity="10.2",type="Power Supply",)"
            R"(field="ps2_status",)", 0x0300}}) {
    ASSERT_EQ(page.samples.count(sample + kSourceLabel), 1u) << sample << "\n" << response->body;
    EXPECT_DOUBLE_EQ(page.samples[sample + kSourceLabel], value) << sample;
  }
  EXPECT_EQ(page.type["ipmi_temperature_celsius"], "gauge");
  for (const auto& [sample, value] : page.samples)
    EXPECT_EQ(sample.find("field=\"timestamp\""), std::string::npos) << "the event time is not a measurement";

  EXPECT_EQ(page.type["vtr_host_events_total"], "counter");
  EXPECT_GE(page.samples["vtr_host_events_total"], 1);
  EXPECT_GT(page.samples["vtr_host_last_event_timestamp_seconds"], 1.6e9);
  EXPECT_EQ(page.samples["vtr_host_up"], 1);

  host.signal(SIGTERM);
  EXPECT_EQ(host.wait(), 0) << host.errorOutput();
}

}  // namespace
}  // namespace test
}  // namespace vtr
