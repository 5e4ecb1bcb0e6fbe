// The provider as a host meets it: the built library loaded with dlopen, its C record driven
// by vtr-host's own session, the fake tool first in PATH.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <sstream>
#include <thread>

#include "runtime/clock.h"
#include "runtime/dict.h"
#include "runtime/logger.h"
#include "support/test_env.h"
#include "support/hosted_provider.h"
#include "support/log_capture.h"

namespace vtr {
namespace test {
namespace {

constexpr auto kWaitLimit = std::chrono::seconds(60);

// construct_event_provider over a dictionary of `options`, which it reads only then.
vtr_event_provider_t* construct(const Options& options) {
  vtr_custom_options* dict = exported<decltype(&vtr_dict_create)>("vtr_dict_create")();
  for (const auto& [key, value] : options) exported<decltype(&vtr_dict_add)>("vtr_dict_add")(dict, key.c_str(), value.c_str());
  vtr_event_provider_t* record = exported<decltype(&construct_event_provider)>("construct_event_provider")(dict);
  exported<decltype(&vtr_dict_delete)>("vtr_dict_delete")(dict);
  return record;
}

// Does `action`, then waits until the tool has run `runs` more times than before it.
void waitForToolRunsAfter(const std::function<void()>& action, const FakeIpmitool& fake, size_t runs) {
  const size_t target = fake.recordedCalls().size() + runs;
  action();
  const auto deadline = std::chrono::steady_clock::now() + kWaitLimit;
  while (fake.recordedCalls().size() < target && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_GE(fake.recordedCalls().size(), target);
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
  const struct {
    const char* key;         // less its "ipmitool-"
    const char* dictionary;  // null: not in the dictionary
    const char* prefixedEnv;
    const char* bareEnv;
    const char* logged;
  } cases[] = {
      {"sample-interval-sec", "5", "6", "7", "5"},           {"sample-interval-sec", nullptr, "6", "7", "6"},
      {"sample-interval-sec", nullptr, nullptr, "7", "7"},   {"sample-interval-sec", nullptr, nullptr, nullptr, "30"},
      {"sample-interval-sec", "soon", "6", "7", "30"},       {"sample-interval-sec", "+15", nullptr, nullptr, "15"},
      {"sample-interval-sec", "4294967296", nullptr, nullptr, "30"},
      {"sample-interval-sec", "-1", nullptr, nullptr, "4294967295"},
      {"sample-interval-sec", nullptr, "12abc", nullptr, "30"}, {"command-timeout", "12", nullptr, nullptr, "12"},
      {"command-timeout", nullptr, nullptr, nullptr, "30"},  {"use-sudo", "True", nullptr, nullptr, "true"},
      {"use-sudo", "T", nullptr, nullptr, "true"},           {"use-sudo", "yes", nullptr, nullptr, "false"},
      {"use-sudo", "TRUE", nullptr, nullptr, "false"},       {"include-discrete-sensors", nullptr, "1", nullptr, "true"},
      {"include-discrete-sensors", nullptr, nullptr, nullptr, "false"},
      {"include-continuous-sensors", "F", nullptr, nullptr, "false"},
      {"include-continuous-sensors", nullptr, nullptr, nullptr, "true"},
      {"single-run-sampling", nullptr, "true", nullptr, "true"},
      {"single-run-sampling", nullptr, nullptr, nullptr, "false"},
      {"cached-sampling", nullptr, nullptr, "1", "true"},      {"cached-sampling", nullptr, nullptr, nullptr, "false"},
      {"include-empty-fields", nullptr, nullptr, "true", "true"}, {"include-empty-fields", nullptr, nullptr, nullptr, "false"},
      {"invalid-sensor-values", "N/A,,disabled", nullptr, nullptr, "N/A,,disabled"},
      {"invalid-sensor-values", nullptr, nullptr, nullptr, ""},
  };
  for (const auto& c : cases) {
    const std::string key = std::string("ipmitool-") + c.key;
    std::string env = key;
    for (char& ch : env) ch = ch == '-' ? '_' : static_cast<char>(toupper(ch));
    const auto setOrUnset = [](const std::string& name, const char* value) {
      value != nullptr ? setenv(name.c_str(), value, 1) : unsetenv(name.c_str());
    };
    setOrUnset("VTR_" + env, c.prefixedEnv);
    setOrUnset(env, c.bareEnv);
    LogRecorder log(exported<LogRecorder::SetLogFunc>("vtr_set_log_func"), VTR_LOG_INFO);
    construct(c.dictionary != nullptr ? Options{{key, c.dictionary}} : Options{});
    const std::string line = "[ipmitool] [construct_event_provider] '" + key + "' is set to '" + c.logged + "'.";
    EXPECT_TRUE(log.contains(line, VTR_LOG_INFO)) << line;
    setOrUnset("VTR_" + env, nullptr);
    setOrUnset(env, nullptr);
  }
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

// A failed initialize leaves the provider destroyed, and a host that destroys it again does no
// harm; what the failure reports is in the golden fixtures tool-fails, unnamable-sensors and
// no-sensor-kinds.
TEST(ProviderLifecycle, DestroyAfterAFailedInitializeIsHarmless) {
  FakeIpmitool fake("tool-fails");
  vtr_type_system_t* types = exported<decltype(&vtr_create_type_system)>("vtr_create_type_system")();
  vtr_event_provider_t* record = construct({});
  EXPECT_FALSE(record->initialize(record, types));
  EXPECT_EQ(types->num_schemas, 0u);
  record->destroy(record);
  exported<decltype(&vtr_destroy_type_system)>("vtr_destroy_type_system")(types);
}

// Back-to-back passes while the host polls as fast as it can: every event is whole (the same
// readings) and they come in time order.
TEST(ProviderSampling, ProgressRacingTheSamplingThreadGetsWholeEventsInOrder) {
  FakeIpmitool fake;
  LogRecorder log(exported<LogRecorder::SetLogFunc>("vtr_set_log_func"));
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
  fake.injectFault("sleep 1");
  hosted.start();
  const HostedProvider::Event event = hosted.nextEvent(kWaitLimit);
  const uint64_t arrivedUs = vtr_now_us();
  ASSERT_FALSE(event.json.empty());
  EXPECT_GE(arrivedUs - event.timestampUs, 1000000u);
}

// Single-run sampling matches table rows to the sensors of start-up by name: a renamed row
// leaves its sensor without a reading and is counted, with the sensor, in one warning.
TEST(ProviderSampling, SingleRunCountsTheSensorsItCouldNotMatchInOneWarning) {
  FakeIpmitool fake;
  LogRecorder log(exported<LogRecorder::SetLogFunc>("vtr_set_log_func"));
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "1"}, {"ipmitool-single-run-sampling", "true"}});
  std::string table = readFile(fixturePath("small-server", "compact.txt"));
  const std::string row = "FAN2             |";
  table.replace(table.find(row), row.size(), "FAN9             |");
  fake.replayText(readFile(fixturePath("small-server", "verbose.txt")), table);
  hosted.start();
  const std::string json = hosted.nextEvent(kWaitLimit).json;
  EXPECT_NE(json.find("\"fan2\":null,"), std::string::npos) << json;
  EXPECT_EQ(log.count("[ipmitool collector] 2 sensors of 'ipmitool sensor' did not match the sensors read at start-up; "
                      "their fields are left out of the sample.",
                      VTR_LOG_WARNING),
            1u);
}

// Only one event is kept: after several passes one progress call hands over one event, and a
// host buffer too small for it leaves it for the next call.
TEST(ProviderSampling, OneEventIsBufferedAndWaitsForRoom) {
  FakeIpmitool fake;
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "0"}});
  ASSERT_NO_FATAL_FAILURE(waitForToolRunsAfter([&] { hosted.start(); }, fake, 7));
  int result = 0;
  EXPECT_TRUE(hosted.progressOnce(16, &result).empty());
  EXPECT_EQ(result, 1) << "the event waits for room";
  EXPECT_EQ(hosted.progressOnce().size(), 1u);
}

