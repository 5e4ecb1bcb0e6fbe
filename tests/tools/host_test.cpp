// vtr-host as a user runs it: how a run ends (bad input gives one line on stderr and a
// failing exit code with nothing left running; SIGINT and SIGTERM end a run cleanly with exit
// code 0), one JSON line per sample with the host's own keys, the sample and time limits, the
// schema file, /metrics as a Prometheus server reads it, no number for a missing reading, valid
// JSON whatever bytes a name holds, one host per port, requests refused at once, and a
// missing ipmitool named by the host. What the lines hold field by field is checked once, by
// the golden fixtures.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <filesystem>
#include <memory>
#include <thread>

#include "host_process.h"
#include "json/parson.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

// A real shared library that is not a provider: the C++ runtime this test runs on.
std::string libraryWithoutEntryPoint() {
  Dl_info info{};
  dladdr(reinterpret_cast<void*>(&std::terminate), &info);
  return info.dli_fname ? info.dli_fname : "";
}

struct BadInput {
  const char* name;
  std::vector<std::string> args;  // "{busy-port}" and "{not-a-provider}" are filled in per run
  const char* reported;           // part of the one stderr line
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const BadInput& row, std::ostream* out) { *out << row.name; }

class HostRefusesBadInput : public ::testing::TestWithParam<BadInput> {};

TEST_P(HostRefusesBadInput, WithOneLineAndAFailingExitCode) {
  const BadInput& row = GetParam();
  BusyPort busy;
  std::vector<std::string> args;
  for (const std::string& arg : row.args)
    args.push_back(arg == "{busy-port}" ? std::to_string(busy.port())
                   : arg == "{not-a-provider}" ? libraryWithoutEntryPoint() : arg);
  HostProcess host(args);
  const int exitCode = host.wait();
  EXPECT_GT(exitCode, 0);
  EXPECT_LT(exitCode, 128) << "ended by a signal";
  const std::vector<std::string> lines = host.errorLines();
  ASSERT_EQ(lines.size(), 1u) << host.errorOutput();
  EXPECT_NE(lines[0].find(row.reported), std::string::npos) << lines[0];
  EXPECT_TRUE(host.remainingLines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, HostRefusesBadInput,
    ::testing::Values(BadInput{"UnknownFlag", {"--bogus"}, "--bogus"},
                      BadInput{"MissingPlugin", {"--plugin", "/nonexistent/libprovider.so"}, "plug-in not found"},
                      BadInput{"PluginWithoutEntryPoint", {"--plugin", "{not-a-provider}"}, "construct_event_provider"},
                      BadInput{"OptionWithoutValue", {"--option", "ipmitool-use-sudo"}, "KEY=VALUE"},
                      BadInput{"ListenPortInUse", {"--listen", "{busy-port}"}, "cannot listen"},
                      BadInput{"ListenAddressNotAPort", {"--listen", "localhost:http"}, "--listen"}),
    [](const ::testing::TestParamInfo<BadInput>& info) { return info.param.name; });

// PATH without any ipmitool for this process: links to the other commands the provider's runs
// and the fake tool use, behind `first` when given. The destructor restores PATH.
class PathWithoutIpmitool {
 public:
  explicit PathWithoutIpmitool(const std::string& first = "") : dir_(makeTempDirectory("vtr-path")) {
    for (const std::string command : {"timeout", "grep", "cat", "dirname"}) {
      std::string target = runShell("command -v " + command).output;
      target.erase(target.find_last_not_of('\n') + 1);
      std::filesystem::create_symlink(target, dir_ + "/" + command);
    }
    saved_ = std::getenv("PATH");
    setenv("PATH", (first.empty() ? dir_ : first + ":" + dir_).c_str(), 1);
  }
  ~PathWithoutIpmitool() {
    restorePath(saved_);
    removeDirectory(dir_);
  }

 private:
  std::string dir_;
  std::string saved_;
};

const std::string kToolMissing = "vtr-host: 'ipmitool' is not installed or not in PATH";

// The library's own error lines come first by default, so the failure names its cause; a tool
// missing from PATH is named by the host before the failure.
TEST(HostRefusesBadInput, ProviderThatCannotInitializeIsReportedWithItsReason) {
  {
    FakeIpmitool tool;
    tool.setExitCode(1);
    HostProcess host(kDiscreteEverySecond);
    EXPECT_EQ(host.wait(), 1);
    const std::vector<std::string> lines = host.errorLines();
    ASSERT_GE(lines.size(), 2u) << host.errorOutput();
    EXPECT_NE(lines.back().find("failed to initialize"), std::string::npos) << lines.back();
    EXPECT_NE(host.errorOutput().find("[ipmitool collector] Failed to execute 'ipmitool sensor -v' command."),
              std::string::npos);
    EXPECT_EQ(host.errorOutput().find(kToolMissing), std::string::npos);
  }
  PathWithoutIpmitool path;
  HostProcess host(kDiscreteEverySecond);
  EXPECT_EQ(host.wait(), 1);
  const std::vector<std::string> lines = host.errorLines();
  ASSERT_GE(lines.size(), 2u) << host.errorOutput();
  EXPECT_EQ(lines[lines.size() - 2], kToolMissing) << host.errorOutput();
  EXPECT_NE(lines.back().find("failed to initialize"), std::string::npos) << lines.back();
}

// Samples stop when the tool goes away; the host names the cause once, at the default level.
TEST(HostRun, ToolThatVanishesWhileSamplingIsNamedOnce) {
  FakeIpmitool tool;
  PathWithoutIpmitool path(tool.directory());
  HostProcess host(kDiscreteEverySecond);
  ASSERT_TRUE(host.readLine()) << host.errorOutput();
  EXPECT_EQ(host.errorOutput(), "");
  std::filesystem::remove(tool.directory() + "/ipmitool");
  // It looks every few seconds without an event; the bound is for a loaded machine.
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (host.errorOutput().find(kToolMissing) == std::string::npos && std::chrono::steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  host.signal(SIGTERM);
  EXPECT_EQ(host.wait(), 0);
  const std::vector<std::string> lines = host.errorLines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), kToolMissing), 1) << host.errorOutput();
}

