// The provider as a host meets it: the built library loaded with dlopen, its C record driven
// by vtr-host's own session, the fake tool first in PATH.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <thread>

#include "runtime/clock.h"
#include "runtime/dict.h"
#include "runtime/logger.h"
#include "support/fake_ipmitool.h"
#include "support/hosted_provider.h"
#include "support/log_capture.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

constexpr auto kWaitLimit = std::chrono::seconds(60);

// The library's own entry points, found the way a host finds them.
template <typename F>
F exported(const char* name) {
  static void* library = dlopen(VTR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  return reinterpret_cast<F>(library != nullptr ? dlsym(library, name) : nullptr);
}

LogRecorder::SetLogFunc librarySetLogFunc() { return exported<LogRecorder::SetLogFunc>("vtr_set_log_func"); }

// construct_event_provider over a dictionary of `options`, which it reads only then.
vtr_event_provider_t* construct(const Options& options) {
  vtr_custom_options* dict = exported<decltype(&vtr_dict_create)>("vtr_dict_create")();
  for (const auto& [key, value] : options) exported<decltype(&vtr_dict_add)>("vtr_dict_add")(dict, key.c_str(), value.c_str());
  vtr_event_provider_t* record = exported<decltype(&construct_event_provider)>("construct_event_provider")(dict);
  exported<decltype(&vtr_dict_delete)>("vtr_dict_delete")(dict);
  return record;
}

bool waitForToolRuns(const FakeIpmitool& fake, size_t runs) {
  const auto deadline = std::chrono::steady_clock::now() + kWaitLimit;
  while (fake.recordedCalls().size() < runs)
    if (std::chrono::steady_clock::now() > deadline) return false;
    else std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return true;
}

TEST(ProviderLibrary, RecordNamesTheProviderAndOnlyCSymbolsAreExported) {
  const vtr_event_provider_t* record = construct({});
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->version, 1u);
  EXPECT_STREQ(record->name, "ipmitool");
  EXPECT_STREQ(record->description, "ipmitool sensor event provider");
  EXPECT_TRUE(record->initialize && record->start && record->progress && record->stop && record->destroy &&
              record->get_sources && record->fill_record);
  const ShellResult symbols = runShell("nm -D --defined-only " + shellQuote(VTR_PROVIDER_LIBRARY));
  ASSERT_EQ(symbols.exitCode, 0);
  EXPECT_NE(symbols.output.find(" construct_event_provider\n"), std::string::npos);
  EXPECT_NE(symbols.output.find(" vtr_register_logger\n"), std::string::npos);
  EXPECT_EQ(symbols.output.find(" _Z"), std::string::npos) << "C++ symbols exported";
}

// Dictionary, then VTR_-prefixed environment, then the bare name, then the default; texts that
// do not convert give the default. Each value read is logged as the provider keeps it.
TEST(ProviderOptions, EachOptionComesFromTheFirstSourceThatConverts) {
  struct Case {
    const char* key;
    const char* dictionary;  // null: not in the dictionary
    const char* prefixedEnv;
    const char* bareEnv;
    const char* logged;
  };
  const Case cases[] = {
      {"ipmitool-sample-interval-sec", "5", "6", "7", "5"},
      {"ipmitool-sample-interval-sec", nullptr, "6", "7", "6"},
      {"ipmitool-sample-interval-sec", nullptr, nullptr, "7", "7"},
      {"ipmitool-sample-interval-sec", nullptr, nullptr, nullptr, "30"},
      {"ipmitool-sample-interval-sec", "soon", "6", "7", "30"},
      {"ipmitool-sample-interval-sec", "+15", nullptr, nullptr, "15"},
      {"ipmitool-sample-interval-sec", "4294967296", nullptr, nullptr, "30"},
      {"ipmitool-sample-interval-sec", "-1", nullptr, nullptr, "4294967295"},
      {"ipmitool-sample-interval-sec", nullptr, "12abc", nullptr, "30"},
      {"ipmitool-command-timeout", "12", nullptr, nullptr, "12"},
      {"ipmitool-command-timeout", nullptr, nullptr, nullptr, "30"},
      {"ipmitool-use-sudo", "True", nullptr, nullptr, "true"},
      {"ipmitool-use-sudo", "T", nullptr, nullptr, "true"},
      {"ipmitool-use-sudo", "yes", nullptr, nullptr, "false"},
      {"ipmitool-use-sudo", "TRUE", nullptr, nullptr, "false"},
      {"ipmitool-include-discrete-sensors", nullptr, "1", nullptr, "true"},
      {"ipmitool-include-discrete-sensors", nullptr, nullptr, nullptr, "false"},
      {"ipmitool-include-continuous-sensors", "F", nullptr, nullptr, "false"},
      {"ipmitool-include-continuous-sensors", nullptr, nullptr, nullptr, "true"},
      {"ipmitool-include-empty-fields", nullptr, nullptr, "true", "true"},
      {"ipmitool-include-empty-fields", nullptr, nullptr, nullptr, "false"},
      {"ipmitool-invalid-sensor-values", "N/A,,disabled", nullptr, nullptr, "N/A,,disabled"},
      {"ipmitool-invalid-sensor-values", nullptr, nullptr, nullptr, ""},
      {"ipmitool-single-run-sampling", nullptr, "true", nullptr, "true"},
      {"ipmitool-single-run-sampling", nullptr, nullptr, nullptr, "false"},
  };
  for (const Case& c : cases) {
    std::string env = c.key;
    for (char& ch : env) ch = ch == '-' ? '_' : static_cast<char>(toupper(ch));
    const auto setOrUnset = [](const std::string& name, const char* value) {
      value != nullptr ? setenv(name.c_str(), value, 1) : unsetenv(name.c_str());
    };
    setOrUnset("VTR_" + env, c.prefixedEnv);
    setOrUnset(env, c.bareEnv);
    LogRecorder log(librarySetLogFunc(), VTR_LOG_INFO);
    construct(c.dictionary != nullptr ? Options{{c.key, c.dictionary}} : Options{});
    const std::string line = std::string("[ipmitool] [construct_event_provider] '") + c.key + "' is set to '" + c.logged + "'.";
    EXPECT_TRUE(log.contains(VTR_LOG_INFO, line)) << line;
    setOrUnset("VTR_" + env, nullptr);
    setOrUnset(env, nullptr);
  }
}

