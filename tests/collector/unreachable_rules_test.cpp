// Rules of the collector that no provider option or call order of the provider reaches, so
// only a direct call guards them: the per-label field switches, discrete states published as
// text, the order of schema and sample, and text rules for kinds the provider never asks about.
#include <gtest/gtest.h>

#include "collector/field_naming.h"
#include "collector/ipmitool_collector.h"
#include "collector/value_rules.h"
#include "support/fake_ipmitool.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

TEST(CollectorFieldSwitches, ChangeOnlyKnownLabelsOfIncludedKinds) {
  test::LogRecorder log;
  CollectorConfig config(false, true, false, "", 30, false);
  config.excludeContinuousField("Sensor Reading");
  EXPECT_FALSE(config.continuousFields.at("Sensor Reading"));
  config.includeContinuousField("Sensor Reading");
  EXPECT_TRUE(config.continuousFields.at("Sensor Reading"));
  config.includeDiscreteField("States Asserted");
  EXPECT_FALSE(config.discreteFields.at("States Asserted")) << "discrete sensors are off";
  config.includeContinuousField("Status");
  config.excludeDiscreteField("Status");
  EXPECT_EQ(config.continuousFields.count("Status") + config.discreteFields.count("Status"), 0u);
  EXPECT_TRUE(log.contains("[ipmitool collector] Discrete sensors are disabled. Skipping field: 'States Asserted'.",
                           VTR_LOG_WARNING));
  EXPECT_TRUE(log.contains("[ipmitool collector] Field 'Status' not found in continuous sensor fields. Skipping.",
                           VTR_LOG_WARNING));
  EXPECT_TRUE(log.contains("[ipmitool collector] Field 'Status' not found in discrete sensor fields.", VTR_LOG_DEBUG));
}

TEST(CollectorStatesText, BecomesACommaListOfTheBracketedStates) {
  CollectorConfig config(true, true, false, "", 30, false);
  std::string numeric = "0x0100";
  parseFieldValue(config, "States Asserted", numeric);
  EXPECT_EQ(numeric, "0x0100");
  config.statesAssertedAsText = true;
  const std::pair<std::string, std::string> rows[] = {
      {"[Device Present] [Transition to OK]", "Device Present,Transition to OK"},
      {"Presence detected [Device Present]", "Device Present"},
      {"[]", "[]"},
      {"[A] [B] [C]", "A,B,C"},
      {"Power Supply", "ower Suppl"},
      {"[" + std::string(98, 'a') + "]", std::string(64, 'a')},
  };
  for (auto [value, want] : rows) {
    parseFieldValue(config, "States Asserted", value);
    EXPECT_EQ(value, want);
  }
}

TEST(CollectorCallOrder, SampleNeedsTheSchemaAndTheSchemaIsBuiltOnce) {
  test::FakeIpmitool fake;
  test::LogRecorder log;
  volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(true, true, false, "", 30, false), stop);
  SensorSample sample;
  EXPECT_FALSE(collector.getSensorsData(sample));
  std::vector<std::unique_ptr<vtr_type_field_info_t>> fields;
  ASSERT_TRUE(collector.setFieldsInfo(fields));
  EXPECT_FALSE(collector.setFieldsInfo(fields));
  IpmitoolCollector::freeFieldsInfo(fields);
  EXPECT_TRUE(fields.empty());
  EXPECT_TRUE(log.contains("[ipmitool collector] The schema has not been created. Cannot parse sensor data.", VTR_LOG_ERR));
  EXPECT_TRUE(log.contains("[ipmitool collector] Schema has already been created.", VTR_LOG_ERR));
}

TEST(CollectorTextRules, BlankTextEmptiesAndUnknownKindsHaveNoType) {
  std::string blanks = "   ";
  removeSpaces(blanks);
  EXPECT_EQ(blanks, "");
  EXPECT_EQ(getFieldType("0x1A", CollectorSensorType::Unknown), CollectorFieldType::Unknown);
  EXPECT_EQ(fieldTypeName(CollectorFieldType::Unknown), "");
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