// The tool hangs with no time limit while the provider initialises: the stop still ends it.
TEST(HostStopsDuringInitialize, OnSignalWithExitCodeZero) {
  FakeIpmitool tool;
  tool.injectFault("sleep 3600");
  HostProcess host({"--option", "ipmitool-command-timeout=0"});
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (tool.recordedCalls().empty() && std::chrono::steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  host.signal(SIGTERM);
  EXPECT_EQ(host.wait(), 0) << host.errorOutput();
  EXPECT_TRUE(host.remainingLines().empty());
}

TEST(HostStopsOnSignal, InterruptOrTerminateEndTheRunWithExitCodeZero) {
  FakeIpmitool tool;
  for (int signal : {SIGINT, SIGTERM}) {
    HostProcess host(kDiscreteEverySecond);
    ASSERT_TRUE(host.readLine()) << host.errorOutput();
    host.signal(signal);
    EXPECT_EQ(host.wait(), 0) << host.errorOutput();
    EXPECT_EQ(host.errorOutput(), "") << "signal " << signal;
  }
}

std::vector<std::string> withArgs(std::vector<std::string> args, const std::vector<std::string>& more) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

TEST(HostRun, SamplesLimitEndsTheRunAfterThatManyLinesAndWritesTheSchema) {
  FakeIpmitool tool;
  const std::string dir = makeTempDirectory("vtr-host-schema");
  HostProcess host(withArgs(kDiscreteEverySecond, {"--samples", "2", "--schema-out", dir + "/schema.json"}));
  ASSERT_EQ(host.wait(), 0) << host.errorOutput();
  const std::string schema = readFile(dir + "/schema.json");
  removeDirectory(dir);
  ASSERT_EQ(host.remainingLines().size(), 2u);
  for (const std::string& line : host.remainingLines()) {
    EXPECT_EQ(line.rfind("{\"timestamp\":17", 0), 0u) << line;  // microseconds, this decade
    EXPECT_NE(line.find("\"ps2_status\":768,\"source\":\""), std::string::npos) << line;
    EXPECT_NE(line.find("\"schema\":\"ipmitool\",\"type\":\"ipmitool_event\"}"), std::string::npos) << line;
  }
  for (const char* part : {"\"provider_name\": \"ipmitool\"", "\"name\": \"ipmitool_event\"", "\"field_name\": \"ps2_status\""})
    EXPECT_NE(schema.find(part), std::string::npos) << part << " in " << schema;
}

TEST(HostRun, DurationEndsTheRunSuccessfully) {
  FakeIpmitool tool;
  HostProcess host(withArgs(kDiscreteEverySecond, {"--duration", "1.5"}));
  ASSERT_EQ(host.wait(), 0) << host.errorOutput();
  for (const std::string& line : host.remainingLines()) EXPECT_NE(line.find("\"cpu1_temp\":45,"), std::string::npos);
}

// A host serving /metrics on a port of its own; SIGTERM must end it with exit code 0.
class RunningHost : public ::testing::Test {
 protected:
  void start() {
    host = std::make_unique<HostProcess>(withArgs(kDiscreteEverySecond, {"--listen", std::to_string(port)}));
    firstLine = host->readLine();
    ASSERT_TRUE(firstLine) << host->errorOutput();
  }
  void TearDown() override {
    host->signal(SIGTERM);
    EXPECT_EQ(host->wait(), 0) << host->errorOutput();
  }
  // The status line of the answer to `request` (and `streamed` bytes behind it); empty when
  // none came.
  std::string statusLineFor(const std::string& request, std::size_t streamed = 0) const {
    const auto response = httpExchange(port, request, streamed);
    return response ? response->head.substr(0, response->head.find('\r')) : "";
  }

  FakeIpmitool tool;
  int port = pickFreeLoopbackPort();
  std::unique_ptr<HostProcess> host;
  std::optional<std::string> firstLine;
};

// Source ids come from VTR_SOURCE_ID; quotes and a backslash show the label escaping; each
// reading goes to its unit's family with the sensor in the labels, and a sensor name that is
// not UTF-8 gets U+FFFD in the line and on the page. A field without a reading is null in the
// line and absent from the page. A pass that fails shows in ipmi_up.
TEST_F(RunningHost, ScrapeShowsTheLatestReadingsByUnitAndTheHostsOwnCounters) {
  setenv("VTR_SOURCE_ID", R"(rack "7"\a)", 1);
  std::string listing = readFile(fixturePath("small-server", "verbose.txt"));
  listing.replace(listing.find("CPU1 Temp"), 9, "CPU\xff Temp");
  const std::string compact = readFile(fixturePath("small-server", "compact.txt"));
  tool.replayText(listing, compact);
  start();
  std::optional<HttpResponse> response = httpGet(port, "/metrics");
  ASSERT_TRUE(response);
  EXPECT_NE(response->head.find(" 200 "), std::string::npos) << response->head;
  EXPECT_NE(response->head.find("Content-Type: text/plain; version=0.0.4"), std::string::npos) << response->head;
  // The page's syntax is promtool's to judge (operator views); here, what it says.
  const std::string& body = response->body;
  for (const std::string sample :
       {R"(ipmi_temperature_celsius{name="Inlet Temp",id="3",entity="55.1",type="Temperature",field="inlet_temp",)"
        R"(source="rack \"7\"\\a"} 23)",
        R"(ipmi_voltage_volts{name="3.3V",id="9",entity="7.1",type="Voltage",field="3.3v",source="rack \"7\"\\a"} 3.3)",
        R"(ipmi_sensor_states_asserted{name="PS2 Status",id="12",entity="10.2",type="Power Supply",)"
        R"(field="ps2_status",source="rack \"7\"\\a"} 768)",
        "# TYPE ipmi_temperature_celsius gauge", "# TYPE vtr_host_events_total counter",
        "vtr_host_last_event_timestamp_seconds 17", "vtr_host_up 1", R"(ipmi_up{collector="ipmi"} 1)",
        "ipmi_scrape_duration_seconds "})
    EXPECT_NE(body.find("\n" + sample), std::string::npos) << sample << "\nin\n" << body;
  EXPECT_EQ(body.find("\nvtr_host_events_total 0\n"), std::string::npos) << body;
  EXPECT_NE(body.find("name=\"CPU\xEF\xBF\xBD Temp\""), std::string::npos) << "labels in UTF-8";
  EXPECT_EQ(body.find("field=\"timestamp\""), std::string::npos) << "the event time is not a measurement";

  listing.replace(listing.find("47 (+/- 0) degrees C"), 20, "na");
  tool.replayText(listing, compact);
  std::optional<std::string> line;
  do {
    line = host->readLine();
    ASSERT_TRUE(line) << host->errorOutput();
  } while (line->find("\"cpu2_temp\":null") == std::string::npos);
  std::unique_ptr<JSON_Value, void (*)(JSON_Value*)> event(json_parse_string(line->c_str()), json_value_free);
  ASSERT_TRUE(event) << "not valid JSON: " << *line;
  EXPECT_TRUE(json_object_has_value_of_type(json_object(event.get()), "cpu\xEF\xBF\xBD_temp", JSONNumber)) << *line;
  response = httpGet(port, "/metrics");
  ASSERT_TRUE(response);
  EXPECT_EQ(response->body.find("field=\"cpu2_temp\""), std::string::npos) << response->body;
  EXPECT_NE(response->body.find("\nvtr_host_fields_without_reading 1\n"), std::string::npos) << response->body;

  // A pass that does not read the BMC: ipmi_up says so, and the last event's readings stay.
  tool.setExitCode(1);
  const std::optional<std::string> unread = awaitBody(port, "/metrics", [](const std::string& page) {
    return page.find("\nipmi_up{collector=\"ipmi\"} 0\n") != std::string::npos;
  });
  ASSERT_TRUE(unread) << host->errorOutput();
  EXPECT_NE(unread->find("field=\"3.3v\""), std::string::npos) << *unread;
}

