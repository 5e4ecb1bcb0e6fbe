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

// Each text as it reads back, compact; "<null>" when it is refused.
TEST(JsonParse, TextsReadBackAsParsonReadsThem) {
  const std::string no = "<null>";
  const std::pair<std::string, std::string> rows[] = {
      // structure; only the first value is read
      {"[1,]", "[1]"}, {R"({"a":1,})", R"({"a":1})"}, {"[,]", no}, {"{,}", no}, {R"({"a":1,,})", no}, {"[1,,]", no},
      {"[1 2]", no}, {"[1", no}, {R"({"a"})", no}, {R"({"a":})", no}, {"{a:1}", no}, {"{'a':1}", no},
      {R"({"a":1,"a":2})", no}, {R"({"a":1,"\u0061":2})", no}, {R"({"a\u0000b":1})", no}, {"", no}, {" \n ", no},
      {" \t\n\v\f\r[ 1 , { \"k\" : null } ]", R"([1,{"k":null}])"}, {"[1] x", "[1]"}, {"{}}", "{}"},
      {"123abc", "123"}, {"truex", "true"}, {"[truex]", no}, {"True", no}, {"nul", no}, {"\xEF\xBB\xBF[1]", "[1]"},
      {"\xEF\xBB[1]", no},
      // numbers
      {"01", no}, {"-01", no}, {"0x1", no}, {"-0x1", no}, {"0e5", no}, {"-0e1", no}, {"00", no}, {"+1", no},
      {".5", no}, {"NaN", no}, {"Infinity", no}, {"-Infinity", no}, {"-nan", no}, {"1e309", no}, {"-1e309", no},
      {"0", "0"}, {"-0", "-0"}, {"0.5", "0.5"}, {"-0.5", "-0.5"}, {"1.", "1"}, {"-.5", "-0.5"}, {"1e-400", "0"},
      {"-", "0"}, {"[-]", no}, {"2.5E+3", "2500"}, {"[1e2,-3]", "[100,-3]"},
      // strings
      {R"("\"\\\/\b\f\n\r\t")", R"("\"\\\/\b\f\n\r\t")"}, {R"("\u00E9\u00e9")", "\"\xc3\xa9\xc3\xa9\""},
      {R"("\u20ac")", "\"\xe2\x82\xac\""}, {R"("\ud83d\ude00")", "\"\xf0\x9f\x98\x80\""}, {R"("\ud83d")", no},
      {R"("\ude00")", no}, {R"("\ude00\ud83d")", no}, {R"("\ud83d x")", no}, {R"("\ud83d\u0041")", no},
      {R"("\u12")", no}, {R"("\u12G4")", no}, {R"("\x")", no}, {R"("\'")", no}, {"\"abc", no}, {"\"a\\", no},
      {"\"a\tb\"", no}, {"\"a\nb\"", no}, {"\"a\x1f\"", no}, {"\"a\x7f\xff\"", "\"a\x7f\xff\""},
  };
  for (const auto& [input, want] : rows) EXPECT_EQ(compact(parse(input).get()), want) << "input: " << input;
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
  const std::pair<double, const char*> rows[] = {
      {0.1, "0.10000000000000001"}, {3.14, "3.1400000000000001"}, {0.0001, "0.0001"}, {1e-5, "1.0000000000000001e-05"},
      {-0.0, "-0"}, {0, "0"}, {25, "25"}, {-42, "-42"}, {1e16, "10000000000000000"}, {1e17, "1e+17"},
      {12345678901234567890.0, "1.2345678901234567e+19"}, {DBL_MAX, "1.7976931348623157e+308"},
      {5e-324, "4.9406564584124654e-324"},
  };
  for (const auto& [number, text] : rows) {
    Value value(json_value_init_number(number), json_value_free);
    EXPECT_EQ(compact(value.get()), text);
    EXPECT_EQ(pretty(value.get()), text);
  }
}

TEST(JsonSerialize, ControlBytesBecomeShortOrUnicodeEscapes) {
  std::string all;
  for (int c = 0; c < 0x20; c++) all += static_cast<char>(c);
  Value value = parse("\"\\u0000\\u0001\\u0002\\u0003\\u0004\\u0005\\u0006\\u0007\\b\\t\\n"
                      "\\u000B\\f\\r\\u000e\\u000f\\u0010\\u0011\\u0012\\u0013\\u0014\\u0015"
                      "\\u0016\\u0017\\u0018\\u0019\\u001a\\u001b\\u001c\\u001d\\u001e\\u001F\"");
  ASSERT_EQ(std::string(json_value_get_string(value.get()), json_value_get_string_len(value.get())), all);
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
