#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "support/event_blocks.h"
#include "support/fake_ipmitool.h"
#include "support/provider_host.h"

namespace vtr {
namespace test {
namespace {

using Clock = std::chrono::steady_clock;
using Event = std::vector<uint8_t>;

constexpr auto kWaitLimit = std::chrono::seconds(30);

// Waits (bounded) until the fake tool has been run at least `runs` times.
bool waitForToolRuns(const FakeIpmitool& fake, size_t runs) {
  const auto deadline = Clock::now() + kWaitLimit;
  while (fake.recordedCalls().size() < runs) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

class ProviderUnderLoad : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(library.loaded()) << library.error();
    LogCapture::install(library.function<LogCapture::SetLogFunc>("vtr_set_log_func"));
  }
  FakeIpmitool fake;
  ProviderLibrary library;
};

// Passes follow each other without a pause while the host polls as fast as it can: every
// event it gets is whole, and they come in time order.
TEST_F(ProviderUnderLoad, ProgressRacingTheSamplingThreadGetsOnlyWholeEvents) {
  ProviderHost host(library, {{"ipmitool-sample-interval-sec", "0"}});
  ASSERT_TRUE(host.initialize());
  const vtr_type_field_definition_t* timestamp = host.field("timestamp");
  const vtr_type_field_definition_t* fan1 = host.field("fan1");
  const vtr_type_field_definition_t* vcore = host.field("cpu1_vcore");
  ASSERT_TRUE(timestamp && fan1 && vcore);
  ASSERT_TRUE(host.start());

  std::vector<Event> events;
  size_t calls = 0;
  const auto deadline = Clock::now() + kWaitLimit;
  while (events.size() < 10 && Clock::now() < deadline) {
    ASSERT_GE(host.progressOnce(events), 0);
    ++calls;
  }
  EXPECT_TRUE(host.stop());
  ASSERT_EQ(events.size(), 10u) << "after " << calls << " progress calls";
  for (size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(fieldAt<double>(events[i], fan1->offset), 5400.0);
    EXPECT_EQ(fieldAt<double>(events[i], vcore->offset), 1.05);
    if (i == 0) continue;
    EXPECT_LT(fieldAt<uint64_t>(events[i - 1], timestamp->offset), fieldAt<uint64_t>(events[i], timestamp->offset));
  }
  EXPECT_GE(LogCapture::count("[ipmitool] [ipmitool_thread_callback] Data collection exceeded the sample interval."),
            1u);
}

// The tool hangs past its time limit; stop still returns once the limit ends the run.
TEST_F(ProviderUnderLoad, StopDuringASlowToolRunReturns) {
  ProviderHost host(library, {{"ipmitool-command-timeout", "2"}, {"ipmitool-sample-interval-sec", "1"}});
  ASSERT_TRUE(host.initialize());
  const size_t runsAtStart = fake.recordedCalls().size();
  fake.setSleepSeconds(3);
  ASSERT_TRUE(host.start());
  ASSERT_TRUE(waitForToolRuns(fake, runsAtStart + 1));
  EXPECT_TRUE(host.stop());  // bounded by the test's time limit should it hang
  std::vector<Event> events;
  EXPECT_EQ(host.progressOnce(events), 0);
  EXPECT_TRUE(events.empty()) << "an abandoned run yields no event";
}

// A tool that fails on every pass produces no event and one error line per ten seconds; the
// first pass after it recovers produces events again.
TEST_F(ProviderUnderLoad, FailingToolIsReportedRateLimitedAndRecovers) {
  ProviderHost host(library, {{"ipmitool-sample-interval-sec", "0"}});
  ASSERT_TRUE(host.initialize());
  const size_t runsAtStart = fake.recordedCalls().size();
  fake.setExitCode(1);
  const auto started = Clock::now();
  ASSERT_TRUE(host.start());
  ASSERT_TRUE(waitForToolRuns(fake, runsAtStart + 6));
  std::vector<Event> events;
  EXPECT_EQ(host.progressOnce(events), 0);
  EXPECT_TRUE(events.empty());
  const auto elapsedSec = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - started).count();
  const size_t failures =
      LogCapture::count("[ipmitool] [ipmitool_provider_generate_events] Failed to retrieve ipmitool sensor data.");
  EXPECT_GE(failures, 1u);
  EXPECT_LE(failures, 1u + static_cast<size_t>(elapsedSec) / 10) << "over " << elapsedSec << " s";

  fake.setExitCode(0);
  EXPECT_EQ(host.collectEvents(1, kWaitLimit).size(), 1u);
}

}  // namespace
}  // namespace test
}  // namespace vtr
