#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "support/sim_server.h"

namespace vtr {
namespace ipmitool {
namespace {

// The whole path with the real tool: ipmitool over LAN to the simulated BMC, through the shim.
TEST(RealIpmitoolTest, SchemaAndSampleFromTheSimulatedServer) {
  test::SimServer sim("small");
  if (!sim.installed()) GTEST_SKIP() << sim.reason();
  ASSERT_TRUE(sim.running()) << sim.reason();
  sim.useShim();

  const volatile bool stop = false;
  IpmitoolCollector collector(CollectorConfig(true, true, false, "", 30, false), stop);
  std::vector<std::unique_ptr<vtr_type_field_info_t>> fields;
  ASSERT_TRUE(collector.setFieldsInfo(fields));
  std::vector<std::string> names;
  for (const auto& info : fields) names.push_back(std::string(info->field_name) + ":" + info->type_name);
  IpmitoolCollector::freeFieldsInfo(fields);
  EXPECT_EQ(names, (std::vector<std::string>{"cpu1_temp:double", "cpu2_temp:double", "inlet_temp:double",
                                             "temp_4:double", "temp_5:double", "fan1:double", "fan2:double",
                                             "12v:double", "3.3v:double", "cpu1_vcore:double",
                                             "ps1_status:uint16_t", "ps2_status:uint16_t"}));

  SensorSample sample;
  ASSERT_TRUE(collector.getSensorsData(sample));
  EXPECT_EQ(sample.size(), names.size());
  EXPECT_EQ(sample.at("12v"), "12.060");
  EXPECT_EQ(sample.at("ps1_status"), "0x0100");
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
