// Cached sampling against the fake tool: the SDR cache lives in a private directory for as long
// as the collector, is remade when its file or a sensor says it no longer holds, never read when
// it is not whole; one tool process serves the passes until it fails, idles too long or its
// cache changes; under sudo each pass is a run of its own. The bounds of each answer are in the
// tool-run table of collector_test.cpp, what the passes publish in the golden fixtures.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "collector/tool_shell.h"
#include "support/log_capture.h"
#include "support/sim_server.h"
#include "support/test_env.h"

namespace vtr {
namespace ipmitool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDumpCall = "sdr dump ";

CollectorOptions cachedSampling() {
  CollectorOptions options;
  options.includeDiscreteSensors = true;
  options.cachedSampling = true;
  return options;
}

std::vector<std::string> callsStartingWith(const test::FakeIpmitool& fake, const std::string& start) {
  std::vector<std::string> calls;
  for (const std::string& call : fake.recordedCalls())
    if (call.compare(0, start.size(), start) == 0) calls.push_back(call);
  return calls;
}

// How many tool shells were started ("... shell" or "... -c shell").
long shellStarts(const test::FakeIpmitool& fake) {
  const auto calls = fake.recordedCalls();
  return std::count_if(calls.begin(), calls.end(), [](const std::string& call) {
    return call.size() >= 5 && call.compare(call.size() - 5, 5, "shell") == 0;
  });
}

// The cache files the collector had the tool dump, in order.
std::vector<std::string> dumpedFiles(const test::FakeIpmitool& fake) {
  std::vector<std::string> files;
  for (const std::string& call : callsStartingWith(fake, kDumpCall)) files.push_back(call.substr(strlen(kDumpCall)));
  return files;
}

// A collector that fixed its fields from the fake tool's listings.
struct StartedCollector {
  explicit StartedCollector(const CollectorOptions& options) : collector(CollectorConfig(options), stop) {
    std::vector<std::unique_ptr<vtr_type_field_info_t>> fields;
    started = collector.setFieldsInfo(fields);
    IpmitoolCollector::freeFieldsInfo(fields);
  }
  bool sample() {
    SensorSample out;
    return collector.getSensorsData(out) && holdsAnyValue(out);
  }

