#include <gtest/gtest.h>
#include <stdlib.h>

#include <map>
#include <optional>
#include <string>

#include "collector/ipmitool_collector.h"
#include "support/event_blocks.h"
#include "support/fake_ipmitool.h"
#include "static_provider.h"

namespace vtr {
namespace test {
namespace {

using Options = std::map<std::string, std::string>;

// Where an option's text comes from; unset sources are left out.
struct OptionSources {
  std::optional<std::string> dictionary;
  std::optional<std::string> prefixedEnv;
  std::optional<std::string> bareEnv;
};

// Sets the environment for one key for the lifetime of the object.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const std::string& key, const OptionSources& sources) : prefixed_("VTR_" + key), bare_(key) {
    set(prefixed_, sources.prefixedEnv);
    set(bare_, sources.bareEnv);
  }
  ~ScopedEnvironment() {
    unsetenv(prefixed_.c_str());
    unsetenv(bare_.c_str());
  }

 private:
  static void set(const std::string& name, const std::optional<std::string>& value) {
    if (value)
      setenv(name.c_str(), value->c_str(), 1);
    else
      unsetenv(name.c_str());
  }
  std::string prefixed_;
  std::string bare_;
};

unsigned int sampleIntervalFrom(const OptionSources& sources) {
  ScopedEnvironment environment("IPMITOOL_SAMPLE_INTERVAL_SEC", sources);
  std::map<std::string, std::string> options;
  if (sources.dictionary) options["ipmitool-sample-interval-sec"] = *sources.dictionary;
  StaticProvider provider(options);
  EXPECT_NE(provider.record(), nullptr);
  return provider.state().sample_interval_sec;
}

TEST(ProviderOptions, DictionaryBeatsPrefixedEnvironmentBeatsBareEnvironmentBeatsDefault) {
  struct Case {
    const char* what;
    OptionSources sources;
    unsigned int expected;
  };
  const Case cases[] = {
      {"all three set", {"5", "6", "7"}, 5},
      {"environment only", {std::nullopt, "6", "7"}, 6},
      {"bare environment only", {std::nullopt, std::nullopt, "7"}, 7},
      {"nothing set", {std::nullopt, std::nullopt, std::nullopt}, 30},
      {"dictionary text that does not convert", {"soon", "6", "7"}, 30},
  };
  for (const Case& c : cases) EXPECT_EQ(sampleIntervalFrom(c.sources), c.expected) << c.what;
}

TEST(ProviderOptions, SecondsAcceptOneSignAndFallBackOnAnythingElse) {
  struct Case {
    const char* text;
    unsigned int expected;
  };
  const Case cases[] = {{"+15", 15}, {"-1", 4294967295u}, {"0", 0}, {"ten", 30}, {"", 30}, {"4294967296", 30}};
  for (const Case& c : cases) {
    EXPECT_EQ(sampleIntervalFrom({c.text, std::nullopt, std::nullopt}), c.expected) << "'" << c.text << "'";
  }
}

TEST(ProviderOptions, FlagsAcceptOnlyTheFrameworkBooleanWords) {
  struct Case {
    const char* text;
    bool expected;
  };
  const Case cases[] = {{"yes", false}, {"on", false}, {"TRUE", false}, {"1", true}, {"T", true}, {"True", true}};
  for (const Case& c : cases) {
    StaticProvider provider(Options{{"ipmitool-use-sudo", c.text}});
    EXPECT_EQ(provider.state().use_sudo, c.expected) << c.text;
  }
}

TEST(ProviderOptions, ConflictingEnvironmentVariablesUseThePrefixedOneAndWarn) {
  LogCapture::install(vtr_set_log_func);
  ScopedEnvironment environment("IPMITOOL_USE_SUDO", {std::nullopt, "1", "0"});
  StaticProvider provider;
  EXPECT_TRUE(provider.state().use_sudo);
  EXPECT_EQ(LogCapture::count("Environment variables conflict - VTR_IPMITOOL_USE_SUDO=1 and IPMITOOL_USE_SUDO=0"), 1u);
}

TEST(ProviderOptions, LongCommandTimeoutIsKeptWithAWarning) {
  LogCapture::install(vtr_set_log_func);
  {
    StaticProvider provider(Options{{"ipmitool-command-timeout", "299"}});
    EXPECT_EQ(provider.state().command_timeout, 299u);
  }
  EXPECT_EQ(LogCapture::count("exceeds"), 0u);
  StaticProvider provider(Options{{"ipmitool-command-timeout", "300"}});
  EXPECT_EQ(provider.state().command_timeout, 300u);
  EXPECT_EQ(LogCapture::count("[ipmitool] [construct_event_provider] 'ipmitool-command-timeout' exceeds 5 minutes."),
            1u);
}

TEST(ProviderOptions, EveryValueIsLoggedInReadingOrder) {
  LogCapture::install(vtr_set_log_func, VTR_LOG_INFO);
  StaticProvider provider({{"ipmitool-include-discrete-sensors", "1"},
                           {"ipmitool-command-timeout", "12"},
                           {"ipmitool-invalid-sensor-values", "N/A"}});
  const std::vector<std::string> expected = {
      "[ipmitool] [construct_event_provider] 'ipmitool-include-discrete-sensors' is set to 'true'.",
      "[ipmitool] [construct_event_provider] 'ipmitool-include-continuous-sensors' is set to 'true'.",
      "[ipmitool] [construct_event_provider] 'ipmitool-command-timeout' is set to '12'.",
      "[ipmitool] [construct_event_provider] 'ipmitool-use-sudo' is set to 'false'.",
      "[ipmitool] [construct_event_provider] 'ipmitool-include-empty-fields' is set to 'false'.",
      "[ipmitool] [construct_event_provider] 'ipmitool-sample-interval-sec' is set to '30'.",
      "[ipmitool] [construct_event_provider] 'ipmitool-invalid-sensor-values' is set to 'N/A'.",
  };
  EXPECT_EQ(LogCapture::lines(), expected);
}

TEST(ProviderOptions, NullDictionaryTakesEnvironmentAndDefaults) {
  setenv("VTR_IPMITOOL_INCLUDE_EMPTY_FIELDS", "true", 1);
  vtr_event_provider_t* record = construct_event_provider(nullptr);
  ASSERT_NE(record, nullptr);
  const ipmitool::provider_t& state = *ipmitool::provider_from_record(record);
  EXPECT_TRUE(state.include_empty_fields);
  EXPECT_FALSE(state.include_discrete_sensors);
  EXPECT_TRUE(state.include_continuous_sensors);
  EXPECT_EQ(state.command_timeout, 30u);
  EXPECT_FALSE(state.use_sudo);
  EXPECT_EQ(state.sample_interval_sec, 30u);
  EXPECT_EQ(state.invalid_sensor_values, "");
}

// The options reach the collector unchanged, each in its own place.
TEST(ProviderOptions, CollectorIsConfiguredFromTheOptions) {
  FakeIpmitool fake;
  StaticProvider provider({{"ipmitool-include-discrete-sensors", "1"},
                           {"ipmitool-include-continuous-sensors", "0"},
                           {"ipmitool-include-empty-fields", "1"},
                           {"ipmitool-command-timeout", "17"},
                           {"ipmitool-invalid-sensor-values", "N/A,,disabled"}});
  ASSERT_TRUE(provider.initialize());
  const ipmitool::CollectorConfig& config = provider.state().collector->config();
  EXPECT_TRUE(config.includeDiscreteSensors);
  EXPECT_FALSE(config.includeContinuousSensors);
  EXPECT_TRUE(config.includeEmptyFields);
  EXPECT_FALSE(config.useSudo);
  EXPECT_EQ(config.commandTimeout, 17u);
  const std::unordered_set<std::string> invalid = {"Unable to read sensor: Device Not Present", "na", "Unspecified",
                                                   "N/A", "", "disabled"};
  EXPECT_EQ(config.invalidValues, invalid);
}

}  // namespace
}  // namespace test
}  // namespace vtr
