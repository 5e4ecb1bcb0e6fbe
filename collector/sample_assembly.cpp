#include "collector/sample_assembly.h"

#include <string>
#include <utility>

#include "collector/field_naming.h"
#include "collector/listing_labels.h"
#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {

namespace {

// A label that makes no field of its sensor is reported, at debug level only.
void reportLabelsWithoutField(const SensorFields& fields, const SensorNames& names, const SensorRecord& record) {
  const auto name = names.find(record.at(kSensorIdLabel));
  if (name == names.end()) return;
  std::string fieldName;
  for (const auto& entry : record) {
    getFieldNameInSchema(name->second, entry.first, fieldName);
    if (!fields.hasFieldNamed(fieldName))
      vtr_log(VTR_LOG_DEBUG, "[ipmitool collector] Field '%s' not found in schema.", fieldName.c_str());
  }
}

}  // namespace

bool checkSampleType(const std::string& label, CollectorFieldType type, const SensorField& field) {
  if (type == CollectorFieldType::Unknown) {
    vtr_log(VTR_LOG_WARNING,
            "[ipmitool collector] Unknown type for field '%s': expected '%s' as defined in the schema. Skipping "
            "field.",
            label.c_str(), fieldTypeName(field.type).c_str());
  } else if (type == field.type) {
    return true;
  } else {
    // A sensor that switched between decimal and hexadecimal since start-up is dropped, not converted.
    vtr_log(VTR_LOG_WARNING,
            "[ipmitool collector] Type mismatch for field '%s': expected '%s' as defined in the schema, but got "
            "'%s'. Skipping field.",
            label.c_str(), fieldTypeName(field.type).c_str(), fieldTypeName(type).c_str());
  }
  return false;
}

void assembleSample(const SensorFields& fields, const SensorNames& names, const SensorListing& listing,
                    SensorSample& out) {
  const bool reportUnpublished = vtr_log_enabled(VTR_LOG_DEBUG);
  for (const ListedSensor& sensor : listing) {
    if (reportUnpublished) reportLabelsWithoutField(fields, names, sensor.record);
    const std::vector<std::size_t>* sensorFields = fields.ofSensor(sensor.record.at(kSensorIdLabel));
    if (sensorFields == nullptr) continue;  // not a sensor of start-up
    for (const LabelValue& value : sensor.values) {
      for (const std::size_t index : *sensorFields) {
        const SensorField& field = fields[index];
        if (!nameTheSameField(*value.label, *field.label)) continue;
        std::string text = value.text;
        storeSampleValue(*value.label, std::move(text), value.type, sensor.holdsDefault(*value.label), field,
                         out[index], [&] { return thresholdHealthOfRecord(field.sensor.name, sensor.record); });
      }
    }
  }
}

}  // namespace ipmitool
}  // namespace vtr
