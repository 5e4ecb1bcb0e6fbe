// Event lines: the plug-in's JSON values written as compact text, each number as the shortest
// text that reads back to the same double, strings escaped as the plug-in's serialiser does,
// and bytes that are not UTF-8 as U+FFFD.

#include "tools/json_text.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/hosted_provider.h"

namespace vtr {
namespace host {
namespace {

TEST(JsonText, NumbersShortestStringsEscapedAndInvalidUtf8Replaced) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"12v":12.060000000000001, "t":1732180000123456,"a":5.0099999999999998,"b":-0.5,"c":256})",
       R"({"12v":12.06,"t":1732180000123456,"a":5.01,"b":-0.5,"c":256})"},
      {R"({"big":1.8446744073709552e+19,"tiny":1.0000000000000001e-05,"z":-0})",
       R"({"big":18446744073709551616,"tiny":1e-05,"z":-0})"},
      {R"({"3.3v":null,"s":"x 0.10000000000000001 \" \\ / \n\t\u0001\u007f é"})",
       R"({"3.3v":null,"s":"x 0.10000000000000001 \" \\ \/ \n\t\u0001)"
       "\x7f"
       R"( é"})"},
      {"{\"cpu\xff temp\":[1.5,true,false,{},[]],\"x\":\"\xed\xa0\x80/\xc3\"}",
       "{\"cpu\xEF\xBF\xBD temp\":[1.5,true,false,{},[]],\"x\":\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\\/\xEF\xBF\xBD\"}"},
  };
  // The JSON calls of the built plug-in, resolved as vtr-host resolves them.
  const PluginLibrary plugin(VTR_PROVIDER_LIBRARY);
  const PluginApi& api = plugin.api();
  const auto parse = test::exported<decltype(&json_parse_string)>("json_parse_string");
  for (const auto& [json, want] : cases) {
    std::unique_ptr<JSON_Value, void (*)(JSON_Value*)> value(parse(json), api.json_value_free);
    ASSERT_TRUE(value) << json;
    std::string text;
    EXPECT_TRUE(appendJsonText(api, value.get(), text));
    EXPECT_EQ(text, want) << json;
  }
}

}  // namespace
}  // namespace host
}  // namespace vtr
