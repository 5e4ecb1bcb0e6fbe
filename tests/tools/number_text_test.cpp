// Event lines print each number as the shortest text that reads back to the same double.

#include "tools/number_text.h"

#include <gtest/gtest.h>

namespace vtr {
namespace host {
namespace {

TEST(ShortestNumbers, RewriteEveryNumberOutsideStringsOnly) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"12v":12.060000000000001,"t":1732180000123456})", R"({"12v":12.06,"t":1732180000123456})"},
      {R"({"a":5.0099999999999998,"b":-0.5,"c":256})", R"({"a":5.01,"b":-0.5,"c":256})"},
      {R"({"big":1.8446744073709552e+19,"tiny":1.0000000000000001e-05})",
       R"({"big":18446744073709551616,"tiny":1e-05})"},
      {R"({"3.3000000000000003v":null,"s":"x 0.10000000000000001 \" 2.50"})",
       R"({"3.3000000000000003v":null,"s":"x 0.10000000000000001 \" 2.50"})"},
      {R"([1e999,-])", R"([1e999,-])"},
  };
  for (const auto& [json, want] : cases) EXPECT_EQ(withShortestNumbers(json), want) << json;
}

}  // namespace
}  // namespace host
}  // namespace vtr
