#include "tools/plugin_library.h"

#include <dlfcn.h>
#include <sys/stat.h>

namespace vtr {
namespace host {

PluginLibrary::PluginLibrary(const std::string& path) : path_(path) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
    throw HostError("plug-in not found: " + path);
  }
  // RTLD_LOCAL keeps the plug-in's runtime symbols from answering anyone else's lookups.
  // RTLD_NODELETE keeps its code mapped after dlclose: a plug-in may leave exit handlers
  // behind (the runtime's logger does), and some interceptors run those only at process exit.
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!handle_) {
    const char* reason = dlerror();
    throw HostError("cannot load plug-in " + path + ": " + (reason ? reason : "unknown error"));
  }
  try {
    bind(api_.construct_event_provider, "construct_event_provider");
    bind(api_.dict_create, "vtr_dict_create");
    bind(api_.dict_add, "vtr_dict_add");
    bind(api_.dict_delete, "vtr_dict_delete");
    bind(api_.create_type_system, "vtr_create_type_system");
    bind(api_.destroy_type_system, "vtr_destroy_type_system");
    bind(api_.destroy_source_array, "vtr_destroy_source_array");
    bind(api_.type_definition_jsonify_data, "vtr_type_definition_jsonify_data");
    bind(api_.json_free_serialized_string, "json_free_serialized_string");
    bind(api_.json_value_free, "json_value_free");
    bind(api_.json_value_get_type, "json_value_get_type");
    bind(api_.json_value_get_object, "json_value_get_object");
    bind(api_.json_value_get_array, "json_value_get_array");
    bind(api_.json_value_get_string, "json_value_get_string");
    bind(api_.json_value_get_string_len, "json_value_get_string_len");
    bind(api_.json_value_get_number, "json_value_get_number");
    bind(api_.json_value_get_boolean, "json_value_get_boolean");
    bind(api_.json_object_get_value, "json_object_get_value");
    bind(api_.json_object_get_count, "json_object_get_count");
    bind(api_.json_object_get_name, "json_object_get_name");
    bind(api_.json_object_get_value_at, "json_object_get_value_at");
    bind(api_.json_array_get_count, "json_array_get_count");
    bind(api_.json_array_get_value, "json_array_get_value");
    bind(api_.json_object_set_string, "json_object_set_string");
    bind(api_.json_object_set_number, "json_object_set_number");
    bind(api_.json_object_set_null, "json_object_set_null");
    bind(api_.set_log_level, "vtr_set_log_level", false);
    bind(api_.type_system_jsonify, "vtr_type_system_jsonify", false);
    bind(api_.json_serialize_to_string_pretty, "json_serialize_to_string_pretty", false);
    bind(api_.event_field_status, "vtr_ipmitool_event_field_status", false);
    bind(api_.field_status, "vtr_ipmitool_field_status", false);
    bind(api_.sensor_facts, "vtr_ipmitool_sensor_facts", false);
    bind(api_.event_field_health, "vtr_ipmitool_event_field_health", false);
    bind(api_.discrete_states, "vtr_ipmitool_discrete_states", false);
    bind(api_.last_pass, "vtr_ipmitool_last_pass", false);
  } catch (...) {
    dlclose(handle_);
    throw;
  }
}

PluginLibrary::~PluginLibrary() { dlclose(handle_); }

void* PluginLibrary::resolve(const char* name, bool required) {
  void* symbol = dlsym(handle_, name);
  if (!symbol && required) throw HostError("plug-in " + path_ + " does not export " + name);
  return symbol;
}

}  // namespace host
}  // namespace vtr
