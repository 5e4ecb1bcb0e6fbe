#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "collector/sensor_identity.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::LogRecorder;

CollectorConfig defaultConfig() { return CollectorConfig(false, true, false, "", 30, false); }

// The unique names a fresh collector gives these Sensor ID texts, "" for a sensor left out.
std::vector<std::string> namesFor(const std::vector<std::string>& ids) {
  const volatile bool stop = false;
  IpmitoolCollector collector(defaultConfig(), stop);
  SensorListing listing;
  for (const auto& id : ids) listing.push_back({{"Sensor ID", id}});
  collector.createSensorsIdsMap(listing);
  std::vector<std::string> names;
  for (const auto& record : listing) names.push_back(collector.getSavedUniqueSensorNameFromSensorData(record));
  return names;
}

class SensorIdentityTest : public ::testing::Test {
 protected:
  SensorIdentityTest() : collector(defaultConfig(), stop) {}

  volatile bool stop = false;
  IpmitoolCollector collector;
  LogRecorder log;
};

TEST_F(SensorIdentityTest, NameStemDropsTheCharacterBeforeTheParenthesis) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"CPU Temp (0x1)", "cpu_temp"},
      {"Fan1(0x30)", "fan"},
      {"Temp", "temp"},
      {"(0x1)", "(0x1)"},
      {" PSU Status  (0x2d)", "psu_status"},
  };
  for (const auto& [id, want] : cases) {
    std::string name = "stale";
    getSensorName(id, name);
    EXPECT_EQ(name, want) << "Sensor ID '" << id << "'";
  }
}

TEST_F(SensorIdentityTest, NumberIsReadInHexadecimalBetweenTheParentheses) {
  const std::vector<std::pair<std::string, int>> cases = {
      {"CPU Temp (0x1)", 1}, {"PSU Status (2d)", 45}, {"A (0x2e) (0x3)", 46}, {"A (  0x1f junk)", 31},
      {"A (-0x2)", -2},      {"Temp", -1},            {"A (0x1", -1},         {"A )(0x7", 7},
  };
  for (const auto& [id, want] : cases) EXPECT_EQ(getSensorNumber(id), want) << "Sensor ID '" << id << "'";
  EXPECT_TRUE(log.all().empty());
}

TEST_F(SensorIdentityTest, UnreadableNumberWarnsAndYieldsMinusOne) {
  EXPECT_EQ(getSensorNumber("Temp (xyz)"), -1);
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] Could not parse Sensor Number from Sensor ID 'Temp (xyz)': unable to "
                           "convert to integer."));
  EXPECT_EQ(getSensorNumber("Temp (0x1ffffffff)"), -1);
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] Could not parse Sensor Number from Sensor ID 'Temp (0x1ffffffff)': "
                           "Sensor Number is out of range for integer conversion."));
}

TEST_F(SensorIdentityTest, SharedNamesAllGetTheDecimalNumberSuffix) {
  const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> cases = {
      {{"CPU Temp (0x1)", "CPU Temp (0x2)"}, {"cpu_temp_1", "cpu_temp_2"}},
      {{"Fan (0x1)", "fan (0x2)"}, {"fan_1", "fan_2"}},
      {{"PSU Status (0x2d)", "PSU Status (0x2e)"}, {"psu_status_45", "psu_status_46"}},
      {{"CPU Temp (0x1)", "Inlet Temp (0x2)", "No Number"}, {"cpu_temp", "inlet_temp", "no_number"}},
      {{"CPU Temp (0x1)", "CPU Temp (0x1)"}, {"cpu_temp_1", "cpu_temp_1"}},
  };
  for (const auto& [ids, want] : cases) EXPECT_EQ(namesFor(ids), want) << ids[0];
}

TEST_F(SensorIdentityTest, SharedNameWithoutNumbersLeavesEverySensorOut) {
  EXPECT_EQ(namesFor({"Temp", "Temp"}), (std::vector<std::string>{"", ""}));
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] Skipping sensor 'Temp': could not parse Sensor Number from Sensor ID."));
}

TEST_F(SensorIdentityTest, CollidingCandidatesKeepOnlyOneSensor) {
  const std::vector<std::vector<std::string>> cases = {
      {"Temp (0x1)", "TEMP (0x1)"},
      {"Fan 1", "Fan (0x1)", "Fan (0x2)"},
  };
  for (const auto& ids : cases) {
    log.clear();
    const auto names = namesFor(ids);
    const auto kept = std::count(names.begin(), names.end(), ids.size() == 2 ? "temp_1" : "fan_1");
    EXPECT_EQ(kept, 1) << ids[0];
    EXPECT_EQ(std::count(names.begin(), names.end(), ""), 1) << ids[0];
    EXPECT_EQ(log.countAtMost(VTR_LOG_WARNING), 1u) << ids[0];
    EXPECT_NE(log.all().back().text.find("Sensor ID (Sensor Name and Sensor Number) is not unique."), std::string::npos);
  }
}

TEST_F(SensorIdentityTest, UnknownRecordsHaveNoName) {
  collector.createSensorsIdsMap({{{"Sensor ID", "CPU Temp (0x1)"}}});
  EXPECT_EQ(collector.getSavedUniqueSensorNameFromSensorData({{"Entity ID", "3.1"}}), "");
  EXPECT_EQ(collector.getSavedUniqueSensorNameFromSensorData({{"Sensor ID", "CPU Temp (0x9)"}}), "");
  EXPECT_EQ(collector.getSavedUniqueSensorNameFromSensorData({{"Sensor ID", "CPU Temp (0x1)"}}), "cpu_temp");
}

TEST_F(SensorIdentityTest, RecordWithoutSensorIdThrowsOutOfRange) {
  EXPECT_THROW(collector.createSensorsIdsMap({{{"Entity ID", "3.1"}}}), std::out_of_range);
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
