#include "provider/field_facts.h"

#include <exception>
#include <memory>
#include <vector>

#include "collector/ipmi_state_tables.h"
#include "collector/ipmitool_collector.h"
#include "provider/provider_state.h"

namespace vtr {
namespace ipmitool {

namespace {

vtr_ipmitool_sensor_facts_t facts_of(const SensorField& field) {
  const SensorFacts& sensor = field.sensor;
  return {field.name.c_str(),  sensor.name.c_str(), sensor.number, sensor.entity.c_str(),
          sensor.type.c_str(), sensor.unit.c_str(), static_cast<uint8_t>(sensor.kind)};
}

std::unique_ptr<field_states_t> states_of(const SensorField& field) {
  if (field.sensor.kind != Discrete) return nullptr;
  auto states = std::make_unique<field_states_t>();
  for (int offset = 0; offset < kStateOffsets; ++offset) {
    states->names[offset] = stateName(field.discreteType, offset);
    states->states[offset] = {states->names[offset].c_str(),
                              static_cast<uint8_t>(stateHealth(field.discreteType, offset)),
                              static_cast<uint8_t>(knownStateName(field.discreteType, offset).has_value())};
  }
  return states;
}

}  // namespace

void keep_field_facts(provider_t& provider) noexcept {
  try {
    const std::vector<SensorField>& fields = provider.collector->fields().all();
    std::vector<vtr_ipmitool_sensor_facts_t> facts;
    std::vector<std::unique_ptr<field_states_t>> states;
    facts.reserve(fields.size() + 1);
    facts.push_back({timestamp_field_info.field_name, "", -1, "", "", "", VTR_SENSOR_KIND_NONE});
    states.push_back(nullptr);
    for (const SensorField& field : fields) {
      facts.push_back(facts_of(field));
      states.push_back(states_of(field));
    }
    provider.sensor_facts = std::move(facts);
    provider.field_states = std::move(states);
  } catch (const std::exception&) {
    drop_field_facts(provider);
  }
}

void drop_field_facts(provider_t& provider) noexcept {
  std::vector<vtr_ipmitool_sensor_facts_t>().swap(provider.sensor_facts);
  std::vector<std::unique_ptr<field_states_t>>().swap(provider.field_states);
}

}  // namespace ipmitool
}  // namespace vtr

int vtr_ipmitool_sensor_facts(vtr_event_provider_t* record, const vtr_ipmitool_sensor_facts_t** facts) {
  const std::vector<vtr_ipmitool_sensor_facts_t>* kept =
      record != nullptr ? &vtr::ipmitool::provider_from_record(record)->sensor_facts : nullptr;
  const bool known = kept != nullptr && !kept->empty();
  if (facts != nullptr) *facts = known ? kept->data() : nullptr;
  return known ? static_cast<int>(kept->size()) : -1;
}

int vtr_ipmitool_discrete_states(vtr_event_provider_t* record, size_t field, const vtr_ipmitool_state_t** states) {
  const vtr::ipmitool::field_states_t* kept = nullptr;
  if (record != nullptr) {
    const auto& all = vtr::ipmitool::provider_from_record(record)->field_states;
    if (field < all.size()) kept = all[field].get();
  }
  if (states != nullptr) *states = kept != nullptr ? kept->states.data() : nullptr;
  return kept != nullptr ? vtr::ipmitool::kStateOffsets : -1;
}
