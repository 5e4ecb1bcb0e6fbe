#include "runtime/options.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <memory>
#include <ostream>
#include <string>

#include "support/log_capture.h"
#include "runtime/lexical_cast_bool.h"
#include "runtime/plugin_options.h"

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

// ---- Boolean rule ---------------------------------------------------------------------

TEST(BooleanRule, AcceptsOnlyTheEightForms) {
  for (const char* text : {"1", "T", "true", "True"}) EXPECT_TRUE(vtr::detail::string_to_bool(text)) << text;
  for (const char* text : {"0", "F", "false", "False"}) EXPECT_FALSE(vtr::detail::string_to_bool(text)) << text;
  for (const char* text : {"t", "f", "TRUE", "FALSE", "yes", "on", "", " true", "true ", "10"})
    EXPECT_THROW(vtr::detail::string_to_bool(text), boost::bad_lexical_cast) << text;
}

TEST(BooleanRule, LexicalCastFromStringFollowsIt) {
  EXPECT_TRUE(boost::lexical_cast<bool>(std::string("True")));
  EXPECT_FALSE(boost::lexical_cast<bool>(std::string("F")));
  EXPECT_THROW(boost::lexical_cast<bool>(std::string("TRUE")), boost::bad_lexical_cast);
  EXPECT_STREQ(vtr::boolean_to_string(true), "true");
  EXPECT_STREQ(vtr::boolean_to_string(false), "false");
}

// ---- Plug-in accessor: dictionary, prefixed env, bare env, default -------------------

using vtr::plugin::get_configuration_option;

struct UnsignedCase {
  const char* text;
  unsigned int expected;
};

std::ostream& operator<<(std::ostream& out, const UnsignedCase& c) { return out << "'" << c.text << "'"; }

class UnsignedOptionText : public ::testing::TestWithParam<UnsignedCase> {};

TEST_P(UnsignedOptionText, ConvertsOrFallsBackToTheDefault) {
  const Dict dict = dict_with("opt-interval", GetParam().text);
  EXPECT_EQ(get_configuration_option<unsigned int>(dict.get(), "opt-interval", 30u, "VTR_"), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, UnsignedOptionText,
                         ::testing::Values(UnsignedCase{"15", 15}, UnsignedCase{"+15", 15},
                                           UnsignedCase{"-1", 4294967295u}, UnsignedCase{"0", 0},
                                           UnsignedCase{"4294967295", 4294967295u},
                                           UnsignedCase{"4294967296", 30}, UnsignedCase{"abc", 30},
                                           UnsignedCase{"", 30}, UnsignedCase{"12abc", 30},
                                           UnsignedCase{" 5", 30}, UnsignedCase{"5 ", 30},
                                           UnsignedCase{"+-5", 30}, UnsignedCase{"-", 30},
                                           UnsignedCase{"0x10", 30}));

TEST(PluginOption, DictionaryWinsEvenWhenItsTextDoesNotConvert) {
  setenv("VTR_OPT_SUDO", "1", 1);
  const Dict dict = dict_with("opt-sudo", "yes");
  EXPECT_FALSE(get_configuration_option<bool>(dict.get(), "opt-sudo", false, "VTR_"));
  EXPECT_EQ(get_configuration_option<std::string>(dict.get(), "opt-sudo", "", "VTR_"), "yes");
}

TEST(PluginOption, PrefixedVariableWinsOverBareOneWithAWarning) {
  setenv("VTR_OPT_SUDO", "1", 1);
  setenv("OPT_SUDO", "0", 1);
  vtr::test::capture_log(VTR_LOG_WARNING);

  EXPECT_TRUE(get_configuration_option<bool>(nullptr, "opt-sudo", false, "VTR_"));
  EXPECT_TRUE(vtr::test::captured(
      "[vtr_getenv] Environment variables conflict - VTR_OPT_SUDO=1 and OPT_SUDO=0. Using VTR_OPT_SUDO"));
}

TEST(PluginOption, BareVariableThenDefault) {
  unsetenv("VTR_OPT_TIMEOUT");
  setenv("OPT_TIMEOUT", "+45", 1);
  EXPECT_EQ(get_configuration_option<unsigned int>(nullptr, "opt-timeout", 30u, "VTR_"), 45u);
  unsetenv("OPT_TIMEOUT");
  EXPECT_EQ(get_configuration_option<unsigned int>(nullptr, "opt-timeout", 30u, "VTR_"), 30u);
  EXPECT_EQ(get_configuration_option<std::string>(nullptr, "opt-timeout", "fallback", "VTR_"), "fallback");
}

TEST(PluginOption, EnvironmentTextFollowsTheSameConversionRules) {
  const Dict empty(vtr_dict_create());
  setenv("VTR_OPT_FLAG", "on", 1);
  EXPECT_TRUE(get_configuration_option<bool>(empty.get(), "opt-flag", true, "VTR_"));
  setenv("VTR_OPT_FLAG", "False", 1);
  EXPECT_FALSE(get_configuration_option<bool>(empty.get(), "opt-flag", true, "VTR_"));
  setenv("VTR_OPT_FLAG", "", 1);
  EXPECT_EQ(get_configuration_option<std::string>(empty.get(), "opt-flag", "default", "VTR_"), "");
}

}  // namespace
