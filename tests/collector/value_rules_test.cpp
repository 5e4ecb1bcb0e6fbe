#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collector/collector_config.h"
#include "collector/field_naming.h"
#include "collector/field_selection.h"
#include "collector/value_rules.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::LogRecorder;

CollectorConfig configWith(bool discrete, bool continuous, bool emptyFields, const std::string& invalid = "") {
  return CollectorConfig(discrete, continuous, emptyFields, invalid, 30, false);
}

TEST(ValueRulesTest, NoReadingTextsAreInvalidExactlyAsWritten) {
  const CollectorConfig plain(configWith(false, true, false));
  EXPECT_FALSE(isValidValue(plain, ""));
  EXPECT_FALSE(isValidValue(plain, "na"));
  EXPECT_FALSE(isValidValue(plain, "Unspecified"));
  EXPECT_FALSE(isValidValue(plain, "Unable to read sensor: Device Not Present"));
  EXPECT_TRUE(isValidValue(plain, "NA"));
  EXPECT_TRUE(isValidValue(plain, " na"));
  EXPECT_TRUE(isValidValue(plain, "N/A"));

  const CollectorConfig extended(configWith(false, true, false, "N/A,,Disabled"));
  EXPECT_FALSE(isValidValue(extended, "N/A"));
  EXPECT_FALSE(isValidValue(extended, "Disabled"));
  EXPECT_TRUE(isValidValue(extended, "disabled"));
}

TEST(ValueRulesTest, SensorReadingKeepsOnlyTheNumberBeforeTheTolerance) {
  const CollectorConfig c(configWith(false, true, false));
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"45 (+/- 0.5) degrees C", "45"},
      {"0x0a", "0x0a"},
      {"  12.5  ", "12.5"},
      {"(+/- 1) RPM", ""},
      {"na", "na"},
  };
  for (const auto& [in, want] : cases) {
    std::string value = in;
    parseFieldValue(c, "Sensor Reading", value);
    EXPECT_EQ(value, want) << "input '" << in << "'";
  }
  std::string other = " 45 (x) ";
  parseFieldValue(c, "Nominal Reading", other);
  EXPECT_EQ(other, " 45 (x) ");
}

TEST(ValueRulesTest, StatesTextBecomesACommaListOnlyWhenAskedFor) {
  CollectorConfig config = configWith(true, true, false);
  std::string numeric = "0x0100";
  parseFieldValue(config, "States Asserted", numeric);
  EXPECT_EQ(numeric, "0x0100");

  config.statesAssertedAsText = true;
  const CollectorConfig c(config);
  std::string longList = "[";
  longList.append(98, 'a');
  longList += "]";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"[Device Present] [Transition to OK]", "Device Present,Transition to OK"},
      {"Presence detected [Device Present]", "Device Present"},
      {"[A]", "A"},
      {"[]", "[]"},
      {"[A] [B] [C]", "A,B,C"},
      {"Power Supply", "ower Suppl"},
      {longList, std::string(64, 'a')},
  };
  for (const auto& [in, want] : cases) {
    std::string value = in;
    parseFieldValue(c, "States Asserted", value);
    EXPECT_EQ(value, want) << "input '" << in << "'";
  }
}

TEST(ValueRulesTest, MissingValueIsDroppedWhenEmptyFieldsAreOff) {
  LogRecorder log;
  const CollectorConfig c(configWith(true, true, false));
  SensorRecord record = {{"Sensor ID", "Fan (0x1)"}};
  std::string value = "na";
  handleInvalidSensorValue(c, "Fan", "Sensor Reading", value, record);
  handleInvalidSensorValue(c, "Fan", "Sensor Reading", value, record);
  EXPECT_EQ(record.size(), 1u);
  EXPECT_EQ(value, "na");
  // Rate-limited: the second call within ten seconds stays silent.
  EXPECT_EQ(log.count(VTR_LOG_DEBUG,
                      "[ipmitool collector] Value for sensor 'Fan', field 'Sensor Reading' is missing. Skipping this field."),
            1u);
}

TEST(ValueRulesTest, MissingValueGetsItsTypesDefaultWhenEmptyFieldsAreOn) {
  LogRecorder log;
  const CollectorConfig under(configWith(true, true, true));
  struct Case {
    std::string label;
    std::string wantValue;
    bool stored;
  };
  const std::vector<Case> cases = {
      {"Sensor Reading", "0.0", true},
      {"States Asserted", "0x0", true},
      {"Status", "na", false},
  };
  for (const auto& c : cases) {
    SensorRecord record;
    std::string value = "na";
    handleInvalidSensorValue(under, "Fan", c.label, value, record);
    EXPECT_EQ(value, c.wantValue) << c.label;
    EXPECT_EQ(record.count(c.label), c.stored ? 1u : 0u) << c.label;
    if (c.stored) {
      EXPECT_EQ(record[c.label], c.wantValue);
    }
  }
  EXPECT_TRUE(log.contains(VTR_LOG_DEBUG,
                           "[ipmitool collector] Value for sensor 'Fan', field 'Sensor Reading' is missing. Using "
                           "default value: '0.0'."));
}

