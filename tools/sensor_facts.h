#ifndef VTR_HOST_SENSOR_FACTS_H
#define VTR_HOST_SENSOR_FACTS_H

#include <string>
#include <unordered_map>

#include "tools/plugin_library.h"

namespace vtr {
namespace host {

// The host's own copy of what the plug-in says about the sensor behind a field, so that it
// outlives the provider and crosses to the HTTP thread.
struct SensorLabels {
  std::string name;    // as the BMC prints it
  std::string id;      // the sensor number in decimal; empty when unknown
  std::string entity;
  std::string type;
  std::string unit;    // of a threshold reading; empty when none
  bool discrete = false;
};

// Field name -> its sensor. Fields without a sensor (the timestamp) are not in it.
using SensorFactsTable = std::unordered_map<std::string, SensorLabels>;

// Empty when the plug-in does not export vtr_ipmitool_sensor_facts or has none to give.
SensorFactsTable readSensorFacts(const PluginApi& api, vtr_event_provider_t* provider);

}  // namespace host
}  // namespace vtr

#endif
