// Which texts parse, and into what: schema files from other producers must read the same way
// they read with parson, quirks included.
#include <gtest/gtest.h>

#include <string>

#include "json_test_helpers.h"

using namespace json_test;

namespace {

constexpr const char* kRefused = "<null>";

struct ParseCase {
  std::string input;
  std::string compactOrRefused;
};

void expectParses(const std::vector<ParseCase>& cases, Value (*parser)(const std::string&)) {
  for (const ParseCase& c : cases) {
    Value value = parser(c.input);
    EXPECT_EQ(compact(value.get()), c.compactOrRefused) << "input: " << c.input;
  }
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
      },
      parse);
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
                {"\xEF\xBB[1]", kRefused}},
               parse);
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
      },
      parse);
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
      },
      parse);
}

std::string nestedArrays(int depth, const std::string& inner) {
  return std::string(depth, '[') + inner + std::string(depth, ']');
}

TEST(JsonParse, NestingLimitIs2048Containers) {
  Value deepest = parse(nestedArrays(2048, "1"));
  ASSERT_NE(deepest, nullptr);
  EXPECT_EQ(compact(deepest.get()), nestedArrays(2048, "1"));
  EXPECT_NE(pretty(deepest.get()), "<null>");
  Value copy(json_value_deep_copy(deepest.get()));
  EXPECT_EQ(compact(copy.get()), nestedArrays(2048, "1"));

  EXPECT_EQ(parse(nestedArrays(2049, "1")), nullptr);
  EXPECT_NE(parse(nestedArrays(2049, "")), nullptr);
  EXPECT_EQ(parse(nestedArrays(2050, "")), nullptr);
  EXPECT_EQ(parse(nestedArrays(100000, "")), nullptr);
  EXPECT_EQ(parse(std::string(100000, '[')), nullptr);
}

}  // namespace
