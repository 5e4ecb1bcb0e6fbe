#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "collector/schema_builder.h"
#include "support/log_capture.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::FakeIpmitool;
using test::LogRecorder;
using FieldInfos = std::vector<std::unique_ptr<vtr_type_field_info_t>>;

// Frees the field records whatever the test's outcome.
struct Fields {
  ~Fields() { IpmitoolCollector::freeFieldsInfo(infos); }
  // "name:type" per field, in the event type's order.
  std::vector<std::string> namesAndTypes() const {
    std::vector<std::string> out;
    for (const auto& info : infos) out.push_back(std::string(info->field_name) + ":" + info->type_name);
    return out;
  }
  FieldInfos infos;
};

const std::vector<std::string> kSmallServerThreshold = {
    "cpu1_temp:double", "cpu2_temp:double", "inlet_temp:double", "temp_4:double", "temp_5:double",
    "fan1:double",      "fan2:double",      "12v:double",        "3.3v:double",   "cpu1_vcore:double"};

std::vector<std::string> plus(std::vector<std::string> fields, const std::vector<std::string>& more) {
  fields.insert(fields.end(), more.begin(), more.end());
  return fields;
}

std::vector<std::string> without(std::vector<std::string> fields, const std::string& field) {
  fields.erase(std::find(fields.begin(), fields.end(), field));
  return fields;
}

TEST(SchemaBuilderTest, EachRecordedCaseYieldsItsFieldsInListingOrder) {
  struct Case {
    const char* fixture;
    bool discrete, emptyFields;
    std::vector<std::string> want;
  };
  const std::vector<Case> cases = {
      {"small-server", false, false, kSmallServerThreshold},
      {"small-server", true, false, plus(kSmallServerThreshold, {"ps1_status:uint16_t", "ps2_status:uint16_t"})},
      {"small-server", true, true,
       plus(kSmallServerThreshold, {"ps1_status:uint16_t", "ps2_status:uint16_t", "ps3_status:uint16_t"})},
      {"cr-line-ends", true, false, plus(kSmallServerThreshold, {"ps1_status:uint16_t", "ps2_status:uint16_t"})},
      {"long-line", false, false, kSmallServerThreshold},
      {"na-readings", true, false, plus(without(kSmallServerThreshold, "fan2:double"), {"ps2_status:uint16_t"})},
      {"na-readings", true, true,
       plus(kSmallServerThreshold, {"ps1_status:uint16_t", "ps2_status:uint16_t", "ps3_status:uint16_t"})},
      {"device-not-present", false, false, without(kSmallServerThreshold, "fan2:double")},
      {"device-not-present", false, true, kSmallServerThreshold},
      {"duplicate-names", true, false, kSmallServerThreshold},
      {"names-without-parentheses", true, false,
       {"cpu1_tem:double", "cpu2_temp:double", "inlet_temp:double", "temp_4:double", "temp_5:double", "fan1:double",
        "fan2:double", "12v:double", "3.3v:double", "cpu1_vcore:double", "ps1_status:uint16_t",
        "ps2_status:uint16_t"}},
      {"hex-readings", true, false,
       {"cpu1_temp:uint64_t", "cpu2_temp:double", "inlet_temp:double", "temp_4:double", "temp_5:double",
        "fan1:uint64_t", "fan2:double", "12v:double", "3.3v:double", "ps1_status:uint16_t", "ps2_status:uint16_t"}},
  };
  FakeIpmitool fake;
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.fixture) + (c.discrete ? " discrete" : "") + (c.emptyFields ? " empty-fields" : ""));
    fake.replay(c.fixture);
    const volatile bool stop = false;
    IpmitoolCollector collector(CollectorConfig(c.discrete, true, c.emptyFields, "", 30, false), stop);
    Fields fields;
    EXPECT_TRUE(collector.setFieldsInfo(fields.infos));
    EXPECT_EQ(fields.namesAndTypes(), c.want);
  }
}

TEST(SchemaBuilderTest, FieldRecordsCarryTheSensorDescription) {
  FakeIpmitool fake("small-server");
  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(true, true, false, "", 30, false), stop);
  Fields fields;
  ASSERT_TRUE(collector.setFieldsInfo(fields.infos));
  ASSERT_FALSE(fields.infos.empty());
  const vtr_type_field_info_t& first = *fields.infos.front();
  EXPECT_STREQ(first.description, "CPU1 Temp (0x1) 3.1 Temperature");
  EXPECT_EQ(first.value_type, 0u);
  EXPECT_EQ(first.count, 1u);
  EXPECT_STREQ(fields.infos.back()->description, "PS2 Status (0xc) 10.2 Power Supply");
}

TEST(SchemaBuilderTest, MangledBytesCostOnlyTheSensorsTheyHit) {
  FakeIpmitool fake("garbage-bytes");
  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(true, true, false, "", 30, false), stop);
  Fields fields;
  ASSERT_TRUE(collector.setFieldsInfo(fields.infos));
  const auto got = fields.namesAndTypes();
  for (const char* intact : {"cpu1_temp:double", "fan1:double", "cpu1_vcore:double", "ps1_status:uint16_t"}) {
    EXPECT_NE(std::find(got.begin(), got.end(), intact), got.end()) << intact;
  }
  EXPECT_EQ(std::find(got.begin(), got.end(), "inlet_temp:double"), got.end());
}

