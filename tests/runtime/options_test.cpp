// Where a setting comes from: the VTR_ and bare environment variables, and the exported
// option lookups over a host's dictionary.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <memory>
#include <string>

#include "runtime/c_free.h"
#include "runtime/env.h"
#include "runtime/options.h"
#include "support/log_capture.h"

namespace {

void setOrUnset(const std::string& name, const char* value) {
  value != nullptr ? setenv(name.c_str(), value, 1) : unsetenv(name.c_str());
}

std::string shown(const char* text) { return text ? text : "<none>"; }

// The prefixed form wins; the conflict is a warning, every outcome a debug line.
TEST(EnvironmentLookup, PrefixedFormWinsAndEveryOutcomeIsLogged) {
  const struct {
    const char* key;
    const char* prefixed;
    const char* bare;
    const char* want;
    const char* logged;
  } rows[] = {
      {"ENV_T", "1", "0", "1", "[vtr_getenv] Environment variables conflict - VTR_ENV_T=1 and ENV_T=0. Using VTR_ENV_T"},
      {"VTR_ENV_T", "1", "0", "1", "[vtr_getenv] Using 'VTR_ENV_T'='1'"},
      {"ENV_T", "same", "same", "same", "[vtr_getenv] Using 'VTR_ENV_T'='same'"},
      {"VTR_ENV_T", nullptr, "bare", "bare", "[vtr_getenv] Using 'ENV_T'='bare'"},
      {"ENV_T", "", nullptr, "", "[vtr_getenv] Using 'VTR_ENV_T'=''"},
      {"ENV_T", nullptr, nullptr, nullptr, "[vtr_getenv] No value for 'VTR_ENV_T' or 'ENV_T'"},
  };
  for (const auto& row : rows) {
    setOrUnset("VTR_ENV_T", row.prefixed);
    setOrUnset("ENV_T", row.bare);
    vtr::test::LogRecorder log;
    EXPECT_EQ(shown(vtr_getenv(row.key)), shown(row.want)) << row.logged;
    EXPECT_TRUE(log.contains(row.logged)) << row.logged;
    const bool conflict = row.prefixed && row.bare && std::string(row.prefixed) != row.bare;
    EXPECT_EQ(log.countContaining("conflict"), conflict ? 1u : 0u) << row.logged;
    EXPECT_TRUE(!conflict || log.all().front().priority == VTR_LOG_WARNING) << row.logged;
  }
  EXPECT_EQ(vtr_getenv(nullptr), nullptr);
}

TEST(EnvironmentLookup, LogLevelKeyIsReadWithoutAnyMessage) {
  setenv("VTR_API_LOG_LEVEL", "7", 1);
  setenv("API_LOG_LEVEL", "3", 1);
  vtr::test::LogRecorder log;
  EXPECT_STREQ(vtr_getenv("VTR_API_LOG_LEVEL"), "7");
  EXPECT_TRUE(log.all().empty());
}

TEST(OptionEnvironmentKey, UpperCasesAndTurnsDashesIntoUnderscores) {
  const auto key = [](char* text) { return std::string(vtr::CPtr<char>(text).get()); };
  EXPECT_EQ(key(vtr_option_name_to_environment_key("a.b-c 9", "my_")), "my_A.B_C 9");
  EXPECT_EQ(key(vtr_option_name_to_environment_key("", "VTR_")), "VTR_");
  EXPECT_EQ(key(vtr_option_to_env_name("sample-interval_sec")), "VTR_SAMPLE_INTERVAL_SEC");
}

// The dictionary, then the VTR_ variable only, then the default; a dictionary text that is no
// number is not replaced by the environment's.
TEST(ConfigurationOption, DictionaryThenPrefixedVariableThenDefault) {
  const struct {
    const char* dictionary;  // null: no entry
    const char* prefixedEnv;
    const char* bareEnv;
    const char* wantText;
    uint64_t wantNumber;
  } rows[] = {
      {"5", "6", "7", "5", 5},
      {nullptr, "6", "7", "6", 6},
      {nullptr, nullptr, "7", "default", 9},
      {"12abc", nullptr, nullptr, "12abc", 12},
      {"abc", "6", nullptr, "abc", 9},
      {"18446744073709551615", nullptr, nullptr, "18446744073709551615", 18446744073709551615u},
  };
  for (const auto& row : rows) {
    setOrUnset("VTR_OPT_X", row.prefixedEnv);
    setOrUnset("OPT_X", row.bareEnv);
    std::unique_ptr<vtr_custom_options, decltype(&vtr_dict_delete)> dict(vtr_dict_create(), vtr_dict_delete);
    if (row.dictionary) vtr_dict_add(dict.get(), "opt-x", row.dictionary);
    EXPECT_STREQ(vtr_get_configuration_option_string(dict.get(), "opt-x", "default"), row.wantText);
    EXPECT_EQ(vtr_get_configuration_option_uint64(dict.get(), "opt-x", 9), row.wantNumber) << row.wantText;
  }
  unsetenv("VTR_OPT_X");
  unsetenv("OPT_X");
  EXPECT_STREQ(vtr_get_configuration_option_string(nullptr, "opt-x", "default"), "default");
}

}  // namespace
