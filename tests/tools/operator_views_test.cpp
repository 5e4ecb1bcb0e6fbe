// What operators meet, through the real parts: vtr-host sampling the simulated server with the
// real ipmitool, scraped by a real Prometheus server running the shipped alert rules and checked
// by promtool, and its landing page loaded by a real browser (headless Chromium).

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <utility>
#include <vector>

#include "collector/remote_bmc.h"
#include "host_process.h"
#include "support/sim_server.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

// vtr-host on a free loopback port, sampling a simulated server every second, its source
// named node1.
class ServingHost : public ::testing::Test {
 protected:
  explicit ServingHost(const std::string& profile, bool console = false, std::vector<std::string> extraArgs = {})
      : sim_(profile, console), profile_(profile), extraArgs_(std::move(extraArgs)) {}

  void SetUp() override {
    if (!sim_.installed()) GTEST_SKIP() << sim_.reason();
    ASSERT_TRUE(sim_.running()) << sim_.reason();
    port_ = pickFreeLoopbackPort();
    std::vector<std::string> args = kDiscreteEverySecond;
    // Through the shorthand flags, each of them.
    const ipmitool::RemoteBmc bmc = sim_.remoteBmc();
    args.insert(args.end(), {"--bmc", bmc.host, "--bmc-user", bmc.user, "--bmc-password-file", bmc.passwordFile,
                             "--bmc-cipher-suite", bmc.cipherSuite, "--bmc-interface", "lanplus",
                             "--bmc-privilege-level", "ADMINISTRATOR"});
    args.insert(args.end(), {"--listen", "127.0.0.1:" + std::to_string(port_)});
    args.insert(args.end(), extraArgs_.begin(), extraArgs_.end());
    setenv("VTR_SOURCE_ID", "node1", 1);
    host_ = std::make_unique<HostProcess>(args);
    const std::optional<std::string> line = host_->readLine();
    ASSERT_TRUE(line) << host_->errorOutput();
    firstLine_ = *line;
  }

  // Name and value of every sensor the simulated server reads, as its own tool lists them
  // (two share the name Temp).
  std::multimap<std::string, std::string> sensorsOfTheServer() const {
    std::multimap<std::string, std::string> sensors;
    std::istringstream lines(runShell(ipmitool::ipmitoolCommand(sim_.remoteBmc(), "sensor")).output);
    for (std::string line; std::getline(lines, line);) {
      std::vector<std::string> cells;
      std::istringstream row(line);
      for (std::string cell; std::getline(row, cell, '|');) {
        cell.erase(0, cell.find_first_not_of(' '));
        cell.erase(cell.find_last_not_of(' ') + 1);
        cells.push_back(cell);
      }
      if (cells.size() > 1 && cells[1] != "na") sensors.emplace(cells[0], cells[1]);
    }
    return sensors;
  }

  // sim/set-sensor on the running server; its exit code.
  int setSensor(const std::string& sensorAndChange) const {
    return runShell(shellQuote(std::string(VTR_SOURCE_DIR) + "/sim/set-sensor") + " --console-port " +
                    std::to_string(sim_.consolePort()) + " --profile " + profile_ + " " + sensorAndChange + " 2>&1")
        .exitCode;
  }

  std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }

  SimServer sim_;
  std::string profile_;
  std::vector<std::string> extraArgs_;
  int port_ = 0;
  std::unique_ptr<HostProcess> host_;
  std::string firstLine_;
};

// The degraded server: a failed power supply, a slow fan, a low 12V, lost redundancy.
class DegradedServerPage : public ServingHost {
 protected:
  DegradedServerPage() : ServingHost("degraded") {}
};

// Driven while it runs: its console open.
class TwoSocketServer : public ServingHost {
 protected:
  TwoSocketServer() : ServingHost("two-socket", true) {}
};

// In each sampling mode: the parameter is ipmitool-single-run-sampling.
// Each sampling mode: its option (none for the default).
struct SamplingMode {
  const char* name;
  const char* option;
};
void PrintTo(const SamplingMode& mode, std::ostream* out) { *out << mode.name; }

class DegradedServer : public ServingHost, public ::testing::WithParamInterface<SamplingMode> {
 protected:
  DegradedServer() : ServingHost("degraded", false, modeArguments(GetParam())) {}

 private:
  static std::vector<std::string> modeArguments(const SamplingMode& mode) {
    if (*mode.option == '\0') return {};
    return {"--option", std::string(mode.option) + "=true"};
  }
};

std::string writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
  return path;
}

// GETs `path` from `port` until the body matches `pattern`; the first group, or "" at the deadline.
std::string awaitMatch(int port, const std::string& path, const std::regex& pattern) {
  std::smatch match;
  const std::optional<std::string> body =
      awaitBody(port, path, [&](const std::string& text) { return std::regex_search(text, match, pattern); });
  // The match points into the body it searched: search the returned copy again.
  return body && std::regex_search(*body, match, pattern) ? std::string(match[1]) : "";
}

