// Rules of the collector that no provider option reaches, so only a direct call guards them:
// the per-label field switches and discrete states published as text.
#include <gtest/gtest.h>

#include "collector/ipmitool_collector.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

TEST(CollectorFieldSwitches, ChangeOnlyKnownLabelsOfIncludedKinds) {
  test::LogRecorder log;
  CollectorConfig config(false, true, false, "", 30, false);
  config.excludeContinuousField("Sensor Reading");
  EXPECT_FALSE(config.continuousFields.at("Sensor Reading"));
  config.includeContinuousField("Sensor Reading");
  EXPECT_TRUE(config.continuousFields.at("Sensor Reading"));
  config.includeDiscreteField("States Asserted");
  EXPECT_FALSE(config.discreteFields.at("States Asserted")) << "discrete sensors are off";
  config.includeContinuousField("Status");
  config.excludeDiscreteField("Status");
  EXPECT_EQ(config.continuousFields.count("Status") + config.discreteFields.count("Status"), 0u);
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] Discrete sensors are disabled. Skipping field: 'States Asserted'."));
  EXPECT_TRUE(log.contains(VTR_LOG_WARNING,
                           "[ipmitool collector] Field 'Status' not found in continuous sensor fields. Skipping."));
  EXPECT_TRUE(log.contains(VTR_LOG_DEBUG, "[ipmitool collector] Field 'Status' not found in discrete sensor fields."));
}

TEST(CollectorStatesText, BecomesACommaListOfTheBracketedStates) {
  CollectorConfig config(true, true, false, "", 30, false);
  volatile bool stop = false;
  std::string numeric = "0x0100";
  IpmitoolCollector(config, stop).parseFieldValue("States Asserted", numeric);
  EXPECT_EQ(numeric, "0x0100");
  config.statesAssertedAsText = true;
  const IpmitoolCollector collector(config, stop);
  const std::pair<std::string, std::string> cases[] = {
      {"[Device Present] [Transition to OK]", "Device Present,Transition to OK"},
      {"Presence detected [Device Present]", "Device Present"},
      {"[]", "[]"},
      {"[A] [B] [C]", "A,B,C"},
      {"Power Supply", "ower Suppl"},
      {"[" + std::string(98, 'a') + "]", std::string(64, 'a')},
  };
  for (const auto& [in, want] : cases) {
    std::string value = in;
    collector.parseFieldValue("States Asserted", value);
    EXPECT_EQ(value, want) << "input '" << in << "'";
  }
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
