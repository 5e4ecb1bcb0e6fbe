#ifndef VTR_PROVIDER_OPTIONS_H
#define VTR_PROVIDER_OPTIONS_H

/* The provider's options: one record, filled by one table. Header-only, so that vtr-host takes
   its remote-BMC shorthands and its option help from the same list without linking the
   provider. */

#include <string>
#include <variant>

#include "collector/collector_config.h"
#include "collector/remote_bmc.h"

namespace vtr {
namespace ipmitool {

// Everything the options set; the defaults are those of the table below.
struct ProviderOptions {
  CollectorOptions collector;
  unsigned int sampleIntervalSec = 30;
};

// The kinds of option value, each with its default and where the record keeps it.
struct FlagOption {
  bool defaultValue;
  bool& (*in)(ProviderOptions&);
};
struct SecondsOption {
  unsigned int defaultValue;
  unsigned int& (*in)(ProviderOptions&);
  // Longer values are taken but advised against with a warning; 0: no advice.
  unsigned int advisedMinutes = 0;
};
struct TextOption {
  const char* defaultValue;
  std::string& (*in)(ProviderOptions&);
};
// A remote BMC value: `initialize` refuses one that may not go into a command line.
struct BmcOption {
  const char* defaultValue;
  BmcPart part;
};

struct ProviderOption {
  const char* key;
  std::variant<FlagOption, SecondsOption, TextOption, BmcOption> value;
  const char* description;  // one line, for vtr-host's help
  const char* hostFlag;     // vtr-host's shorthand for it, or null
};

// Every option, in the order they are read and logged.
inline const ProviderOption kProviderOptions[] = {
    {"ipmitool-include-discrete-sensors",
     FlagOption{false, [](ProviderOptions& o) -> bool& { return o.collector.includeDiscreteSensors; }},
     "publish discrete sensors' states words", nullptr},
    {"ipmitool-include-continuous-sensors",
     FlagOption{true, [](ProviderOptions& o) -> bool& { return o.collector.includeContinuousSensors; }},
     "publish threshold sensors' readings", nullptr},
    {"ipmitool-command-timeout",
     SecondsOption{30, [](ProviderOptions& o) -> unsigned int& { return o.collector.commandTimeout; }, 5},
     "seconds each ipmitool run may take", nullptr},
    {"ipmitool-use-sudo", FlagOption{false, [](ProviderOptions& o) -> bool& { return o.collector.useSudo; }},
     "run ipmitool through sudo", nullptr},
    {"ipmitool-include-empty-fields",
     FlagOption{false, [](ProviderOptions& o) -> bool& { return o.collector.includeEmptyFields; }},
     "keep sensors without a reading, publishing a default (0)", nullptr},
    {"ipmitool-sample-interval-sec",
     SecondsOption{30, [](ProviderOptions& o) -> unsigned int& { return o.sampleIntervalSec; }},
     "seconds between samples", nullptr},
    {"ipmitool-invalid-sensor-values",
     TextOption{"", [](ProviderOptions& o) -> std::string& { return o.collector.invalidSensorValues; }},
     "extra readings that count as invalid, comma-separated", nullptr},
    {"ipmitool-single-run-sampling",
     FlagOption{false, [](ProviderOptions& o) -> bool& { return o.collector.singleRunSampling; }},
     "take each sample from one run of 'ipmitool sensor'", nullptr},
    {"ipmitool-cached-sampling",
     FlagOption{false, [](ProviderOptions& o) -> bool& { return o.collector.cachedSampling; }},
     "read each sample's readings and states through a private SDR cache", nullptr},
    {"ipmitool-bmc-host", BmcOption{"", BmcPart::Host},
     "remote BMC: HOST, HOST:PORT, an IPv4 address or [IPv6]:PORT; empty: the local BMC", "--bmc"},
    {"ipmitool-bmc-user", BmcOption{"", BmcPart::User}, "BMC user name", "--bmc-user"},
    {"ipmitool-bmc-interface", BmcOption{"lanplus", BmcPart::Interface}, "lan or lanplus", "--bmc-interface"},
    {"ipmitool-bmc-cipher-suite", BmcOption{"", BmcPart::CipherSuite},
     "cipher suite number; empty: the tool's choice", "--bmc-cipher-suite"},
    {"ipmitool-bmc-privilege-level", BmcOption{"", BmcPart::PrivilegeLevel},
     "CALLBACK, USER, OPERATOR, ADMINISTRATOR or OEM", "--bmc-privilege-level"},
    {"ipmitool-bmc-password-file", BmcOption{"", BmcPart::PasswordFile},
     "file holding the BMC password, readable by its owner only; empty: IPMI_PASSWORD", "--bmc-password-file"},
};

// The default as text, as vtr-host's help shows it.
inline std::string defaultText(const ProviderOption& option) {
  struct Printer {
    std::string operator()(const FlagOption& flag) const { return flag.defaultValue ? "true" : "false"; }
    std::string operator()(const SecondsOption& seconds) const { return std::to_string(seconds.defaultValue); }
    std::string operator()(const TextOption& text) const { return text.defaultValue; }
    std::string operator()(const BmcOption& bmc) const { return bmc.defaultValue; }
  };
  return std::visit(Printer{}, option.value);
}

}  // namespace ipmitool
}  // namespace vtr

#endif
