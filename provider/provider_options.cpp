#include <string>
#include <variant>

#include "collector/remote_bmc.h"
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

// The three kinds of option value: each knows its default, where the provider keeps it and
// how its info line prints it.
struct Flag {
  bool default_value;
  bool provider_t::*stored_in;
};

struct Seconds {
  unsigned int default_value;
  unsigned int provider_t::*stored_in;
  // Longer values are allowed but advised against with a warning; 0: no advice.
  unsigned int advised_minutes = 0;
};

struct Text {
  const char* default_value;
  std::string provider_t::*stored_in;
  // Why `initialize` refuses a value (an empty text: it does not); null: every value is taken.
  std::string (*refuse)(const std::string& value) = nullptr;
};

struct ProviderOption {
  const char* key;
  std::variant<Flag, Seconds, Text> value;
};

// Every option of the provider, in the order they are read and logged.
const ProviderOption kProviderOptions[] = {
    {"ipmitool-include-discrete-sensors", Flag{false, &provider_t::include_discrete_sensors}},
    {"ipmitool-include-continuous-sensors", Flag{true, &provider_t::include_continuous_sensors}},
    {"ipmitool-command-timeout", Seconds{30, &provider_t::command_timeout, 5}},
    {"ipmitool-use-sudo", Flag{false, &provider_t::use_sudo}},
    {"ipmitool-include-empty-fields", Flag{false, &provider_t::include_empty_fields}},
    {"ipmitool-sample-interval-sec", Seconds{30, &provider_t::sample_interval_sec}},
    {"ipmitool-invalid-sensor-values", Text{"", &provider_t::invalid_sensor_values}},
    {"ipmitool-single-run-sampling", Flag{false, &provider_t::single_run_sampling}},
    {"ipmitool-bmc-host", Text{"", &provider_t::bmc_host, refuseBmcHost}},
    {"ipmitool-bmc-user", Text{"", &provider_t::bmc_user, refuseBmcUser}},
    {"ipmitool-bmc-interface", Text{"lanplus", &provider_t::bmc_interface, refuseBmcInterface}},
    {"ipmitool-bmc-cipher-suite", Text{"", &provider_t::bmc_cipher_suite, refuseBmcCipherSuite}},
    {"ipmitool-bmc-privilege-level", Text{"", &provider_t::bmc_privilege_level, refuseBmcPrivilegeLevel}},
    {"ipmitool-bmc-password-file", Text{"", &provider_t::bmc_password_file, refuseBmcPasswordFile}},
};

template <typename T>
T lookup(const vtr_custom_options* options, const char* key, const T& default_value) {
  return vtr::plugin::get_configuration_option<T>(options, key, default_value, kEnvironmentPrefix);
}

// Reads one option into the provider and logs the value it took.
struct OptionReader {
  provider_t& provider;
  const vtr_custom_options* options;
  const char* key;

  void operator()(const Flag& flag) const {
    const bool value = provider.*flag.stored_in = lookup(options, key, flag.default_value);
    vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%s'.", kReader, key, vtr::boolean_to_string(value));
  }

  void operator()(const Seconds& seconds) const {
    const unsigned int value = provider.*seconds.stored_in = lookup(options, key, seconds.default_value);
    vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%u'.", kReader, key, value);
    if (seconds.advised_minutes != 0 && value >= seconds.advised_minutes * 60)
      vtr_log(VTR_LOG_WARNING, "[ipmitool] [%s] '%s' exceeds %u minutes.", kReader, key, seconds.advised_minutes);
  }

  void operator()(const Text& text) const {
    const std::string& value = provider.*text.stored_in = lookup(options, key, std::string(text.default_value));
    vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%s'.", kReader, key, value.c_str());
  }
};

}  // namespace

std::string refused_option(const provider_t& provider) {
  for (const ProviderOption& option : kProviderOptions) {
    const Text* text = std::get_if<Text>(&option.value);
    if (text == nullptr || text->refuse == nullptr) continue;
    const std::string reason = text->refuse(provider.*text->stored_in);
    if (!reason.empty()) return std::string("Option '") + option.key + "' refused: " + reason + ".";
  }
  return "";
}

void read_provider_options(provider_t& provider, const vtr_custom_options* options) {
  for (const ProviderOption& option : kProviderOptions)
    std::visit(OptionReader{provider, options, option.key}, option.value);
}

}  // namespace ipmitool
}  // namespace vtr
