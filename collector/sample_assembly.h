#ifndef VTR_COLLECTOR_SAMPLE_ASSEMBLY_H
#define VTR_COLLECTOR_SAMPLE_ASSEMBLY_H

#include <optional>
#include <string>
#include <utility>

#include "collector/collector_config.h"
#include "collector/field_naming.h"
#include "collector/collector_types.h"
#include "collector/sensor_fields.h"
#include "collector/sensor_health.h"
#include "collector/sensor_identity.h"
#include "collector/value_rules.h"

namespace vtr {
namespace ipmitool {

// Whether a value of type `type` may go to the field, with a warning naming its label when not.
bool checkSampleType(const std::string& label, CollectorFieldType type, const SensorField& field);

// Gives a field a cleaned value of type `type` when the schema fixed that type for it, and
// says whether it did: the first value of a field wins. A value without a type, or of another
// type, is skipped with a warning naming its label. A discrete sensor's reading (its states
// word) also gives its health; `thresholdHealth` gives a threshold sensor's, from the listing
// the value came from.
template <typename ThresholdHealth>
bool storeSampleValue(const std::string& label, std::string&& value, CollectorFieldType type, bool isDefault,
                      const SensorField& field, FieldReading& reading, ThresholdHealth&& thresholdHealth) {
  if (!checkSampleType(label, type, field) || !reading.take(std::move(value), isDefault)) return false;
  if (isDefault) return true;  // the empty-field default says nothing of the sensor
  reading.health =
      field.sensor.kind == Discrete ? discreteHealth(field.discreteType, reading.text) : thresholdHealth();
  return true;
}

// A table row's value text for a field (nothing: the row gives none) through the value rules of
// the verbose listing into the field's reading: an invalid text is dropped or becomes the
// empty-field default, the rest is cleaned and typed, and a value without a type is left out
// as the verbose listing leaves out its sensor.
template <typename ThresholdHealth>
void storeRowValue(const CollectorConfig& config, const SensorField& field, std::optional<std::string> value,
                   FieldReading& reading, ThresholdHealth&& thresholdHealth) {
  if (!value) return;
  const bool isDefault = !isValidValue(config, *value);
  if (isDefault && handleInvalidSensorValue(config, field.sensor.name, *field.label, *value) != InvalidValue::Default)
    return;
  parseFieldValue(config, *field.label, *value);
  const CollectorFieldType type = getFieldType(*value, field.sensor.kind);
  if (type == CollectorFieldType::Unknown) return;
  storeSampleValue(*field.label, std::move(*value), type, isDefault, field, reading, thresholdHealth);
}

// The readings of `fields` in a verbose listing: each kept sensor's values go to the fields
// of its "Sensor ID". `names` (the start-up sensor names) serves the debug line that reports
// every label without a field.
void assembleSample(const SensorFields& fields, const SensorNames& names, const SensorListing& listing,
                    SensorSample& out);

}  // namespace ipmitool
}  // namespace vtr

#endif
