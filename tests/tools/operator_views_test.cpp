// What operators meet, through the real parts: vtr-host sampling the simulated server with the
// real ipmitool, scraped by a real Prometheus server and checked by promtool, and its landing
// page loaded by a real browser (headless Chromium).

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <thread>

#include "collector/remote_bmc.h"
#include "host_process.h"
#include "support/sim_server.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

// Generous: Prometheus and Chromium start slowly on a loaded machine.
constexpr auto kPatience = std::chrono::seconds(90);

// vtr-host on a free loopback port, sampling a simulated server (the small one) every second.
class ServingHost : public ::testing::Test {
 protected:
  explicit ServingHost(const char* profile = "small") : sim_(profile) {}

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

  std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }

  SimServer sim_;
  int port_ = 0;
  std::unique_ptr<HostProcess> host_;
  std::string firstLine_;
};

// The same, reading the degraded server: a failed power supply, a slow fan, a low 12V, lost
// redundancy.
class ServingDegradedHost : public ServingHost {
 protected:
  ServingDegradedHost() : ServingHost("degraded") {}
};

std::string writeFile(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
  return path;
}

// GETs `path` from `port` until the body matches `pattern`; the first group, or "" at the deadline.
std::string awaitMatch(int port, const std::string& path, const std::regex& pattern) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < deadline) {
    std::smatch match;
    const std::optional<HttpResponse> response = httpGet(port, path);
    if (response && std::regex_search(response->body, match, pattern)) return match[1];
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  return "";
}

TEST_F(ServingHost, PrometheusScrapesItAndFindsASensorByItsNameAndPromtoolFindsNothingToSay) {
  EXPECT_NE(firstLine_.find("\"12v\":12.06,"), std::string::npos) << "shortest numbers: " << firstLine_;
  const std::string work = makeTempDirectory("vtr-prometheus");

  const std::optional<HttpResponse> scrape = httpGet(port_, "/metrics");
  ASSERT_TRUE(scrape);
  const std::string scraped = writeFile(work + "/scrape.txt", scrape->body);
  const ShellResult lint = runShell("promtool check metrics < " + shellQuote(scraped) + " 2>&1");
  EXPECT_EQ(lint.exitCode, 0) << lint.output;
  EXPECT_EQ(lint.output, "") << scrape->body;

  const int prometheusPort = pickFreeLoopbackPort();
  const std::string config =
      writeFile(work + "/prometheus.yml",
                "global: {scrape_interval: 1s, evaluation_interval: 1s}\n"
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
  removeDirectory(work);
}

TEST_F(ServingDegradedHost, BrowserShowsEverySensorWithOneTrendEachAndTheFaultsFirstInWords) {
  const std::string work = makeTempDirectory("vtr-chromium");
  const std::string artifacts = VTR_TEST_ARTIFACTS_DIR;
  runShell("mkdir -p " + shellQuote(artifacts));
  // A fresh profile each run; as root Chromium needs --no-sandbox.
  const auto chromium = [&](const std::string& profile, const std::string& action) {
    return runShell("timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                    "--disable-background-networking --disable-component-update --disable-sync --user-data-dir=" +
                    shellQuote(work + "/" + profile) + " " + action + " " + shellQuote(url("/")) + " 2>/dev/null");
  };
  const ShellResult dom = chromium("dom", "--dump-dom");
  ASSERT_EQ(dom.exitCode, 0) << dom.output;
  const std::string screenshot = artifacts + "/landing-page.png";
  const ShellResult shot = chromium("shot", "--window-size=1100,720 --screenshot=" + shellQuote(screenshot));
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

  EXPECT_EQ(shot.exitCode, 0) << shot.output;
  std::ifstream png(screenshot, std::ios::binary);
  char magic[4] = {};
  png.read(magic, sizeof magic);
  EXPECT_EQ(std::string(magic + 1, 3), "PNG") << screenshot;
}

}  // namespace
}  // namespace test
}  // namespace vtr
