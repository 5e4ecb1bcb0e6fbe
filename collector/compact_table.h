#ifndef VTR_COLLECTOR_COMPACT_TABLE_H
#define VTR_COLLECTOR_COMPACT_TABLE_H

#include <string>

#include "collector/collector_config.h"
#include "collector/listing_parser.h"
#include "collector/sensor_fields.h"
#include "collector/sensor_rows.h"

namespace vtr {
namespace ipmitool {

// Samples the fields from the compact table ("ipmitool sensor") alone. Rows are matched to the
// sensors of the start-up listing by name and order (sensor_rows.h); a matched row's value then
// goes through the same value rules as the verbose listing's.
class CompactTableSampler {
 public:
  CompactTableSampler() = default;
  // `order`: every sensor of the start-up listing, kept or not.
  CompactTableSampler(const ListingOrder& order, const SensorFields& fields) : rows_(order, fields) {}

  // Fills `out` from the table's rows; false when it holds none. Sensors that did not match
  // either way are counted in one rate-limited warning.
  bool sample(const CollectorConfig& config, const SensorFields& fields, const std::string& table,
              SensorSample& out) const;

 private:
  SensorRows rows_;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
