#ifndef VTR_COLLECTOR_SCHEMA_BUILDER_H
#define VTR_COLLECTOR_SCHEMA_BUILDER_H

#include <memory>
#include <string>
#include <vector>

#include "collector/collector_types.h"
#include "collector/listing_parser.h"
#include "collector/sensor_fields.h"
#include "collector/sensor_identity.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

// The event type's fields from the start-up listing, in listing order: for every kept sensor
// with a unique name, one per selected label whose value has a type now, which fixes the
// field's type for the provider's life. A value without one is skipped with a warning.
// `order` (every sensor printed, kept or not) places each field's row in the compact table.
std::vector<SensorField> buildSensorFields(const SensorListing& listing, const SensorNames& names,
                                           const ListingOrder& order);

// A field record holding its own strdup copies (released by IpmitoolCollector::freeFieldsInfo);
// null, after a warning, when an allocation fails.
std::unique_ptr<vtr_type_field_info_t> createSchemaField(const std::string& fieldName, const std::string& description,
                                                         const std::string& typeName, vtr_value_type_t valueType,
                                                         unsigned short count);

}  // namespace ipmitool
}  // namespace vtr

#endif
