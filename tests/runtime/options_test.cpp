// Option values on their way in: the host's dictionary, the VTR_ and bare environment
// variables, the exported option lookups, and the number texts, field-name tokens and magic
// values they are read by.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "runtime/c_free.h"
#include "runtime/dict.h"
#include "runtime/filter.h"
#include "runtime/logger.h"
#include "runtime/magic_value.h"
#include "runtime/number_parse.h"
#include "runtime/options.h"
#include "support/log_capture.h"

namespace {

void setOrUnset(const std::string& name, const char* value) {
  value != nullptr ? setenv(name.c_str(), value, 1) : unsetenv(name.c_str());
}

std::string shown(const char* text) { return text ? text : "<none>"; }

using Adds = std::vector<std::pair<const char*, const char*>>;
using Dict = std::unique_ptr<vtr_custom_options, decltype(&vtr_dict_delete)>;

Dict make(const Adds& adds) {
  Dict dict(vtr_dict_create(), vtr_dict_delete);
  for (const auto& [key, value] : adds) EXPECT_EQ(vtr_dict_add(dict.get(), key, value), 1);
  return dict;
}

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
    const Dict dict = make(row.dictionary ? Adds{{"opt-x", row.dictionary}} : Adds{});
    EXPECT_STREQ(vtr_get_configuration_option_string(dict.get(), "opt-x", "default"), row.wantText);
    EXPECT_EQ(vtr_get_configuration_option_uint64(dict.get(), "opt-x", 9), row.wantNumber) << row.wantText;
  }
  unsetenv("VTR_OPT_X");
  unsetenv("OPT_X");
  EXPECT_STREQ(vtr_get_configuration_option_string(nullptr, "opt-x", "default"), "default");
}

// "key=value" of every entry the enumeration visits; a null value shows as "key=".
std::vector<std::string> visited(const vtr_custom_options* dict, int stopAfter = -1) {
  struct State {
    std::vector<std::string> seen;
    int stopAfter;
  } state{{}, stopAfter};
  const int complete = vtr_dict_enum(
      dict,
      [](const char* key, const char* value, void* out) -> int {
        auto* s = static_cast<State*>(out);
        s->seen.push_back(std::string(key) + "=" + (value ? value : ""));
        return static_cast<int>(s->seen.size()) != s->stopAfter;
      },
      &state);
  EXPECT_EQ(complete, stopAfter < 0 ? 1 : 0);
  return state.seen;
}

// "Aa" and "BB" hash alike under h * 31 + c, so the last four keys share one start bucket.
TEST(Dictionary, LookupFindsTheLastValueAddedUnderExactlyThatKey) {
  const struct {
    Adds adds;
    const char* key;
    const char* want;
  } rows[] = {
      {{}, "a", nullptr},
      {{{"a", "1"}}, nullptr, nullptr},
      {{{"a", "1"}, {"a", "2"}}, "a", "2"},
      {{{"Key", "upper"}, {"key", "lower"}}, "Key", "upper"},
      {{{"Key", "upper"}, {"key", "lower"}}, "key", "lower"},
      {{{"Key", "upper"}}, "KEY", nullptr},
      {{{"key", "v"}}, "key ", nullptr},
      {{{"", "empty key"}}, "", "empty key"},
      {{{"present", nullptr}}, "present", nullptr},
      {{{"present", nullptr}, {"present", "now set"}}, "present", "now set"},
      {{{"AaAa", "1"}, {"AaBB", "2"}, {"BBAa", "3"}, {"BBBB", "4"}}, "BBAa", "3"},
      {{{"AaAa", "1"}, {"AaBB", "2"}, {"BBAa", "3"}, {"BBBB", "4"}}, "BBBB", "4"},
      {{{"AaAa", "1"}, {"AaBB", "2"}, {"BBAa", "3"}, {"BBBB", "4"}}, "AaAb", nullptr},
  };
  for (const auto& row : rows) {
    const Dict dict = make(row.adds);
    const char* got = vtr_dict_get(dict.get(), row.key);
    EXPECT_EQ(got ? std::string(got) : "<none>", row.want ? row.want : "<none>") << (row.key ? row.key : "null key");
  }
}

TEST(Dictionary, NullArgumentsAreRefusedOrIgnored) {
  EXPECT_EQ(vtr_dict_get(nullptr, "a"), nullptr);
  EXPECT_EQ(vtr_dict_add(nullptr, "a", "1"), 0);
  EXPECT_EQ(vtr_dict_add(make({}).get(), nullptr, "1"), 0);
  EXPECT_EQ(vtr_dict_dup(nullptr), nullptr);
  EXPECT_EQ(vtr_dict_enum(nullptr, nullptr, nullptr), 1);
  vtr_dict_delete(nullptr);
  vtr_dict_dump(nullptr, "none");
}

TEST(Dictionary, KeepsItsOwnCopiesAndSoDoesADuplicate) {
  std::string key = "a", value = "1";
  Dict original = make({{key.c_str(), value.c_str()}, {"b", nullptr}});
  key[0] = value[0] = 'X';
  const Dict copy(vtr_dict_dup(original.get()), vtr_dict_delete);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(visited(copy.get()), visited(original.get()));
  ASSERT_EQ(vtr_dict_add(original.get(), "a", "changed"), 1);
  original.reset();
  EXPECT_STREQ(vtr_dict_get(copy.get(), "a"), "1");
  EXPECT_EQ(visited(copy.get()).size(), 2u);
}

