#include "provider/field_facts.h"

#include <exception>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "provider/host_extensions.h"
#include "provider/provider_state.h"

namespace vtr {
namespace ipmitool {

namespace {

vtr_ipmitool_sensor_facts_t facts_of(const SensorField& field) {
  const SensorFacts& sensor = field.sensor;
  return {field.name.c_str(),  sensor.name.c_str(), sensor.number, sensor.entity.c_str(),
          sensor.type.c_str(), sensor.unit.c_str(), static_cast<uint8_t>(sensor.kind)};
}

}  // namespace

void keep_sensor_facts(provider_t& provider) noexcept {
  try {
    const std::vector<SensorField>& fields = provider.collector->fields().all();
    std::vector<vtr_ipmitool_sensor_facts_t> facts;
    facts.reserve(fields.size() + 1);
    facts.push_back({timestamp_field_info.field_name, "", -1, "", "", "", VTR_SENSOR_KIND_NONE});
    for (const SensorField& field : fields) facts.push_back(facts_of(field));
    provider.sensor_facts = std::move(facts);
  } catch (const std::exception&) {
    std::vector<vtr_ipmitool_sensor_facts_t>().swap(provider.sensor_facts);
  }
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
