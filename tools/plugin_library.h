#ifndef VTR_HOST_PLUGIN_LIBRARY_H
#define VTR_HOST_PLUGIN_LIBRARY_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "json/parson.h"
#include "provider/event_provider.h"
#include "provider/host_extensions.h"

namespace vtr {
namespace host {

// A failure the host reports as its one stderr line before exiting non-zero.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Everything the host calls in a plug-in, resolved by name at load time so that any library
// keeping the provider record's contract can be driven, and the host links none of them.
struct PluginApi {
  vtr_construct_event_provider_fn construct_event_provider = nullptr;

  vtr_custom_options* (*dict_create)(void) = nullptr;
  int (*dict_add)(vtr_custom_options*, const char*, const char*) = nullptr;  // 1: added
  void (*dict_delete)(vtr_custom_options*) = nullptr;

  vtr_type_system_t* (*create_type_system)(void) = nullptr;
  void (*destroy_type_system)(vtr_type_system_t*) = nullptr;
  void (*destroy_source_array)(vtr_source_array_t*) = nullptr;
  // One event record to a JSON object of its fields; the caller frees the value.
  JSON_Value* (*type_definition_jsonify_data)(const vtr_type_definition_t*, const void*) = nullptr;

  void (*json_free_serialized_string)(char*) = nullptr;
  void (*json_value_free)(JSON_Value*) = nullptr;
  JSON_Value_Type (*json_value_get_type)(const JSON_Value*) = nullptr;
  JSON_Object* (*json_value_get_object)(const JSON_Value*) = nullptr;
  JSON_Array* (*json_value_get_array)(const JSON_Value*) = nullptr;
  const char* (*json_value_get_string)(const JSON_Value*) = nullptr;
  std::size_t (*json_value_get_string_len)(const JSON_Value*) = nullptr;
  double (*json_value_get_number)(const JSON_Value*) = nullptr;
  int (*json_value_get_boolean)(const JSON_Value*) = nullptr;
  JSON_Value* (*json_object_get_value)(const JSON_Object*, const char*) = nullptr;
  std::size_t (*json_object_get_count)(const JSON_Object*) = nullptr;
  const char* (*json_object_get_name)(const JSON_Object*, std::size_t) = nullptr;
  JSON_Value* (*json_object_get_value_at)(const JSON_Object*, std::size_t) = nullptr;
  std::size_t (*json_array_get_count)(const JSON_Array*) = nullptr;
  JSON_Value* (*json_array_get_value)(const JSON_Array*, std::size_t) = nullptr;
  JSON_Status (*json_object_set_string)(JSON_Object*, const char*, const char*) = nullptr;
  JSON_Status (*json_object_set_number)(JSON_Object*, const char*, double) = nullptr;
  JSON_Status (*json_object_set_null)(JSON_Object*, const char*) = nullptr;

  // Needed only by the flags that use them; null when the plug-in lacks them.
  std::uint32_t (*set_log_level)(std::uint32_t) = nullptr;
  JSON_Value* (*type_system_jsonify)(const vtr_type_system_t*) = nullptr;
  char* (*json_serialize_to_string_pretty)(const JSON_Value*) = nullptr;
  // Which fields of a handed-over event hold a reading, found by the event's timestamp; else
  // those of the last one handed over; without both, every field does.
  vtr_ipmitool_event_field_status_fn event_field_status = nullptr;
  vtr_ipmitool_field_status_fn field_status = nullptr;
  // What stands behind each field (sensor name, number, unit...); without it metrics and the
  // page name fields only.
  vtr_ipmitool_sensor_facts_fn sensor_facts = nullptr;
  // How each field's sensor stood in an event, and the states a discrete sensor can name;
  // without them the pages show readings only.
  vtr_ipmitool_event_field_health_fn event_field_health = nullptr;
  vtr_ipmitool_discrete_states_fn discrete_states = nullptr;
  // Whether the last pass read the BMC, and how long it took.
  vtr_ipmitool_last_pass_fn last_pass = nullptr;
};

// The loaded plug-in; unloaded by the destructor.
class PluginLibrary {
 public:
  // Throws HostError when the file is missing, cannot be loaded or lacks a required symbol.
  explicit PluginLibrary(const std::string& path);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  const PluginApi& api() const { return api_; }
  const std::string& path() const { return path_; }

 private:
  void* resolve(const char* name, bool required);
  template <typename Function>
  void bind(Function& slot, const char* name, bool required = true) {
    slot = reinterpret_cast<Function>(resolve(name, required));
  }

  std::string path_;
  void* handle_ = nullptr;
  PluginApi api_;
};

}  // namespace host
}  // namespace vtr

#endif
