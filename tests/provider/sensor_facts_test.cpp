// Hosts learn, per field, the sensor behind it as the listing printed it at start-up.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "collector/sensor_facts.h"
#include "provider/host_extensions.h"
#include "support/fake_ipmitool.h"
#include "support/hosted_provider.h"

namespace vtr {
namespace test {
namespace {

struct FactsRow {
  const char* name;
  int number;
  const char* entity;
  const char* type;
  const char* unit;
  int kind;
};

TEST(SensorFacts, DescribeEachFieldsSensorInSchemaOrderUntilDestroy) {
  FakeIpmitool fake;
  HostedProvider provider{{{"ipmitool-include-discrete-sensors", "true"}}};
  ASSERT_NE(provider.api().sensor_facts, nullptr);
  const vtr_type_definition_t& type = provider.eventType();
  const vtr_ipmitool_sensor_facts_t* facts = nullptr;
  ASSERT_EQ(provider.api().sensor_facts(provider.session().record(), &facts), type.num_fields);

  const std::map<std::string, FactsRow> expected = {
      {"timestamp", {"", -1, "", "", "", VTR_SENSOR_KIND_NONE}},
      {"cpu1_temp", {"CPU1 Temp", 1, "3.1", "Temperature", "degrees C", VTR_SENSOR_KIND_THRESHOLD}},
      {"temp_5", {"Temp", 5, "3.2", "Temperature", "degrees C", VTR_SENSOR_KIND_THRESHOLD}},
      {"fan2", {"FAN2", 7, "29.2", "Fan", "RPM", VTR_SENSOR_KIND_THRESHOLD}},
      {"3.3v", {"3.3V", 9, "7.1", "Voltage", "Volts", VTR_SENSOR_KIND_THRESHOLD}},
      {"ps2_status", {"PS2 Status", 12, "10.2", "Power Supply", "", VTR_SENSOR_KIND_DISCRETE}},
  };
  size_t checked = 0;
  for (int i = 0; i < type.num_fields; ++i) {
    ASSERT_STREQ(facts[i].field_name, type.fields[i]->field_name);
    const auto row = expected.find(facts[i].field_name);
    if (row == expected.end()) continue;
    ++checked;
    EXPECT_STREQ(facts[i].sensor_name, row->second.name) << row->first;
    EXPECT_EQ(facts[i].sensor_number, row->second.number) << row->first;
    EXPECT_STREQ(facts[i].entity, row->second.entity) << row->first;
    EXPECT_STREQ(facts[i].sensor_type, row->second.type) << row->first;
    EXPECT_STREQ(facts[i].unit, row->second.unit) << row->first;
    EXPECT_EQ(facts[i].kind, row->second.kind) << row->first;
  }
  EXPECT_EQ(checked, expected.size());

  provider.start();
  ASSERT_FALSE(provider.nextEvent().json.empty());
  const vtr_ipmitool_sensor_facts_t* again = nullptr;
  EXPECT_EQ(provider.api().sensor_facts(provider.session().record(), &again), type.num_fields);
  EXPECT_EQ(again, facts) << "sampling leaves the records where they are";
  EXPECT_EQ(provider.api().sensor_facts(nullptr, &again), -1);
  EXPECT_EQ(again, nullptr);
}

TEST(SensorFacts, UnitIsWhatTheToolPrintsAfterTheReading) {
  const std::pair<const char*, const char*> cases[] = {
      {"42 (+/- 0) degrees C", "degrees C"}, {"12.06 (+/- 0.06) Volts", "Volts"},
      {"75 (+/- 1) percent", "percent"},     {"5400 RPM", "RPM"},
      {"0x1f", ""},                          {"na", ""},
      {"", ""},
  };
  for (const auto& [reading, unit] : cases) EXPECT_EQ(ipmitool::readingUnit(reading), unit) << reading;
}

}  // namespace
}  // namespace test
}  // namespace vtr
