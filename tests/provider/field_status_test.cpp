// Hosts can tell a reading from the stand-by 0 of a field that has none, and a stop ends the
// pause between passes at once.

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "provider/host_extensions.h"
#include "support/fake_ipmitool.h"
#include "support/hosted_provider.h"

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
  bool singleRun = false;
};

void PrintTo(const FieldStatusCase& row, std::ostream* out) { *out << row.name; }

std::string edited(const std::string& file, const char* from, const char* to) {
  std::string text = readFile(fixturePath("small-server", file));
  if (std::string(from) == "*") return "";
  const size_t at = *from == '\0' ? std::string::npos : text.find(from);
  if (at != std::string::npos) text.replace(at, std::string(from).size(), to);
  return text;
}

// The statuses of the first event the host is handed, by field name.
std::map<std::string, int> statusesOfFirstEvent(HostedProvider& provider) {
  provider.start();
  EXPECT_FALSE(provider.nextEvent().json.empty());
  const vtr_type_definition_t& type = provider.eventType();
  std::vector<uint8_t> statuses(type.num_fields);
  EXPECT_EQ(provider.api().field_status(provider.session().record(), statuses.data(), statuses.size()),
            type.num_fields);
  std::map<std::string, int> byName;
  for (int i = 0; i < type.num_fields; ++i) byName[type.fields[i]->field_name] = statuses[i];
  return byName;
}

class FieldStatus : public ::testing::TestWithParam<FieldStatusCase> {};

TEST_P(FieldStatus, NamesEveryFieldWithoutAReading) {
  const FieldStatusCase& row = GetParam();
  FakeIpmitool fake;
  HostedProvider provider{{{"ipmitool-include-discrete-sensors", "true"},
                           {"ipmitool-include-empty-fields", row.includeEmptyFields ? "true" : "false"},
                           {"ipmitool-single-run-sampling", row.singleRun ? "true" : "false"}}};
  ASSERT_NE(provider.api().field_status, nullptr);
  EXPECT_EQ(provider.api().field_status(provider.session().record(), nullptr, 0), -1) << "nothing handed over yet";
  fake.replayText(edited("verbose.txt", row.verboseFrom, row.verboseTo),
                  edited("compact.txt", row.compactFrom, row.compactTo));

  for (const auto& [field, status] : statusesOfFirstEvent(provider)) {
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
                        {{"ps1_status", VTR_FIELD_MISSING}, {"ps2_status", VTR_FIELD_MISSING}}},
        FieldStatusCase{"SingleRunRowRenamed", "", "", "FAN2    ", "FAN9    ", false,
                        {{"fan2", VTR_FIELD_MISSING}}, true},
        FieldStatusCase{"SingleRunNotAvailableFilledWithTheEmptyFieldDefault", "", "", "45.000", "na    ", true,
                        {{"cpu1_temp", VTR_FIELD_EMPTY_DEFAULT}, {"ps3_status", VTR_FIELD_EMPTY_DEFAULT}}, true}),
    [](const ::testing::TestParamInfo<FieldStatusCase>& info) { return info.param.name; });

TEST(PromptStop, EndsThePauseBetweenPassesAtOnce) {
  FakeIpmitool fake;
  HostedProvider provider{{{"ipmitool-sample-interval-sec", "600"}}};
  provider.start();
  const size_t runsBefore = fake.recordedCalls().size();
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (fake.recordedCalls().size() == runsBefore && std::chrono::steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // into the pause

  const auto started = std::chrono::steady_clock::now();
  vtr_event_provider_t* record = provider.session().record();
  EXPECT_TRUE(record->stop(record));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30)) << "the pause is 600 s";
}

}  // namespace
}  // namespace test
}  // namespace vtr
