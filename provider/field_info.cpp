#include "provider/field_info.h"

#include <cstdlib>
#include <cstring>

#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {
namespace {

// Exact, case-sensitive names; anything else is unknown.
CollectorFieldType field_kind_from_type_name(const char* type_name) {
  for (CollectorFieldType kind : {CollectorFieldType::Double, CollectorFieldType::Uint64, CollectorFieldType::Uint16,
                                  CollectorFieldType::Timestamp}) {
    if (fieldTypeName(kind) == type_name) return kind;
  }
  return CollectorFieldType::Unknown;
}

}  // namespace

field_info_t* ipmitool_field_info_from_vtr_type_field_definition(const vtr_type_field_definition_t* definition) {
  auto* info = static_cast<field_info_t*>(calloc(1, sizeof(field_info_t)));
  if (info == nullptr) {
    vtr_log(VTR_LOG_ERR, "[ipmitool] [%s] Failed to allocate memory for 'field_info_t'.", __func__);
    return nullptr;
  }
  info->array_length = definition->count;
  info->offset = definition->offset;
  info->kind = CollectorFieldType::Unknown;
  info->name = nullptr;

  if (definition->field_name != nullptr) {
    info->name = strdup(definition->field_name);
    if (info->name == nullptr) {
      vtr_log(VTR_LOG_ERR,
              "[ipmitool] [%s] Failed to allocate memory for 'field_name' when creating 'vtr_type_field_info_t'.",
              __func__);
      destroy_ipmitool_field_info(info);
      return nullptr;
    }
  }
  // A field without a type name is kept on purpose; sampling reports it as unknown.
  if (definition->type_name == nullptr) return info;

  info->kind = field_kind_from_type_name(definition->type_name);
  if (info->kind != CollectorFieldType::Unknown) return info;

  vtr_log(VTR_LOG_DEBUG, "[ipmitool] [%s] Failed to create 'field_info_t' for '%s'. Unknown field type detected.",
          __func__, definition->field_name != nullptr ? definition->field_name : "");
  destroy_ipmitool_field_info(info);
  return nullptr;
}

void destroy_ipmitool_field_info(field_info_t* info) {
  if (info == nullptr) return;
  free(info->name);
  free(info);
}

}  // namespace ipmitool
}  // namespace vtr
