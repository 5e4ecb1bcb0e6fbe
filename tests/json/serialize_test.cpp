// Serialised text must match parson byte for byte: schema ids are MD5 digests of pretty text.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <string>

#include "json_test_helpers.h"

using namespace json_test;

namespace {

TEST(JsonSerialize, NumbersUseSeventeenSignificantDigits) {
  struct Case {
    double number;
    const char* text;
  } cases[] = {
      {0.1, "0.10000000000000001"},
      {3.14, "3.1400000000000001"},
      {0.0001, "0.0001"},
      {1e-5, "1.0000000000000001e-05"},
      {-0.0, "-0"},
      {0, "0"},
      {25, "25"},
      {-42, "-42"},
      {1e16, "10000000000000000"},
      {1e17, "1e+17"},
      {12345678901234567890.0, "1.2345678901234567e+19"},
      {DBL_MAX, "1.7976931348623157e+308"},
      {5e-324, "4.9406564584124654e-324"},
  };
  for (const Case& c : cases) {
    Value value(json_value_init_number(c.number));
    EXPECT_EQ(compact(value.get()), c.text) << c.text;
    EXPECT_EQ(pretty(value.get()), c.text) << c.text;
  }
}

TEST(JsonSerialize, ControlBytesBecomeShortOrUnicodeEscapes) {
  std::string all;
  for (int c = 0; c < 0x20; c++) all += static_cast<char>(c);
  Value value = parse("\"\\u0000\\u0001\\u0002\\u0003\\u0004\\u0005\\u0006\\u0007\\b\\t\\n"
                      "\\u000B\\f\\r\\u000e\\u000f\\u0010\\u0011\\u0012\\u0013\\u0014\\u0015"
                      "\\u0016\\u0017\\u0018\\u0019\\u001a\\u001b\\u001c\\u001d\\u001e\\u001F\"");
  ASSERT_EQ(std::string(json_value_get_string(value.get()), json_value_get_string_len(value.get())),
            all);
  EXPECT_EQ(compact(value.get()),
            "\"\\u0000\\u0001\\u0002\\u0003\\u0004\\u0005\\u0006\\u0007\\b\\t\\n"
            "\\u000b\\f\\r\\u000e\\u000f\\u0010\\u0011\\u0012\\u0013\\u0014\\u0015"
            "\\u0016\\u0017\\u0018\\u0019\\u001a\\u001b\\u001c\\u001d\\u001e\\u001f\"");
}

// Walks are bounded by the nesting limit instead of the stack: a tree built deeper than any
// parsed document fails to serialise or copy, and is still freed without recursion.
TEST(JsonSerialize, TreeDeeperThanTheNestingLimitFailsInsteadOfCrashing) {
  Value root(json_value_init_array());
  JSON_Array* innermost = json_value_get_array(root.get());
  for (int i = 0; i < 10000; i++) {
    JSON_Value* child = json_value_init_array();
    ASSERT_EQ(json_array_append_value(innermost, child), JSONSuccess);
    innermost = json_value_get_array(child);
  }
  EXPECT_EQ(json_serialize_to_string(root.get()), nullptr);
  EXPECT_EQ(json_serialization_size_pretty(root.get()), 0u);
  EXPECT_EQ(json_value_deep_copy(root.get()), nullptr);
  EXPECT_EQ(json_validate(root.get(), root.get()), JSONFailure);
}

}  // namespace
