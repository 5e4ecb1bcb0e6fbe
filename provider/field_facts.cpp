#include "provider/field_facts.h"

#include <exception>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "provider/host_extensions.h"
#include "provider/provider_state.h"

namespace vtr {
namespace ipmitool {

namespace {

vtr_ipmitool_sensor_facts_t c_view(const field_facts_t& facts) {
  const SensorFacts& sensor = facts.sensor;
  return {facts.field_name.c_str(), sensor.name.c_str(), sensor.number, sensor.entity.c_str(),
          sensor.type.c_str(),       sensor.unit.c_str(), static_cast<uint8_t>(sensor.kind)};
}

}  // namespace

void keep_field_facts(provider_t& provider, const vtr_type_definition_t& type) noexcept {
  try {
    const auto& collected = provider.collector->fieldSensorFacts();
    std::vector<field_facts_t> facts(static_cast<std::size_t>(type.num_fields));
    for (std::size_t i = 0; i < facts.size(); ++i) {
      const char* name = type.fields[i]->field_name;
      facts[i].field_name = name != nullptr ? name : "";
      const auto found = collected.find(facts[i].field_name);
      if (found != collected.end()) facts[i].sensor = found->second;  // else the timestamp
    }
    // The view points into `facts`, which must not move afterwards.
    std::vector<vtr_ipmitool_sensor_facts_t> view;
    view.reserve(facts.size());
    provider.field_facts = std::move(facts);
    for (const field_facts_t& field : provider.field_facts) view.push_back(c_view(field));
    provider.field_facts_view = std::move(view);
  } catch (const std::exception&) {
    drop_field_facts(provider);
  }
}

void drop_field_facts(provider_t& provider) noexcept {
  std::vector<vtr_ipmitool_sensor_facts_t>().swap(provider.field_facts_view);
  std::vector<field_facts_t>().swap(provider.field_facts);
}

}  // namespace ipmitool
}  // namespace vtr

int vtr_ipmitool_sensor_facts(vtr_event_provider_t* record, const vtr_ipmitool_sensor_facts_t** facts) {
  const std::vector<vtr_ipmitool_sensor_facts_t>* view =
      record != nullptr ? &vtr::ipmitool::provider_from_record(record)->field_facts_view : nullptr;
  const bool known = view != nullptr && !view->empty();
  if (facts != nullptr) *facts = known ? view->data() : nullptr;
  return known ? static_cast<int>(view->size()) : -1;
}