// A second host on the port is refused; idle connections do not starve a scrape; only a short
// GET or HEAD is served, and the host's memory does not follow what a client streams at it.
TEST_F(RunningHost, GuardsItsPort) {
  start();
  HostProcess second({"--listen", std::to_string(port)});
  EXPECT_EQ(second.wait(), 1);
  EXPECT_EQ(second.errorLines().size(), 1u) << second.errorOutput();

  std::vector<int> idle;
  for (int i = 0; i < 200; ++i) idle.push_back(connectLoopback(port));
  const auto started = std::chrono::steady_clock::now();
  const std::optional<HttpResponse> page = httpGet(port, "/metrics");
  // Generous for a loaded machine; starved, the scrape waits minutes or times out.
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
  ASSERT_TRUE(page);
  EXPECT_NE(page->head.find(" 200 "), std::string::npos);
  for (int fd : idle) close(fd);

  // Each row's request, then that many bytes streamed behind it without waiting.
  constexpr std::size_t k200MiB = 200u << 20;
  const struct {
    std::string request;
    std::size_t streamed;
    const char* status;
  } rows[] = {
      {"HEAD /metrics HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n", 0, "HTTP/1.1 200 OK"},
      {"POST /metrics HTTP/1.1\r\nHost: x\r\nContent-Length: 100000000\r\n\r\n", 0, "HTTP/1.1 405 Method Not Allowed"},
      {"POST /metrics HTTP/1.1\r\nHost: x\r\nContent-Length: 209715200\r\n\r\n", k200MiB,
       "HTTP/1.1 405 Method Not Allowed"},
      {"DELETE /metrics HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n", 0, "HTTP/1.1 405 Method Not Allowed"},
      {"GET /metrics HTTP/1.1\r\nHost: x\r\nContent-Length: 209715200\r\n\r\n", k200MiB, "HTTP/1.1 413 Payload Too Large"},
      {"GET /", k200MiB, "HTTP/1.1 414 URI Too Long"},
      {"GET /metrics HTTP/1.1\r\nHost: x\r\nX-Padding: ", k200MiB, "HTTP/1.1 400 Bad Request"},
  };
  // Taken once the idle connections have had most of the HTTP workers' threads start: a
  // thread's start costs memory too, a great deal of it under ThreadSanitizer.
  const long idlePeakKib = host->peakResidentKib();
  ASSERT_GT(idlePeakKib, 0);
  for (const auto& row : rows)
    EXPECT_EQ(statusLineFor(row.request, row.streamed), row.status) << row.request.substr(0, 24);
  // What a client sends is not held: a generous bound, far below any one body.
  EXPECT_LT(host->peakResidentKib() - idlePeakKib, 20 * 1024);
}

}  // namespace
}  // namespace test
}  // namespace vtr