// Headless Chromium on `url` with a fresh profile under `work`; as root it needs --no-sandbox.
ShellResult chromium(const std::string& work, const std::string& profile, const std::string& action,
                     const std::string& url) {
  return runShell("timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                  "--disable-background-networking --disable-component-update --disable-sync --user-data-dir=" +
                  shellQuote(work + "/" + profile) + " " + action + " " + shellQuote(url) + " 2>/dev/null");
}

// A screenshot of `url` kept in the artifacts folder; checks that a PNG came out.
void keepScreenshot(const std::string& work, const std::string& url, const std::string& name) {
  const std::string artifacts = VTR_TEST_ARTIFACTS_DIR;
  runShell("mkdir -p " + shellQuote(artifacts));
  const std::string screenshot = artifacts + "/" + name;
  const ShellResult shot = chromium(work, "shot", "--window-size=1100,720 --screenshot=" + shellQuote(screenshot), url);
  EXPECT_EQ(shot.exitCode, 0) << shot.output;
  std::ifstream png(screenshot, std::ios::binary);
  char magic[4] = {};
  png.read(magic, sizeof magic);
  EXPECT_EQ(std::string(magic + 1, 3), "PNG") << screenshot;
}

// Prometheus reads a sensor by its name; with the shipped rules, a power supply failing on the
// running server fires its alert and leads the landing page, and clearing it resolves the alert.
TEST_F(TwoSocketServer, PowerSupplyFailureFiresItsAlertLeadsThePageAndResolvesWhenCleared) {
  EXPECT_NE(firstLine_.find("\"12v\":12.06,"), std::string::npos) << "shortest numbers: " << firstLine_;
  const std::string work = makeTempDirectory("vtr-prometheus");
  const int prometheusPort = pickFreeLoopbackPort();
  const std::string config =
      writeFile(work + "/prometheus.yml",
                "global: {scrape_interval: 1s, evaluation_interval: 1s}\n"
                "rule_files: ['" + std::string(VTR_SOURCE_DIR) + "/packaging/ipmi-alert-rules.yml']\n"
                "scrape_configs:\n"
                "  - job_name: ipmi\n"
                "    static_configs: [{targets: ['127.0.0.1:" + std::to_string(port_) + "']}]\n");
  HostProcess prometheus({"--config.file=" + config, "--storage.tsdb.path=" + work + "/data",
                          "--web.listen-address=127.0.0.1:" + std::to_string(prometheusPort)},
                         "prometheus");
  EXPECT_EQ(awaitMatch(prometheusPort, "/api/v1/targets", std::regex(R"re("health":"(up)")re")), "up")
      << prometheus.errorOutput();
  const std::string value = awaitMatch(
      prometheusPort, "/api/v1/query?query=ipmi_temperature_celsius%7Bname%3D%22CPU1%20Temp%22%7D",
      std::regex(R"re("value":\[[0-9.]+,"([^"]+)"\])re"));
  ASSERT_FALSE(value.empty()) << prometheus.errorOutput();
  EXPECT_DOUBLE_EQ(std::stod(value), std::stod(sensorsOfTheServer().find("CPU1 Temp")->second));

  // The alert's labels, then its annotations, then its own state.
  const std::string psuAlert =
      R"re("alertname":"IpmiPowerSupplyOrFanFailed"[^}]*"name":"PS2 Status"[^}]*\},"annotations":\{[^}]*\},"state":)re";
  ASSERT_EQ(setSensor("'PS2 Status' --assert 1"), 0);
  EXPECT_EQ(awaitMatch(prometheusPort, "/api/v1/alerts", std::regex(psuAlert + R"re("(firing)")re")), "firing")
      << prometheus.errorOutput();

  const ShellResult dom = chromium(work, "dom", "--dump-dom", url("/"));
  EXPECT_EQ(dom.exitCode, 0) << dom.output;
  keepScreenshot(work, url("/"), "landing-page-psu-failure.png");
  // The sensors that need attention come first, the failed supply leading them.
  const std::size_t attention = dom.output.find("id=\"attention\"");
  const std::size_t firstRow =
      attention == std::string::npos ? attention : dom.output.find("class=\"attention\"", attention);
  EXPECT_NE(firstRow, std::string::npos) << "no row marked for attention in\n" << dom.output.substr(0, 4000);
  if (firstRow != std::string::npos) {
    const std::string row = dom.output.substr(firstRow, dom.output.find("</tr>", firstRow) - firstRow);
    EXPECT_NE(row.find(">PS2 Status<"), std::string::npos) << row;
  }

  ASSERT_EQ(setSensor("'PS2 Status' --deassert 1"), 0);
  const auto resolved = [&](const std::string& alerts) {
    return alerts.find(R"("status":"success")") != std::string::npos && !std::regex_search(alerts, std::regex(psuAlert));
  };
  EXPECT_TRUE(awaitBody(prometheusPort, "/api/v1/alerts", resolved)) << "the alert did not resolve";
  removeDirectory(work);
}

INSTANTIATE_TEST_SUITE_P(SamplingModes, DegradedServer,
                         ::testing::Values(SamplingMode{"TwoRuns", ""},
                                           SamplingMode{"SingleRun", "ipmitool-single-run-sampling"},
                                           SamplingMode{"Cached", "ipmitool-cached-sampling"}),
                         [](const ::testing::TestParamInfo<SamplingMode>& mode) { return mode.param.name; });

// The failed supply, the slow fan and the low voltage as the BMC sees them, with their
// thresholds, on a page promtool finds nothing to say about.
TEST_P(DegradedServer, MetricsShowEachFaultWithItsHealthAndThresholds) {
  const std::string ps2 =
      R"({name="PS2 Status",id="53",entity="10.2",type="Power Supply",field="ps2_status",source="node1")";
  const std::string fan = R"({name="FAN3B",id="29",entity="29.6",type="Fan",field="fan3b",source="node1")";
  const std::string volts = R"({name="12V",id="36",entity="7.1",type="Voltage",field="12v",source="node1")";
  const std::string wanted[] = {
      "ipmi_sensor_state" + ps2 + "} 2",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Presence detected",severity="nominal"} 1)",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Failure detected",severity="critical"} 1)",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Power Supply AC lost",severity="critical"} 1)",
      "ipmi_discrete_state_asserted" + ps2 + R"(,state="Predictive failure",severity="warning"} 0)",
      "ipmi_fan_speed_rpm" + fan + "} 540",
      "ipmi_fan_speed_state" + fan + "} 1",
      "ipmi_fan_speed_threshold_rpm" + fan + R"(,level="lower_non_critical"} 600)",
      "ipmi_fan_speed_threshold_rpm" + fan + R"(,level="lower_critical"} 480)",
      "ipmi_voltage_volts" + volts + "} 10.5",
      "ipmi_voltage_state" + volts + "} 2",
      "ipmi_voltage_threshold_volts" + volts + R"(,level="lower_critical"} 10.8)",
      "ipmi_voltage_threshold_volts" + volts + R"(,level="lower_non_recoverable"} 10.2)",
      "ipmi_voltage_threshold_volts" + volts + R"(,level="upper_critical"} 13.2)",
      R"(ipmi_up{collector="ipmi"} 1)",
  };
  const std::optional<HttpResponse> scrape = httpGet(port_, "/metrics");
  ASSERT_TRUE(scrape);
  for (const std::string& line : wanted) EXPECT_NE(scrape->body.find(line + "\n"), std::string::npos) << line;

  const std::string work = makeTempDirectory("vtr-promtool");
  const std::string scraped = writeFile(work + "/scrape.txt", scrape->body);
  const ShellResult lint = runShell("promtool check metrics < " + shellQuote(scraped) + " 2>&1");
  removeDirectory(work);
  EXPECT_EQ(lint.exitCode, 0) << lint.output;
  EXPECT_EQ(lint.output, "") << scrape->body;
}

TEST_F(DegradedServerPage, BrowserShowsEverySensorWithOneTrendEachAndTheFaultsFirstInWords) {
  const std::string work = makeTempDirectory("vtr-chromium");
  const ShellResult dom = chromium(work, "dom", "--dump-dom", url("/"));
  ASSERT_EQ(dom.exitCode, 0) << dom.output;
  keepScreenshot(work, url("/"), "landing-page.png");
  removeDirectory(work);

  const std::multimap<std::string, std::string> sensors = sensorsOfTheServer();
  ASSERT_FALSE(sensors.empty());
  for (const auto& [name, value] : sensors) {
    EXPECT_NE(dom.output.find(">" + name + "</td>"), std::string::npos) << name;
  }
  std::size_t rows = 0;
  const std::regex row(
      "<tr( class=\"attention\")?><td[^>]*>[^<]*</td>(<td[^>]*>[^<]*</td>){4}<td><svg [^]*?</svg></td></tr>");
  for (auto it = std::sregex_iterator(dom.output.begin(), dom.output.end(), row); it != std::sregex_iterator(); ++it) {
    ++rows;
  }
  EXPECT_EQ(rows, sensors.size()) << dom.output;

  // The faults lead, each with its state in words, the failed power supply first.
  const std::size_t start = dom.output.find("<section id=\"attention\">");
  ASSERT_NE(start, std::string::npos) << dom.output;
  const std::string attention = dom.output.substr(start, dom.output.find("</section>", start) - start);
  std::smatch first;
  ASSERT_TRUE(std::regex_search(attention, first, std::regex("<tr class=\"attention\"><td[^>]*>([^<]*)</td>")));
  EXPECT_EQ(first[1], "PS2 Status") << attention;
  const std::pair<const char*, const char*> faults[] = {{"PS2 Status", "Failure detected, Power Supply AC lost"},
                                                        {"FAN3B", "below lower non-critical 600 RPM"},
                                                        {"12V", "below lower critical 10.8 Volts"},
                                                        {"PS Redundancy", "Redundancy Lost"}};
  for (const auto& [sensor, words] : faults) {
    const std::size_t at = attention.find(">" + std::string(sensor) + "</td>");
    ASSERT_NE(at, std::string::npos) << sensor << " not in\n" << attention;
    EXPECT_LT(attention.find(words, at), attention.find("</tr>", at)) << words << "\nin\n" << attention;
  }
}

}  // namespace
}  // namespace test
}  // namespace vtr
