#ifndef VTR_COLLECTOR_CACHED_SAMPLER_H
#define VTR_COLLECTOR_CACHED_SAMPLER_H

#include <string>
#include <vector>

#include "collector/collector_config.h"
#include "collector/listing_parser.h"
#include "collector/sensor_fields.h"
#include "collector/sensor_health.h"
#include "collector/sensor_rows.h"

namespace vtr {
namespace ipmitool {

// What one pass through the SDR cache found.
struct CachedPass {
  enum Outcome {
    Read,        // the sample holds what the listing said
    NoRows,      // the answer held no row of a start-up sensor (a message of the tool instead)
    CacheStale,  // a sensor that had read through this cache failed to: it may have moved
  } outcome = NoRows;
  std::string staleSensor;  // with CacheStale: the sensor's name
};

// Samples the fields from the SDR listing the tool prints through the SDR cache
// ("ipmitool -S FILE -c sdr elist"): one comma-separated row per sensor, a reading with the
// decimals of the verbose listing ("12.036"), a discrete sensor's states by name. Rows are
// matched to the start-up sensors by name and order (sensor_rows.h). A threshold sensor's
// reading and status come from its row and its thresholds from the start-up listing: they do
// not change. A discrete sensor's states word is rebuilt from the state names its row prints,
// read back with its state tables, and the reserved top bit as the sensor's word had it at
// start-up (BMCs return it as a constant); an offset the tool names not, or a name found at
// several offsets, cannot be rebuilt. Then the value rules of the verbose listing apply.
// Pass-to-pass state: which sensors read through the cache in use.
class CachedSampler {
 public:
  CachedSampler() = default;
  // `order`: every sensor of the start-up listing, kept or not; `listing`: its kept records.
  CachedSampler(const ListingOrder& order, const SensorFields& fields, const SensorListing& listing);

  // A new cache is in use: no sensor has read through it yet.
  void startCache();
  // Fills `out` from the listing. A sensor that read through the cache in use before and now
  // reads nothing ("ns") makes the pass CacheStale; a pass through a new cache takes what it
  // finds. Rows and start-up sensors that did not match are counted in one rate-limited
  // warning.
  CachedPass sample(const CollectorConfig& config, const SensorFields& fields, const std::string& answer,
                    SensorSample& out);

 private:
  SensorRows rows_;
  std::vector<Thresholds> thresholds_;  // per field, a threshold sensor's
  std::vector<bool> reservedBit_;       // per field, a discrete sensor's at start-up
  std::vector<bool> readThroughCache_;  // per field
  bool commasInNames_ = false;          // in the names of start-up sensors
};

}  // namespace ipmitool
}  // namespace vtr

#endif
