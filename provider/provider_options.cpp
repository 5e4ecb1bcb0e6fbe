#include <string>

#include "provider/provider_state.h"
#include "runtime/logger.h"
#include "runtime/options.h"
#include "runtime/plugin_options.h"

namespace vtr {
namespace ipmitool {
namespace {

// The options are read while the entry point runs; their lines carry its name.
constexpr const char* kReader = "construct_event_provider";
constexpr const char* kEnvironmentPrefix = "VTR_";
// Longer command time limits are allowed but advised against.
constexpr unsigned int kCommandTimeoutAdviceMinutes = 5;
constexpr unsigned int kCommandTimeoutAdviceSec = kCommandTimeoutAdviceMinutes * 60 - 1;

template <typename T>
T lookup(const vtr_custom_options* options, const char* key, const T& default_value) {
  return vtr::plugin::get_configuration_option<T>(options, key, default_value, kEnvironmentPrefix);
}

bool read_flag(const vtr_custom_options* options, const char* key, bool default_value) {
  const bool value = lookup(options, key, default_value);
  vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%s'.", kReader, key, vtr::boolean_to_string(value));
  return value;
}

unsigned int read_seconds(const vtr_custom_options* options, const char* key, unsigned int default_value) {
  const unsigned int value = lookup(options, key, default_value);
  vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%u'.", kReader, key, value);
  return value;
}

std::string read_text(const vtr_custom_options* options, const char* key, const std::string& default_value) {
  std::string value = lookup(options, key, default_value);
  vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%s'.", kReader, key, value.c_str());
  return value;
}

}  // namespace

void read_provider_options(provider_t& provider, const vtr_custom_options* options) {
  provider.include_discrete_sensors =
      read_flag(options, "ipmitool-include-discrete-sensors", kDefaultIncludeDiscreteSensors);
  provider.include_continuous_sensors =
      read_flag(options, "ipmitool-include-continuous-sensors", kDefaultIncludeContinuousSensors);
  provider.command_timeout = read_seconds(options, "ipmitool-command-timeout", kDefaultCommandTimeoutSec);
  if (provider.command_timeout > kCommandTimeoutAdviceSec) {
    vtr_log(VTR_LOG_WARNING, "[ipmitool] [%s] 'ipmitool-command-timeout' exceeds %u minutes.", kReader,
            kCommandTimeoutAdviceMinutes);
  }
  provider.use_sudo = read_flag(options, "ipmitool-use-sudo", kDefaultUseSudo);
  provider.include_empty_fields = read_flag(options, "ipmitool-include-empty-fields", kDefaultIncludeEmptyFields);
  provider.sample_interval_sec = read_seconds(options, "ipmitool-sample-interval-sec", kDefaultSampleIntervalSec);
  provider.invalid_sensor_values = read_text(options, "ipmitool-invalid-sensor-values", std::string());
}

}  // namespace ipmitool
}  // namespace vtr
