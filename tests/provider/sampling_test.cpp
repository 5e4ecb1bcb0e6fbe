#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "provider/field_info.h"
#include "provider/sampling_thread.h"
#include "runtime/clock.h"
#include "src/data/data_serializer.h"
#include "static_provider.h"
#include "support/event_blocks.h"
#include "support/fake_ipmitool.h"

namespace vtr {
namespace test {
namespace {

using Event = std::vector<uint8_t>;

// The small server's listing with one line changed.
std::string listingWith(const std::string& from, const std::string& to) {
  std::string listing = readFile(fixturePath("small-server", "sensor-v.txt"));
  const size_t at = listing.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) listing.replace(at, from.size(), to);
  return listing;
}

std::string compactListing() { return readFile(fixturePath("small-server", "sensor.txt")); }

// One progress call of `provider` over a buffer of `capacity` bytes; returns its result.
int progressInto(StaticProvider& provider, std::vector<Event>& events, size_t capacity = 4096) {
  std::vector<uint8_t> buffer(capacity);
  vtr_data_serializer_t serializer{provider.typeSystem(), buffer.data(), capacity, 0};
  const int result = provider.record()->progress(provider.record(), nullptr, &serializer);
  for (EventBlock& block : decodeEventBlocks(buffer.data(), serializer.used, provider.state().event_size)) {
    EXPECT_EQ(block.schemaIndex, provider.state().schema_id);
    EXPECT_EQ(block.typeIndex, provider.state().type_id);
    for (Event& event : block.events) events.push_back(std::move(event));
  }
  return result;
}

// Everything pending; progress reports nothing left.
std::vector<Event> drainEvents(StaticProvider& provider) {
  std::vector<Event> events;
  EXPECT_EQ(progressInto(provider, events), 0);
  return events;
}

// One pass of the sampling thread run on the test's thread, and a host draining it.
class SamplingPass : public ::testing::Test {
 protected:
  void SetUp() override {
    LogCapture::install(vtr_set_log_func);
    ASSERT_TRUE(provider.initialize());
  }

  void runPass() { ipmitool::ipmitool_provider_generate_events(&provider.state(), sample); }

  int progress(std::vector<Event>& events, size_t capacity = 4096) {
    return progressInto(provider, events, capacity);
  }
  std::vector<Event> drain() { return drainEvents(provider); }

  const ipmitool::field_info_t& field(const std::string& name) const {
    const ipmitool::provider_t& state = provider.state();
    for (uint16_t i = 0; i < state.field_count; ++i) {
      if (state.field_infos[i]->name == name) return *state.field_infos[i];
    }
    ADD_FAILURE() << "no field " << name;
    return *state.field_infos[0];
  }

  template <typename T>
  T valueOf(const Event& event, const std::string& name) const {
    return fieldAt<T>(event, field(name).offset);
  }

