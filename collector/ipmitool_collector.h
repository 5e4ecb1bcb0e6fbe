#ifndef VTR_IPMITOOL_COLLECTOR_H
#define VTR_IPMITOOL_COLLECTOR_H

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "collector/collector_config.h"
#include "collector/collector_types.h"
#include "collector/compact_table.h"
#include "collector/listing_parser.h"
#include "collector/sensor_fields.h"
#include "collector/sensor_identity.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

// Runs ipmitool and keeps what start-up fixes: the sensors' unique names, the discrete sensors
// seen then and the event type's fields. What it does with the tool's text is done by the
// units of each step: listing_parser.h and discrete_states.h cut the listings, value_rules.h
// cleans and types values, sensor_identity.h and schema_builder.h name the sensors and build
// the fields, sample_assembly.h and compact_table.h fill a sample; command_result.h and
// shell_run.h turn a command into a process and its result.
class IpmitoolCollector {
 public:
  IpmitoolCollector(const CollectorConfig& config, const volatile bool& stop_flag);

  // Reads the sensors once and fixes the event type's fields; a second call fails.
  bool setFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);
  static void freeFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);
  // One sample of the fields fixed by setFieldsInfo: `out` holds a reading per field, in order.
  bool getSensorsData(SensorSample& out);

  // The fields fixed by setFieldsInfo, in schema order (the timestamp not included).
  const SensorFields& fields() const { return fields_; }
  const CollectorConfig& config() const { return config_; }
  const SensorNames& sensorNames() const { return sensorsIdsMap; }

  // The steps of the two calls above, for the tests and benchmarks that drive them alone.
  int runCommandAndCheck(std::string command, std::string& output) const;
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

  CollectorConfig config_;
  const volatile bool& stopRequested;
  bool schemaCreated = false;
  SensorNames sensorsIdsMap;
  std::unordered_set<std::string> discreteSensorsAtStart;
  SensorFields fields_;
  CompactTableSampler compactTable_;  // set up by setFieldsInfo with single-run sampling
};

}  // namespace ipmitool
}  // namespace vtr

#endif
