#ifndef VTR_PROVIDER_FIELD_FACTS_H
#define VTR_PROVIDER_FIELD_FACTS_H

#include <string>

#include "collector/sensor_facts.h"
#include "src/data/schema.h"

namespace vtr {
namespace ipmitool {

struct provider_t;

// The sensor facts of one field of "ipmitool_event", owned by the provider for
// vtr_ipmitool_sensor_facts.
struct field_facts_t {
  std::string field_name;
  SensorFacts sensor;
};

// Fills the provider's facts, one per field of its event type in schema order, from what its
// collector kept. On failure (out of memory) the provider is left without facts: they are an
// extra for hosts, never a reason for initialize to fail.
void keep_field_facts(provider_t& provider, const vtr_type_definition_t& type) noexcept;

// Releases them; destroy calls it.
void drop_field_facts(provider_t& provider) noexcept;

}  // namespace ipmitool
}  // namespace vtr

#endif
