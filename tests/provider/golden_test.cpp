// Every tests/fixtures/<case>/ holding an expected.json: the fake tool replays the case's
// listings to the library as vtr-host loads and drives it, and the event type's fields and
// the first event (as vtr-host prints it, less its varying timestamp and source) must match,
// in the default mode and with single-run sampling alike. The event text holds every double
// to 17 significant digits and every field without a reading as null, so equal text means
// equal field bytes and equal field status.
// VTR_WRITE_GOLDEN=1 writes expected.json from what the library does instead: review it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "json/parson.h"
#include "support/fake_ipmitool.h"
#include "support/hosted_provider.h"
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

// {"fields": [{name, type, description, order}...], "event": {...}} of one provider run.
Json observe(const Options& options) {
  HostedProvider hosted(options);
  Json result(json_value_init_object(), json_value_free);
  JSON_Value* fields = json_value_init_array();
  const vtr_type_definition_t& type = hosted.eventType();
  for (int32_t i = 0; i < type.num_fields; ++i) {
    JSON_Value* field = json_value_init_object();
    json_object_set_string(json_object(field), "name", type.fields[i]->field_name);
    json_object_set_string(json_object(field), "type", type.fields[i]->type_name);
    json_object_set_string(json_object(field), "description", type.fields[i]->description);
    json_object_set_number(json_object(field), "order", i);
    json_array_append_value(json_array(fields), field);
  }
  json_object_set_value(json_object(result.get()), "fields", fields);
  hosted.start();
  JSON_Value* event = json_parse_string(hosted.nextEvent().json.c_str());
  if (event != nullptr) {
    json_object_remove(json_object(event), "timestamp");
    json_object_remove(json_object(event), "source");
  }
  json_object_set_value(json_object(result.get()), "event", event != nullptr ? event : json_value_init_null());
  return result;
}

Options singleRun(Options options) {
  options.emplace_back("ipmitool-single-run-sampling", "true");
  return options;
}

void expectGolden(const std::string& fixtureCase, const Json& actual) {
  const std::string path = fixturePath(fixtureCase, "expected.json");
  if (std::getenv("VTR_WRITE_GOLDEN") != nullptr) json_serialize_to_file_pretty(actual.get(), path.c_str());
  const Json expected(json_parse_file(path.c_str()), json_value_free);
  ASSERT_NE(expected, nullptr) << path << " is not JSON";
  EXPECT_EQ(pretty(actual.get()), pretty(expected.get())) << fixtureCase;
}

class GoldenFixture : public ::testing::TestWithParam<std::string> {};

TEST_P(GoldenFixture, FieldsAndFirstEventMatchExpectedJson) {
  FakeIpmitool fake(GetParam());
  expectGolden(GetParam(), observe(caseOptions(GetParam())));
}

TEST_P(GoldenFixture, SingleRunSamplingMatchesTheSameExpectedJson) {
  FakeIpmitool fake(GetParam());
  const Json actual = observe(singleRun(caseOptions(GetParam())));
  const Json expected(json_parse_file(fixturePath(GetParam(), "expected.json").c_str()), json_value_free);
  ASSERT_NE(expected, nullptr);
  EXPECT_EQ(pretty(actual.get()), pretty(expected.get()));
  // The verbose listing ran for the start-up only.
  const auto calls = fake.recordedCalls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "sensor -v"), 1);
}

INSTANTIATE_TEST_SUITE_P(Cases, GoldenFixture, ::testing::ValuesIn(goldenCases()),
                         [](const auto& info) {
                           std::string name = info.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

// The recordings were taken from these simulator profiles, so the real tool must give the
// same, in both modes.
class GoldenFixtureRealTool : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(GoldenFixtureRealTool, SimulatedServerMatchesItsRecordingInBothModes) {
  const auto [profile, fixtureCase] = GetParam();
  SimServer sim(profile);
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  Options options = caseOptions(fixtureCase);
  for (const auto& option : sim.bmcOptions()) options.push_back(option);
  const Json expected(json_parse_file(fixturePath(fixtureCase, "expected.json").c_str()), json_value_free);
  for (const Options& run : {options, singleRun(options)})
    EXPECT_EQ(pretty(observe(run).get()), pretty(expected.get())) << run.back().first;
}

INSTANTIATE_TEST_SUITE_P(Profiles, GoldenFixtureRealTool,
                         ::testing::Values(std::make_pair("small", "small-server"),
                                           std::make_pair("two-socket", "two-socket")),
                         [](const auto& info) { return std::string(info.param.first == std::string("small") ? "small" : "two_socket"); });

}  // namespace
}  // namespace test
}  // namespace vtr
