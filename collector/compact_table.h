#ifndef VTR_COLLECTOR_COMPACT_TABLE_H
#define VTR_COLLECTOR_COMPACT_TABLE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "collector/collector_config.h"
#include "collector/listing_parser.h"
#include "collector/sensor_fields.h"

namespace vtr {
namespace ipmitool {

// The name a compact table row gives a sensor of the verbose listing: the sensor repository
// keeps at most 16 characters, and the table prints no more.
std::string compactRowName(std::string_view listingName);

// Samples the fields from the compact table ("ipmitool sensor") alone. Rows are matched to the
// sensors of the start-up listing by name and order: the k-th row named X belongs to the k-th
// sensor named X, whose fields say so (SensorField::tableRowName, tableOccurrence). A matched
// row's value then goes through the same value rules as the verbose listing's.
class CompactTableSampler {
 public:
  CompactTableSampler() = default;
  // `order`: every sensor of the start-up listing, kept or not.
  CompactTableSampler(const ListingOrder& order, const SensorFields& fields);

  // Fills `out` from the table's rows; false when it holds none. Sensors that did not match
  // either way are counted in one rate-limited warning.
  bool sample(const CollectorConfig& config, const SensorFields& fields, const std::string& table,
              SensorSample& out) const;

 private:
  // Row name -> per start-up sensor of that name, in order, the positions of its fields.
  std::unordered_map<std::string, std::vector<std::vector<std::size_t>>> fieldsByRow_;
  std::size_t sensorCount_ = 0;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