// Each event handed over keeps the statuses of its own pass, found by its timestamp: a field
// read in an earlier event stays read there after a later pass lost its sensor.
TEST(ProviderSampling, EachHandedOverEventKeepsItsOwnFieldStatuses) {
  FakeIpmitool fake;
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "1"}, {"ipmitool-include-discrete-sensors", "true"}});
  hosted.start();
  const HostedProvider::Event whole = hosted.nextEvent(kWaitLimit);
  ASSERT_NE(whole.json.find("\"fan2\":"), std::string::npos) << whole.json;
  fake.replayText(readFile(fixturePath("later-readings", "verbose-later.txt")),
                  readFile(fixturePath("later-readings", "compact-later.txt")));
  HostedProvider::Event partial;
  for (int event = 0; event < 3 && partial.json.find("\"fan2\":null") == std::string::npos; ++event)
    partial = hosted.nextEvent(kWaitLimit);
  ASSERT_NE(partial.json.find("\"fan2\":null"), std::string::npos) << partial.json;

  const auto statusOf = exported<vtr_ipmitool_event_field_status_fn>("vtr_ipmitool_event_field_status");
  const int fields = hosted.eventType().num_fields;
  const auto statuses = [&](uint64_t timestampUs) {
    std::vector<uint8_t> out(static_cast<size_t>(fields), 0);
    EXPECT_EQ(statusOf(hosted.session().record(), timestampUs, out.data(), out.size()), fields);
    return std::vector<int>(out.begin(), out.end());
  };
  EXPECT_EQ(statuses(whole.timestampUs), std::vector<int>(static_cast<size_t>(fields), VTR_FIELD_READ));
  const std::vector<int> later = statuses(partial.timestampUs);
  EXPECT_EQ(std::count(later.begin(), later.end(), VTR_FIELD_MISSING), 5) << "CPU1, CPU2 and Inlet Temp, FAN2, PS1";
  EXPECT_EQ(statusOf(hosted.session().record(), whole.timestampUs + 1, nullptr, 0), -1) << "no such event";
}

