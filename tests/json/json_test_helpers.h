// Small owners and shorthands shared by the JSON tests.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "parson.h"

namespace json_test {

struct ValueFree {
  void operator()(JSON_Value* value) const { json_value_free(value); }
};
using Value = std::unique_ptr<JSON_Value, ValueFree>;

inline Value parse(const std::string& text) { return Value(json_parse_string(text.c_str())); }

// The serialised text, or "<null>" when serialisation fails.
inline std::string takeText(char* text) {
  if (!text) return "<null>";
  std::string copy(text);
  json_free_serialized_string(text);
  return copy;
}

inline std::string compact(const JSON_Value* value) {
  return takeText(json_serialize_to_string(value));
}

inline std::string pretty(const JSON_Value* value) {
  return takeText(json_serialize_to_string_pretty(value));
}

}  // namespace json_test
