#ifndef VTR_PROVIDER_FIELD_FACTS_H
#define VTR_PROVIDER_FIELD_FACTS_H

#include <array>
#include <string>

#include "provider/host_extensions.h"

namespace vtr {
namespace ipmitool {

struct provider_t;

// State offsets a discrete sensor can report: 0 to 14.
constexpr int kStateOffsets = 15;

// The states of one discrete field as vtr_ipmitool_discrete_states hands them out; `states`
// point into `names`.
struct field_states_t {
  std::array<std::string, kStateOffsets> names;
  std::array<vtr_ipmitool_state_t, kStateOffsets> states;
};

// Builds what hosts learn of each field at start-up, from the collector's fields: the records
// vtr_ipmitool_sensor_facts hands out (the timestamp's first) and the states of each discrete
// field. On failure (out of memory) the provider is left without them: they are an extra for
// hosts, never a reason for initialize to fail.
void keep_field_facts(provider_t& provider) noexcept;
// Releases them; destroy calls it.
void drop_field_facts(provider_t& provider) noexcept;

}  // namespace ipmitool
}  // namespace vtr

#endif
