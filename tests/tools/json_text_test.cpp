// Event lines: the plug-in's JSON values written as compact text, each number as the shortest
// text that reads back to the same double, strings escaped as the plug-in's serialiser does,
// and bytes that are not UTF-8 as U+FFFD.

#include "tools/json_text.h"

#include <gtest/gtest.h>

#include <memory>

namespace vtr {
namespace host {
namespace {

// The JSON calls resolved from this process's own parson, which is the plug-in's.
PluginApi linkedJsonApi() {
  PluginApi api;
  api.json_value_get_type = json_value_get_type;
  api.json_value_get_object = json_value_get_object;
  api.json_value_get_array = json_value_get_array;
  api.json_value_get_string = json_value_get_string;
  api.json_value_get_string_len = json_value_get_string_len;
  api.json_value_get_number = json_value_get_number;
  api.json_value_get_boolean = json_value_get_boolean;
  api.json_object_get_count = json_object_get_count;
  api.json_object_get_name = json_object_get_name;
  api.json_object_get_value_at = json_object_get_value_at;
  api.json_array_get_count = json_array_get_count;
  api.json_array_get_value = json_array_get_value;
  return api;
}

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
  const PluginApi api = linkedJsonApi();
  for (const auto& [json, want] : cases) {
    std::unique_ptr<JSON_Value, void (*)(JSON_Value*)> value(json_parse_string(json), json_value_free);
    ASSERT_TRUE(value) << json;
    std::string text;
    EXPECT_TRUE(appendJsonText(api, value.get(), text));
    EXPECT_EQ(text, want) << json;
  }
}

}  // namespace
}  // namespace host
}  // namespace vtr
