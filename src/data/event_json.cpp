#include "src/data/event_json.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <string>

#include "runtime/logger.h"
#include "src/data/builtin_types.h"
#include "src/data/owners.h"

using vtr::data::JsonPtr;

namespace {

constexpr const char* kGuidOption = "VTR_CONVERT_GUID_TO_HEX_STRING";
constexpr const char kGuidMarker[] = "guid";
constexpr size_t kGuidMarkerLength = sizeof kGuidMarker - 1;

template <typename T>
T read_as(const void* bytes) {
  T value;
  memcpy(&value, bytes, sizeof value);
  return value;
}

JsonPtr number(double value) { return JsonPtr(json_value_init_number(value)); }

JsonPtr hex_string(unsigned long bits) {
  char text[32];
  snprintf(text, sizeof text, "0x%016lx", bits);
  return JsonPtr(json_value_init_string(text));
}

JsonPtr hex_string(unsigned long long bits) {
  char text[32];
  snprintf(text, sizeof text, "0x%016llx", bits);
  return JsonPtr(json_value_init_string(text));
}

// Read once per process: the environment does not change under a running host.
bool guid_option_on() {
  static const bool on = [] {
    const char* value = vtr_getenv(kGuidOption);
    return value && value[0] != '\0' && strchr("1ty", tolower(static_cast<unsigned char>(value[0]))) != nullptr;
  }();
  return on;
}

bool is_letter(char c) { return isalpha(static_cast<unsigned char>(c)) != 0; }

// "guid" in any case as a word of its own: "port_guid" and "GUID" qualify, "guidance" does not.
bool names_guid_word(const char* name) {
  if (!name) return false;
  size_t length = strlen(name);
  for (size_t at = 0; at + kGuidMarkerLength <= length; ++at) {
    if (strncasecmp(name + at, kGuidMarker, kGuidMarkerLength) != 0) continue;
    bool starts_word = at == 0 || !is_letter(name[at - 1]);
    bool ends_word = at + kGuidMarkerLength == length || !is_letter(name[at + kGuidMarkerLength]);
    if (starts_word && ends_word) return true;
  }
  return false;
}

bool has_guid_name(const char* field_name) {
  return field_name && (strstr(field_name, "guid") || strstr(field_name, "GUID"));
}

uint32_t builtin_id_of(const vtr_type_field_definition_t* field) {
  return field->type_def ? field->type_def->builtin_id : vtr_builtin_type_from_name(field->type_name);
}

bool is_character_type(const char* type_name) {
  return type_name && (strcmp(type_name, "char") == 0 || strcmp(type_name, "unsigned char") == 0);
}

// The field's first 8 bytes as a hex string; null (after logging) when that fails.
JsonPtr guid_hex_string(const vtr_type_field_definition_t* field, const void* data) {
  char text[32];
  int written = snprintf(text, sizeof text, "0x%016lx", static_cast<unsigned long>(read_as<uint64_t>(data)));
  if (written != 18) {
    vtr_log(VTR_LOG_ERR, "Failed to convert field %s to a hex string", field->field_name);
    return nullptr;
  }
  JsonPtr value(json_value_init_string(text));
  if (!value) vtr_log(VTR_LOG_ERR, "Failed to serialize field %s to a hex string", field->field_name);
  return value;
}

// Leading printable characters, up to the array length.
JsonPtr printable_prefix(const vtr_type_field_definition_t* field, const void* data) {
  const char* characters = static_cast<const char*>(data);
  size_t length = 0;
  while (length < field->count && isprint(static_cast<unsigned char>(characters[length]))) ++length;
  JsonPtr value(json_value_init_string(std::string(characters, length).c_str()));
  if (!value)
    vtr_log(VTR_LOG_ERR, "Failed to serialize field %s of type %s[%u] as string", field->field_name, field->type_name,
            field->count);
  return value;
}

}  // namespace

