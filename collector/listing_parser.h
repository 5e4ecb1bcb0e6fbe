#ifndef VTR_COLLECTOR_LISTING_PARSER_H
#define VTR_COLLECTOR_LISTING_PARSER_H

#include <string>

#include "collector/collector_config.h"
#include "collector/collector_types.h"

namespace vtr {
namespace ipmitool {

// Cuts a verbose listing ("ipmitool sensor -v") into the records of the sensors worth keeping,
// taking discrete sensors' states words from the compact table's data.
void parseSensorListing(const CollectorConfig& config, const std::string& output,
                        const DiscreteSensorsData& discrete_sensors_data, SensorListing& listing);

}  // namespace ipmitool
}  // namespace vtr

#endif
