#ifndef VTR_PROVIDER_FIELD_INFO_H
#define VTR_PROVIDER_FIELD_INFO_H

#include <cstdint>

#include "collector/collector_types.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

// Where one field of "ipmitool_event" lies in the event record and how its text converts.
struct field_info_t {
  char* name;  // own copy; null when the definition had no name
  uint64_t offset;
  CollectorFieldType kind;
  uint32_t array_length;
};

// A new descriptor (free it with destroy_ipmitool_field_info), or null when the definition's
// type name is not one of the collector's field types or memory ran out.
field_info_t* ipmitool_field_info_from_vtr_type_field_definition(const vtr_type_field_definition_t* definition);

// Accepts null.
void destroy_ipmitool_field_info(field_info_t* info);

}  // namespace ipmitool
}  // namespace vtr

#endif
