#include <gtest/gtest.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::LogRecorder;
using StatesMap = std::unordered_map<std::string, std::string>;

// One row of the compact table as the tool prints it.
std::string row(const std::string& name, const std::string& states) {
  std::string padded = name;
  padded.resize(17, ' ');
  return padded + "| 0x0        | discrete   | " + states + "| na        | na        | na        \n";
}

StatesMap parseTable(const std::string& table, bool emptyFields = false) {
  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(true, true, emptyFields, "", 30, false), stop);
  StatesMap states;
  collector.parseDiscreteStatesTable(table, states);
  return states;
}

TEST(DiscreteStatesTest, StatesWordIsTheSixCharactersFromTheZero) {
  const StatesMap states = parseTable(row("PS1 Status", "0x0080") + row("Drive 1", "0x0 ") +
                                      "Intrusion        | 0x0        | discrete   | 0x0 |na\n" +
                                      row("Short", "0x1"));
  EXPECT_EQ(states, (StatesMap{{"PS1 Status", "0x0080"}, {"Drive 1", "0x0 | "}, {"Intrusion", "0x0 |n"},
                               {"Short", "0x1| n"}}));
}

TEST(DiscreteStatesTest, WordCutStopsAtTheEndOfTheLine) {
  EXPECT_EQ(parseTable("Lone | discrete   | 0x1"), (StatesMap{{"Lone", "0x1"}}));
}

TEST(DiscreteStatesTest, NameShownTwiceIsDroppedEntirely) {
  LogRecorder log;
  const StatesMap states = parseTable(row("PS1 Status", "0x0080") + row("PS1 Status", "0x0100") +
                                      row("PS1 Status", "0x0100") + row("PS2 Status", "0x0001"));
  EXPECT_EQ(states, (StatesMap{{"PS2 Status", "0x0001"}}));
  EXPECT_EQ(log.count(VTR_LOG_WARNING,
                      "[ipmitool collector] Sensor 'PS1 Status' will not be collected since it appears multiple times."),
            2u);
}

TEST(DiscreteStatesTest, NaCellIsKeptEmptyOnlyWithEmptyFields) {
  const std::string table = row("PS2 Status", "na    ") + row("PS1 Status", "0x0080");
  {
    LogRecorder log;
    EXPECT_EQ(parseTable(table, true), (StatesMap{{"PS2 Status", ""}, {"PS1 Status", "0x0080"}}));
    EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                             "[ipmitool collector] Default value will be used for sensor 'PS2 Status' because the "
                             "original value is 'na'."));
  }
  {
    LogRecorder log;
    EXPECT_EQ(parseTable(table, false), (StatesMap{{"PS1 Status", "0x0080"}}));
    EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                             "[ipmitool collector] Sensor 'PS2 Status' will not be collected since the value is 'na'."));
  }
}

TEST(DiscreteStatesTest, OtherCellsAndLinesWithoutABarAreRefused) {
  LogRecorder log;
  const StatesMap states = parseTable("no bar here\n\n" + row("Odd", "xx    ") +
                                      "Odd2 | discrete | 0x0080\n" + std::string(100000, '|') + "\n");
  EXPECT_TRUE(states.empty());
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] Sensor 'Odd' will not be collected since the value is invalid."));
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
