// A threshold sensor's health reads the same from either listing: its status, and thresholds
// where the listing has them ("na" is absent, never 0). A status the tables do not know is
// unknown, with one warning, never nominal.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "collector/sensor_health.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using Thresholds = std::array<std::optional<double>, kThresholdLevels>;
constexpr std::nullopt_t na = std::nullopt;

TEST(ThresholdHealth, CompactRowAndVerboseRecordGiveTheSameStateAndThresholds) {
  const struct {
    const char* row;     // the compact table's line
    SensorRecord record;  // the verbose listing's labels of the same sensor
    SensorHealth state;
    Thresholds thresholds;
  } rows[] = {
      {"FAN3B            | 540.000    | RPM        | nc    | 300.000   | 480.000   | 600.000   | na        | na        | na        ",
       {{"Status", "Lower Non-Critical"}, {"Lower Non-Recoverable", "300.000"}, {"Lower Critical", "480.000"},
        {"Lower Non-Critical", "600.000"}},
       SensorHealth::Warning,
       {300, 480, 600, na, na, na}},
      {"12V              | 10.500     | Volts      | cr    | 10.200    | 10.800    | 11.220    | 12.720    | 13.200    | 13.800\r",
       {{"Status", "Lower Critical\r"}, {"Lower Non-Recoverable", "10.200"}, {"Lower Critical", "10.800"},
        {"Lower Non-Critical", "11.220"}, {"Upper Non-Critical", "12.720"}, {"Upper Critical", "13.200"},
        {"Upper Non-Recoverable", "13.800\r"}},
       SensorHealth::Critical,
       {10.2, 10.8, 11.22, 12.72, 13.2, 13.8}},
      {"CPU1 Temp        | 45.000     | degrees C  | ok    | 0.000     | 3.000     | 5.000     | 85.000    | 90.000    | 95.000",
       {{"Status", "ok"}, {"Lower Non-Recoverable", "0.000"}, {"Lower Critical", "3.000"}, {"Lower Non-Critical", "5.000"},
        {"Upper Non-Critical", "85.000"}, {"Upper Critical", "90.000"}, {"Upper Non-Recoverable", "95.000"}},
       SensorHealth::Nominal,
       {0, 3, 5, 85, 90, 95}},
      // No reading: the tool prints "na" where the status would be; the verbose "na" is no value.
      {"PCIe Slot3 Temp  | na         | degrees C  | na    | na        | na        | na        | na", {},
       SensorHealth::Unknown, {na, na, na, na, na, na}},
      // A row cut short keeps what it has.
      {"Short            | 1.000      | Volts      | nr", {{"Status", "Upper Non-Recoverable"}}, SensorHealth::Critical,
       {na, na, na, na, na, na}},
  };
  for (const auto& row : rows) {
    const std::string_view line = row.row;
    const FieldHealth fromRow = thresholdHealthOfRow("sensor", line, line.find('|'));
    const FieldHealth fromRecord = thresholdHealthOfRecord("sensor", row.record);
    EXPECT_EQ(fromRow.state, row.state) << row.row;
    EXPECT_EQ(fromRecord.state, row.state) << row.row;
    EXPECT_EQ(fromRow.thresholds, row.thresholds) << row.row;
    EXPECT_EQ(fromRecord.thresholds, row.thresholds) << row.row;
  }
}

TEST(ThresholdHealth, AStatusTheTablesDoNotKnowIsUnknownWithOneWarning) {
  test::LogRecorder log;
  for (int pass = 0; pass < 3; ++pass) {
    const FieldHealth health = thresholdHealthOfRecord("FAN1", {{"Status", "Flapping"}});
    EXPECT_EQ(health.state, SensorHealth::Unknown);
    EXPECT_EQ(health.statusText, "Flapping");
  }
  EXPECT_EQ(log.count("[ipmitool collector] Sensor 'FAN1' has the status 'Flapping', which the state tables do not "
                      "know; its state is unknown.",
                      VTR_LOG_WARNING),
            1u);
}

TEST(DiscreteHealth, TheStatesWordNamesTheAssertedStatesByTheSensorsTables) {
  const DiscreteType powerSupply = discreteTypeOf("Power Supply", {"Presence detected"});
  const FieldHealth failed = discreteHealth(powerSupply, "0x0b00");
  EXPECT_EQ(failed.state, SensorHealth::Critical);
  EXPECT_EQ(stateNames(powerSupply, failed.asserted),
            (std::vector<std::string>{"Presence detected", "Failure detected", "Power Supply AC lost"}));
  EXPECT_EQ(discreteHealth(powerSupply, "0x0100").state, SensorHealth::Nominal);
  EXPECT_EQ(discreteHealth(powerSupply, "0x0").state, SensorHealth::Unknown) << "the empty-field default";
  // The same word on a power unit names redundancy when its start-up names were generic ones.
  const DiscreteType redundancy = discreteTypeOf("Power Unit", {"Redundancy Lost"});
  EXPECT_EQ(stateNames(redundancy, discreteHealth(redundancy, "0x0200").asserted),
            std::vector<std::string>{"Redundancy Lost"});
  EXPECT_EQ(stateNames(discreteTypeOf("Power Unit", {}), AssertedStates(0x0002)),
            std::vector<std::string>{"Power cycle"})
      << "without names the sensor type's own table";
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
