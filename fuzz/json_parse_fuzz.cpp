// Parses arbitrary text as JSON and, when it parses, serialises it both ways and re-parses
// the compact form: the round trip must give the same text.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "json/parson.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  JSON_Value* value = json_parse_string(text.c_str());
  if (!value) return 0;
  char* compact = json_serialize_to_string(value);
  char* pretty = json_serialize_to_string_pretty(value);
  if (compact) {
    JSON_Value* again = json_parse_string(compact);
    char* compact_again = again ? json_serialize_to_string(again) : nullptr;
    if (!compact_again || std::strcmp(compact, compact_again) != 0) std::abort();
    json_free_serialized_string(compact_again);
    json_value_free(again);
  }
  json_free_serialized_string(compact);
  json_free_serialized_string(pretty);
  json_value_free(value);
  return 0;
}