JSON_Value* vtr_builtin_type_jsonify_with_field_name(uint32_t id, const void* value, const char* field_name) {
  if (!value) return nullptr;
  bool guid = has_guid_name(field_name);
  switch (id) {
    case VTR_BUILTIN_BOOL:
    case VTR_BUILTIN_CHAR:
    case VTR_BUILTIN_UNSIGNED_CHAR:
    case VTR_BUILTIN_UINT8:
      return number(read_as<uint8_t>(value)).release();
    case VTR_BUILTIN_INT8:
      return number(read_as<int8_t>(value)).release();
    case VTR_BUILTIN_SHORT:
    case VTR_BUILTIN_INT16:
      return number(read_as<int16_t>(value)).release();
    case VTR_BUILTIN_UNSIGNED_SHORT:
    case VTR_BUILTIN_UINT16:
      return number(read_as<uint16_t>(value)).release();
    case VTR_BUILTIN_INT:
    case VTR_BUILTIN_INT32:
      return number(read_as<int32_t>(value)).release();
    case VTR_BUILTIN_UNSIGNED_INT:
    case VTR_BUILTIN_UINT32:
      return number(read_as<uint32_t>(value)).release();
    case VTR_BUILTIN_LONG:
    case VTR_BUILTIN_LONG_LONG:
      return number(static_cast<double>(read_as<int64_t>(value))).release();
    case VTR_BUILTIN_INT64:
      return (guid ? hex_string(read_as<unsigned long>(value))
                   : number(static_cast<double>(read_as<int64_t>(value))))
          .release();
    case VTR_BUILTIN_UNSIGNED_LONG:
    case VTR_BUILTIN_UINT64:
      return (guid ? hex_string(read_as<unsigned long>(value))
                   : number(static_cast<double>(read_as<uint64_t>(value))))
          .release();
    case VTR_BUILTIN_UNSIGNED_LONG_LONG:
      return (guid ? hex_string(read_as<unsigned long long>(value))
                   : number(static_cast<double>(read_as<unsigned long long>(value))))
          .release();
    case VTR_BUILTIN_FLOAT:
      return number(read_as<float>(value)).release();
    case VTR_BUILTIN_DOUBLE:
      return number(read_as<double>(value)).release();
    case VTR_BUILTIN_TIMESTAMP:
      return number(static_cast<double>(read_as<uint64_t>(value))).release();
    default:
      return nullptr;
  }
}

JSON_Value* vtr_builtin_type_jsonify(uint32_t id, const void* value) {
  return vtr_builtin_type_jsonify_with_field_name(id, value, nullptr);
}

JSON_Value* vtr_type_field_definition_jsonify_scalar(const vtr_type_field_definition_t* field, const void* data) {
  if (!field || !data) return nullptr;
  uint32_t id = builtin_id_of(field);
  if (id != VTR_BUILTIN_NONE) return vtr_builtin_type_jsonify_with_field_name(id, data, field->field_name);
  return field->type_def ? vtr_type_definition_jsonify_data(field->type_def, data) : nullptr;
}

JSON_Value* vtr_type_field_definition_jsonify_array(const vtr_type_field_definition_t* field, const void* data) {
  if (!field || !data) return nullptr;
  if (is_character_type(field->type_name)) return printable_prefix(field, data).release();
  JsonPtr array(json_value_init_array());
  uint32_t id = builtin_id_of(field);
  const auto* element = static_cast<const uint8_t*>(data);
  for (uint32_t i = 0; array && i < field->count; ++i, element += field->type_size) {
    JsonPtr value(vtr_builtin_type_jsonify_with_field_name(id, element, field->field_name));
    if (!vtr::data::append_owned(json_value_get_array(array.get()), std::move(value))) return nullptr;
  }
  return array.release();
}

JSON_Value* vtr_type_field_definition_jsonify_data(const vtr_type_field_definition_t* field, const void* data) {
  if (!field || !data) return nullptr;
  // The hex form reads 8 bytes, so narrower fields keep their ordinary form.
  bool wide_enough = static_cast<uint64_t>(field->count) * field->type_size >= sizeof(uint64_t);
  if (wide_enough && guid_option_on() && names_guid_word(field->field_name)) {
    JsonPtr hex = guid_hex_string(field, data);
    if (hex) return hex.release();
  }
  return field->count == 1 ? vtr_type_field_definition_jsonify_scalar(field, data)
                           : vtr_type_field_definition_jsonify_array(field, data);
}

JSON_Value* vtr_type_definition_jsonify_data(const vtr_type_definition_t* type, const void* record) {
  if (!type || !record) return nullptr;
  JsonPtr json(json_value_init_object());
  JSON_Object* object = json_value_get_object(json.get());
  if (!object) return nullptr;
  const auto* bytes = static_cast<const uint8_t*>(record);
  for (int32_t i = 0; i < type->num_fields; ++i) {
    const vtr_type_field_definition_t* field = type->fields[i];
    if (!vtr::data::set_owned(object, field->field_name,
                              JsonPtr(vtr_type_field_definition_jsonify_data(field, bytes + field->offset))))
      return nullptr;
  }
  return json.release();
}
