#include "tools/sensor_facts.h"

namespace vtr {
namespace host {

namespace {

std::vector<SensorLabels::State> namedStates(const PluginApi& api, vtr_event_provider_t* provider, int field) {
  std::vector<SensorLabels::State> named;
  const vtr_ipmitool_state_t* states = nullptr;
  const int count = api.discrete_states ? api.discrete_states(provider, static_cast<size_t>(field), &states) : -1;
  for (int offset = 0; offset < count && states != nullptr; ++offset)
    if (states[offset].named && states[offset].name != nullptr)
      named.push_back({offset, states[offset].name, states[offset].health});
  return named;
}

}  // namespace

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
    if (labels.discrete) labels.states = namedStates(api, provider, i);
  }
  return table;
}

}  // namespace host
}  // namespace vtr
