// Hosts can tell a reading from the stand-by 0 of a field that has none, and a stop ends the
// pause between passes at once.

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "provider/field_info.h"
#include "provider/host_extensions.h"
#include "provider/sampling_thread.h"
#include "src/data/data_serializer.h"
#include "static_provider.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace test {
namespace {

struct FieldStatusCase {
  const char* name;
  const char* verboseFrom;  // one edit of the small server's verbose listing, or ""
  const char* verboseTo;
  const char* compactFrom;  // one edit of its compact listing; "*" empties it (the run fails)
  const char* compactTo;
  bool includeEmptyFields;
  std::map<std::string, int> withoutReading;  // field -> status; every other field is read
};

void PrintTo(const FieldStatusCase& row, std::ostream* out) { *out << row.name; }

std::string edited(const std::string& file, const char* from, const char* to) {
  std::string text = readFile(fixturePath("small-server", file));
  if (std::string(from) == "*") return "";
  const size_t at = *from == '\0' ? std::string::npos : text.find(from);
  if (at != std::string::npos) text.replace(at, std::string(from).size(), to);
  return text;
}

// The statuses of the event the host was just handed.
std::map<std::string, int> statusesAfterOnePass(StaticProvider& provider) {
  ipmitool::SensorSample sample;
  ipmitool::ipmitool_provider_generate_events(&provider.state(), sample);
  std::vector<uint8_t> buffer(4096);
  vtr_data_serializer_t serializer{provider.typeSystem(), buffer.data(), buffer.size(), 0};
  EXPECT_EQ(provider.record()->progress(provider.record(), nullptr, &serializer), 0);

  const ipmitool::provider_t& state = provider.state();
  std::vector<uint8_t> statuses(state.field_count);
  EXPECT_EQ(vtr_ipmitool_field_status(provider.record(), statuses.data(), statuses.size()), state.field_count);
  std::map<std::string, int> byName;
  for (uint16_t i = 0; i < state.field_count; ++i) byName[state.field_infos[i]->name] = statuses[i];
  return byName;
}

class FieldStatus : public ::testing::TestWithParam<FieldStatusCase> {};

TEST_P(FieldStatus, NamesEveryFieldWithoutAReading) {
  const FieldStatusCase& row = GetParam();
  FakeIpmitool fake;
  StaticProvider provider{{{"ipmitool-include-discrete-sensors", "true"},
                           {"ipmitool-include-empty-fields", row.includeEmptyFields ? "true" : "false"}}};
  ASSERT_TRUE(provider.initialize());
  EXPECT_EQ(vtr_ipmitool_field_status(provider.record(), nullptr, 0), -1) << "nothing handed over yet";
  fake.replayText(edited("sensor-v.txt", row.verboseFrom, row.verboseTo),
                  edited("sensor.txt", row.compactFrom, row.compactTo));

  for (const auto& [field, status] : statusesAfterOnePass(provider)) {
    const auto expected = row.withoutReading.find(field);
    EXPECT_EQ(status, expected == row.withoutReading.end() ? VTR_FIELD_READ : expected->second) << field;
  }
}

constexpr const char* kCpu1Reading = " Sensor Reading        : 45 (+/- 0) degrees C";

INSTANTIATE_TEST_SUITE_P(
    Rows, FieldStatus,
    ::testing::Values(
        FieldStatusCase{"AllRead", "", "", "", "", false, {}},
        FieldStatusCase{"VanishedSensor", "CPU1 Temp (0x1)", "CPU9 Temp (0x1)", "", "", false,
                        {{"cpu1_temp", VTR_FIELD_MISSING}}},
        FieldStatusCase{"NotAvailable", kCpu1Reading, " Sensor Reading        : na", "", "", false,
                        {{"cpu1_temp", VTR_FIELD_MISSING}}},
        FieldStatusCase{"NotAvailableFilledWithTheEmptyFieldDefault", kCpu1Reading,
                        " Sensor Reading        : na", "", "", true,
                        {{"cpu1_temp", VTR_FIELD_EMPTY_DEFAULT}, {"ps3_status", VTR_FIELD_EMPTY_DEFAULT}}},
        FieldStatusCase{"Text", kCpu1Reading, " Sensor Reading        : Disabled", "", "", false,
                        {{"cpu1_temp", VTR_FIELD_MISSING}}},
        FieldStatusCase{"UnconvertibleStatesWord", "", "", "0x0100", "0xZZZZ", false,
                        {{"ps1_status", VTR_FIELD_MISSING}}},
        FieldStatusCase{"CompactRunFails", "", "", "*", "", false,
                        {{"ps1_status", VTR_FIELD_MISSING}, {"ps2_status", VTR_FIELD_MISSING}}}),
    [](const ::testing::TestParamInfo<FieldStatusCase>& info) { return info.param.name; });

TEST(PromptStop, EndsThePauseBetweenPassesAtOnce) {
  FakeIpmitool fake;
  StaticProvider provider{{{"ipmitool-sample-interval-sec", "600"}}};
  ASSERT_TRUE(provider.initialize());
  ASSERT_TRUE(provider.record()->start(provider.record()));
  const size_t runsBefore = fake.recordedCalls().size();
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (fake.recordedCalls().size() == runsBefore && std::chrono::steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // into the pause

  const auto started = std::chrono::steady_clock::now();
  EXPECT_TRUE(provider.record()->stop(provider.record()));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30)) << "the pause is 600 s";
}

}  // namespace
}  // namespace test
}  // namespace vtr
