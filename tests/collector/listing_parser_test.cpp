#include <gtest/gtest.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "collector/discrete_states.h"
#include "collector/ipmitool_collector.h"
#include "collector/listing_parser.h"
#include "collector/value_rules.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::LogRecorder;
using StatesMap = std::unordered_map<std::string, std::string>;
using namespace std::string_literals;

const char* const kThresholdSensor =
    "Sensor ID              : CPU Temp (0x1)\n"
    " Entity ID             : 3.1 (Processor)\n"
    " Sensor Type (Threshold)  : Temperature (0x01)\n"
    " Sensor Reading        : 45 (+/- 0.5) degrees C\n"
    " Status                : ok\n"
    " Upper critical        : 90.000\n"
    " Assertions Enabled    : ucr+ \n"
    "\n";

const char* const kDiscreteSensor =
    "Sensor ID              : PS1 Status (0x2d)\n"
    " Entity ID             : 10.1 (Power Supply)\n"
    " Sensor Type (Discrete): Power Supply (0x08)\n"
    " States Asserted       : Power Supply\n"
    "                         [Presence detected]\n"
    "                         [Power Supply AC lost]\n"
    " Assertion Events      : Power Supply\n"
    "                         [Presence detected]\n"
    "\n";

struct Parser {
  explicit Parser(const CollectorConfig& config) : collector(config, stop) {}
  SensorListing parse(const std::string& output, const StatesMap& states = {}) const {
    SensorListing listing;
    parseSensorListing(collector.config(), output, states, listing);
    return listing;
  }
  volatile bool stop = false;
  IpmitoolCollector collector;
};

CollectorConfig configWith(bool discrete, bool continuous, bool emptyFields) {
  return CollectorConfig(discrete, continuous, emptyFields, "", 30, false);
}

TEST(ListingParserTest, CutsTheListingIntoTrimmedLabelValueRecords) {
  const Parser parser(configWith(true, true, false));
  const auto listing = parser.parse(std::string(kThresholdSensor) + kDiscreteSensor, {{"PS1 Status", "0x0180"}});
  ASSERT_EQ(listing.size(), 2u);
  const SensorRecord wantThreshold = {{"Sensor ID", "CPU Temp (0x1)"},
                                      {"Entity ID", "3.1 (Processor)"},
                                      {"Sensor Type (Threshold)", "Temperature (0x01)"},
                                      {"Sensor Reading", "45 (+/- 0.5) degrees C"},
                                      {"Status", "ok"},
                                      {"Upper critical", "90.000"},
                                      {"Assertions Enabled", "ucr+"}};
  EXPECT_EQ(listing[0], wantThreshold);
  EXPECT_EQ(listing[1].at("States Asserted"), "0x0180");
  EXPECT_EQ(listing[1].at("Assertion Events"), "Power Supply");
}

