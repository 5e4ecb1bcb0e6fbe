#ifndef VTR_COLLECTOR_SCHEMA_BUILDER_H
#define VTR_COLLECTOR_SCHEMA_BUILDER_H

#include <memory>
#include <string>

#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

// A field record holding its own strdup copies (released by IpmitoolCollector::freeFieldsInfo);
// null, after a warning, when an allocation fails.
std::unique_ptr<vtr_type_field_info_t> createSchemaField(const std::string& fieldName, const std::string& description,
                                                         const std::string& typeName, vtr_value_type_t valueType,
                                                         unsigned short count);

}  // namespace ipmitool
}  // namespace vtr

#endif
