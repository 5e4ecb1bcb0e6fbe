// Serialised text must match parson byte for byte: schema ids are MD5 digests of pretty text.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <string>

#include "json_test_helpers.h"

using namespace json_test;

namespace {

struct Expected {
  std::string compact;
  std::string pretty;
  size_t prettySize;
  std::string prettyMd5;
};

void expectText(const JSON_Value* value, const Expected& expected) {
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(compact(value), expected.compact);
  std::string prettyText = pretty(value);
  if (!expected.pretty.empty()) {
    EXPECT_EQ(prettyText, expected.pretty);
  }
  EXPECT_EQ(prettyText.size(), expected.prettySize);
  EXPECT_EQ(md5Hex(prettyText), expected.prettyMd5);
  EXPECT_EQ(json_serialization_size(value), expected.compact.size() + 1);
  EXPECT_EQ(json_serialization_size_pretty(value), prettyText.size() + 1);
}

TEST(JsonVectors, V1ObjectBuiltWithSetters) {
  Value root(json_value_init_object());
  JSON_Object* object = json_value_get_object(root.get());
  ASSERT_EQ(json_object_set_string(object, "name", "x"), JSONSuccess);
  ASSERT_EQ(json_object_set_number(object, "n", 25), JSONSuccess);
  expectText(root.get(), {R"({"name":"x","n":25})", "{\n    \"name\": \"x\",\n    \"n\": 25\n}", 32,
                          "1519ac67bd79102b9bc9fd2d9705e739"});
}

TEST(JsonVectors, V2EmptyContainersAreTheSameInBothModes) {
  Value object(json_value_init_object());
  Value array(json_value_init_array());
  EXPECT_EQ(compact(object.get()), "{}");
  EXPECT_EQ(pretty(object.get()), "{}");
  EXPECT_EQ(compact(array.get()), "[]");
  EXPECT_EQ(pretty(array.get()), "[]");
}

TEST(JsonVectors, V3NestedEmptyContainers) {
  Value root = parse(R"({"a":{},"b":[],"c":[{}]})");
  expectText(root.get(),
             {R"({"a":{},"b":[],"c":[{}]})",
              "{\n    \"a\": {},\n    \"b\": [],\n    \"c\": [\n        {}\n    ]\n}", 57,
              "b8b802a3544f93852eef3e94b0e84cf0"});
}

TEST(JsonVectors, V4StringEscapes) {
  Value root(json_value_init_object());
  JSON_Object* object = json_value_get_object(root.get());
  ASSERT_EQ(json_object_set_string(object, "p/q", "a/b"), JSONSuccess);
  ASSERT_EQ(json_object_set_string(object, "q", "say \"hi\"\n\t\\"), JSONSuccess);
  ASSERT_EQ(json_object_set_string(object, "c", "\x01\x1f\x7f"), JSONSuccess);
  ASSERT_EQ(json_object_set_string(object, "u", "\xc3\xa9"), JSONSuccess);
  expectText(root.get(), {"{\"p\\/q\":\"a\\/b\",\"q\":\"say \\\"hi\\\"\\n\\t\\\\\","
                          "\"c\":\"\\u0001\\u001f\x7f\",\"u\":\"\xc3\xa9\"}",
                          "", 92, "f888c19c2ee8430c13afc393c2f6b9ec"});
  EXPECT_EQ(compact(root.get()).size(), 67u);
}

TEST(JsonVectors, V5NumbersBooleanAndNull) {
  Value root(json_value_init_object());
  JSON_Object* object = json_value_get_object(root.get());
  ASSERT_EQ(json_object_set_number(object, "f", 0.1), JSONSuccess);
  ASSERT_EQ(json_object_set_number(object, "z", -0.0), JSONSuccess);
  ASSERT_EQ(json_object_set_number(object, "big", 1e17), JSONSuccess);
  ASSERT_EQ(json_object_set_number(object, "sm", 1e-5), JSONSuccess);
  ASSERT_EQ(json_object_set_number(object, "i", -42), JSONSuccess);
  ASSERT_EQ(json_object_set_boolean(object, "t", 1), JSONSuccess);
  ASSERT_EQ(json_object_set_null(object, "n"), JSONSuccess);
  expectText(root.get(),
             {R"({"f":0.10000000000000001,"z":-0,"big":1e+17,"sm":1.0000000000000001e-05,)"
              R"("i":-42,"t":true,"n":null})",
              "", 141, "213be5ccae5ccc08b4c34cbb3c54a0f4"});
  EXPECT_NE(pretty(root.get()).find("\n    \"z\": -0,\n"), std::string::npos);
}

TEST(JsonVectors, V6NestedArraysAndObjects) {
  Value root = parse(R"([1,[2,[]],{"k":[false]}])");
  expectText(root.get(), {R"([1,[2,[]],{"k":[false]}])",
                          "[\n    1,\n    [\n        2,\n        []\n    ],\n    {\n        \"k\": [\n"
                          "            false\n        ]\n    }\n]",
                          100, "bb4de22836df94776ed283329b2e9c7b"});
}

TEST(JsonVectors, V7ParsedTextIsReencoded) {
  Value root = parse(R"( {"b" : 1.0, "a":"\u00e9\/"} x)");
  expectText(root.get(), {"{\"b\":1,\"a\":\"\xc3\xa9\\/\"}", "", 31,
                          "a8b24c4a5d97d3edc2fb0eaebdb354a6"});
}

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

TEST(JsonSerialize, ParsedNumbersAreKeptAsDoubles) {
  EXPECT_EQ(compact(parse("[1.0,1e2,12345678901234567890,1E-5]").get()),
            "[1,100,1.2345678901234567e+19,1.0000000000000001e-05]");
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

TEST(JsonSerialize, SlashEscapingCanBeSwitchedOff) {
  Value value = parse(R"({"a/b":"c\/d"})");
  EXPECT_EQ(compact(value.get()), R"({"a\/b":"c\/d"})");
  json_set_escape_slashes(0);
  EXPECT_EQ(compact(value.get()), R"({"a/b":"c/d"})");
  EXPECT_EQ(json_serialization_size(value.get()), compact(value.get()).size() + 1);
  json_set_escape_slashes(1);
  EXPECT_EQ(compact(value.get()), R"({"a\/b":"c\/d"})");
}

TEST(JsonSerialize, TopLevelScalarsPrintTheSameInBothModes) {
  for (const char* text : {"\"x\"", "true", "false", "null", "1.5"}) {
    Value value = parse(text);
    EXPECT_EQ(compact(value.get()), text);
    EXPECT_EQ(pretty(value.get()), text);
  }
}

TEST(JsonSerialize, NullValueHasNoText) {
  EXPECT_EQ(json_serialize_to_string(nullptr), nullptr);
  EXPECT_EQ(json_serialize_to_string_pretty(nullptr), nullptr);
  EXPECT_EQ(json_serialization_size(nullptr), 0u);
  json_free_serialized_string(nullptr);
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
