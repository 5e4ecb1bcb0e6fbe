// sim/set-sensor changes a running simulated BMC through its console, and the real tool reads
// the change: from the degraded server as recorded, a failure driven and cleared, readings
// across thresholds, and what it refuses.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "collector/remote_bmc.h"
#include "support/sim_server.h"
#include "support/test_env.h"

namespace vtr {
namespace test {
namespace {

std::string listing(const SimServer& sim, const std::string& arguments) {
  return runShell(ipmitool::ipmitoolCommand(sim.remoteBmc(), arguments) + " 2>&1").output;
}

std::string setSensor(const SimServer& sim, const std::string& arguments) {
  return std::string(VTR_SOURCE_DIR) + "/sim/set-sensor --profile degraded --console-port " +
         std::to_string(sim.consolePort()) + " " + arguments + " 2>&1";
}

// The fourth column of the sensor's row in the compact table: its status or states word.
std::string compactStatus(const SimServer& sim, const std::string& name) {
  const std::string table = listing(sim, "sensor");
  std::istringstream rows(table);
  for (std::string row; std::getline(rows, row);) {
    if (row.compare(0, name.size() + 1, name + " ") != 0) continue;
    std::string column;
    std::istringstream columns(row);
    for (int i = 0; i < 4; ++i) std::getline(columns, column, '|');
    std::string status;
    std::istringstream(column) >> status;
    return status;
  }
  return "no row in: " + table;
}

TEST(SetSensor, DrivesAFailureAndClearsItAsTheRealToolReadsIt) {
  SimServer sim("degraded", true);
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  EXPECT_EQ(listing(sim, "sensor -v"), readFile(fixturePath("degraded-server", "verbose.txt")));
  EXPECT_EQ(listing(sim, "sensor"), readFile(fixturePath("degraded-server", "compact.txt")));
  const struct {
    const char* sensor;  // as the compact table names it
    const char* arguments;
    const char* status;
  } steps[] = {
      {"PS2 Status", "'PS2 Status' --deassert 1 --deassert 3", "0x0100"},
      {"PS2 Status", "'PS2 Status' --assert 1", "0x0300"},
      {"PS Redundancy", "0x40 --deassert 1 --assert 0", "0x0100"},
      {"FAN3B", "FAN3B --reading 5400", "ok"},
      {"12V", "12V --reading 13.5", "cr"},
      {"12V", "12V --reading 12.06", "ok"},
  };
  for (const auto& step : steps) {
    const ShellResult set = runShell(setSensor(sim, step.arguments));
    ASSERT_EQ(set.exitCode, 0) << step.arguments << ": " << set.output;
    EXPECT_EQ(compactStatus(sim, step.sensor), step.status) << step.arguments;
  }
  const struct {
    const char* arguments;
    int exitCode;
    const char* says;
  } refusals[] = {
      {"'PCIe Slot3 Temp' --reading 40", 1, "the BMC refused"},  // an SDR without a sensor
      {"Temp --reading 40", 2, "2 sensors are named 'Temp'"},
      {"FAN3B --reading 541", 2, "cannot be shown exactly"},
      {"FAN3B --assert 1", 2, "threshold sensor"},
      {"'PS2 Status' --reading 1", 2, "is discrete"},
      {"'PS2 Status' --assert 15", 2, "not in 0-14"},
      {"99 --assert 1", 2, "no sensor number 99"},
  };
  for (const auto& refusal : refusals) {
    const ShellResult set = runShell(setSensor(sim, refusal.arguments));
    EXPECT_EQ(set.exitCode, refusal.exitCode) << refusal.arguments << ": " << set.output;
    EXPECT_NE(set.output.find(refusal.says), std::string::npos) << refusal.arguments << ": " << set.output;
  }
  EXPECT_EQ(compactStatus(sim, "PS2 Status"), "0x0300") << "a refused change leaves the BMC as it was";
}

}  // namespace
}  // namespace test
}  // namespace vtr
