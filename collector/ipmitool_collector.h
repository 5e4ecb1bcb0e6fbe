#ifndef VTR_IPMITOOL_COLLECTOR_H
#define VTR_IPMITOOL_COLLECTOR_H

#include <chrono>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "collector/cached_sampler.h"
#include "collector/collector_config.h"
#include "collector/collector_types.h"
#include "collector/compact_table.h"
#include "collector/listing_parser.h"
#include "collector/sdr_cache.h"
#include "collector/sensor_fields.h"
#include "collector/sensor_identity.h"
#include "collector/tool_shell.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

// Runs ipmitool and keeps what start-up fixes: the sensors' unique names, the discrete sensors
// seen then and the event type's fields; with cached sampling it also owns the SDR cache and
// the long-lived tool process that reads through it. What it does with the tool's text is done
// by the units of each step: listing_parser.h and discrete_states.h cut the listings,
// value_rules.h cleans and types values, sensor_identity.h and schema_builder.h name the
// sensors and build the fields, sample_assembly.h, compact_table.h and cached_sampler.h fill a
// sample; command_result.h, shell_run.h and tool_shell.h turn a command into a process and its
// result, sdr_cache.h keeps the cache's file.
class IpmitoolCollector {
 public:
  IpmitoolCollector(const CollectorConfig& config, const volatile bool& stop_flag);
  IpmitoolCollector(const IpmitoolCollector&) = delete;
  IpmitoolCollector& operator=(const IpmitoolCollector&) = delete;

  // Reads the sensors once and fixes the event type's fields; a second call fails.
  bool setFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);
  static void freeFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);
  // One sample of the fields fixed by setFieldsInfo: `out` holds a reading per field, in order.
  bool getSensorsData(SensorSample& out);
  // Between samples, every kToolShellKeepAlive: a long-lived tool process reading a LAN BMC
  // is asked for the BMC's device ID (one request), so that the BMC keeps its session and the
  // next sample needs no new process. A process that does not answer with the ID is ended; the
  // next sample starts another.
  void keepToolShellSession();
  static constexpr std::chrono::seconds kToolShellKeepAlive{10};

  // The fields fixed by setFieldsInfo, in schema order (the timestamp not included).
  const SensorFields& fields() const { return fields_; }
  const CollectorConfig& config() const { return config_; }
  const SensorNames& sensorNames() const { return sensorsIdsMap; }

  // The steps of the two calls above, for the tests and benchmarks that drive them alone.
  int runCommandAndCheck(std::string command, std::string& output) const;
  // The same for one command to the long-lived process `command` starts (the tool's shell):
  // its answer, the result codes of a run (0 for a whole answer), the same log lines.
  int askToolShell(const std::string& command, const std::string& request, std::string& output);
  // Reads the compact table already run; the discrete sensors it holds at start-up are the
  // only ones read afterwards.
  void parseDiscreteStatesTable(const std::string& output, DiscreteSensorsData& discrete_sensors_data);
  void createSensorsIdsMap(const SensorListing& listing);
  std::string getSavedUniqueSensorNameFromSensorData(const SensorRecord& record) const;

 private:
  // `order`, when given, receives every sensor the listing printed.
  void getIpmitoolSensorData(SensorListing& listing, ListingOrder* order = nullptr);
  void getDiscreteSensorStatesAssertedFieldsData(DiscreteSensorsData& discrete_sensors_data);
  // Runs the verbose listing; false (after its error line) when it yields nothing, and
  // false silently once a stop is requested.
  bool readListing(SensorListing& listing, ListingOrder* order = nullptr);
  // A sample from the verbose listing and the states table (the default).
  bool sampleVerboseListing(SensorSample& out);
  // A sample from one run of the compact table (single-run sampling).
  bool sampleCompactTable(SensorSample& out);
  // A sample from the SDR listing read through the cache (cached sampling).
  bool sampleThroughCache(SensorSample& out);
  // Dumps the BMC's SDR into a new cache file and adopts it.
  bool makeSdrCache();
  // Drops the cache, and the process that loaded it, saying why.
  void remakeSdrCache(const std::string& reason);
  // The SDR listing through the cache: from the long-lived process, or under sudo (whose
  // processes only `timeout` may end) from one run per sample.
  int readThroughCache(std::string& answer);
  // What starts the long-lived process that reads through the cache.
  std::string cachedShellCommand() const;

  CollectorConfig config_;
  const volatile bool& stopRequested;
  bool schemaCreated = false;
  SensorNames sensorsIdsMap;
  std::unordered_set<std::string> discreteSensorsAtStart;
  SensorFields fields_;
  CompactTableSampler compactTable_;  // set up by setFieldsInfo with single-run sampling
  CachedSampler cachedSampler_;       // and this with cached sampling
  SdrCache sdrCache_;
  ToolShell toolShell_;  // after the cache: it goes first
};

}  // namespace ipmitool
}  // namespace vtr

#endif
