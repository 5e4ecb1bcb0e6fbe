// Which texts parse, and into what, and what serialised text looks like: schema files from
// other producers must read the same way they read with parson, quirks included, and written
// text must match parson byte for byte, since schema ids are MD5 digests of pretty text.
#include <gtest/gtest.h>

#include <cfloat>
#include <memory>
#include <string>
#include <vector>

#include "json/parson.h"

namespace {

using Value = std::unique_ptr<JSON_Value, decltype(&json_value_free)>;

Value parse(const std::string& text) { return Value(json_parse_string(text.c_str()), json_value_free); }

// The serialised text, or "<null>" when serialisation fails.
std::string takeText(char* text) {
  const std::string copy = text ? text : "<null>";
  json_free_serialized_string(text);
  return copy;
}
std::string compact(const JSON_Value* value) { return takeText(json_serialize_to_string(value)); }
std::string pretty(const JSON_Value* value) { return takeText(json_serialize_to_string_pretty(value)); }

constexpr const char* kRefused = "<null>";

struct ParseCase {
  std::string input;
  std::string compactOrRefused;
};

void expectParses(const std::vector<ParseCase>& cases) {
  for (const ParseCase& c : cases) EXPECT_EQ(compact(parse(c.input).get()), c.compactOrRefused) << "input: " << c.input;
}

TEST(JsonParse, StructureRules) {
  expectParses(
      {
          {"[1,]", "[1]"},
          {R"({"a":1,})", R"({"a":1})"},
          {"[,]", kRefused},
          {"{,}", kRefused},
          {R"({"a":1,,})", kRefused},
          {"[1,,]", kRefused},
          {"[1 2]", kRefused},
          {"[1", kRefused},
          {R"({"a"})", kRefused},
          {R"({"a":})", kRefused},
          {"{a:1}", kRefused},
          {"{'a':1}", kRefused},
          {R"({"a":1,"a":2})", kRefused},
          {R"({"a":1,"\u0061":2})", kRefused},
          {R"({"a\u0000b":1})", kRefused},
          {" \t\n\v\f\r[ 1 , { \"k\" : null } ]", R"([1,{"k":null}])"},
          {"", kRefused},
          {" \n ", kRefused},
      });
}

TEST(JsonParse, OnlyTheFirstValueIsRead) {
  expectParses({{"[1] x", "[1]"},
                {"{}}", "{}"},
                {"123abc", "123"},
                {"truex", "true"},
                {"[truex]", kRefused},
                {"True", kRefused},
                {"nul", kRefused},
                {"\xEF\xBB\xBF[1]", "[1]"},
                {"\xEF\xBB[1]", kRefused}});
}

TEST(JsonParse, NumberRules) {
  expectParses(
      {
          {"01", kRefused},       {"-01", kRefused},     {"0x1", kRefused},
          {"-0x1", kRefused},     {"0e5", kRefused},     {"-0e1", kRefused},
          {"00", kRefused},       {"+1", kRefused},      {".5", kRefused},
          {"NaN", kRefused},      {"Infinity", kRefused}, {"-Infinity", kRefused},
          {"-nan", kRefused},     {"1e309", kRefused},   {"-1e309", kRefused},
          {"0", "0"},             {"-0", "-0"},          {"0.5", "0.5"},
          {"-0.5", "-0.5"},       {"1.", "1"},           {"-.5", "-0.5"},
          {"1e-400", "0"},        {"-", "0"},            {"[-]", kRefused},
          {"2.5E+3", "2500"},     {"[1e2,-3]", "[100,-3]"},
      });
}

TEST(JsonParse, StringRules) {
  expectParses(
      {
          {R"("\"\\\/\b\f\n\r\t")", R"("\"\\\/\b\f\n\r\t")"},
          {R"("\u00E9\u00e9")", "\"\xc3\xa9\xc3\xa9\""},
          {R"("\u20ac")", "\"\xe2\x82\xac\""},
          {R"("\ud83d\ude00")", "\"\xf0\x9f\x98\x80\""},
          {R"("\ud83d")", kRefused},
          {R"("\ude00")", kRefused},
          {R"("\ude00\ud83d")", kRefused},
          {R"("\ud83d x")", kRefused},
          {R"("\ud83d\u0041")", kRefused},
          {R"("\u12")", kRefused},
          {R"("\u12G4")", kRefused},
          {R"("\x")", kRefused},
          {R"("\'")", kRefused},
          {"\"abc", kRefused},
          {"\"a\\", kRefused},
          {"\"a\tb\"", kRefused},
          {"\"a\nb\"", kRefused},
          {"\"a\x1f\"", kRefused},
          {"\"a\x7f\xff\"", "\"a\x7f\xff\""},
      });
}

std::string nestedArrays(int depth, const std::string& inner) {
  return std::string(depth, '[') + inner + std::string(depth, ']');
}

TEST(JsonParse, NestingLimitIs2048Containers) {
  Value deepest = parse(nestedArrays(2048, "1"));
  ASSERT_NE(deepest, nullptr);
  EXPECT_EQ(compact(deepest.get()), nestedArrays(2048, "1"));
  EXPECT_NE(pretty(deepest.get()), "<null>");
  Value copy(json_value_deep_copy(deepest.get()), json_value_free);
  EXPECT_EQ(compact(copy.get()), nestedArrays(2048, "1"));

  EXPECT_EQ(parse(nestedArrays(2049, "1")), nullptr);
  EXPECT_NE(parse(nestedArrays(2049, "")), nullptr);
  EXPECT_EQ(parse(nestedArrays(2050, "")), nullptr);
  EXPECT_EQ(parse(nestedArrays(100000, "")), nullptr);
  EXPECT_EQ(parse(std::string(100000, '[')), nullptr);
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
    Value value(json_value_init_number(c.number), json_value_free);
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
  Value root(json_value_init_array(), json_value_free);
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
