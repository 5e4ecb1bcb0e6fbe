#include "collector/schema_builder.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "collector/field_naming.h"
#include "collector/field_selection.h"
#include "collector/ipmitool_collector.h"
#include "collector/listing_labels.h"
#include "collector/sensor_facts.h"
#include "collector/value_rules.h"
#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {

bool IpmitoolCollector::setFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields) {
  if (schemaCreated) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Schema has already been created.");
    return false;
  }
  SensorListing listing;
  ListingOrder order;
  const bool singleRun = config_.singleRunSampling;
  if (!readListing(listing, singleRun ? &order : nullptr)) return false;
  createSensorsIdsMap(listing);
  // Per kept record, the field the compact table will give its value to.
  std::vector<TableField> tableFields(singleRun ? listing.size() : 0);

  std::string description;
  std::string fieldName;
  for (std::size_t index = 0; index < listing.size(); ++index) {
    const SensorRecord& record = listing[index];
    const CollectorSensorType kind = getSensorType(record);
    const std::string name = getSavedUniqueSensorNameFromSensorData(record);
    if (name.empty()) continue;  // left out: its name was not unique
    getSensorDescription(record, kind, description);
    const SensorFacts facts = sensorFactsOf(record, kind);

    for (const auto& [label, rawValue] : record) {
      if (!toAddSensorField(config_, label, kind)) continue;
      std::string value = rawValue;
      parseFieldValue(config_, label, value);
      // The value seen now fixes the field's type for the provider's life.
      const CollectorFieldType type = getFieldType(value, kind);
      if (fieldTypeName(type).empty()) {
        vtr_log(VTR_LOG_WARNING, "[ipmitool collector] Skipping field '%s' due to unknown type (value: %s).",
                label.c_str(), value.c_str());
        continue;
      }
      getFieldNameInSchema(name, label, fieldName);
      auto info = createSchemaField(fieldName, description, fieldTypeName(type), VTR_VALUE_TYPE_ABSOLUTE, 1);
      if (!info) continue;
      schemaFieldTypes[fieldName] = type;
      fieldSensorFacts_[fieldName] = facts;
      fields.push_back(std::move(info));
      if (singleRun && (label == kSensorReadingLabel || label == kStatesAssertedLabel))
        tableFields[index] = TableField{kind, fieldName, label, type};
    }
  }
  if (singleRun) compactTable_ = CompactTableSampler(order, tableFields);
  schemaCreated = true;
  return true;
}

std::unique_ptr<vtr_type_field_info_t> createSchemaField(const std::string& fieldName, const std::string& description,
                                                         const std::string& typeName, vtr_value_type_t valueType,
                                                         unsigned short count) {
  char* nameCopy = nullptr;
  char* descriptionCopy = nullptr;
  char* typeNameCopy = nullptr;
  vtr_type_field_info_t* info = nullptr;
  const char* failure = nullptr;
  if ((nameCopy = strdup(fieldName.c_str())) == nullptr) {
    failure = "Failed to allocate memory for 'field_name'";
  } else if ((descriptionCopy = strdup(description.c_str())) == nullptr) {
    failure = "Failed to allocate memory for 'description'";
  } else if ((typeNameCopy = strdup(typeName.c_str())) == nullptr) {
    failure = "Failed to allocate memory for 'type_name'";
  } else if ((info = new (std::nothrow) vtr_type_field_info_t{}) == nullptr) {
    failure = "Failed to allocate memory for 'vtr_type_field_info_t'";
  }
  if (failure != nullptr) {
    vtr_log(VTR_LOG_WARNING, "[ipmitool collector] %s", failure);
    free(nameCopy);
    free(descriptionCopy);
    free(typeNameCopy);
    return nullptr;
  }
  info->field_name = nameCopy;
  info->description = descriptionCopy;
  info->type_name = typeNameCopy;
  info->value_type = valueType;
  info->count = count;
  return std::unique_ptr<vtr_type_field_info_t>(info);
}

void IpmitoolCollector::freeFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields) {
  for (auto& info : fields) {
    free(info->field_name);
    free(info->description);
    free(info->type_name);
    info->field_name = nullptr;
    info->description = nullptr;
    info->type_name = nullptr;
  }
  fields.clear();
}

}  // namespace ipmitool
}  // namespace vtr
