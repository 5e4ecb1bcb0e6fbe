// Schema and type-system documents of any shape: reading never crashes or leaks, and a
// document that reads back serialises to text that reads again to the same text.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "json/parson.h"
#include "src/data/schema.h"
#include "src/data/schema_json.h"
#include "src/data/type_system.h"

namespace {

void checkRoundTrip(const vtr_type_system_t* types) {
  char* text = vtr_type_system_serialize(types, true);
  if (!text) return;
  vtr_type_system_t* again = vtr_type_system_deserialize(text);
  char* text_again = again ? vtr_type_system_serialize(again, true) : nullptr;
  if (!text_again || std::strcmp(text, text_again) != 0) std::abort();
  json_free_serialized_string(text_again);
  vtr_destroy_type_system(again);
  json_free_serialized_string(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  vtr_type_system_t* types = vtr_type_system_deserialize(text.c_str());
  if (types) checkRoundTrip(types);
  vtr_destroy_type_system(types);

  JSON_Value* json = json_parse_string(text.c_str());
  vtr_destroy_schema(vtr_schema_from_json(json));
  json_value_free(json);
  return 0;
}
