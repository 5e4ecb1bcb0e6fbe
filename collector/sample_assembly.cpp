#include "collector/sample_assembly.h"

#include <string>
#include <utility>

#include "collector/field_naming.h"
#include "collector/field_selection.h"
#include "collector/ipmitool_collector.h"
#include "collector/remote_bmc.h"
#include "collector/value_rules.h"
#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {

bool storeSampleValue(const std::string& label, const std::string& fieldName, std::string&& value,
                      CollectorFieldType type, CollectorFieldType expected, SensorSample& out) {
  if (type == CollectorFieldType::Unknown) {
    vtr_log(VTR_LOG_WARNING,
            "[ipmitool collector] Unknown type for field '%s': expected '%s' as defined in the schema. Skipping "
            "field.",
            label.c_str(), fieldTypeName(expected).c_str());
  } else if (type == expected) {
    return out.emplace(fieldName, std::move(value)).second;  // the first value of a field wins
  } else {
    // A sensor that switched between decimal and hexadecimal since start-up is dropped, not converted.
    vtr_log(VTR_LOG_WARNING,
            "[ipmitool collector] Type mismatch for field '%s': expected '%s' as defined in the schema, but got "
            "'%s'. Skipping field.",
            label.c_str(), fieldTypeName(expected).c_str(), fieldTypeName(type).c_str());
  }
  return false;
}

bool IpmitoolCollector::readListing(SensorListing& listing, ListingOrder* order) {
  getIpmitoolSensorData(listing, order);
  if (stopIsRequested()) return false;
  if (listing.empty()) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to retrieve data from ipmitool sensors.");
    return false;
  }
  return true;
}

bool IpmitoolCollector::getSensorsData(SensorSample& out) {
  fieldsFilledWithDefault_.clear();
  if (config_.singleRunSampling) return sampleCompactTable(out);
  SensorListing listing;
  if (!readListing(listing)) return false;
  if (!schemaCreated) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] The schema has not been created. Cannot parse sensor data.");
    return false;
  }
  assembleSample(listing, out, &fieldsFilledWithDefault_);
  return true;
}

bool IpmitoolCollector::sampleCompactTable(SensorSample& out) {
  static constexpr const char* kCompactTableCommand = "ipmitool sensor";
  std::string table;
  const int result = runCommandAndCheck(ipmitoolCommand(config_.remoteBmc, "sensor"), table);
  if (stopIsRequested()) return false;
  if (result != 0) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to execute command '%s'.", kCompactTableCommand);
  } else if (!schemaCreated) {
    vtr_log(VTR_LOG_ERR, "[ipmitool collector] The schema has not been created. Cannot parse sensor data.");
    return false;
  } else if (compactTable_.sample(config_, table, out, fieldsFilledWithDefault_)) {
    return true;
  }
  // A failed run and an empty table end the pass as an empty verbose listing does.
  vtr_log(VTR_LOG_ERR, "[ipmitool collector] Failed to retrieve data from ipmitool sensors.");
  return false;
}

void IpmitoolCollector::assembleSample(const SensorListing& listing, SensorSample& out,
                                       std::unordered_set<std::string>* filledWithDefault) const {
  std::string fieldName;
  for (const SensorRecord& record : listing) {
    const CollectorSensorType kind = getSensorType(record);
    const std::string name = getSavedUniqueSensorNameFromSensorData(record);
    if (name.empty()) continue;

    for (const auto& [label, rawValue] : record) {
      if (isDefaultMarkLabel(label)) continue;
      // An unselected label is skipped whether or not its name is a schema field; its name
      // is built only when the debug line that reports it can be written. This keeps a
      // pass from building a dozen names per sensor that nobody reads.
      const bool selected = toAddSensorField(config_, label, kind);
      if (!selected && !vtr_log_enabled(VTR_LOG_DEBUG)) continue;
      getFieldNameInSchema(name, label, fieldName);
      const auto schemaField = schemaFieldTypes.find(fieldName);
      if (schemaField == schemaFieldTypes.end()) {
        vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Field '%s' not found in schema.", fieldName.c_str());
        continue;
      }
      if (!selected) continue;

      std::string value = rawValue;
      parseFieldValue(config_, label, value);
      const CollectorFieldType type = getFieldType(value, kind);
      const bool stored = storeSampleValue(label, fieldName, std::move(value), type, schemaField->second, out);
      if (stored && filledWithDefault != nullptr && record.count(defaultMarkLabel(label)) != 0)
        filledWithDefault->insert(fieldName);
    }
  }
}

}  // namespace ipmitool
}  // namespace vtr
