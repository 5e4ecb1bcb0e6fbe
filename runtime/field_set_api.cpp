#include "runtime/field_set_api.h"

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "runtime/field_set.h"
#include "runtime/logger.h"

namespace {

// The checks every function makes first; logs with the caller's name.
bool hasFieldSet(const vtr_provider_field_set_t* field_set, const char* function) {
  if (!field_set) {
    vtr_log(VTR_LOG_ERR, "[%s] missing field_set parameter", function);
    return false;
  }
  if (!field_set->set) {
    vtr_log(VTR_LOG_ERR, "[%s] field_set is empty", function);
    return false;
  }
  return true;
}

bool hasParameter(const void* parameter, const char* name, const char* function) {
  if (!parameter) vtr_log(VTR_LOG_ERR, "[%s] missing %s parameter", function, name);
  return parameter != nullptr;
}

}  // namespace

vtr_provider_field_set_t* vtr_provider_field_set_create(void) {
  std::unique_ptr<vtr_provider_field_set_t> field_set(new (std::nothrow) vtr_provider_field_set_t{nullptr});
  if (!field_set) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to allocate vtr_provider_field_set_t", __func__);
    return nullptr;
  }
  field_set->set = new (std::nothrow) vtr::ProviderFieldSet();
  if (!field_set->set) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to create ProviderFieldSet instance", __func__);
    return nullptr;
  }
  return field_set.release();
}

void vtr_provider_field_set_destroy(vtr_provider_field_set_t* field_set) {
  if (!field_set) return;
  delete field_set->set;
  delete field_set;
}

bool vtr_provider_field_set_init_from_file(vtr_provider_field_set_t* field_set, const char* fset_filename) {
  if (!hasFieldSet(field_set, __func__) || !hasParameter(fset_filename, "fset_filename", __func__)) return false;
  try {
    return field_set->set->initializeFromFile(fset_filename);
  } catch (...) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to initialize ProviderFieldSet from file", __func__);
    return false;
  }
}

bool vtr_provider_field_set_init_from_lines(vtr_provider_field_set_t* field_set, const char** lines,
                                            size_t num_lines) {
  if (!hasFieldSet(field_set, __func__) || !hasParameter(lines, "lines", __func__)) return false;
  if (num_lines == 0) {
    vtr_log(VTR_LOG_ERR, "[%s] num_lines is 0", __func__);
    return false;
  }
  try {
    std::vector<std::string> text;
    text.reserve(num_lines);
    for (size_t i = 0; i < num_lines; ++i) {
      if (lines[i]) text.emplace_back(lines[i]);
    }
    field_set->set->initializeFromLines(text);
    return true;
  } catch (...) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to initialize ProviderFieldSet from lines", __func__);
    return false;
  }
}

bool vtr_provider_field_set_should_include_field(const vtr_provider_field_set_t* field_set, const char* type_name,
                                                 const char* field_name) {
  if (!hasFieldSet(field_set, __func__) || !hasParameter(type_name, "type_name", __func__) ||
      !hasParameter(field_name, "field_name", __func__))
    return false;
  try {
    return field_set->set->shouldIncludeField(type_name, field_name);
  } catch (...) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to check if field should be included", __func__);
    return false;
  }
}

bool vtr_provider_field_set_is_type_of_interest(const vtr_provider_field_set_t* field_set, const char* type_name) {
  if (!hasFieldSet(field_set, __func__) || !hasParameter(type_name, "type_name", __func__)) return true;
  try {
    return field_set->set->isTypeOfInterest(type_name);
  } catch (...) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to check if type is of interest", __func__);
    return true;
  }
}

char* vtr_provider_field_set_get_name(const vtr_provider_field_set_t* field_set) {
  if (!hasFieldSet(field_set, __func__)) return nullptr;
  try {
    char* name = strdup(field_set->set->getName().c_str());
    if (!name) vtr_log(VTR_LOG_ERR, "[%s] failed to copy field set name", __func__);
    return name;
  } catch (...) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to get field set name", __func__);
    return nullptr;
  }
}

bool vtr_provider_field_set_is_initialized(const vtr_provider_field_set_t* field_set) {
  return hasFieldSet(field_set, __func__) && field_set->set->isInitialized();
}

void vtr_provider_field_set_print_configuration(const vtr_provider_field_set_t* field_set) {
  if (!hasFieldSet(field_set, __func__)) return;
  try {
    field_set->set->printConfiguration();
  } catch (...) {
    vtr_log(VTR_LOG_ERR, "[%s] Failed to print field set configuration", __func__);
  }
}
