#ifndef VTR_COLLECTOR_LISTING_PARSER_H
#define VTR_COLLECTOR_LISTING_PARSER_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "collector/collector_config.h"
#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// The listing's own sensor name: the "Sensor ID" value up to " (", case kept.
std::string listingSensorName(std::string_view sensorId);

// Every sensor a listing printed, kept or not, in order: its listing name ("Sensor ID" up to
// " (") and whether its record was kept; the kept ones are the listing's records, in order.
using ListingOrder = std::vector<std::pair<std::string, bool>>;

// Cuts a verbose listing ("ipmitool sensor -v") into the records of the sensors worth keeping,
// taking discrete sensors' states words from the compact table's data.
void parseSensorListing(const CollectorConfig& config, const std::string& output,
                        const DiscreteSensorsData& discrete_sensors_data, SensorListing& listing,
                        ListingOrder* order = nullptr);

}  // namespace ipmitool
}  // namespace vtr

#endif
