#ifndef VTR_IPMITOOL_COLLECTOR_H
#define VTR_IPMITOOL_COLLECTOR_H

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "collector/collector_config.h"
#include "collector/collector_types.h"
#include "collector/compact_table.h"
#include "collector/listing_parser.h"
#include "collector/sensor_facts.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

// Runs ipmitool and owns what start-up fixes: the sensors' unique names, the discrete sensors
// seen then, the schema fields' types and their sensors' facts. The pure text steps it
// applies live in their own units (listing_parser.h, discrete_states.h, value_rules.h,
// field_selection.h, field_naming.h, sensor_identity.h, sensor_facts.h, schema_builder.h).
class IpmitoolCollector {
 public:
  IpmitoolCollector(const CollectorConfig& config, const volatile bool& stop_flag);

  // Reads the sensors once and fixes the event type's fields; a second call fails.
  bool setFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);
  static void freeFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);
  // One sample of the fields fixed by setFieldsInfo.
  bool getSensorsData(SensorSample& out);
  // The fields of the last getSensorsData whose value is the empty-field default.
  const std::unordered_set<std::string>& fieldsFilledWithDefault() const { return fieldsFilledWithDefault_; }

  // Field name -> what the listing said about its sensor, from setFieldsInfo on.
  const std::unordered_map<std::string, SensorFacts>& fieldSensorFacts() const { return fieldSensorFacts_; }

  const CollectorConfig& config() const { return config_; }

  // The steps of the two calls above, for the tests and benchmarks that drive them alone.
  int runCommandAndCheck(std::string command, std::string& output) const;
  // Reads the compact table already run; the discrete sensors it holds at start-up are the
  // only ones read afterwards.
  void parseDiscreteStatesTable(const std::string& output, DiscreteSensorsData& discrete_sensors_data);
  void createSensorsIdsMap(const SensorListing& listing);
  std::string getSavedUniqueSensorNameFromSensorData(const SensorRecord& record) const;
  // The schema fields' values of a listing already read, and (when asked) the names of
  // those filled with the empty-field default.
  void assembleSample(const SensorListing& listing, SensorSample& out,
                      std::unordered_set<std::string>* filledWithDefault = nullptr) const;

 private:
  // `order`, when given, receives every sensor the listing printed.
  void getIpmitoolSensorData(SensorListing& listing, ListingOrder* order = nullptr);
  void getDiscreteSensorStatesAssertedFieldsData(DiscreteSensorsData& discrete_sensors_data);
  // The stop flag is written by the provider's thread; read it as an acquire load.
  bool stopIsRequested() const { return __atomic_load_n(&stopRequested, __ATOMIC_ACQUIRE); }
  // Runs the verbose listing; false (after its error line) when it yields nothing, and
  // false silently once a stop is requested.
  bool readListing(SensorListing& listing, ListingOrder* order = nullptr);
  // A sample from one run of the compact table (single-run sampling).
  bool sampleCompactTable(SensorSample& out);

  CollectorConfig config_;
  const volatile bool& stopRequested;
  bool schemaCreated = false;
  std::unordered_map<std::string, std::string> sensorsIdsMap;
  std::unordered_set<std::string> discreteSensorsAtStart;
  std::unordered_map<std::string, CollectorFieldType> schemaFieldTypes;
  std::unordered_map<std::string, SensorFacts> fieldSensorFacts_;
  std::unordered_set<std::string> fieldsFilledWithDefault_;
  CompactTableSampler compactTable_;  // set up by setFieldsInfo with single-run sampling
};

}  // namespace ipmitool
}  // namespace vtr

#endif
