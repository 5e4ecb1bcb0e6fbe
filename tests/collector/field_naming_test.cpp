#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "collector/field_naming.h"
#include "collector/ipmitool_collector.h"

namespace vtr {
namespace ipmitool {
namespace {

using Type = CollectorFieldType;

TEST(FieldTypeTest, ValueTextDecidesTheSchemaType) {
  struct Case {
    const char* value;
    CollectorSensorType kind;
    Type want;
  };
  const std::vector<Case> cases = {
      {"", Threshold, Type::Unknown},
      {"7", Threshold, Type::Double},
      {"x", Threshold, Type::Unknown},
      {"-", Threshold, Type::Unknown},
      {"0x1A", Discrete, Type::Uint16},
      {"0x1A", Threshold, Type::Uint64},
      {"0x1A", Unknown, Type::Unknown},
      {"0X0080", Discrete, Type::Uint16},
      {"0x1G", Threshold, Type::Unknown},
      {"0x", Threshold, Type::Unknown},
      {"12.", Threshold, Type::Unknown},
      {"12.5", Threshold, Type::Double},
      {"12.5", Discrete, Type::Double},
      {"1.2.3", Threshold, Type::Double},
      {"0012", Threshold, Type::Double},
      {"-.5", Threshold, Type::Double},
      {"+7", Threshold, Type::Double},
      {"-12", Threshold, Type::Double},
      {"1e3", Threshold, Type::Unknown},
      {"inf", Threshold, Type::Unknown},
      {"nan", Threshold, Type::Unknown},
      {" 45", Threshold, Type::Unknown},
      {"45 ", Threshold, Type::Unknown},
      {"4 5", Threshold, Type::Unknown},
      {"na", Threshold, Type::Unknown},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(getFieldType(c.value, c.kind), c.want) << "value '" << c.value << "' kind " << c.kind;
  }
}

TEST(FieldTypeTest, TypeNamesAreTheFrameworkBuiltIns) {
  EXPECT_EQ(fieldTypeName(Type::Unknown), "");
  EXPECT_EQ(fieldTypeName(Type::Double), "double");
  EXPECT_EQ(fieldTypeName(Type::Uint64), "uint64_t");
  EXPECT_EQ(fieldTypeName(Type::Uint16), "uint16_t");
  EXPECT_EQ(fieldTypeName(Type::Timestamp), "timestamp");
  EXPECT_EQ(fieldTypeName(static_cast<Type>(9)), "");
}

TEST(FieldNamingTest, RemoveSpacesTrimsOnlyTheSpaceCharacter) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"   ", ""},       {"", ""},         {" a b ", "a b"},     {"\ta", "\ta"},
      {"a\r", "a\r"},   {"  x", "x"},     {"x  ", "x"},         {" \r ", "\r"},
  };
  for (const auto& [in, want] : cases) {
    std::string text = in;
    removeSpaces(text);
    EXPECT_EQ(text, want) << "input '" << in << "'";
  }
}

TEST(FieldNamingTest, SnakeCaseLowersAndTurnsInnerBlanksIntoUnderscores) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Sensor Type (Threshold)", "sensor_type_(threshold)"},
      {"  Lower  Critical ", "lower__critical"},
      {"Upper Non-Critical", "upper_non-critical"},
      {"PS1 #2/a.b", "ps1_#2/a.b"},
      {"   ", ""},
  };
  for (const auto& [in, want] : cases) {
    std::string text = in;
    convertToSnakeCase(text);
    EXPECT_EQ(text, want) << "input '" << in << "'";
  }
}

TEST(FieldNamingTest, UnreadableSensorLineIsNotAKey) {
  EXPECT_FALSE(isValidKey(""));
  EXPECT_FALSE(isValidKey("Unable to read sensor"));
  EXPECT_TRUE(isValidKey("Unable to read sensor: Device Not Present"));
  EXPECT_TRUE(isValidKey("Sensor Reading"));
}

TEST(FieldNamingTest, MainValuesTakeTheSensorNameOthersGetASuffix) {
  const CollectorConfig config(false, true, false, "", 30, false);
  const volatile bool stop = false;
  const IpmitoolCollector collector(config, stop);
  const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
      {"fan_1", "Sensor Reading", "fan_1"},
      {"fan_1", "States Asserted", "fan_1"},
      {"fan_1", "Upper Non-Critical", "fan_1_upper_non-critical"},
      {"cpu_temp", "Normal Maximum", "cpu_temp_normal_maximum"},
      {"cpu_temp", "sensor reading", "cpu_temp_sensor_reading"},
  };
  for (const auto& [sensor, label, want] : cases) {
    std::string out = "stale";
    getFieldNameInSchema(sensor, label, out);
    EXPECT_EQ(out, want);
  }
}

TEST(SensorKindTest, TypeLabelDecidesTheKindDiscreteFirst) {
  EXPECT_EQ(getSensorType({{"Sensor Type (Discrete)", ""}}), Discrete);
  EXPECT_EQ(getSensorType({{"Sensor Type (Threshold)", "Temperature"}}), Threshold);
  EXPECT_EQ(getSensorType(
                {{"Sensor Type (Threshold)", "Temperature"}, {"Sensor Type (Discrete)", "Power Supply"}}),
            Discrete);
  EXPECT_EQ(getSensorType({{"Sensor ID", "X (0x1)"}}), Unknown);
}

TEST(SensorDescriptionTest, JoinsIdEntityAndTheKindsTypeText) {
  const SensorRecord record = {{"Sensor ID", "CPU Temp (0x1)"},
                               {"Entity ID", "3.1 (Processor)"},
                               {"Sensor Type (Threshold)", "Temperature"}};
  std::string out;
  getSensorDescription(record, Threshold, out);
  EXPECT_EQ(out, "CPU Temp (0x1) 3.1 (Processor) Temperature");
  getSensorDescription(record, Unknown, out);
  EXPECT_EQ(out, "CPU Temp (0x1) 3.1 (Processor)");
}

TEST(SensorDescriptionTest, MissingRequiredLabelThrowsOutOfRange) {
  std::string out;
  EXPECT_THROW(getSensorDescription({{"Sensor ID", "A (0x1)"}, {"Sensor Type (Threshold)", "T"}},
                                                       Threshold, out),
               std::out_of_range);
  EXPECT_THROW(getSensorDescription({{"Sensor ID", "A (0x1)"}, {"Entity ID", "7.1"}}, Discrete, out),
               std::out_of_range);
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
