#include "tools/sensor_facts.h"

namespace vtr {
namespace host {

SensorFactsTable readSensorFacts(const PluginApi& api, vtr_event_provider_t* provider) {
  SensorFactsTable table;
  const vtr_ipmitool_sensor_facts_t* facts = nullptr;
  const int count = api.sensor_facts ? api.sensor_facts(provider, &facts) : -1;
  for (int i = 0; i < count && facts != nullptr; ++i) {
    const vtr_ipmitool_sensor_facts_t& field = facts[i];
    if (field.kind == VTR_SENSOR_KIND_NONE || field.field_name == nullptr) continue;
    SensorLabels& labels = table[field.field_name];
    labels.name = field.sensor_name ? field.sensor_name : "";
    labels.id = field.sensor_number >= 0 ? std::to_string(field.sensor_number) : "";
    labels.entity = field.entity ? field.entity : "";
    labels.type = field.sensor_type ? field.sensor_type : "";
    labels.unit = field.unit ? field.unit : "";
    labels.discrete = field.kind == VTR_SENSOR_KIND_DISCRETE;
  }
  return table;
}

}  // namespace host
}  // namespace vtr
