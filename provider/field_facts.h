#ifndef VTR_PROVIDER_FIELD_FACTS_H
#define VTR_PROVIDER_FIELD_FACTS_H

namespace vtr {
namespace ipmitool {

struct provider_t;

// Builds the records vtr_ipmitool_sensor_facts hands out: the timestamp's, then one per field
// of the collector, pointing into its fields. On failure (out of memory) the provider is left
// without them: they are an extra for hosts, never a reason for initialize to fail.
void keep_sensor_facts(provider_t& provider) noexcept;

}  // namespace ipmitool
}  // namespace vtr

#endif
