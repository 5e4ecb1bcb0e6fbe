// The state tables name, place and judge states as the real tool prints them: the compact
// table's states word and the verbose listing's bracketed names give the same states and
// health, in the degraded server's recording and for every name the tool knows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "collector/ipmi_state_tables.h"
#include "collector/remote_bmc.h"
#include "collector/text_scan.h"
#include "support/sim_server.h"
#include "support/test_env.h"

namespace vtr {
namespace ipmitool {
namespace {

using Offsets = std::vector<int>;
constexpr auto N = SensorHealth::Nominal;
constexpr auto W = SensorHealth::Warning;
constexpr auto C = SensorHealth::Critical;
constexpr auto U = SensorHealth::Unknown;
constexpr std::uint8_t kSpecific = kSensorSpecificReadingType;

std::vector<std::string_view> views(const std::vector<std::string>& texts) { return {texts.begin(), texts.end()}; }

TEST(StatesWord, FirstByteHoldsOffsetsZeroToSevenSecondEightToFourteen) {
  const struct {
    const char* word;
    std::optional<Offsets> offsets;
  } rows[] = {
      {"0x0b00", Offsets{0, 1, 3}},
      {"0x0000", Offsets{}},
      {"0x0401", Offsets{2, 8}},
      {"0x0240", Offsets{1, 14}},
      {"0x0180", Offsets{0}},  // the reserved top bit, which many BMCs set
      {"0xFFFF", Offsets{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}},
      {"na", std::nullopt},
      {"", std::nullopt},
      {"0x100", std::nullopt},
      {"0x01000", std::nullopt},
      {"0x0g00", std::nullopt},
      {"0b00", std::nullopt},
      {" 0x0100", std::nullopt},
      {"0x+100", std::nullopt},
      {"0X0100", std::nullopt},
  };
  for (const auto& row : rows) {
    const auto states = decodeStatesWord(row.word);
    EXPECT_EQ(states ? std::optional<Offsets>(states->offsets()) : std::nullopt, row.offsets) << row.word;
  }
}

// A word rebuilt from states (the SDR listing's names) reads back as the compact table prints
// it, the reserved bit as the sensor's own word sets it.
TEST(StatesWord, RebuiltFromStatesWithTheReservedBitAsGiven) {
  const struct {
    const char* word;
    bool reservedBit;
  } rows[] = {{"0x0b00", false}, {"0x0180", true}, {"0x0401", false}, {"0x00ff", true}, {"0x0000", false}};
  for (const auto& row : rows) {
    EXPECT_EQ(setsReservedBit(row.word), row.reservedBit) << row.word;
    EXPECT_EQ(encodeStatesWord(*decodeStatesWord(row.word), row.reservedBit), row.word);
  }
  EXPECT_FALSE(setsReservedBit("na"));
}

TEST(StateNames, GenericTablesServeEveryTypeAndGapsGetANumber) {
  const struct {
    DiscreteType type;
    int offset;
    const char* name;
  } rows[] = {
      {{0x09, 0x0B}, 1, "Redundancy Lost"},   // generic redundancy, on a power unit
      {{0x09, kSpecific}, 1, "Power cycle"},  // the same offset, the power unit's own
      {{0x0D}, 8, "Rebuild Aborted"},
      {{0x22}, 13, "state 13"},  // a gap in the tool's table
      {{0x08}, 8, "state 8"},
      {{0xC0}, 0, "state 0"},        // OEM sensor type
      {{0x08, 0x70}, 1, "state 1"},  // OEM event/reading type
      {{0x08, 0x01}, 0, "state 0"},  // threshold
  };
  for (const auto& row : rows) EXPECT_EQ(stateName(row.type, row.offset), row.name) << row.name;
}

TEST(StateNames, ReadBackIntoOffsetsWithTheTableTheNamesBelongTo) {
  const struct {
    std::uint8_t sensorType;
    std::vector<std::string> names;
    std::optional<std::uint8_t> readingType;
    Offsets offsets;  // placed with that reading type, else the sensor-specific one
    std::vector<std::string> unplaced;
  } rows[] = {
      {0x08, {"Presence detected", "Failure detected", "Power Supply AC lost"}, kSpecific, {0, 1, 3}, {}},
      {0x09, {"Redundancy Lost"}, 0x0B, {1}, {}},
      {0x0B, {"Transition to Degraded", "Install Error"}, 0x0A, {6, 8}, {}},
      {0x23, {"Timer expired", "reserved"}, kSpecific, {0}, {"reserved"}},  // four offsets print "reserved"
      {0x08, {"Presence detected", "Frobnicated"}, std::nullopt, {0}, {"Frobnicated"}},
      {0x08, {}, std::nullopt, {}, {}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(readingTypeOfNames(row.sensorType, views(row.names)), row.readingType) << row.names.size();
    const NamedStates named = statesFromNames({row.sensorType, row.readingType.value_or(kSpecific)}, views(row.names));
    EXPECT_EQ(named.asserted.offsets(), row.offsets);
    EXPECT_EQ(named.unplaced, row.unplaced);
  }
  EXPECT_EQ(bracketedStateName("                         [Drive Present]"), "Drive Present");
  // The SDR listing joins names with ", ", which some names hold themselves.
  const struct {
    DiscreteType type;
    const char* list;
    std::vector<std::string_view> names;
  } lists[] = {
      {{0x08}, "Presence detected, Failure detected", {"Presence detected", "Failure detected"}},
      {{0x08}, "AC out-of-range, but present, Config Error", {"AC out-of-range, but present", "Config Error"}},
      {{0x08}, "AC out-of-range", {"AC out-of-range"}},  // a name another name starts with
      {{0x22}, "S2: sleeping, processor context lost", {"S2: sleeping, processor context lost"}},
      {{0x08}, "Frobnicated, Presence detected", {"Frobnicated", "Presence detected"}},
      {{0x08}, "", {}},
  };
  for (const auto& row : lists) EXPECT_EQ(splitStateList(row.type, row.list), row.names) << row.list;
  for (const char* line : {"States Asserted       : Power Supply", "[]", " [Drive Present", ""})
    EXPECT_EQ(bracketedStateName(line), std::nullopt) << line;
}

TEST(Health, WorstAssertedStateOrThresholdStatus) {
  const struct {
    DiscreteType type;
    std::optional<Offsets> offsets;
    SensorHealth health;
  } states[] = {
      {{0x08}, Offsets{0}, N},        {{0x08}, Offsets{0, 2}, W}, {{0x08}, Offsets{0, 1, 3}, C},
      {{0x08}, Offsets{}, N},         {{0x08}, std::nullopt, U},  {{0xC0}, Offsets{0, 5}, N},
      {{0x09, 0x0B}, Offsets{1}, C},  {{0x0C}, Offsets{0}, W},    {{0x0C}, Offsets{1}, C},
      {{0x0D}, Offsets{0, 2}, W},     {{0x05}, Offsets{0}, W},    {{0x07}, Offsets{1, 7}, C},
  };
  for (const auto& row : states) {
    std::optional<AssertedStates> asserted;
    if (row.offsets) {
      asserted.emplace();
      for (int offset : *row.offsets) asserted->add(offset);
    }
    EXPECT_EQ(statesHealth(row.type, asserted), row.health) << int(row.type.sensorType);
  }
  const std::pair<const char*, SensorHealth> statuses[] = {
      {"ok", N}, {"nc", W}, {"cr", C}, {"nr", C}, {"Lower Non-Critical", W}, {"Upper Non-Recoverable", C},
      {"lnc", W}, {"ucr", C}, {"lnr", C}, {"na", U}, {"ns", U}, {"", U}, {"OK", U},
  };
  for (const auto& [status, health] : statuses) EXPECT_EQ(thresholdStatusHealth(status), health) << status;
}

TEST(SensorTypes, EveryNamedCodeReadsBackAndOthersAreUnknown) {
  for (int code = 0x01; code <= 0x2C; ++code)
    EXPECT_EQ(sensorTypeCode(sensorTypeName(code)), code) << sensorTypeName(code);
  EXPECT_EQ(sensorTypeName(0xC0), "Unknown");
  EXPECT_EQ(sensorTypeCode("Unknown"), std::nullopt);
  EXPECT_EQ(sensorTypeCode("Power Supply"), 0x08);
}

// One sensor of the verbose listing, or one row of the compact table.
struct Listed {
  std::string name;
  std::string type;  // compact: "discrete" or the unit
  bool discrete = false;
  std::string status;  // the Status line, or the fourth column (the states word of a discrete row)
  std::vector<std::string> stateNames;
};

std::vector<Listed> verboseListing(const std::string& text) {
  std::vector<Listed> sensors;
  forEachLine(text, [&](std::string_view line) {
    const auto colon = line.find(':');
    const std::string_view label = trimBlanks(line.substr(0, colon));
    const std::string value(trimBlanks(line.substr(colon == std::string_view::npos ? line.size() : colon + 1)));
    if (label == "Sensor ID") sensors.push_back({value.substr(0, value.find(" (")), "", false, "", {}});
    if (sensors.empty()) return;
    if (const auto name = bracketedStateName(line)) {
      sensors.back().stateNames.emplace_back(*name);
    } else if (label.substr(0, 13) == "Sensor Type (") {
      sensors.back().type = value;
      sensors.back().discrete = label == "Sensor Type (Discrete)";
    } else if (label == "Status") {
      sensors.back().status = value;
    }
  });
  return sensors;
}

std::vector<Listed> compactTable(const std::string& text) {
  std::vector<Listed> rows;
  forEachLine(text, [&](std::string_view line) {
    std::vector<std::string> columns;
    for (std::string_view rest = line; !rest.empty();) {
      const auto bar = rest.find('|');
      columns.emplace_back(trimBlanks(rest.substr(0, bar)));
      rest = bar == std::string_view::npos ? std::string_view() : rest.substr(bar + 1);
    }
    if (columns.size() >= 4) rows.push_back({columns[0], columns[2], columns[2] == "discrete", columns[3], {}});
  });
  return rows;
}

// A discrete sensor's table, as a reader of the verbose listing learns it.
DiscreteType discreteType(const Listed& sensor) {
  const std::uint8_t type = sensorTypeCode(sensor.type).value_or(0);
  return {type, readingTypeOfNames(type, views(sensor.stateNames)).value_or(kSpecific)};
}

TEST(DegradedRecording, BothListingsGiveEachSensorTheSameStatesAndHealth) {
  const auto verbose = verboseListing(test::readFile(test::fixturePath("degraded-server", "verbose.txt")));
  const auto compact = compactTable(test::readFile(test::fixturePath("degraded-server", "compact.txt")));
  ASSERT_EQ(verbose.size(), 64u);
  ASSERT_EQ(compact.size(), verbose.size());
  std::vector<std::pair<std::string, SensorHealth>> healths;
  for (std::size_t i = 0; i < verbose.size(); ++i) {
    const Listed& listed = verbose[i];
    const Listed& row = compact[i];
    ASSERT_EQ(row.name, listed.name);
    ASSERT_EQ(row.discrete, listed.discrete) << listed.name;
    SensorHealth health = thresholdStatusHealth(listed.status);
    if (listed.discrete) {
      const DiscreteType type = discreteType(listed);
      const NamedStates named = statesFromNames(type, views(listed.stateNames));
      EXPECT_TRUE(named.unplaced.empty()) << listed.name;
      const auto decoded = decodeStatesWord(row.status);
      ASSERT_TRUE(decoded) << listed.name;
      EXPECT_EQ(decoded->offsets(), named.asserted.offsets()) << listed.name;
      EXPECT_EQ(stateNames(type, *decoded), listed.stateNames) << listed.name;
      health = statesHealth(type, named.asserted);
      EXPECT_EQ(statesHealth(type, decoded), health) << listed.name;
    } else {
      EXPECT_EQ(thresholdStatusHealth(row.status), health) << listed.name;
    }
    healths.emplace_back(listed.name, health);
  }
  const std::pair<std::string, SensorHealth> faults[] = {
      {"PS2 Status", C}, {"PS Redundancy", C}, {"FAN3B", W},   {"12V", C},       {"VBAT", W},
      {"PS1 Status", N}, {"Drive 0", N},       {"Drive 6", N}, {"CPU1 Temp", N}, {"PCIe Slot3 Temp", U},
  };
  for (const auto& fault : faults)
    EXPECT_NE(std::find(healths.begin(), healths.end(), fault), healths.end()) << fault.first;
  // Without the event/reading type the verbose names reveal, the word misnames the state.
  EXPECT_EQ(stateNames({0x09}, *decodeStatesWord("0x0200")), std::vector<std::string>{"Power cycle"});
}

TEST(RealTool, PrintsEveryStateNameAndSensorTypeOfTheTables) {
  test::SimServer sim("state-names");
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  const test::ShellResult listing = test::runShell(ipmitoolCommand(sim.remoteBmc(), "sensor -v") + " 2>&1");
  ASSERT_EQ(listing.exitCode, 0) << listing.output;
  const auto sensors = verboseListing(listing.output);
  ASSERT_EQ(sensors.size(), 4u * (0x2C + 11)) << listing.output;
  for (const Listed& sensor : sensors) {
    // "states TT EE b": sensor type, event/reading type, and the bit of the offsets asserted.
    unsigned sensorType = 0, readingType = 0;
    int bit = 0;
    ASSERT_EQ(std::sscanf(sensor.name.c_str(), "states %x %x %d", &sensorType, &readingType, &bit), 3) << sensor.name;
    EXPECT_EQ(sensorTypeCode(sensor.type), sensorType) << sensor.name;
    std::vector<std::string> expected;
    for (int offset = 0; offset < 15; ++offset)
      if (offset >> bit & 1)
        if (const auto name = knownStateName({std::uint8_t(sensorType), std::uint8_t(readingType)}, offset))
          expected.emplace_back(*name);
    EXPECT_EQ(sensor.stateNames, expected) << sensor.name;
  }
}

// The SDR listing through a cache names the states of every sensor; read back, they give the
// compact table's word for every offset a name places, that is all but the offsets the tool
// names not and those it calls "reserved".
TEST(RealTool, SdrListingStatesReadBackIntoTheCompactTablesWord) {
  test::SimServer sim("state-names");
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  const std::string dir = test::makeTempDirectory("vtr-sdr");
  const std::string cache = dir + "/sdr.cache";
  const test::ShellResult dump = test::runShell(ipmitoolCommand(sim.remoteBmc(), "sdr dump " + cache) + " 2>&1");
  const test::ShellResult listing = test::runShell(ipmitoolCommand(sim.remoteBmc(), "-S " + cache + " -c sdr elist"));
  const test::ShellResult table = test::runShell(ipmitoolCommand(sim.remoteBmc(), "sensor") + " 2>&1");
  test::removeDirectory(dir);
  ASSERT_EQ(dump.exitCode, 0) << dump.output;
  const auto words = compactTable(table.output);
  std::vector<std::string> rows;
  forEachLine(listing.output, [&](std::string_view line) { rows.emplace_back(line); });
  ASSERT_EQ(rows.size(), words.size()) << listing.output;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    // "states TT EE b,NNh,ok,7.1,NAME, NAME..."
    unsigned sensorType = 0, readingType = 0;
    ASSERT_EQ(std::sscanf(rows[i].c_str(), "states %x %x", &sensorType, &readingType), 2) << rows[i];
    const DiscreteType type{std::uint8_t(sensorType), std::uint8_t(readingType)};
    std::string_view names = rows[i];
    for (int cell = 0; cell < 4; ++cell) names.remove_prefix(names.find(',') + 1);
    const Offsets rebuilt = statesFromNames(type, splitStateList(type, names)).asserted.offsets();
    Offsets placeable;
    for (int offset : decodeStatesWord(words[i].status)->offsets())
      if (knownStateName(type, offset).value_or("reserved") != "reserved") placeable.push_back(offset);
    EXPECT_EQ(rebuilt, placeable) << rows[i];
  }
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
