#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "support/log_capture.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::FakeIpmitool;
using test::LogRecorder;

// A collector whose schema was built from a fixture, as the provider does at start-up.
class SampleAssemblyTest : public ::testing::Test {
 protected:
  void buildSchema(const std::string& fixture, bool discrete, bool emptyFields) {
    fake.replay(fixture);
    collector = std::make_unique<IpmitoolCollector>(CollectorConfig(discrete, true, emptyFields, "", 30, false), stop);
    std::vector<std::unique_ptr<vtr_type_field_info_t>> fields;
    ASSERT_TRUE(collector->setFieldsInfo(fields));
    IpmitoolCollector::freeFieldsInfo(fields);
    log.clear();
  }

  FakeIpmitool fake;
  LogRecorder log;
  volatile bool stop = false;
  std::unique_ptr<IpmitoolCollector> collector;
};

TEST_F(SampleAssemblyTest, SampleHoldsEveryFieldsCleanedValue) {
  buildSchema("small-server", true, false);
  SensorSample sample;
  ASSERT_TRUE(collector->getSensorsData(sample));
  EXPECT_EQ(sample, (SensorSample{{"cpu1_temp", "45"},
                                  {"cpu2_temp", "47"},
                                  {"inlet_temp", "23"},
                                  {"temp_4", "38"},
                                  {"temp_5", "41"},
                                  {"fan1", "5400"},
                                  {"fan2", "5340"},
                                  {"12v", "12.060"},
                                  {"3.3v", "3.300"},
                                  {"cpu1_vcore", "1.050"},
                                  {"ps1_status", "0x0100"},
                                  {"ps2_status", "0x0300"}}));
  // Unpublished labels are looked up in the schema before the selection test.
  EXPECT_TRUE(log.contains(VTR_LOG_DEBUG, "[ipmitool collector] Field 'cpu1_temp_status' not found in schema."));
  EXPECT_TRUE(log.contains(VTR_LOG_DEBUG, "[ipmitool collector] Field 'ps1_status_entity_id' not found in schema."));
}

TEST_F(SampleAssemblyTest, MissingReadingIsPublishedAsDefaultOnlyWithEmptyFields) {
  buildSchema("small-server", false, true);
  fake.replay("na-readings");
  SensorSample sample;
  ASSERT_TRUE(collector->getSensorsData(sample));
  EXPECT_EQ(sample.at("fan2"), "0.0");

  buildSchema("small-server", false, false);
  fake.replay("na-readings");
  sample.clear();
  ASSERT_TRUE(collector->getSensorsData(sample));
  EXPECT_EQ(sample.count("fan2"), 0u);
  EXPECT_EQ(sample.size(), 9u);
  EXPECT_EQ(log.countAtMost(VTR_LOG_WARNING), 0u);
}

TEST_F(SampleAssemblyTest, ValueThatChangedNotationIsDroppedWithAWarning) {
  buildSchema("small-server", false, false);
  fake.replay("hex-readings");
  SensorSample sample;
  ASSERT_TRUE(collector->getSensorsData(sample));
  EXPECT_EQ(sample.count("cpu1_temp"), 0u);
  EXPECT_EQ(sample.count("fan1"), 0u);
  EXPECT_EQ(sample.at("cpu2_temp"), "47");
  EXPECT_EQ(log.count(VTR_LOG_WARNING,
                      "[ipmitool collector] Type mismatch for field 'Sensor Reading': expected 'double' as defined in "
                      "the schema, but got 'uint64_t'. Skipping field."),
            2u);
}

TEST_F(SampleAssemblyTest, SensorsUnknownAtStartUpAreNotPublished) {
  buildSchema("small-server", false, false);
  fake.replay("names-without-parentheses");
  SensorSample sample;
  ASSERT_TRUE(collector->getSensorsData(sample));
  // "CPU1 Temp(0x1)" and "Inlet Temp" are other Sensor ID texts than at start-up.
  EXPECT_EQ(sample.count("cpu1_temp"), 0u);
  EXPECT_EQ(sample.count("inlet_temp"), 0u);
  EXPECT_EQ(sample.size(), 8u);
}

TEST_F(SampleAssemblyTest, NoSampleWithoutSchemaListingOrWhileStopping) {
  fake.replay("small-server");
  collector = std::make_unique<IpmitoolCollector>(CollectorConfig(false, true, false, "", 30, false), stop);
  SensorSample sample;
  EXPECT_FALSE(collector->getSensorsData(sample));
  EXPECT_TRUE(log.contains(VTR_LOG_ERR,
                           "[ipmitool collector] The schema has not been created. Cannot parse sensor data."));

  buildSchema("small-server", false, false);
  fake.setExitCode(2);
  EXPECT_FALSE(collector->getSensorsData(sample));
  EXPECT_TRUE(log.contains(VTR_LOG_ERR, "[ipmitool collector] Failed to retrieve data from ipmitool sensors."));

  fake.setExitCode(0);
  stop = true;
  log.clear();
  EXPECT_FALSE(collector->getSensorsData(sample));
  EXPECT_TRUE(sample.empty());
  EXPECT_EQ(log.countAtMost(VTR_LOG_WARNING), 0u);
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
