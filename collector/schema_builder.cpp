#include "collector/schema_builder.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "collector/sensor_rows.h"
#include "collector/field_naming.h"
#include "collector/listing_labels.h"
#include "collector/sensor_facts.h"
#include "collector/sensor_health.h"
#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {

namespace {

// Where the compact table prints each kept sensor: its row name and how many sensors of the
// listing, kept or not, carry that name before it.
std::vector<std::pair<std::string, std::size_t>> compactRowsOfKeptSensors(const ListingOrder& order) {
  std::vector<std::pair<std::string, std::size_t>> rows;
  std::unordered_map<std::string, std::size_t> seen;
  for (const auto& [listingName, kept] : order) {
    std::string row = compactRowName(listingName);
    const std::size_t occurrence = seen[row]++;
    if (kept) rows.emplace_back(std::move(row), occurrence);
  }
  return rows;
}

}  // namespace

std::vector<SensorField> buildSensorFields(const SensorListing& listing, const SensorNames& names,
                                           const ListingOrder& order) {
  const auto rows = compactRowsOfKeptSensors(order);
  std::vector<SensorField> fields;
  std::string fieldName;
  for (std::size_t index = 0; index < listing.size(); ++index) {
    const ListedSensor& sensor = listing[index];
    const std::string& sensorId = sensor.record.at(kSensorIdLabel);
    const auto name = names.find(sensorId);
    if (name == names.end()) continue;  // left out: its name was not unique
    SensorField field;
    getSensorDescription(sensor.record, sensor.kind, field.description);
    field.sensor = sensorFactsOf(sensor.record, sensor.kind);
    field.sensorId = sensorId;
    if (sensor.kind == Discrete) field.discreteType = discreteTypeOf(field.sensor.type, sensor.stateNames);
    if (index < rows.size()) std::tie(field.tableRowName, field.tableOccurrence) = rows[index];
    for (const LabelValue& value : sensor.values) {
      if (fieldTypeName(value.type).empty()) {
        vtr_log(VTR_LOG_WARNING, "[ipmitool collector] Skipping field '%s' due to unknown type (value: %s).",
                value.label->c_str(), value.text.c_str());
        continue;
      }
      getFieldNameInSchema(name->second, *value.label, fieldName);
      field.name = fieldName;
      field.type = value.type;
      field.label = value.label;
      fields.push_back(field);
    }
  }
  return fields;
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

}  // namespace ipmitool
}  // namespace vtr
