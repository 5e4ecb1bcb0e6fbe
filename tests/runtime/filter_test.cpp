#include <gtest/gtest.h>

#include <string>

#include "runtime/filter.h"

namespace {

struct TokenCase {
  std::string name;
  std::string token;
  bool matches;
};

TEST(FilterSingleToken, AnchorsAndCaseFollowTheTable) {
  const std::string longRun(VTR_FILTER_TOKEN_MAX, 'a');
  const TokenCase cases[] = {
      {"cpu_usage", "usage", true},
      {"CPU_Usage", "cpu_usage", true},
      {"cpu_usage", "^cpu", true},
      {"total_cpu", "^cpu", false},
      {"cpu_usage", "usage$", true},
      {"usage_cpu", "usage$", false},
      {"Total", "^total$", true},
      {"total_free", "^total$", false},
      {"free_total", "^total$", false},
      {"abc", "^^abc", true},
      {"a$b", "a$b", true},
      {"ab", "abc", false},
      {"anything", "", true},
      {"", "^$", true},
      {"x", "^$", false},
      // The token is cut at its limit, which drops the end anchor here.
      {longRun + "x", longRun + "$", true},
      {longRun, longRun + "b", true},
  };
  for (const TokenCase& c : cases) {
    EXPECT_EQ(vtr_filter_match_single_token(c.name.c_str(), c.token.c_str()) != 0, c.matches)
        << "name '" << c.name << "' token '" << c.token << "'";
  }
}

TEST(FilterSingleToken, NullArgumentsNeverMatch) {
  EXPECT_FALSE(vtr_filter_match_single_token(nullptr, "a"));
  EXPECT_FALSE(vtr_filter_match_single_token("a", nullptr));
}

}  // namespace