TEST(Dictionary, TenThousandKeysSurviveEveryRehash) {
  constexpr int kKeys = 10000;
  const Dict dict = make({});
  for (int i = 0; i < kKeys; ++i)
    ASSERT_EQ(vtr_dict_add(dict.get(), ("key-" + std::to_string(i)).c_str(), std::to_string(i).c_str()), 1);
  for (int i = 0; i < kKeys; i += 2) ASSERT_EQ(vtr_dict_add(dict.get(), ("key-" + std::to_string(i)).c_str(), "new"), 1);
  for (int i = 0; i < kKeys; ++i) {
    const char* value = vtr_dict_get(dict.get(), ("key-" + std::to_string(i)).c_str());
    ASSERT_NE(value, nullptr) << i;
    EXPECT_EQ(value, i % 2 == 0 ? std::string("new") : std::to_string(i));
  }
  EXPECT_EQ(vtr_dict_get(dict.get(), "key-10000"), nullptr);
  EXPECT_EQ(visited(dict.get()).size(), size_t(kKeys));
}

TEST(Dictionary, EnumerationStopsAtTheFirstRefusalAndDumpShowsEveryEntry) {
  const Dict dict = make({{"a", "1"}, {"b", "2"}, {"c", "3"}});
  EXPECT_EQ(visited(dict.get(), 1).size(), 1u);
  const Dict one = make({{"sudo", "1"}});
  vtr::test::LogRecorder log;
  vtr_dict_dump(one.get(), "options");
  ASSERT_EQ(log.all().size(), 2u);
  EXPECT_EQ(log.all()[0].text, "options map values: ");
  EXPECT_EQ(log.all()[1].text, "key=sudo  val=1");
  EXPECT_EQ(log.all()[1].priority, VTR_LOG_DEBUG);
}

// A failed conversion leaves the target as it was.
TEST(NumberText, IsOneWholeNonNegativeNumberInItsRange) {
  const struct {
    const char* text;
    bool u64;  // converts to uint64_t, giving `value`
    bool u16;  // converts to uint16_t, giving `value`
    uint64_t value;
  } rows[] = {
      {"0", true, true, 0},          {"42", true, true, 42},           {"0x1F", true, true, 31},
      {"010", true, true, 8},        {"+7", true, true, 7},            {" 7", true, true, 7},
      {"65535", true, true, 65535},  {"0xFFFF", true, true, 65535},    {"65536", true, false, 65536},
      {"0x10000", true, false, 65536}, {"18446744073709551615", true, false, 18446744073709551615u},
      {"18446744073709551616", false, false, 0}, {"-1", false, false, 0}, {" -1", false, false, 0},
      {"", false, false, 0},         {"abc", false, false, 0},         {"12abc", false, false, 0},
      {"7 ", false, false, 0},       {"0x", false, false, 0},          {"09", false, false, 0},
      {"1.5", false, false, 0},      {nullptr, false, false, 0},
  };
  for (const auto& row : rows) {
    const std::string shown = row.text ? row.text : "null";
    uint64_t wide = 12345;
    EXPECT_EQ(string_to_u64(row.text, &wide), row.u64) << shown;
    EXPECT_EQ(wide, row.u64 ? row.value : 12345u) << shown;
    uint16_t narrow = 4321;
    EXPECT_EQ(string_to_u16(row.text, &narrow), row.u16) << shown;
    EXPECT_EQ(narrow, row.u16 ? row.value : 4321u) << shown;
  }
}

TEST(FilterSingleToken, AnchorsAndCaseFollowTheTable) {
  const std::string longRun(VTR_FILTER_TOKEN_MAX, 'a');
  const struct {
    std::string name;
    std::string token;
    bool matches;
  } rows[] = {
      {"cpu_usage", "usage", true},    {"CPU_Usage", "cpu_usage", true}, {"cpu_usage", "^cpu", true},
      {"total_cpu", "^cpu", false},    {"cpu_usage", "usage$", true},    {"usage_cpu", "usage$", false},
      {"Total", "^total$", true},      {"total_free", "^total$", false}, {"free_total", "^total$", false},
      {"abc", "^^abc", true},          {"a$b", "a$b", true},             {"ab", "abc", false},
      {"anything", "", true},          {"", "^$", true},                 {"x", "^$", false},
      // The token is cut at its limit, which drops the end anchor here.
      {longRun + "x", longRun + "$", true}, {longRun, longRun + "b", true},
  };
  for (const auto& row : rows)
    EXPECT_EQ(vtr_filter_match_single_token(row.name.c_str(), row.token.c_str()) != 0, row.matches)
        << "name '" << row.name << "' token '" << row.token << "'";
  EXPECT_FALSE(vtr_filter_match_single_token(nullptr, "a"));
  EXPECT_FALSE(vtr_filter_match_single_token("a", nullptr));
}

TEST(MagicValue, MatchesItsOwnKindOnlyAndNeverInLowerCase) {
  vtr_magic_value_t events, copy, counters, lower;
  vtr_magic_value_fill(events, VTR_MAGIC_EVENTS);
  vtr_magic_value_copy(copy, events);
  vtr_magic_value_fill(counters, VTR_MAGIC_COUNTERS_DATA);
  vtr_magic_value_fill_lower(lower, VTR_MAGIC_COUNTERS_DATA);
  EXPECT_EQ(0, memcmp(events, "VTRE", 4));
  EXPECT_EQ(0, memcmp(lower, "vtrd", 4));
  EXPECT_TRUE(vtr_magic_value_match_type(events, VTR_MAGIC_EVENTS));
  EXPECT_FALSE(vtr_magic_value_match_type(events, VTR_MAGIC_COUNTERS_DATA));
  EXPECT_FALSE(vtr_magic_value_match_type(lower, VTR_MAGIC_COUNTERS_DATA));
  EXPECT_FALSE(vtr_magic_value_match_type(lower, 'd'));
  EXPECT_TRUE(vtr_magic_value_match(events, copy));
  EXPECT_FALSE(vtr_magic_value_match(events, counters));
}

}  // namespace