  FakeIpmitool fake;
  StaticProvider provider{{{"ipmitool-include-discrete-sensors", "1"}}};
  ipmitool::SensorSample sample;
};

TEST_F(SamplingPass, EveryValueLandsAtItsFieldOffsetInItsType) {
  const uint64_t before = vtr_now_us();
  runPass();
  const uint64_t after = vtr_now_us();
  EXPECT_TRUE(sample.empty()) << "the pass leaves its sample map empty";
  const std::vector<Event> events = drain();
  ASSERT_EQ(events.size(), 1u);
  const Event& event = events[0];
  EXPECT_GE(valueOf<uint64_t>(event, "timestamp"), before);
  EXPECT_LE(valueOf<uint64_t>(event, "timestamp"), after);
  EXPECT_EQ(valueOf<double>(event, "cpu1_temp"), 45.0);
  EXPECT_EQ(valueOf<double>(event, "fan2"), 5340.0);
  EXPECT_EQ(valueOf<double>(event, "12v"), 12.06);
  EXPECT_EQ(valueOf<uint16_t>(event, "ps2_status"), 0x0300);
}

TEST(SamplingPassTypes, HexadecimalReadingIsStoredAsUnsigned64) {
  FakeIpmitool fake;
  fake.replayText(listingWith("45 (+/- 0) degrees C", "0x1f"), compactListing());
  StaticProvider provider;
  ASSERT_TRUE(provider.initialize());
  const ipmitool::field_info_t& cpu1 = *provider.state().field_infos[1];
  ASSERT_STREQ(cpu1.name, "cpu1_temp");
  ASSERT_EQ(cpu1.kind, ipmitool::CollectorFieldType::Uint64);
  ipmitool::SensorSample sample;
  ipmitool::ipmitool_provider_generate_events(&provider.state(), sample);
  const std::vector<Event> events = drainEvents(provider);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(fieldAt<uint64_t>(events[0], cpu1.offset), 31u);
}

TEST_F(SamplingPass, SensorMissingFromTheSampleReadsZeroAndIsReported) {
  fake.replayText(listingWith("Sensor ID              : FAN2 (0x7)", "Sensor ID              : FAN9 (0x7)"),
                  compactListing());
  runPass();
  const std::vector<Event> events = drain();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(valueOf<double>(events[0], "fan2"), 0.0);
  EXPECT_EQ(valueOf<double>(events[0], "fan1"), 5400.0);
  EXPECT_EQ(LogCapture::count("[ipmitool] [ipmitool_provider_generate_events] Could not retrieve value for 'fan2'"),
            1u);
  EXPECT_EQ(LogCapture::count("Could not convert"), 0u);
}

TEST_F(SamplingPass, NewerPassReplacesAnEventTheHostHasNotDrained) {
  runPass();
  fake.replayText(listingWith("45 (+/- 0) degrees C", "50 (+/- 0) degrees C"), compactListing());
  runPass();
  const std::vector<Event> events = drain();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(valueOf<double>(events[0], "cpu1_temp"), 50.0);
  EXPECT_TRUE(drain().empty());
}

TEST_F(SamplingPass, FailedPassDropsTheUndrainedEvent) {
  runPass();
  fake.setExitCode(1);
  runPass();
  EXPECT_TRUE(drain().empty());
  EXPECT_EQ(
      LogCapture::count("[ipmitool] [ipmitool_provider_generate_events] Failed to retrieve ipmitool sensor data."), 1u);
}

TEST_F(SamplingPass, ProgressSkipsWhileTheBufferIsBusyAndDeliversLater) {
  runPass();
  std::vector<Event> events;
  pthread_mutex_lock(&provider.state().mutex);
  EXPECT_EQ(progress(events), 0);
  pthread_mutex_unlock(&provider.state().mutex);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(LogCapture::count("Failed to lock mutex, skipping provider progress."), 1u);
  EXPECT_EQ(drain().size(), 1u);
}

TEST_F(SamplingPass, FullHostBufferKeepsTheEventForTheNextCall) {
  runPass();
  std::vector<Event> events;
  EXPECT_EQ(progress(events, VTR_EVENT_BLOCK_HEADER_SIZE), 1);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(drain().size(), 1u);
}

TEST_F(SamplingPass, StopRequestedBeforeTheSampleLeavesTheBufferAlone) {
  const size_t callsBefore = fake.recordedCalls().size();
  ipmitool::request_stop(&provider.state());
  runPass();
  EXPECT_EQ(fake.recordedCalls().size(), callsBefore) << "no tool run after a stop";
  EXPECT_TRUE(drain().empty());
}

TEST_F(SamplingPass, StoppedProviderDoesNotSampleAgainWhenRestarted) {
  ASSERT_TRUE(provider.record()->start(provider.record()));
  ASSERT_TRUE(provider.record()->stop(provider.record()));
  const size_t callsAfterStop = fake.recordedCalls().size();
  ASSERT_TRUE(provider.record()->start(provider.record()));
  ASSERT_TRUE(provider.record()->stop(provider.record()));
  EXPECT_EQ(fake.recordedCalls().size(), callsAfterStop);
}

}  // namespace
}  // namespace test
}  // namespace vtr