TEST(ProviderOptions, ConflictingEnvironmentAndLongTimeoutAreWarnedAbout) {
  setenv("VTR_IPMITOOL_USE_SUDO", "1", 1);
  setenv("IPMITOOL_USE_SUDO", "0", 1);
  LogRecorder log(librarySetLogFunc());
  construct({{"ipmitool-command-timeout", "299"}});
  EXPECT_EQ(log.countContaining("exceeds 5 minutes"), 0u);
  construct({{"ipmitool-command-timeout", "300"}});
  EXPECT_EQ(log.countContaining("[ipmitool] [construct_event_provider] 'ipmitool-command-timeout' exceeds 5 minutes."), 1u);
  EXPECT_TRUE(log.contains(VTR_LOG_INFO, "[ipmitool] [construct_event_provider] 'ipmitool-use-sudo' is set to 'true'."));
  EXPECT_GE(log.countContaining("Environment variables conflict - VTR_IPMITOOL_USE_SUDO=1 and IPMITOOL_USE_SUDO=0"), 1u);
  unsetenv("VTR_IPMITOOL_USE_SUDO");
  unsetenv("IPMITOOL_USE_SUDO");
}

TEST(ProviderLifecycle, StopBeforeStartOrTwiceSucceedsAndTheSourceIsTheHost) {
  setenv("VTR_SOURCE_ID", "rack7-node3", 1);
  vtr_event_provider_t* record = construct({});
  EXPECT_TRUE(record->stop(record));
  EXPECT_TRUE(record->stop(record));
  vtr_source_array_t* sources = record->get_sources(record);
  ASSERT_NE(sources, nullptr);
  ASSERT_EQ(sources->count, 1u);
  EXPECT_STREQ(sources->sources[0]->tag, "ipmitool");
  EXPECT_STREQ(sources->sources[0]->id, "rack7-node3");
  exported<decltype(&vtr_destroy_source_array)>("vtr_destroy_source_array")(sources);
}

