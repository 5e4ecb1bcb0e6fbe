#include "runtime/options.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <memory>
#include <string>


namespace {

struct DictDeleter {
  void operator()(vtr_custom_options* dict) const { vtr_dict_delete(dict); }
};
using Dict = std::unique_ptr<vtr_custom_options, DictDeleter>;

struct FreeDeleter {
  void operator()(char* text) const { free(text); }
};
std::string owned(char* text) { return std::unique_ptr<char, FreeDeleter>(text).get(); }

Dict dict_with(const char* key, const char* value) {
  Dict dict(vtr_dict_create());
  EXPECT_EQ(vtr_dict_add(dict.get(), key, value), 1);
  return dict;
}

// ---- Environment keys -----------------------------------------------------------------

TEST(OptionEnvironmentKey, UpperCasesAndTurnsDashesIntoUnderscores) {
  EXPECT_EQ(owned(vtr_option_name_to_environment_key("ipmitool-command-timeout", "VTR_")),
            "VTR_IPMITOOL_COMMAND_TIMEOUT");
  EXPECT_EQ(owned(vtr_option_name_to_environment_key("a.b-c 9", "my_")), "my_A.B_C 9");
  EXPECT_EQ(owned(vtr_option_name_to_environment_key("", "VTR_")), "VTR_");
  EXPECT_EQ(owned(vtr_option_to_env_name("sample-interval_sec")), "VTR_SAMPLE_INTERVAL_SEC");
}

// ---- Exported lookups: dictionary, then the prefixed variable only -------------------

TEST(ConfigurationOptionString, DictionaryWinsOverEnvironment) {
  setenv("VTR_OPT_STRING", "from env", 1);
  const Dict dict = dict_with("opt-string", "from dict");
  EXPECT_STREQ(vtr_get_configuration_option_string(dict.get(), "opt-string", "default"), "from dict");
}

TEST(ConfigurationOptionString, PrefixedVariableThenDefault) {
  setenv("VTR_OPT_STRING", "from env", 1);
  unsetenv("OPT_OTHER");
  setenv("OPT_OTHER", "bare only", 1);
  const Dict dict = dict_with("opt-string", nullptr);  // a null value falls through
  EXPECT_STREQ(vtr_get_configuration_option_string(dict.get(), "opt-string", "default"), "from env");
  EXPECT_STREQ(vtr_get_configuration_option_string(nullptr, "opt-other", "default"), "default");
}

TEST(ConfigurationOptionUint64, ReadsTheLeadingNumberOrFallsBack) {
  setenv("VTR_OPT_NUMBER", "42", 1);
  EXPECT_EQ(vtr_get_configuration_option_uint64(nullptr, "opt-number", 7), 42u);
  EXPECT_EQ(vtr_get_configuration_option_uint64(dict_with("opt-number", "12abc").get(), "opt-number", 7), 12u);
  // A dictionary text that is no number is not replaced by the environment's.
  EXPECT_EQ(vtr_get_configuration_option_uint64(dict_with("opt-number", "abc").get(), "opt-number", 7), 7u);
  EXPECT_EQ(vtr_get_configuration_option_uint64(dict_with("opt-number", "18446744073709551615").get(),
                                                 "opt-number", 7),
            18446744073709551615u);
  unsetenv("VTR_OPT_NUMBER");
  EXPECT_EQ(vtr_get_configuration_option_uint64(nullptr, "opt-number", 7), 7u);
}

}  // namespace
