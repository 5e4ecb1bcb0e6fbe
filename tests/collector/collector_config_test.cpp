#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "collector/collector_config.h"
#include "support/log_capture.h"

namespace vtr {
namespace ipmitool {
namespace {

using test::LogRecorder;

TEST(CollectorConfigTest, BuiltInTablesFollowTheKindSwitches) {
  const CollectorConfig config(true, false, true, "", 12, true);
  EXPECT_EQ(config.commandTimeout, 12u);
  EXPECT_TRUE(config.useSudo);
  EXPECT_TRUE(config.includeEmptyFields);
  EXPECT_FALSE(config.statesAssertedAsText);
  EXPECT_EQ(config.discreteFields, (std::map<std::string, bool>{{"States Asserted", true}}));
  EXPECT_EQ(config.continuousFields, (std::map<std::string, bool>{{"Sensor Reading", false}}));
  EXPECT_EQ(config.fieldDefaultTypes,
            (std::map<std::string, CollectorFieldType>{{"Sensor Reading", CollectorFieldType::Double},
                                                       {"States Asserted", CollectorFieldType::Uint16}}));
  EXPECT_EQ(config.invalidValues,
            (std::unordered_set<std::string>{"Unable to read sensor: Device Not Present", "na", "Unspecified"}));
}

TEST(CollectorConfigTest, InvalidValueOptionIsSplitAtCommasWithoutTrimming) {
  const std::unordered_set<std::string> builtIn = {"Unable to read sensor: Device Not Present", "na", "Unspecified"};
  struct Case {
    std::string option;
    std::unordered_set<std::string> added;
  };
  const std::vector<Case> cases = {
      {"N/A,,Disabled", {"N/A", "", "Disabled"}},
      {" na", {" na"}},
      {"Off,", {"Off"}},
      {"na,na,Unspecified", {}},
      {",", {""}},
  };
  for (const auto& c : cases) {
    const CollectorConfig config(false, true, false, c.option, 30, false);
    std::unordered_set<std::string> want = builtIn;
    want.insert(c.added.begin(), c.added.end());
    EXPECT_EQ(config.invalidValues, want) << "option '" << c.option << "'";
  }
}

TEST(CollectorConfigTest, IncludeAndExcludeSwitchOnlyKnownLabelsAndLogTheirRefusals) {
  using Action = std::function<void(CollectorConfig&)>;
  struct Case {
    const char* what;
    bool discrete, continuous;
    Action action;
    bool wantDiscreteFlag, wantContinuousFlag;
    int wantPriority;  // 0: no line
    std::string wantLine;
  };
  const std::vector<Case> cases = {
      {"include continuous while continuous off", false, false,
       [](CollectorConfig& c) { c.includeContinuousField("Sensor Reading"); }, false, false, VTR_LOG_WARNING,
       "[ipmitool collector] Continuous sensors are disabled. Skipping field: 'Sensor Reading'."},
      {"include unknown continuous label", false, true,
       [](CollectorConfig& c) { c.includeContinuousField("Sensor Type (Threshold)"); }, false, true, VTR_LOG_WARNING,
       "[ipmitool collector] Field 'Sensor Type (Threshold)' not found in continuous sensor fields. Skipping."},
      {"include label in another case", false, true,
       [](CollectorConfig& c) { c.includeContinuousField("sensor reading"); }, false, true, VTR_LOG_WARNING,
       "[ipmitool collector] Field 'sensor reading' not found in continuous sensor fields. Skipping."},
      {"exclude continuous while continuous off", false, false,
       [](CollectorConfig& c) { c.excludeContinuousField("Sensor Reading"); }, false, false, 0, ""},
      {"exclude continuous", false, true, [](CollectorConfig& c) { c.excludeContinuousField("Sensor Reading"); },
       false, false, 0, ""},
      {"exclude then include continuous", false, true,
       [](CollectorConfig& c) {
         c.excludeContinuousField("Sensor Reading");
         c.includeContinuousField("Sensor Reading");
       },
       false, true, 0, ""},
      {"exclude unknown continuous label", false, true,
       [](CollectorConfig& c) { c.excludeContinuousField("Status"); }, false, true, VTR_LOG_DEBUG,
       "[ipmitool collector] Field 'Status' not found in continuous sensor fields."},
      {"include discrete while discrete off", false, true,
       [](CollectorConfig& c) { c.includeDiscreteField("States Asserted"); }, false, true, VTR_LOG_WARNING,
       "[ipmitool collector] Discrete sensors are disabled. Skipping field: 'States Asserted'."},
      {"include unknown discrete label", true, true,
       [](CollectorConfig& c) { c.includeDiscreteField("Assertion Events"); }, true, true, VTR_LOG_WARNING,
       "[ipmitool collector] Field 'Assertion Events' not found in discrete sensor fields. Skipping."},
      {"exclude discrete", true, true, [](CollectorConfig& c) { c.excludeDiscreteField("States Asserted"); }, false,
       true, 0, ""},
      {"exclude unknown discrete label", true, true,
       [](CollectorConfig& c) { c.excludeDiscreteField("Assertion Events"); }, true, true, VTR_LOG_DEBUG,
       "[ipmitool collector] Field 'Assertion Events' not found in discrete sensor fields."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LogRecorder log;
    CollectorConfig config(c.discrete, c.continuous, false, "", 30, false);
    c.action(config);
    EXPECT_EQ(config.discreteFields, (std::map<std::string, bool>{{"States Asserted", c.wantDiscreteFlag}}));
    EXPECT_EQ(config.continuousFields, (std::map<std::string, bool>{{"Sensor Reading", c.wantContinuousFlag}}));
    if (c.wantPriority == 0) {
      EXPECT_TRUE(log.all().empty()) << log.all().front().text;
    } else {
      ASSERT_EQ(log.all().size(), 1u);
      EXPECT_EQ(log.all()[0].priority, c.wantPriority);
      EXPECT_EQ(log.all()[0].text, c.wantLine);
    }
  }
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