// Each failure is one error line; the provider is left destroyed, and a host that destroys it
// again does no harm.
TEST(ProviderLifecycle, InitializeFailuresAreReportedOnceAndCleanedUp) {
  const std::string unnamable =
      "Sensor ID              : Temp\n Entity ID             : 3.1\n Sensor Type (Threshold)  : Temperature\n"
      " Sensor Reading        : 45 (+/- 0) degrees C\n\n"
      "Sensor ID              : Temp\n Entity ID             : 3.2\n Sensor Type (Threshold)  : Temperature\n"
      " Sensor Reading        : 41 (+/- 0) degrees C\n\n";
  const struct {
    Options options;
    int exitCode;
    std::string listing;
    int priority;
    const char* error;
  } cases[] = {
      {{}, 1, "", VTR_LOG_ERR, "[ipmitool] [ipmitool_provider_initialize] Failed to create schema for ipmitool provider."},
      {{}, 0, unnamable, VTR_LOG_ERR, "[ipmitool] [ipmitool_provider_initialize] No fields found in ipmitool schema."},
      {{{"ipmitool-include-continuous-sensors", "false"}}, 0, readFile(fixturePath("small-server", "verbose.txt")),
       VTR_LOG_WARNING, "[ipmitool collector] No sensors will be collected since no sensor types are included."},
  };
  for (const auto& c : cases) {
    FakeIpmitool fake;
    fake.replayText(c.listing, "");
    fake.setExitCode(c.exitCode);
    LogRecorder log(librarySetLogFunc());
    vtr_type_system_t* types = exported<decltype(&vtr_create_type_system)>("vtr_create_type_system")();
    vtr_event_provider_t* record = construct(c.options);
    EXPECT_FALSE(record->initialize(record, types)) << c.error;
    EXPECT_EQ(types->num_schemas, 0u) << c.error;
    EXPECT_EQ(log.count(c.priority, c.error), 1u);
    record->destroy(record);
    exported<decltype(&vtr_destroy_type_system)>("vtr_destroy_type_system")(types);
  }
}

// Back-to-back passes while the host polls as fast as it can: every event is whole (the same
// readings) and they come in time order.
TEST(ProviderSampling, ProgressRacingTheSamplingThreadGetsWholeEventsInOrder) {
  FakeIpmitool fake;
  LogRecorder log(librarySetLogFunc());
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "0"}});
  hosted.start();
  std::vector<HostedProvider::Event> events;
  const auto deadline = std::chrono::steady_clock::now() + kWaitLimit;
  while (events.size() < 10 && std::chrono::steady_clock::now() < deadline)
    for (auto& event : hosted.progressOnce()) events.push_back(event);
  ASSERT_GE(events.size(), 10u);
  for (size_t i = 1; i < events.size(); ++i) {
    EXPECT_LT(events[i - 1].timestampUs, events[i].timestampUs);
    EXPECT_EQ(events[i].json.substr(events[i].json.find(",")), events[0].json.substr(events[0].json.find(",")));
  }
  EXPECT_NE(events[0].json.find("\"cpu1_vcore\":1.05"), std::string::npos) << events[0].json;
  EXPECT_GE(log.countContaining("Data collection exceeded the sample interval."), 1u);
}

// The pass's time is taken before the tool runs: each run of this tool takes at least a
// second, and a pass runs it once (discrete sensors are off).
TEST(ProviderSampling, EventTimeIsTakenBeforeTheToolRuns) {
  FakeIpmitool fake;
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "1"}});
  fake.setSleepSeconds(1);
  hosted.start();
  const HostedProvider::Event event = hosted.nextEvent(kWaitLimit);
  const uint64_t arrivedUs = vtr_now_us();
  ASSERT_FALSE(event.json.empty());
  EXPECT_GE(arrivedUs - event.timestampUs, 1000000u);
}

// Only one event is kept: after several passes one progress call hands over one event, and a
// host buffer too small for it leaves it for the next call.
TEST(ProviderSampling, OneEventIsBufferedAndWaitsForRoom) {
  FakeIpmitool fake;
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "0"}});
  const size_t runs = fake.recordedCalls().size();
  hosted.start();
  ASSERT_TRUE(waitForToolRuns(fake, runs + 7));
  int result = 0;
  EXPECT_TRUE(hosted.progressOnce(16, &result).empty());
  EXPECT_EQ(result, 1) << "the event waits for room";
  EXPECT_EQ(hosted.progressOnce().size(), 1u);
}

// A failing tool drops the undrained event, is reported at most once per ten seconds, and the
// first pass after it recovers yields events again.
// Both sampling modes, each in a process of its own (the rate-limit clocks are process-wide).
class ProviderSamplingModes : public ::testing::TestWithParam<bool> {
 protected:
  Options withMode(Options options) const {
    options.emplace_back("ipmitool-single-run-sampling", GetParam() ? "true" : "false");
    return options;
  }
};

TEST_P(ProviderSamplingModes, FailingToolDropsTheEventIsReportedRateLimitedAndRecovers) {
  FakeIpmitool fake;
  LogRecorder log(librarySetLogFunc());
  HostedProvider hosted(withMode({{"ipmitool-sample-interval-sec", "0"}}));
  const auto started = std::chrono::steady_clock::now();
  hosted.start();
  ASSERT_TRUE(waitForToolRuns(fake, fake.recordedCalls().size() + 2));
  fake.setExitCode(1);
  ASSERT_TRUE(waitForToolRuns(fake, fake.recordedCalls().size() + 6));
  EXPECT_TRUE(hosted.progressOnce().empty());
  const auto elapsedSec = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - started).count();
  const size_t failures = log.count(VTR_LOG_ERR, "[ipmitool] [ipmitool_provider_generate_events] Failed to retrieve ipmitool sensor data.");
  EXPECT_GE(failures, 1u);
  EXPECT_LE(failures, 1u + static_cast<size_t>(elapsedSec) / 10);
  fake.setExitCode(0);
  EXPECT_FALSE(hosted.nextEvent(kWaitLimit).json.empty());
}

