// Shared pieces of the type-system tests: a small two-type schema and text owners.
#pragma once

#include <string>
#include <vector>

#include "src/data/owners.h"
#include "src/data/schema.h"
#include "src/data/schema_id.h"
#include "src/data/type_system.h"
#include "support/log_capture.h"

namespace data_test {

using vtr::data::JsonPtr;
using vtr::data::JsonTextPtr;
using vtr::data::SchemaPtr;
using vtr::data::TypeSystemPtr;

// Field info with string literals; vtr_schema_add_type copies what it keeps.
inline vtr_type_field_info_t field(const char* name, const char* type, uint32_t count = 1,
                                   vtr_value_type_t mode = VTR_VALUE_TYPE_ABSOLUTE, const char* description = nullptr) {
  return vtr_type_field_info_t{const_cast<char*>(name), const_cast<char*>(description ? description : name),
                               const_cast<char*>(type), mode, count};
}

inline int add_type(vtr_schema_t* schema, const char* name, const std::vector<vtr_type_field_info_t>& fields,
                    uint8_t* out_index = nullptr) {
  return vtr_schema_add_type(schema, name, fields.data(), fields.size(), out_index);
}

// Schema "demo" 1.2.3 with "pair" {a: uint8_t, b: uint16_t} and
// "event" {ts: timestamp, name: char[8], packets: uint64_t running sum, indexed}.
inline vtr_schema_t* add_demo_schema(vtr_type_system_t* type_system) {
  vtr_schema_t* schema = vtr_type_system_add_schema(type_system, "demo", VTR_MAKE_VERSION(1, 2, 3), nullptr);
  add_type(schema, "pair", {field("a", "uint8_t", 1, VTR_VALUE_TYPE_ABSOLUTE, "first"),
                            field("b", "uint16_t", 1, VTR_VALUE_TYPE_ABSOLUTE, "second")});
  add_type(schema, "event", {field("ts", "timestamp", 1, VTR_VALUE_TYPE_ABSOLUTE, "Event timestamp"),
                             field("name", "char", 8, VTR_VALUE_TYPE_ABSOLUTE, "Name"),
                             field("packets", "uint64_t", 1, VTR_VALUE_TYPE_RUNNING_SUM, "Packets")});
  const char* indexed[] = {"packets"};
  vtr_schema_set_field_indexes(schema, 1, indexed, 1);
  vtr_type_system_update_md5_hashes(type_system);
  return schema;
}

inline TypeSystemPtr demo_type_system() {
  TypeSystemPtr type_system(vtr_create_type_system());
  add_demo_schema(type_system.get());
  return type_system;
}

// Takes a serialised text; "<null>" stands for no text.
inline std::string take_text(char* text) {
  JsonTextPtr owner(text);
  return owner ? std::string(owner.get()) : std::string("<null>");
}

inline std::string pretty(const JSON_Value* json) { return take_text(json_serialize_to_string_pretty(json)); }
inline std::string compact(const JSON_Value* json) { return take_text(json_serialize_to_string(json)); }

inline std::string id_string(const uint8_t* id) {
  char text[VTR_SCHEMA_ID_STRING_SIZE];
  vtr_schema_id_to_schema_string(id, text);
  return text;
}

}  // namespace data_test