  volatile bool stop = false;
  IpmitoolCollector collector;
  bool started = false;
};

TEST(SdrCacheDirectory, IsPrivateHoldsTheDumpAndGoesWithTheCollector) {
  test::FakeIpmitool fake;
  std::string directory;
  {
    StartedCollector started(cachedSampling());
    StartedCollector other(cachedSampling());
    ASSERT_TRUE(started.started && other.started);
    ASSERT_TRUE(started.sample());
    ASSERT_TRUE(other.sample());
    const std::vector<std::string> files = dumpedFiles(fake);
    ASSERT_EQ(files.size(), 2u);
    EXPECT_TRUE(fs::exists(files[0]));
    directory = fs::path(files[0]).parent_path();
    EXPECT_NE(fs::path(files[1]).parent_path(), directory) << "no two collectors share a cache";
    struct stat status {};
    ASSERT_EQ(stat(directory.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    // One tool process per collector, started with its own cache, asked once per pass.
    EXPECT_EQ(callsStartingWith(fake, "-S " + files[0] + " -c shell").size(), 1u);
    EXPECT_EQ(callsStartingWith(fake, "shell: sdr elist").size(), 2u);
  }
  EXPECT_FALSE(fs::exists(directory));
}

// What happens to the cache between a first pass and the next, and what the next pass gives.
struct CacheChange {
  const char* name;
  std::function<void(test::FakeIpmitool&, const std::string& cacheFile)> change;
  bool nextPassGivesEvent;  // false: the pass that finds it gives no event
  const char* logged;
};

void PrintTo(const CacheChange& row, std::ostream* out) { *out << row.name; }

class CacheChanges : public ::testing::TestWithParam<CacheChange> {};

// Whatever the change, a cache remade once is read from then on, and by a new process.
TEST_P(CacheChanges, RemakeTheCacheWithOneLineSayingWhy) {
  const CacheChange& row = GetParam();
  test::FakeIpmitool fake;
  test::LogRecorder log;
  StartedCollector started(cachedSampling());
  ASSERT_TRUE(started.started);
  ASSERT_TRUE(started.sample());
  row.change(fake, dumpedFiles(fake).at(0));
  EXPECT_EQ(started.sample(), row.nextPassGivesEvent);
  EXPECT_TRUE(log.contains(row.logged, VTR_LOG_WARNING)) << row.logged;
  EXPECT_TRUE(started.sample());
  const std::vector<std::string> files = dumpedFiles(fake);
  ASSERT_EQ(files.size(), 2u);
  EXPECT_FALSE(fs::exists(files[0])) << "the old cache is gone";
  EXPECT_EQ(callsStartingWith(fake, "-S " + files[1] + " -c shell").size(), 1u);
}

void overwrite(const std::string& file, const std::string& bytes) { std::ofstream(file, std::ios::trunc) << bytes; }

INSTANTIATE_TEST_SUITE_P(
    Rows, CacheChanges,
    ::testing::Values(
        CacheChange{"TruncatedFile", [](test::FakeIpmitool&, const std::string& file) { fs::resize_file(file, 3); },
                    true, "[ipmitool collector] The SDR cache is remade: its file no longer holds the SDR the tool dumped."},
        CacheChange{"FileOfAnotherBmc",
                    [](test::FakeIpmitool&, const std::string& file) { overwrite(file, "\x02\x00\x51\x02\x01\x41"); },
                    true, "[ipmitool collector] The SDR cache is remade: its file no longer holds the SDR the tool dumped."},
        CacheChange{"FileGone", [](test::FakeIpmitool&, const std::string& file) { fs::remove(file); }, true,
                    "[ipmitool collector] The SDR cache is remade: its file cannot be read."},
        // The sensor may have moved: no reading of this pass is trusted.
        CacheChange{"SensorThatReadNoLongerReads",
                    [](test::FakeIpmitool& fake, const std::string&) {
                      std::string listing = test::readFile(test::fixturePath("small-server", "sdr-elist.txt"));
                      const std::string row = "FAN2,5340,RPM,ok";
                      fake.replaySdrListing(listing.replace(listing.find(row), row.size(), "FAN2,,,ns"));
                    },
                    false, "[ipmitool collector] The SDR cache is remade: sensor 'FAN2' no longer reads through it."}),
    [](const ::testing::TestParamInfo<CacheChange>& info) { return info.param.name; });

// A cache that cannot be made leaves the pass without an event, and is tried again next pass.
TEST(SdrCacheDump, ThatFailsOrIsNotWholeGivesNoEventAndIsTriedAgain) {
  const struct {
    const char* fault;  // shell code the tool runs first
    const char* logged;
  } rows[] = {
      {"case \"$*\" in *'sdr dump'*) exit 1 ;; esac", "[ipmitool collector] Failed to make the SDR cache with 'ipmitool sdr dump'."},
      // A record announcing 32 bytes of body with one: a dump cut short.
      {"case \"$*\" in *'sdr dump'*) printf '\\001\\000\\121\\001\\040\\001' >\"${*##* }\"; exit 0 ;; esac",
       "[ipmitool collector] Failed to make the SDR cache with 'ipmitool sdr dump'."},
  };
  for (const auto& row : rows) {
    test::FakeIpmitool fake;
    test::LogRecorder log;
    StartedCollector started(cachedSampling());
    ASSERT_TRUE(started.started);
    fake.injectFault(row.fault);
    EXPECT_FALSE(started.sample()) << row.fault;
    EXPECT_TRUE(log.contains(row.logged, VTR_LOG_ERR)) << row.fault;
    EXPECT_TRUE(callsStartingWith(fake, "shell: ").empty()) << "nothing is read without a whole cache";
    for (const std::string& file : dumpedFiles(fake)) EXPECT_FALSE(fs::exists(file)) << file;
    fake.injectFault("");
    EXPECT_TRUE(started.sample()) << row.fault;
  }
}

// One process answers pass after pass; a failed answer, a long idle wait, another start line
// (another cache) or its last answer (here the third) gets a new one.
TEST(ToolShellLifetime, OneProcessAnswersUntilItFailsIdlesTooLongAnotherLineStartsItOrItRetires) {
  const struct {
    const char* step;
    const char* answerFault;
    const char* line;
    int idleLimitSec;
    int waitMs;  // before asking
    ShellEnd end;
    std::size_t processes;  // started so far
  } steps[] = {
      {"first answer", "", "exec ipmitool shell 2>&1", 0, 0, ShellEnd::Answered, 1},
      {"second answer, same process", "", "exec ipmitool shell 2>&1", 0, 0, ShellEnd::Answered, 1},
      {"the process dies answering", "exit 3", "exec ipmitool shell 2>&1", 0, 0, ShellEnd::Exited, 1},
      {"a new process answers", "", "exec ipmitool shell 2>&1", 0, 0, ShellEnd::Answered, 2},
      {"within the idle limit", "", "exec ipmitool shell 2>&1", 60, 0, ShellEnd::Answered, 2},
      {"past the idle limit", "", "exec ipmitool shell 2>&1", 1, 1100, ShellEnd::Answered, 3},
      {"another line", "", "exec ipmitool -c shell 2>&1", 0, 0, ShellEnd::Answered, 4},
      {"its second answer", "", "exec ipmitool -c shell 2>&1", 0, 0, ShellEnd::Answered, 4},
      {"its third answer", "", "exec ipmitool -c shell 2>&1", 0, 0, ShellEnd::Answered, 4},
      {"retired", "", "exec ipmitool -c shell 2>&1", 0, 0, ShellEnd::Answered, 5},
  };
  test::FakeIpmitool fake;
  volatile bool stop = false;
  ToolShell shell(stop, 3);
  for (const auto& step : steps) {
    fake.injectShellFault(step.answerFault);
    std::this_thread::sleep_for(std::chrono::milliseconds(step.waitMs));
    const ShellRun run = shell.ask(step.line, "sensor", 30, std::chrono::seconds(step.idleLimitSec));
    EXPECT_EQ(run.end, step.end) << step.step;
    EXPECT_EQ(run.output, step.end == ShellEnd::Answered ? test::readFile(test::fixturePath("small-server", "compact.txt"))
                                                         : "")
        << step.step;
    EXPECT_EQ(shellStarts(fake), static_cast<long>(step.processes)) << step.step;
  }
}

// An answer that holds no sensor (a message of the tool instead) is a failed run, and the next
// pass asks a new process.
TEST(ToolShellAnswer, WithoutSensorsIsAFailedRunAndTheProcessIsReplaced) {
  test::FakeIpmitool fake;
  test::LogRecorder log;
  StartedCollector started(cachedSampling());
  ASSERT_TRUE(started.started);
  fake.replaySdrListing("header read 4 bytes, expected 5\n");
  EXPECT_FALSE(started.sample());
  EXPECT_TRUE(log.contains("[ipmitool collector] Failed to retrieve data from ipmitool sensors.", VTR_LOG_ERR));
  fake.replaySdrListing(test::readFile(test::fixturePath("small-server", "sdr-elist.txt")));
  EXPECT_TRUE(started.sample());
  EXPECT_EQ(callsStartingWith(fake, "-S ").size(), 2u);
  EXPECT_EQ(dumpedFiles(fake).size(), 1u) << "the cache stays";
}

// Between samples a tool process reading a LAN BMC is asked for the BMC's device ID, which keeps
// its session; one that answers anything else is ended, and one reading the local BMC is left
// alone (it has no session to lose).
TEST(ToolShellSession, IsKeptBetweenSamplesForALanBmcWhileItAnswersTheDeviceId) {
  const struct {
    const char* name;
    const char* bmcHost;
    const char* deviceId;  // what the tool answers; nullptr: the simulator's ID
    std::size_t idRequests;
    long shellStarts;  // after the next sample
  } cases[] = {
      {"local BMC", "", nullptr, 0, 1},
      {"LAN BMC answering its ID", "127.0.0.1", nullptr, 1, 1},
      {"LAN BMC refusing", "127.0.0.1", "Unable to send RAW command (channel=0x0 netfn=0x6 lun=0x0 cmd=0x1)\n", 1, 2},
      {"LAN BMC answering nothing", "127.0.0.1", "", 1, 2},
  };
  for (const auto& c : cases) {
    test::FakeIpmitool fake;
    if (c.deviceId != nullptr) std::ofstream(fake.directory() + "/device-id.txt") << c.deviceId;
    CollectorOptions options = cachedSampling();
    options.remoteBmc.host = c.bmcHost;
    StartedCollector started(options);
    ASSERT_TRUE(started.started) << c.name;
    ASSERT_TRUE(started.sample()) << c.name;
    started.collector.keepToolShellSession();
    EXPECT_TRUE(started.sample()) << c.name;
    EXPECT_EQ(callsStartingWith(fake, "shell: raw 0x06 0x01").size(), c.idRequests) << c.name;
    EXPECT_EQ(shellStarts(fake), c.shellStarts) << c.name;
  }
}

// The simulated server changed through its console between passes: each change reads through
// the cache, in the one tool process, as the default mode reads it (value, status, health).
TEST(CachedSamplingOfTheSimulator, ReadsEachChangeAsTheDefaultMode) {
  test::SimServer sim("degraded", true);
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  CollectorOptions options = cachedSampling();
  options.remoteBmc = sim.remoteBmc();
  StartedCollector cached(options);
  options.cachedSampling = false;
  StartedCollector verbose(options);
  ASSERT_TRUE(cached.started && verbose.started);
  const auto sample = [](StartedCollector& started) {
    SensorSample out;
    EXPECT_TRUE(started.collector.getSensorsData(out));
    return out;
  };
  const char* changes[] = {
      "",  // as it starts
      "'PS2 Status' --deassert 1 --deassert 3",
      "0x40 --deassert 1 --assert 0",
      "FAN3B --reading 5400",
      "12V --reading 13.5",
      "VBAT --reading 3.3",
  };
  for (const char* change : changes) {
    if (*change != '\0') {
      const test::ShellResult set = test::runShell(std::string(VTR_SOURCE_DIR) + "/sim/set-sensor --profile degraded " +
                                                   "--console-port " + std::to_string(sim.consolePort()) + " " +
                                                   change + " 2>&1");
      ASSERT_EQ(set.exitCode, 0) << change << ": " << set.output;
    }
    const SensorSample fromCache = sample(cached);
    const SensorSample fromListing = sample(verbose);
    ASSERT_EQ(fromCache.size(), fromListing.size());
    for (std::size_t i = 0; i < fromCache.size(); ++i) {
      const std::string& field = cached.collector.fields()[i].name;
      EXPECT_EQ(fromCache[i].text, fromListing[i].text) << change << ": " << field;
      EXPECT_EQ(fromCache[i].status, fromListing[i].status) << change << ": " << field;
      EXPECT_EQ(fromCache[i].health.state, fromListing[i].health.state) << change << ": " << field;
      EXPECT_EQ(fromCache[i].health.thresholds, fromListing[i].health.thresholds) << change << ": " << field;
      EXPECT_EQ(fromCache[i].health.asserted.bits(), fromListing[i].health.asserted.bits()) << change << ": " << field;
    }
  }
}

// A host that dies without destroying the provider takes its tool shell along: the real tool's
// shell would otherwise spin on its ended input for good.
TEST(ToolShellOfADeadHost, GoesWithIt) {
  test::FakeIpmitool fake;  // the host is a fork of this process, so it uses this fake tool
  fake.injectFault("echo $$ >>\"$dir/pids\"; exec sleep 3600");  // no prompt, and no end of its own
  const auto dieWhileAsking = [] {
    volatile bool stop = false;
    IpmitoolCollector collector(CollectorConfig(CollectorOptions()), stop);
    std::thread([] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      _exit(0);
    }).detach();
    std::string answer;
    collector.askToolShell("ipmitool shell", "sdr elist", answer);
  };
  EXPECT_EXIT(dieWhileAsking(), ::testing::ExitedWithCode(0), "");
  const std::string pid = test::readFile(fake.directory() + "/pids");
  ASSERT_FALSE(pid.empty());
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (fs::exists("/proc/" + pid.substr(0, pid.find('\n'))) && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(fs::exists("/proc/" + pid.substr(0, pid.find('\n')))) << "the tool shell outlived its host";
}

// Root's processes are beyond this process's kill: each pass is a run of its own under sudo,
// bound by `timeout`, reading the cache the dump made.
TEST(CachedSamplingUnderSudo, RunsOneTimeLimitedListingPerPass) {
  test::FakeIpmitool fake;
  const std::string sudo = fake.directory() + "/sudo";
  std::ofstream(sudo) << "#!/bin/sh\nprintf '%s\\n' \"$*\" >>\"$(dirname \"$0\")/sudo.log\"\nexec \"$@\"\n";
  ASSERT_EQ(chmod(sudo.c_str(), 0755), 0);
  CollectorOptions options = cachedSampling();
  options.commandTimeout = 7;
  options.useSudo = true;
  StartedCollector started(options);
  ASSERT_TRUE(started.started);
  EXPECT_TRUE(started.sample());
  EXPECT_TRUE(started.sample());
  const std::string file = dumpedFiles(fake).at(0);
  EXPECT_EQ(test::readFile(fake.directory() + "/sudo.log"),
            "timeout 7 ipmitool sensor\ntimeout 7 ipmitool sensor -v\ntimeout 7 ipmitool sdr dump " +
                file + "\ntimeout 7 ipmitool -S " + file + " -c sdr elist\ntimeout 7 ipmitool -S " + file +
                " -c sdr elist\n");
  EXPECT_TRUE(callsStartingWith(fake, "shell").empty());
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
