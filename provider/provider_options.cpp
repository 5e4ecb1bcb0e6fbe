#include "provider/provider_options.h"

#include <string>
#include <variant>

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

template <typename T>
T lookup(const vtr_custom_options* options, const char* key, const T& default_value) {
  return vtr::plugin::get_configuration_option<T>(options, key, default_value, kEnvironmentPrefix);
}

// Reads one option into the record and logs the value it took.
struct OptionReader {
  ProviderOptions& record;
  const vtr_custom_options* options;
  const char* key;

  void operator()(const FlagOption& flag) const {
    const bool value = flag.in(record) = lookup(options, key, flag.defaultValue);
    vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%s'.", kReader, key, vtr::boolean_to_string(value));
  }

  void operator()(const SecondsOption& seconds) const {
    const unsigned int value = seconds.in(record) = lookup(options, key, seconds.defaultValue);
    vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%u'.", kReader, key, value);
    if (seconds.advisedMinutes != 0 && value >= seconds.advisedMinutes * 60)
      vtr_log(VTR_LOG_WARNING, "[ipmitool] [%s] '%s' exceeds %u minutes.", kReader, key, seconds.advisedMinutes);
  }

  void operator()(const TextOption& text) const { readText(text.in(record), text.defaultValue); }
  void operator()(const BmcOption& bmc) const {
    readText(bmcPart(record.collector.remoteBmc, bmc.part), bmc.defaultValue);
  }

  void readText(std::string& storedIn, const char* defaultValue) const {
    const std::string& value = storedIn = lookup(options, key, std::string(defaultValue));
    vtr_log(VTR_LOG_INFO, "[ipmitool] [%s] '%s' is set to '%s'.", kReader, key, value.c_str());
  }
};

}  // namespace

std::string refused_option(const ProviderOptions& options) {
  for (const ProviderOption& option : kProviderOptions) {
    const BmcOption* value = std::get_if<BmcOption>(&option.value);
    if (value == nullptr) continue;
    const std::string reason = refuseBmcPart(value->part, bmcPart(options.collector.remoteBmc, value->part));
    if (!reason.empty()) return std::string("Option '") + option.key + "' refused: " + reason + ".";
  }
  return "";
}

void read_provider_options(ProviderOptions& record, const vtr_custom_options* options) {
  for (const ProviderOption& option : kProviderOptions)
    std::visit(OptionReader{record, options, option.key}, option.value);
}

}  // namespace ipmitool
}  // namespace vtr
