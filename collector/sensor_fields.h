#ifndef VTR_COLLECTOR_SENSOR_FIELDS_H
#define VTR_COLLECTOR_SENSOR_FIELDS_H

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "collector/collector_types.h"
#include "collector/ipmi_state_tables.h"
#include "collector/sensor_facts.h"
#include "collector/sensor_health.h"

namespace vtr {
namespace ipmitool {

// One field of the event type, fixed at start-up: what it is called and holds, the sensor
// behind it, and where each sampling mode finds its value.
struct SensorField {
  std::string name;  // in the schema: "cpu1_temp"
  std::string description;
  CollectorFieldType type = CollectorFieldType::Unknown;
  SensorFacts sensor;  // its kind included
  // The verbose listing: the label of the record whose "Sensor ID" is `sensorId`.
  std::string sensorId;
  const std::string* label = nullptr;  // a key of the configuration's field tables
  // The compact table: the `tableOccurrence`-th row (from 0) named `tableRowName`.
  std::string tableRowName;
  std::size_t tableOccurrence = 0;
  // A discrete sensor's: which tables name its states.
  DiscreteType discreteType{0};
};

// Where a field's value in one pass came from; the values match the provider's
// vtr_field_status_t.
enum class ReadingStatus : unsigned char { Read = 1, Missing = 2, EmptyDefault = 4 };

// One field's value in one pass: text the field's type reads, or nothing, and how its sensor
// stood (Unknown without a reading).
struct FieldReading {
  std::string text;
  ReadingStatus status = ReadingStatus::Missing;
  FieldHealth health;

  bool hasValue() const { return status != ReadingStatus::Missing; }
  // The first value of a field wins.
  bool take(std::string&& value, bool isDefault);
};

// One pass: a reading per field, in the order of the fields.
using SensorSample = std::vector<FieldReading>;
// False for a pass that read nothing at all.
bool holdsAnyValue(const SensorSample& sample);

// The event type's fields in order, with the look-ups a verbose listing needs.
class SensorFields {
 public:
  SensorFields() = default;
  explicit SensorFields(std::vector<SensorField> fields);

  const std::vector<SensorField>& all() const { return fields_; }
  std::size_t size() const { return fields_.size(); }
  const SensorField& operator[](std::size_t index) const { return fields_[index]; }

  // The positions of the fields of the sensor with this "Sensor ID" text; null for none.
  const std::vector<std::size_t>* ofSensor(const std::string& sensorId) const;
  // Whether a field is called so; for the debug line that names labels without a field.
  bool hasFieldNamed(const std::string& name) const { return names_.count(name) != 0; }

 private:
  std::vector<SensorField> fields_;
  std::unordered_map<std::string, std::vector<std::size_t>> bySensorId_;
  std::unordered_set<std::string> names_;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