// The fields are fixed at start-up: a reading whose notation changed since (decimal to
// hexadecimal) and a sensor that is gone have no reading (null), and a sensor that appeared is
// not published. Single-run sampling counts the two unmatched sensors in one warning.
TEST_P(ProviderSamplingModes, LaterReadingsAreCheckedAgainstTheFieldsOfStartUp) {
  FakeIpmitool fake;
  LogRecorder log(librarySetLogFunc());
  HostedProvider hosted(withMode({{"ipmitool-sample-interval-sec", "1"}}));
  std::string listing = readFile(fixturePath("small-server", "verbose.txt"));
  std::string table = readFile(fixturePath("small-server", "compact.txt"));
  for (const auto& [from, to] : {std::pair<std::string, std::string>{"45 (+/- 0) degrees C", "0x2d"},
                                 {"FAN2 (0x7)", "FAN9 (0x7)"}, {"45.000     |", "0x2d       |"},
                                 {"FAN2             |", "FAN9             |"}}) {
    std::string& text = from.find('|') != std::string::npos ? table : listing;
    text.replace(text.find(from), from.size(), to);
  }
  fake.replayText(listing, table);
  hosted.start();
  const std::string json = hosted.nextEvent(kWaitLimit).json;
  for (const char* part : {"\"cpu1_temp\":null,", "\"fan2\":null,", "\"fan1\":5400,"})
    EXPECT_NE(json.find(part), std::string::npos) << part << " in " << json;
  EXPECT_EQ(json.find("fan9"), std::string::npos) << json;
  EXPECT_EQ(log.count(VTR_LOG_WARNING, "[ipmitool collector] 2 sensors of 'ipmitool sensor' did not match the sensors "
                                       "read at start-up; their fields are left out of the sample."),
            GetParam() ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Modes, ProviderSamplingModes, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "SingleRun" : "Default"; });

// The tool hangs; its time limit ends the run, so stopping (the session's end) returns. The
// wait is bounded by the test's own time limit.
TEST(ProviderSampling, StopDuringAHungToolRunReturns) {
  FakeIpmitool fake;
  HostedProvider hosted(Options{{"ipmitool-command-timeout", "1"}, {"ipmitool-sample-interval-sec", "1"}});
  const size_t runs = fake.recordedCalls().size();
  fake.hang();
  hosted.start();
  ASSERT_TRUE(waitForToolRuns(fake, runs + 1));
  EXPECT_TRUE(hosted.progressOnce().empty()) << "the hung run yields no event";
}

// Fails only in the AddressSanitizer run, whose LeakSanitizer sees any descriptor, name or
// buffer that destroy leaves behind.
TEST(ProviderLeakCheck, DestroyFreesEveryFieldDescriptor) {
  FakeIpmitool fake("two-socket");
  HostedProvider hosted(Options{{"ipmitool-include-discrete-sensors", "true"}});
  EXPECT_GT(hosted.eventType().num_fields, 60);
}

// A host that keeps the library mapped can construct the provider again after destroying it;
// a stopped provider started again without a new construct does not sample.
TEST(ProviderLifecycle, ConstructedAgainAfterDestroySamplesAgain) {
  FakeIpmitool fake;
  const Options everyPass{{"ipmitool-sample-interval-sec", "0"}};
  {
    HostedProvider first(everyPass);
    first.start();
    EXPECT_FALSE(first.nextEvent(kWaitLimit).json.empty());
    vtr_event_provider_t* record = first.session().record();
    ASSERT_TRUE(record->stop(record));
    first.progressOnce();
    const size_t runs = fake.recordedCalls().size();
    ASSERT_TRUE(record->start(record));
    EXPECT_TRUE(first.nextEvent(std::chrono::seconds(2)).json.empty());
    ASSERT_TRUE(record->stop(record));
    EXPECT_EQ(fake.recordedCalls().size(), runs);
  }
  HostedProvider second(everyPass);
  second.start();
  EXPECT_FALSE(second.nextEvent(kWaitLimit).json.empty());
}

}  // namespace
}  // namespace test
}  // namespace vtr