TEST(ListingParserTest, OnlyALineStartingWithSensorIdOpensARecord) {
  const Parser parser(configWith(false, true, false));
  struct Case {
    const char* what;
    std::string output;
    size_t wantSensors;
  };
  const std::vector<Case> cases = {
      {"nothing", "", 0},
      {"colons but no Sensor ID", "Entity ID : 3.1\nSensor Reading : 45\nSensor Type (Threshold) : T\n", 0},
      {"indented Sensor ID", std::string(" ") + kThresholdSensor, 0},
      {"preamble before the first sensor", std::string("Sensor Reading : 99\nlocking...\n") + kThresholdSensor, 1},
      {"no final newline", std::string(kThresholdSensor, std::string(kThresholdSensor).size() - 2), 1},
      {"blank-only lines", std::string(kThresholdSensor) + "   \n  \n" + kThresholdSensor, 2},
      {"binary bytes", "\x01\xff\x00garbage:\x7f\n"s + kThresholdSensor + "\xfe\xff:\x00\n"s, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(parser.parse(c.output).size(), c.wantSensors) << c.what;
  }
}

TEST(ListingParserTest, IdentityLinesFollowTheWrittenRules) {
  const Parser parser(configWith(false, true, false));
  const auto listing = parser.parse(
      "Sensor ID : CPU Temp(0x1)\n"
      " Entity ID : 3.1\n"
      " Sensor Type (Threshold) : Temperature\n"
      " Sensor Reading : 40\n"
      " Time : 12:30:00\n"
      " Sensor ID : Renamed (0x9)\n"
      " Sensor Reading : 41\n");
  ASSERT_EQ(listing.size(), 1u);
  EXPECT_EQ(listing[0].at("Time"), "12:30:00");
  // A later indented "Sensor ID" line is an ordinary label; the last line of a label wins.
  EXPECT_EQ(listing[0].at("Sensor ID"), "Renamed (0x9)");
  EXPECT_EQ(listing[0].at("Sensor Reading"), "41");
}

TEST(ListingParserTest, StatesWordReplacesTheTextAndUnreadableLines) {
  const std::string unreadable =
      "Sensor ID              : Drive 2 (0x31)\n"
      " Entity ID             : 4.2 (Disk Drive Bay)\n"
      " Sensor Type (Discrete): Drive Slot (0x0d)\n"
      " Unable to read sensor: Device Not Present\n"
      "\n";
  struct Case {
    const char* what;
    bool discrete;
    StatesMap states;
    size_t wantSensors;
    std::string wantStates;  // of the first sensor, when kept
  };
  const std::vector<Case> cases = {
      {"word of the unreadable sensor", true, {{"Drive 2", "0x0001"}}, 1, "0x0001"},
      {"unreadable sensor missing from the table", true, {}, 0, ""},
      {"discrete sensors excluded", false, {{"Drive 2", "0x0001"}}, 0, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LogRecorder log;
    const Parser parser(configWith(c.discrete, true, false));
    const auto listing = parser.parse(unreadable, c.states);
    ASSERT_EQ(listing.size(), c.wantSensors);
    if (c.wantSensors > 0) {
      EXPECT_EQ(listing[0].at("States Asserted"), c.wantStates);
    }
    if (c.discrete && c.states.empty()) {
      EXPECT_TRUE(log.contains(VTR_LOG_DEBUG,
                               "[ipmitool collector] Sensor 'Drive 2' not found in 'discrete_sensors_data'. Unable to "
                               "retrieve 'States Asserted' value."));
    }
  }
}

TEST(ListingParserTest, StatesTextCollectsItsBracketedContinuationLines) {
  CollectorConfig config = configWith(true, true, false);
  config.statesAssertedAsText = true;
  const Parser parser(config);
  // A threshold sensor keeps its record through the filter, so the text can be seen.
  const auto listing = parser.parse(std::string(kThresholdSensor, std::string(kThresholdSensor).size() - 1) +
                                    " States Asserted       : Presence detected\n"
                                    "                         [Device Present]\n"
                                    "                         [Transition to OK]\n"
                                    " Assertion Events      : Presence detected\n"
                                    "                         [Device Present]\n");
  ASSERT_EQ(listing.size(), 1u);
  EXPECT_EQ(listing[0].at("States Asserted"), "Presence detected [Device Present] [Transition to OK]");
  EXPECT_EQ(listing[0].at("Assertion Events"), "Presence detected");

  std::string text = listing[0].at("States Asserted");
  parseFieldValue(parser.collector.config(), "States Asserted", text);
  EXPECT_EQ(text, "Device Present,Transition to OK");
}

TEST(ListingParserTest, StatesTextNeverMakesADiscreteSensorPublishable) {
  CollectorConfig config = configWith(true, true, false);
  config.statesAssertedAsText = true;
  EXPECT_TRUE(Parser(config).parse(kDiscreteSensor).empty());
}

TEST(ListingParserTest, NoReadingBecomesTheDefaultOnlyWithEmptyFields) {
  const std::string naReading =
      "Sensor ID : Fan 3 (0x32)\n"
      " Entity ID : 29.3\n"
      " Sensor Type (Threshold) : Fan\n"
      " Sensor Reading : na\n"
      " Status : Unspecified\n";
  const auto withDefaults = Parser(configWith(false, true, true)).parse(naReading);
  ASSERT_EQ(withDefaults.size(), 1u);
  EXPECT_EQ(withDefaults[0].at("Sensor Reading"), "0.0");
  EXPECT_EQ(withDefaults[0].count("Status"), 0u);

  EXPECT_TRUE(Parser(configWith(false, true, false)).parse(naReading).empty());
}

TEST(ListingParserTest, CarriageReturnsStayPartOfTheirLines) {
  const Parser parser(configWith(false, true, false));
  const auto listing = parser.parse(
      "Sensor ID : CPU Temp (0x1)\r\n"
      " Entity ID : 3.1\r\n"
      " Sensor Type (Threshold) : Temperature\r\n"
      " Sensor Reading : 45 (+/- 0.5) degrees C\r\n");
  ASSERT_EQ(listing.size(), 1u);
  EXPECT_EQ(listing[0].at("Sensor ID"), "CPU Temp (0x1)\r");
  EXPECT_EQ(listing[0].at("Entity ID"), "3.1\r");
}

TEST(ListingParserTest, HugeLinesAreReadWhole) {
  const Parser parser(configWith(false, true, false));
  const std::string longValue(100000, 'v');
  const auto listing = parser.parse(std::string(kThresholdSensor) + " Description : " + longValue + "\n" +
                                    std::string(100000, 'x') + "\n");
  ASSERT_EQ(listing.size(), 1u);
  EXPECT_EQ(listing[0].at("Description"), longValue);
}

TEST(DiscreteStatesTest, ThresholdRecordsAreNeverGivenAStatesWord) {
  const Parser parser(configWith(true, true, false));
  const StatesMap states = {{"CPU Temp", "0x0001"}};
  SensorRecord threshold = {{"Sensor Type (Threshold)", "Temperature"}};
  updateDiscreteSensorData(parser.collector.config(), states, "CPU Temp", threshold);
  EXPECT_EQ(threshold.count("States Asserted"), 0u);

  SensorRecord discrete = {{"Sensor Type (Discrete)", "Power Supply"}};
  updateDiscreteSensorData(parser.collector.config(), states, "CPU Temp", discrete);
  EXPECT_EQ(discrete.at("States Asserted"), "0x0001");
}

TEST(DiscreteStatesTest, EmptyWordOfAnNaSensorTakesTheDefault) {
  const StatesMap states = {{"PS2 Status", ""}};
  SensorRecord withDefault = {{"Sensor Type (Discrete)", "Power Supply"}};
  updateDiscreteSensorData(configWith(true, true, true), states, "PS2 Status", withDefault);
  EXPECT_EQ(withDefault.at("States Asserted"), "0x0");

  SensorRecord without = {{"Sensor Type (Discrete)", "Power Supply"}};
  updateDiscreteSensorData(configWith(true, true, false), states, "PS2 Status", without);
  EXPECT_EQ(without.count("States Asserted"), 0u);
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
