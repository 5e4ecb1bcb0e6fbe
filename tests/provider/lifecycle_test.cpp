#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "support/event_blocks.h"
#include "support/fake_ipmitool.h"
#include "support/provider_host.h"
#include "runtime/source.h"

namespace vtr {
namespace test {
namespace {

class ProviderLifecycle : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(library.loaded()) << library.error();
    LogCapture::install(library.function<LogCapture::SetLogFunc>("vtr_set_log_func"));
  }
  ProviderLibrary library;
};

TEST_F(ProviderLifecycle, StopWithoutARunningThreadDoesNothing) {
  ProviderHost host(library, {});
  vtr_event_provider_t* provider = host.provider();
  EXPECT_TRUE(provider->stop(provider));
  EXPECT_TRUE(provider->stop(provider));
}

TEST_F(ProviderLifecycle, DestroyingANeverInitialisedProviderIsHarmless) {
  ProviderHost host(library, {});
  host.provider()->destroy(host.provider());
}

TEST_F(ProviderLifecycle, FillRecordWritesSevenZeroZero) {
  ProviderHost host(library, {});
  vtr_provider_fill_record_t record{1, 2, 3};
  EXPECT_TRUE(host.provider()->fill_record(host.provider(), nullptr, &record));
  EXPECT_EQ(record.first, 7u);
  EXPECT_EQ(record.second, 0u);
  EXPECT_EQ(record.third, 0u);
}

TEST_F(ProviderLifecycle, SourcesAreOneDefaultSourceTaggedIpmitool) {
  setenv("VTR_SOURCE_ID", "rack7-node3", 1);
  ProviderHost host(library, {});
  vtr_source_array_t* sources = host.provider()->get_sources(host.provider());
  ASSERT_NE(sources, nullptr);
  ASSERT_EQ(sources->count, 1u);
  EXPECT_STREQ(sources->sources[0]->tag, "ipmitool");
  EXPECT_STREQ(sources->sources[0]->id, "rack7-node3");
  library.function<decltype(&vtr_destroy_source_array)>("vtr_destroy_source_array")(sources);
}

TEST_F(ProviderLifecycle, InitializeRegistersTheTimestampFirstThenOneFieldPerSensor) {
  FakeIpmitool fake;
  ProviderHost host(library, {{"ipmitool-include-discrete-sensors", "1"}});
  ASSERT_TRUE(host.initialize());
  const vtr_type_definition_t* type = host.eventType();
  ASSERT_NE(type, nullptr);
  ASSERT_EQ(type->num_fields, 13);
  EXPECT_STREQ(type->fields[0]->field_name, "timestamp");
  EXPECT_STREQ(type->fields[0]->description, "Event timestamp");
  EXPECT_STREQ(type->fields[0]->type_name, "timestamp");
  EXPECT_STREQ(type->fields[1]->field_name, "cpu1_temp");
  EXPECT_STREQ(type->fields[12]->field_name, "ps2_status");
  EXPECT_EQ(LogCapture::count("[ipmitool] [ipmitool_provider_initialize] ipmitool provider initialized successfully."),
            1u);
}

TEST_F(ProviderLifecycle, OneSensorStillGetsTheTimestampField) {
  FakeIpmitool fake;
  fake.replayText(
      "Sensor ID              : CPU1 Temp (0x1)\n"
      " Entity ID             : 3.1\n"
      " Sensor Type (Threshold)  : Temperature\n"
      " Sensor Reading        : 45 (+/- 0) degrees C\n\n",
      "");
  ProviderHost host(library, {});
  ASSERT_TRUE(host.initialize());
  ASSERT_EQ(host.eventType()->num_fields, 2);
  EXPECT_STREQ(host.eventType()->fields[0]->field_name, "timestamp");
}

// A host that keeps the library mapped constructs the provider again after destroying it;
// only a new construct lifts a stop.
TEST_F(ProviderLifecycle, ConstructingAgainAfterDestroySamplesAgain) {
  FakeIpmitool fake;
  const std::map<std::string, std::string> options{{"ipmitool-sample-interval-sec", "0"}};
  const auto limit = std::chrono::seconds(60);
  {
    ProviderHost first(library, options);
    ASSERT_TRUE(first.initialize());
    ASSERT_TRUE(first.start());
    EXPECT_EQ(first.collectEvents(1, limit).size(), 1u);
    ASSERT_TRUE(first.stop());
    std::vector<std::vector<uint8_t>> drained;
    first.progressOnce(drained);
    const size_t runs = fake.recordedCalls().size();
    ASSERT_TRUE(first.start());
    EXPECT_TRUE(first.collectEvents(1, std::chrono::seconds(2)).empty());
    ASSERT_TRUE(first.stop());
    EXPECT_EQ(fake.recordedCalls().size(), runs);
  }
  ProviderHost second(library, options);
  ASSERT_TRUE(second.initialize());
  ASSERT_TRUE(second.start());
  EXPECT_EQ(second.collectEvents(1, limit).size(), 1u);
}

// Each failure is one error line; the provider is left destroyed, and a host that destroys
// it again does no harm.
TEST_F(ProviderLifecycle, InitializeFailuresAreReportedOnceAndCleanedUp) {
  struct Case {
    const char* what;
    int exitCode;
    std::string listing;
    const char* error;
  };
  const Case cases[] = {
      {"tool fails", 1, "", "[ipmitool] [ipmitool_provider_initialize] Failed to create schema for ipmitool provider."},
      {"no sensor can be named",
       0,
       "Sensor ID              : Temp\n Entity ID             : 3.1\n Sensor Type (Threshold)  : Temperature\n"
       " Sensor Reading        : 45 (+/- 0) degrees C\n\n"
       "Sensor ID              : Temp\n Entity ID             : 3.2\n Sensor Type (Threshold)  : Temperature\n"
       " Sensor Reading        : 41 (+/- 0) degrees C\n\n",
       "[ipmitool] [ipmitool_provider_initialize] No fields found in ipmitool schema."},
  };
  for (const Case& c : cases) {
    FakeIpmitool fake;
    fake.replayText(c.listing, "");
    fake.setExitCode(c.exitCode);
    ProviderHost host(library, {});
    EXPECT_FALSE(host.initialize()) << c.what;
    EXPECT_EQ(host.eventType(), nullptr) << c.what;
    EXPECT_EQ(LogCapture::count(c.error), 1u) << c.what;
    host.provider()->destroy(host.provider());
  }
}

}  // namespace
}  // namespace test
}  // namespace vtr
