#ifndef VTR_HOST_SENSOR_FACTS_H
#define VTR_HOST_SENSOR_FACTS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

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
  // A discrete sensor's states the IPMI tables name, by offset; empty for other sensors.
  struct State {
    int offset;
    std::string name;
    std::uint8_t health;  // a vtr_ipmitool_health_t, while asserted
  };
  std::vector<State> states;
};

// Field name -> its sensor. Fields without a sensor (the timestamp) are not in it.
using SensorFactsTable = std::unordered_map<std::string, SensorLabels>;

// Empty when the plug-in does not export vtr_ipmitool_sensor_facts or has none to give; the
// states stay empty without vtr_ipmitool_discrete_states.
SensorFactsTable readSensorFacts(const PluginApi& api, vtr_event_provider_t* provider);

}  // namespace host
}  // namespace vtr

#endif
