// Small text and byte rules of the runtime: number texts, field-name tokens, magic values.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "runtime/filter.h"
#include "runtime/magic_value.h"
#include "runtime/number_parse.h"

namespace {

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