TEST(SchemaBuilderTest, SchemaIsBuiltOnlyOnce) {
  FakeIpmitool fake("small-server");
  LogRecorder log;
  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(false, true, false, "", 30, false), stop);
  Fields first;
  ASSERT_TRUE(collector.setFieldsInfo(first.infos));
  Fields second;
  EXPECT_FALSE(collector.setFieldsInfo(second.infos));
  EXPECT_TRUE(second.infos.empty());
  EXPECT_TRUE(log.contains(VTR_LOG_ERR, "[ipmitool collector] Schema has already been created."));
}

TEST(SchemaBuilderTest, NoUsableListingBuildsNoSchema) {
  struct Case {
    const char* what;
    std::string verbose;
    int exitCode;
    bool discrete, continuous;
    std::string wantError;
  };
  const std::string onlyDiscrete =
      "Sensor ID : PS1 Status (0xb)\n Entity ID : 10.1\n Sensor Type (Discrete): Power Supply\n"
      " States Asserted : Power Supply\n";
  const std::vector<Case> cases = {
      {"empty output", "", 0, false, true, ""},
      {"garbage only", "\x01\x02 no sensors here: at all\n", 0, false, true, ""},
      {"tool fails", test::readFile(test::fixturePath("small-server", "sensor-v.txt")), 1, false, true,
       "[ipmitool collector] Failed to execute 'ipmitool sensor -v' command."},
      {"only discrete sensors, discrete excluded", onlyDiscrete, 0, false, true, ""},
      {"discrete sensors without a states table", onlyDiscrete, 0, true, true,
       "[ipmitool collector] No numeric data found for discrete sensors for field 'States Asserted'."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    FakeIpmitool fake;
    fake.replayText(c.verbose, "");
    fake.setExitCode(c.exitCode);
    LogRecorder log;
    const volatile bool stop = false;
    IpmitoolCollector collector(CollectorConfig(c.discrete, c.continuous, false, "", 30, false), stop);
    Fields fields;
    EXPECT_FALSE(collector.setFieldsInfo(fields.infos));
    EXPECT_TRUE(fields.infos.empty());
    EXPECT_TRUE(log.contains(VTR_LOG_ERR, "[ipmitool collector] Failed to retrieve data from ipmitool sensors."));
    if (!c.wantError.empty()) {
      EXPECT_TRUE(log.contains(VTR_LOG_ERR, c.wantError));
    }
    // Not marked as built: a later attempt is not refused as a second build.
    log.clear();
    EXPECT_FALSE(collector.setFieldsInfo(fields.infos));
    EXPECT_FALSE(log.contains(VTR_LOG_ERR, "[ipmitool collector] Schema has already been created."));
  }
}

TEST(SchemaBuilderTest, NoSensorKindIncludedRunsNoTool) {
  FakeIpmitool fake("small-server");
  LogRecorder log;
  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(false, false, false, "", 30, false), stop);
  Fields fields;
  EXPECT_FALSE(collector.setFieldsInfo(fields.infos));
  EXPECT_TRUE(fake.recordedCalls().empty());
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] No sensors will be collected since no sensor types are included."));
}

TEST(SchemaBuilderTest, StopRequestedBuildsNothingSilently) {
  FakeIpmitool fake("small-server");
  LogRecorder log;
  const volatile bool stop = true;
  IpmitoolCollector collector(CollectorConfig(true, true, false, "", 30, false), stop);
  Fields fields;
  EXPECT_FALSE(collector.setFieldsInfo(fields.infos));
  EXPECT_TRUE(fake.recordedCalls().empty());
  EXPECT_EQ(log.countAtMost(VTR_LOG_WARNING), 0u);
}

TEST(SchemaBuilderTest, StatesTableIsNarrowedToTheSensorsSeenAtStartUp) {
  FakeIpmitool fake("small-server");
  LogRecorder log;
  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(true, true, false, "", 30, false), stop);
  Fields fields;
  ASSERT_TRUE(collector.setFieldsInfo(fields.infos));
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] Sensor 'PS3 Status' will not be collected since the value is 'na'."));

  log.clear();
  std::unordered_map<std::string, std::string> states;
  collector.parseDiscreteStatesTable(
      "PS1 Status       | 0x1        | discrete   | 0x0200| na\n"
      "PS3 Status       | 0x1        | discrete   | 0x0001| na\n"
      "PS9 Status       | 0x1        | discrete   | 0x0001| na\n"
      "PS2 Status       | 0x1        | discrete   | 0x0001| na\n"
      "PS2 Status       | 0x1        | discrete   | 0x0001| na\n",
      states);
  EXPECT_EQ(states, (std::unordered_map<std::string, std::string>{{"PS1 Status", "0x0200"}}));
  // Refusals are reported while the schema is built, not on later readings.
  EXPECT_TRUE(log.all().empty());
}

TEST(SchemaBuilderTest, FreeingFieldsEmptiesTheVector) {
  FieldInfos none;
  IpmitoolCollector::freeFieldsInfo(none);
  EXPECT_TRUE(none.empty());

  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(false, true, false, "", 30, false), stop);
  FieldInfos some;
  some.push_back(createSchemaField("fan1", "FAN1 (0x6) 29.1 Fan", "double", 0, 1));
  ASSERT_NE(some.front(), nullptr);
  EXPECT_STREQ(some.front()->type_name, "double");
  IpmitoolCollector::freeFieldsInfo(some);
  EXPECT_TRUE(some.empty());
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
