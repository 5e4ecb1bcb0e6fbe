// Every tests/fixtures/<case>/ holding an expected.json: the fake tool replays the case's
// listings (and exit code) to the library as vtr-host loads and drives it; from the first pass
// on it replays the case's verbose-later.txt, compact-later.txt and sdr-elist-later.txt where
// it has them. Each case runs three times, by default, with single-run sampling and with cached
// sampling, against the same expected.json (unless a not-in-single-run-sampling or
// not-in-cached-sampling file says why not). The event type's fields with the sensor
// facts hosts get for each, the warnings and errors of construction and initialisation, the
// first event (as vtr-host prints it, less its varying timestamp and source), the status of
// each field without a reading and the health of each sensor that is not nominal must match.
// Some of those warnings are rate-limited process-wide,
// so each case needs a process of its own. VTR_WRITE_GOLDEN=1 writes expected.json from what
// the library does instead: review it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include "json/parson.h"
#include "support/test_env.h"
#include "support/hosted_provider.h"
#include "support/log_capture.h"
#include "support/sim_server.h"

namespace vtr {
namespace test {
namespace {

using Json = std::unique_ptr<JSON_Value, decltype(&json_value_free)>;

std::vector<std::string> goldenCases() {
  std::vector<std::string> cases;
  for (const auto& entry : std::filesystem::directory_iterator(VTR_TEST_FIXTURES_DIR))
    if (std::filesystem::exists(entry.path() / "expected.json")) cases.push_back(entry.path().filename());
  std::sort(cases.begin(), cases.end());
  return cases;
}

// The case's options.txt (KEY=VALUE lines); a short interval, so that stopping is quick.
Options caseOptions(const std::string& fixtureCase) {
  Options options{{"ipmitool-sample-interval-sec", "1"}};
  std::ifstream in(fixturePath(fixtureCase, "options.txt"));
  for (std::string line; std::getline(in, line);)
    if (const auto equals = line.find('='); equals != std::string::npos)
      options.emplace_back(line.substr(0, equals), line.substr(equals + 1));
  return options;
}

std::string pretty(const JSON_Value* value) {
  char* text = json_serialize_to_string_pretty(value);
  std::string result = text != nullptr ? text : "(not JSON)";
  json_free_serialized_string(text);
  return result;
}

// By vtr_field_status_t: what a field holds instead of a reading.
const char* const kStatusNames[] = {"?", "read", "missing", "not convertible", "empty-field default"};

const char* const kHealthNames[] = {"nominal", "warning", "critical", "unknown"};

// {field: {"state", "thresholds" of a threshold sensor, "asserted" state names of a discrete
// one}} for every field of the event whose sensor is not nominal. The status text is left out:
// each listing words it its own way.
JSON_Value* sensorsNotNominal(const host::PluginApi& api, vtr_event_provider_t* record,
                              const vtr_type_definition_t& type, uint64_t eventTimeUs) {
  std::vector<vtr_ipmitool_field_health_t> health(type.num_fields);
  EXPECT_EQ(api.event_field_health(record, eventTimeUs, health.data(), health.size()), type.num_fields);
  JSON_Value* fields = json_value_init_object();
  for (int32_t i = 1; i < type.num_fields; ++i) {
    if (health[i].health == VTR_HEALTH_NOMINAL) continue;
    JSON_Object* field = json_object(json_value_init_object());
    json_object_set_string(field, "state", kHealthNames[health[i].health < 4 ? health[i].health : 3]);
    const vtr_ipmitool_state_t* states = nullptr;
    if (api.discrete_states(record, static_cast<size_t>(i), &states) > 0) {
      JSON_Value* asserted = json_value_init_array();
      for (int offset = 0; offset < 15; ++offset)
        if (health[i].asserted & (1u << offset)) json_array_append_string(json_array(asserted), states[offset].name);
      json_object_set_value(field, "asserted", asserted);
    } else {
      JSON_Value* thresholds = json_value_init_array();
      for (double threshold : health[i].thresholds) {
        if (std::isnan(threshold)) json_array_append_null(json_array(thresholds));
        else json_array_append_number(json_array(thresholds), threshold);
      }
      json_object_set_value(field, "thresholds", thresholds);
    }
    json_object_set_value(json_object(fields), type.fields[i]->field_name, json_object_get_wrapping_value(field));
  }
  return fields;
}

// {"initialize_log": [...], "fields": [{name, type, description, order}...] or null,
//  "event": {...} or null, "without_reading": {field: status...}, "not_nominal": {...}} of one
//  provider run.
Json observe(const Options& options, const std::function<void()>& afterInitialize) {
  Json result(json_value_init_object(), json_value_free);
  JSON_Object* out = json_object(result.get());
  std::unique_ptr<HostedProvider> hosted;
  {
    LogRecorder log(exported<LogRecorder::SetLogFunc>("vtr_set_log_func"), VTR_LOG_WARNING);
    try {
      hosted = std::make_unique<HostedProvider>(options);
    } catch (const host::HostError&) {
    }
    JSON_Value* lines = json_value_init_array();
    for (const CapturedLine& line : log.all()) json_array_append_string(json_array(lines), line.text.c_str());
    json_object_set_value(out, "initialize_log", lines);
  }
  json_object_set_null(out, "fields");
  json_object_set_null(out, "event");
  if (!hosted) return result;

  JSON_Value* fields = json_value_init_array();
  const vtr_type_definition_t& type = hosted->eventType();
  vtr_event_provider_t* record = hosted->session().record();
  const vtr_ipmitool_sensor_facts_t* facts = nullptr;
  EXPECT_EQ(hosted->api().sensor_facts(record, &facts), type.num_fields);
  for (int32_t i = 0; i < type.num_fields; ++i) {
    JSON_Object* field = json_object(json_value_init_object());
    json_object_set_string(field, "name", type.fields[i]->field_name);
    json_object_set_string(field, "type", type.fields[i]->type_name);
    json_object_set_string(field, "description", type.fields[i]->description);
    json_object_set_number(field, "order", i);
    if (facts != nullptr && facts[i].kind != VTR_SENSOR_KIND_NONE) {
      EXPECT_STREQ(facts[i].field_name, type.fields[i]->field_name);
      JSON_Value* sensor = json_value_init_object();
      json_object_set_string(json_object(sensor), "name", facts[i].sensor_name);
      json_object_set_number(json_object(sensor), "number", facts[i].sensor_number);
      json_object_set_string(json_object(sensor), "entity", facts[i].entity);
      json_object_set_string(json_object(sensor), "type", facts[i].sensor_type);
      json_object_set_string(json_object(sensor), "unit", facts[i].unit);
      const bool discrete = facts[i].kind == VTR_SENSOR_KIND_DISCRETE;
      json_object_set_string(json_object(sensor), "kind", discrete ? "discrete" : "threshold");
      json_object_set_value(field, "sensor", sensor);
    }
    json_array_append_value(json_array(fields), json_object_get_wrapping_value(field));
  }
  json_object_set_value(out, "fields", fields);
  EXPECT_EQ(hosted->api().field_status(record, nullptr, 0), -1) << "nothing handed over yet";
  afterInitialize();
  hosted->start();
  const HostedProvider::Event event = hosted->nextEvent();
  if (JSON_Value* json = json_parse_string(event.json.c_str())) {
    json_object_remove(json_object(json), "timestamp");
    json_object_remove(json_object(json), "source");
    json_object_set_value(out, "event", json);
  }
  const vtr_ipmitool_sensor_facts_t* again = nullptr;
  EXPECT_EQ(hosted->api().sensor_facts(record, &again), type.num_fields);
  EXPECT_EQ(again, facts) << "the facts stay where they are until destroy";
  EXPECT_EQ(hosted->api().sensor_facts(nullptr, &again), -1);
  std::vector<uint8_t> statuses(type.num_fields);
  EXPECT_EQ(hosted->api().field_status(record, statuses.data(), statuses.size()), type.num_fields);
  JSON_Value* withoutReading = json_value_init_object();
  for (int32_t i = 0; i < type.num_fields; ++i)
    if (statuses[i] != VTR_FIELD_READ)
      json_object_set_string(json_object(withoutReading), type.fields[i]->field_name,
                             kStatusNames[statuses[i] < 5 ? statuses[i] : 0]);
  json_object_set_value(out, "without_reading", withoutReading);
  json_object_set_value(out, "not_nominal", sensorsNotNominal(hosted->api(), record, type, event.timestampUs));
  return result;
}

// The sampling modes besides the default, by their option.
Options withMode(Options options, const char* modeOption) {
  options.emplace_back(modeOption, "true");
  return options;
}
Options singleRun(Options options) { return withMode(std::move(options), "ipmitool-single-run-sampling"); }
Options cached(Options options) { return withMode(std::move(options), "ipmitool-cached-sampling"); }

// From the first pass on, the case's later listings where it has them.
void replayLater(FakeIpmitool& fake, const std::string& fixtureCase) {
  const auto later = [&](const std::string& listing) {
    const std::string path = fixturePath(fixtureCase, listing + "-later.txt");
    return readFile(std::filesystem::exists(path) ? path : fixturePath(fixtureCase, listing + ".txt"));
  };
  fake.replayText(later("verbose"), later("compact"));
  if (std::filesystem::exists(fixturePath(fixtureCase, "sdr-elist.txt"))) fake.replaySdrListing(later("sdr-elist"));
}

Json expected(const std::string& fixtureCase) {
  return Json(json_parse_file(fixturePath(fixtureCase, "expected.json").c_str()), json_value_free);
}

class GoldenFixtureFreshProcess : public ::testing::TestWithParam<std::string> {};

TEST_P(GoldenFixtureFreshProcess, RunMatchesExpectedJson) {
  const std::string& fixtureCase = GetParam();
  FakeIpmitool fake(fixtureCase);
  const Json actual = observe(caseOptions(fixtureCase), [&] { replayLater(fake, fixtureCase); });
  if (std::getenv("VTR_WRITE_GOLDEN") != nullptr)
    json_serialize_to_file_pretty(actual.get(), fixturePath(fixtureCase, "expected.json").c_str());
  const Json want = expected(fixtureCase);
  ASSERT_NE(want, nullptr) << fixtureCase << "/expected.json is not JSON";
  EXPECT_EQ(pretty(actual.get()), pretty(want.get()));
}

// A sampling mode besides the default gives the case's expected.json too, unless the case says
// why not in its file `notInMode`; the verbose listing runs for the start-up only.
void expectTheSameInMode(const std::string& fixtureCase, const char* notInMode, Options (*mode)(Options)) {
  const std::string notHere = fixturePath(fixtureCase, notInMode);
  if (std::filesystem::exists(notHere)) GTEST_SKIP() << readFile(notHere);
  FakeIpmitool fake(fixtureCase);
  const Json actual = observe(mode(caseOptions(fixtureCase)), [&] { replayLater(fake, fixtureCase); });
  EXPECT_EQ(pretty(actual.get()), pretty(expected(fixtureCase).get()));
  const auto calls = fake.recordedCalls();
  EXPECT_LE(std::count(calls.begin(), calls.end(), "sensor -v"), 1);
}

// A case whose later listings mean something else to the compact table alone says why.
TEST_P(GoldenFixtureFreshProcess, SingleRunSamplingMatchesTheSameExpectedJson) {
  expectTheSameInMode(GetParam(), "not-in-single-run-sampling", singleRun);
}

// A case whose discrete states the SDR listing cannot name says why.
TEST_P(GoldenFixtureFreshProcess, CachedSamplingMatchesTheSameExpectedJson) {
  expectTheSameInMode(GetParam(), "not-in-cached-sampling", cached);
}

INSTANTIATE_TEST_SUITE_P(Cases, GoldenFixtureFreshProcess, ::testing::ValuesIn(goldenCases()), [](const auto& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

// The recordings were taken from these simulator profiles, so the real tool must give the
// same, in every mode.
struct RealToolCase {
  const char* profile;
  const char* fixtureCase;
  const char* mode;  // "" (the default), "single_run" or "cached"
};
void PrintTo(const RealToolCase& row, std::ostream* out) { *out << row.profile << ' ' << row.mode; }

class GoldenFixtureRealToolFreshProcess : public ::testing::TestWithParam<RealToolCase> {};

TEST_P(GoldenFixtureRealToolFreshProcess, SimulatedServerMatchesItsRecording) {
  const RealToolCase& row = GetParam();
  SimServer sim(row.profile);
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  Options options = caseOptions(row.fixtureCase);
  for (const auto& option : sim.bmcOptions()) options.push_back(option);
  const std::string mode = row.mode;
  if (mode == "single_run") options = singleRun(options);
  if (mode == "cached") options = cached(options);
  EXPECT_EQ(pretty(observe(options, [] {}).get()), pretty(expected(row.fixtureCase).get()));
}

INSTANTIATE_TEST_SUITE_P(Profiles, GoldenFixtureRealToolFreshProcess,
                         ::testing::Values(RealToolCase{"small", "small-server", ""},
                                           RealToolCase{"small", "small-server", "single_run"},
                                           RealToolCase{"small", "small-server", "cached"},
                                           RealToolCase{"two-socket", "two-socket", ""},
                                           RealToolCase{"two-socket", "two-socket", "single_run"},
                                           RealToolCase{"two-socket", "two-socket", "cached"},
                                           RealToolCase{"degraded", "degraded-server", "cached"}),
                         [](const auto& info) {
                           std::string profile = info.param.profile;
                           std::replace(profile.begin(), profile.end(), '-', '_');
                           const std::string mode = info.param.mode;
                           return mode.empty() ? profile : mode + "_" + profile;
                         });

}  // namespace
}  // namespace test
}  // namespace vtr