// A failing tool drops the undrained event, is reported at most once per ten seconds, and the
// first pass after it recovers yields events again.
TEST(ProviderSampling, FailingToolDropsTheEventIsReportedRateLimitedAndRecovers) {
  FakeIpmitool fake;
  LogRecorder log(exported<LogRecorder::SetLogFunc>("vtr_set_log_func"));
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "0"}});
  const auto started = std::chrono::steady_clock::now();
  ASSERT_NO_FATAL_FAILURE(waitForToolRunsAfter([&] { hosted.start(); }, fake, 2));
  ASSERT_NO_FATAL_FAILURE(waitForToolRunsAfter([&] { fake.setExitCode(1); }, fake, 6));
  EXPECT_TRUE(hosted.progressOnce().empty());
  const auto elapsedSec = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - started).count();
  const size_t failures = log.count("[ipmitool] [ipmitool_provider_generate_events] Failed to retrieve ipmitool sensor data.", VTR_LOG_ERR);
  EXPECT_GE(failures, 1u);
  EXPECT_LE(failures, 1u + static_cast<size_t>(elapsedSec) / 10);
  fake.setExitCode(0);
  EXPECT_FALSE(hosted.nextEvent(kWaitLimit).json.empty());
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

TEST(ProviderLifecycle, StopEndsThePauseBetweenPassesAtOnce) {
  FakeIpmitool fake;
  HostedProvider hosted(Options{{"ipmitool-sample-interval-sec", "600"}});
  ASSERT_NO_FATAL_FAILURE(waitForToolRunsAfter([&] { hosted.start(); }, fake, 1));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // into the pause
  const auto started = std::chrono::steady_clock::now();
  vtr_event_provider_t* record = hosted.session().record();
  EXPECT_TRUE(record->stop(record));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30)) << "the pause is 600 s";
}

}  // namespace
}  // namespace test
}  // namespace vtr