TEST(ValueRulesTest, UnusableDiscreteTypeTextStillMarksTheSensorDiscrete) {
  LogRecorder log;
  const CollectorConfig c(configWith(true, true, true));
  SensorRecord record;
  std::string value = "Unspecified";
  handleInvalidSensorValue(c, "PS1", "Sensor Type (Discrete)", value, record);
  EXPECT_EQ(record.at("Sensor Type (Discrete)"), "Unspecified");
  EXPECT_EQ(getSensorType(record), Discrete);
  EXPECT_TRUE(log.contains(VTR_LOG_DEBUG, "[ipmitool collector] The type for discrete sensor 'PS1' is unknown."));

  const CollectorConfig noDiscrete(configWith(false, true, true));
  SensorRecord untouched;
  handleInvalidSensorValue(noDiscrete, "PS1", "Sensor Type (Discrete)", value, untouched);
  EXPECT_TRUE(untouched.empty());
}

TEST(ValueRulesTest, SensorIsKeptOnlyWithIdentityKindAndAPublishableValue) {
  const SensorRecord threshold = {{"Sensor ID", "CPU Temp (0x1)"},
                                  {"Entity ID", "3.1"},
                                  {"Sensor Type (Threshold)", "Temperature"},
                                  {"Sensor Reading", "45 (+/- 0.5) degrees C"}};
  const SensorRecord discrete = {{"Sensor ID", "PS1 Status (0x2d)"},
                                 {"Entity ID", "10.1"},
                                 {"Sensor Type (Discrete)", "Power Supply"},
                                 {"States Asserted", "0x0100"}};
  auto without = [](SensorRecord record, const std::string& label) {
    record.erase(label);
    return record;
  };
  auto with = [](SensorRecord record, const std::string& label, const std::string& value) {
    record[label] = value;
    return record;
  };
  struct Case {
    const char* what;
    SensorRecord record;
    bool discrete, continuous;
    bool want;
    std::string wantDebug;
  };
  const std::vector<Case> cases = {
      {"threshold with a reading", threshold, false, true, true, ""},
      {"threshold with continuous off", threshold, true, false, false, ""},
      {"discrete with discrete on", discrete, true, true, true, ""},
      {"discrete with discrete off", discrete, false, true, false, ""},
      {"no Sensor ID", without(threshold, "Sensor ID"), false, true, false,
       "[ipmitool collector] Sensor ID not found in sensor data. Skipping sensor."},
      {"no Entity ID", without(threshold, "Entity ID"), false, true, false,
       "[ipmitool collector] Entity ID not found in sensor data. Skipping sensor."},
      {"no type label", without(threshold, "Sensor Type (Threshold)"), false, true, false,
       "[ipmitool collector] Sensor type is unknown. Skipping sensor."},
      {"threshold without a reading", without(threshold, "Sensor Reading"), false, true, false, ""},
      {"threshold with a reading of text", with(threshold, "Sensor Reading", "Not Available"), false, true, false, ""},
      {"discrete with a textual states value", with(discrete, "States Asserted", "Presence detected"), true, true,
       false, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LogRecorder log;
    const CollectorConfig under(configWith(c.discrete, c.continuous, false));
    EXPECT_EQ(toAddSensorData(under, c.record), c.want);
    if (!c.wantDebug.empty()) {
      EXPECT_TRUE(log.contains(VTR_LOG_DEBUG, c.wantDebug));
    }
  }
}

TEST(FieldSelectionTest, OnlyTheKindsSwitchedOnLabelsArePublished) {
  CollectorConfig config = configWith(true, true, false);
  config.excludeDiscreteField("States Asserted");
  const CollectorConfig c(config);
  EXPECT_TRUE(toAddSensorField(c, "Sensor Reading", Threshold));
  EXPECT_FALSE(toAddSensorField(c, "Sensor Reading", Discrete));
  EXPECT_FALSE(toAddSensorField(c, "States Asserted", Discrete));
  EXPECT_FALSE(toAddSensorField(c, "Sensor Reading", Unknown));
  EXPECT_FALSE(toAddSensorField(c, "Status", Threshold));
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
