#ifndef VTR_IPMITOOL_COLLECTOR_H
#define VTR_IPMITOOL_COLLECTOR_H

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "collector/collector_config.h"
#include "collector/collector_types.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

// Runs ipmitool, turns its listings into sensor records, builds the event type's fields and
// assembles samples. Its methods live in one unit per concern (command runner, listing parser,
// discrete states, sensor identity, field naming, schema builder, sample assembly).
class IpmitoolCollector {
 public:
  IpmitoolCollector(const CollectorConfig& config, const volatile bool& stop_flag);

  // Command runner.
  int runCommandAndCheck(std::string command, std::string& output) const;

  // Sensor listing parser.
  void getIpmitoolSensorData(SensorListing& listing);
  // The text half of getIpmitoolSensorData: cuts a verbose listing already read into records.
  void parseSensorListing(const std::string& output,
                          const std::unordered_map<std::string, std::string>& discrete_sensors_data,
                          SensorListing& listing) const;

  // Discrete sensor states.
  void getDiscreteSensorStatesAssertedFieldsData(std::unordered_map<std::string, std::string>& discrete_sensors_data);
  // The text half of getDiscreteSensorStatesAssertedFieldsData: reads the compact table already run.
  void parseDiscreteStatesTable(const std::string& output,
                                std::unordered_map<std::string, std::string>& discrete_sensors_data);
  void updateDiscreteSensorData(const std::unordered_map<std::string, std::string>& discrete_sensors_data,
                                const std::string& sensorName, SensorRecord& record) const;

  // Sensor identity.
  static void getSensorName(const std::string& sensorId, std::string& sensorName);
  int getSensorNumber(const std::string& sensorId) const;
  void createSensorsIdsMap(const SensorListing& listing);
  std::string getSavedUniqueSensorNameFromSensorData(const SensorRecord& record) const;

  // Field selection.
  bool toAddSensorField(const std::string& label, CollectorSensorType sensorType) const;

  // Field naming and typing.
  static void removeSpaces(std::string& text);
  static bool isValidKey(const std::string& key);
  static void convertToSnakeCase(std::string& text);
  void getFieldNameInSchema(const std::string& sensorName, const std::string& label, std::string& out) const;
  static CollectorFieldType getFieldType(std::string value, CollectorSensorType sensorType);
  static CollectorSensorType getSensorType(const SensorRecord& record);
  static void getSensorDescription(const SensorRecord& record, CollectorSensorType kind, std::string& out);

  // Schema construction.
  bool setFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);
  std::unique_ptr<vtr_type_field_info_t> createSchemaField(const std::string& fieldName,
                                                           const std::string& description,
                                                           const std::string& typeName, vtr_value_type_t valueType,
                                                           unsigned short count);
  static void freeFieldsInfo(std::vector<std::unique_ptr<vtr_type_field_info_t>>& fields);

  // Sample assembly and value rules.
  bool getSensorsData(SensorSample& out);
  // The fields of the last getSensorsData whose value is the empty-field default.
  const std::unordered_set<std::string>& fieldsFilledWithDefault() const { return fieldsFilledWithDefault_; }
  // The text half of getSensorsData: the schema fields' values of a listing already read,
  // and (when asked) the names of those filled with the empty-field default.
  void assembleSample(const SensorListing& listing, SensorSample& out,
                      std::unordered_set<std::string>* filledWithDefault = nullptr) const;
  bool toAddSensorData(const SensorRecord& record) const;
  void parseFieldValue(const std::string& label, std::string& value) const;
  bool isValidValue(const std::string& value) const;
  void handleInvalidSensorValue(const std::string& sensorName, const std::string& label, std::string& value,
                                SensorRecord& record) const;

  const CollectorConfig& config() const { return config_; }

 private:
  // The stop flag is written by the provider's thread; read it as an acquire load.
  bool stopIsRequested() const { return __atomic_load_n(&stopRequested, __ATOMIC_ACQUIRE); }
  // Runs the verbose listing; false (after its error line) when it yields nothing, and
  // false silently once a stop is requested.
  bool readListing(SensorListing& listing);

  CollectorConfig config_;
  const volatile bool& stopRequested;
  bool schemaCreated = false;
  std::unordered_map<std::string, std::string> sensorsIdsMap;
  std::unordered_set<std::string> discreteSensorsAtStart;
  std::unordered_map<std::string, CollectorFieldType> schemaFieldTypes;
  std::unordered_set<std::string> fieldsFilledWithDefault_;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
