#ifndef VTR_COLLECTOR_COMPACT_TABLE_H
#define VTR_COLLECTOR_COMPACT_TABLE_H

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "collector/collector_config.h"
#include "collector/collector_types.h"
#include "collector/listing_parser.h"

namespace vtr {
namespace ipmitool {

// The schema field start-up gave a kept sensor, when it is one the compact table carries
// ("Sensor Reading" of a threshold sensor, "States Asserted" of a discrete one).
struct TableField {
  CollectorSensorType kind = Unknown;
  std::string fieldName;  // empty: no such field
  std::string label;
  CollectorFieldType type = CollectorFieldType::Unknown;
};

// Samples the schema fields from the compact table ("ipmitool sensor") alone. Rows are matched
// to the sensors of the start-up listing by name (cut to the 16 characters the table shows)
// and order: the k-th row named X belongs to the k-th sensor named X. A matched row's value
// then goes through the same value rules as the verbose listing's.
class CompactTableSampler {
 public:
  CompactTableSampler() = default;
  // `order`: every sensor of the start-up listing; `kept`: one entry per kept record.
  CompactTableSampler(const ListingOrder& order, const std::vector<TableField>& kept);

  // Fills `out` (and `filledWithDefault`) from the table's rows; false when it holds none.
  // Sensors that did not match either way are counted in one rate-limited warning.
  bool sample(const CollectorConfig& config, const std::string& table, SensorSample& out,
              std::unordered_set<std::string>& filledWithDefault) const;

 private:
  struct Sensor {
    std::string listingName;
    TableField field;
  };
  // Row name -> the start-up sensors of that name, in order.
  std::unordered_map<std::string, std::vector<Sensor>> sensorsByRowName_;
  std::size_t sensorCount_ = 0;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
