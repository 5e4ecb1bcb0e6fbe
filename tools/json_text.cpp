#include "tools/json_text.h"

#include <cstddef>
#include <string_view>

#include "tools/number_text.h"
#include "tools/utf8_text.h"

namespace vtr {
namespace host {

namespace {

bool needsEscape(unsigned char c) { return c < 0x20 || c == '"' || c == '\\' || c == '/'; }

void appendEscape(std::string& out, unsigned char c) {
  static constexpr std::string_view kEscaped = "\"\\/\b\f\n\r\t";
  static constexpr std::string_view kLetters = "\"\\/bfnrt";
  static constexpr std::string_view kHexDigits = "0123456789abcdef";
  out += '\\';
  const std::size_t letter = kEscaped.find(static_cast<char>(c));
  if (letter != std::string_view::npos) {
    out += kLetters[letter];
    return;
  }
  out += "u00";
  out += kHexDigits[c >> 4];
  out += kHexDigits[c & 0xF];
}

// Runs of bytes that need neither an escape nor a replacement are copied whole.
void appendString(std::string& out, std::string_view text) {
  out += '"';
  std::size_t runFrom = 0;
  for (std::size_t at = 0; at < text.size();) {
    const auto c = static_cast<unsigned char>(text[at]);
    const std::size_t length = c < 0x80 ? (needsEscape(c) ? 0 : 1) : utf8SequenceLength(text, at);
    if (length > 0) {
      at += length;
      continue;
    }
    out.append(text, runFrom, at - runFrom);
    if (c < 0x80) {
      appendEscape(out, c);
    } else {
      out += kReplacementCharacter;
    }
    runFrom = ++at;
  }
  out.append(text, runFrom, std::string_view::npos);
  out += '"';
}

bool appendObject(const PluginApi& api, const JSON_Object* object, std::string& out) {
  out += '{';
  const std::size_t count = api.json_object_get_count(object);
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) out += ',';
    appendString(out, api.json_object_get_name(object, i));
    out += ':';
    if (!appendJsonText(api, api.json_object_get_value_at(object, i), out)) return false;
  }
  out += '}';
  return true;
}

bool appendArray(const PluginApi& api, const JSON_Array* array, std::string& out) {
  out += '[';
  const std::size_t count = api.json_array_get_count(array);
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) out += ',';
    if (!appendJsonText(api, api.json_array_get_value(array, i), out)) return false;
  }
  out += ']';
  return true;
}

}  // namespace

bool appendJsonText(const PluginApi& api, const JSON_Value* value, std::string& out) {
  switch (api.json_value_get_type(value)) {
    case JSONNull:
      out += "null";
      return true;
    case JSONBoolean:
      out += api.json_value_get_boolean(value) ? "true" : "false";
      return true;
    case JSONNumber:
      appendShortestText(out, api.json_value_get_number(value));
      return true;
    case JSONString:
      appendString(out, {api.json_value_get_string(value), api.json_value_get_string_len(value)});
      return true;
    case JSONObject:
      return appendObject(api, api.json_value_get_object(value), out);
    case JSONArray:
      return appendArray(api, api.json_value_get_array(value), out);
    default:
      return false;
  }
}

}  // namespace host
}  // namespace vtr
