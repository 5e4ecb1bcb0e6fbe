#ifndef VTR_HOST_COMMAND_LINE_H
#define VTR_HOST_COMMAND_LINE_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vtr {
namespace host {

struct ListenAddress {
  std::string host;
  int port = 0;
};

struct HostOptions {
  std::string pluginPath;
  // KEY=VALUE pairs for the provider's option dictionary, in command-line order.
  std::vector<std::pair<std::string, std::string>> providerOptions;
  std::uint64_t samples = 0;   // 0: no limit
  double durationSeconds = 0;  // 0: no limit
  std::string schemaOut;       // empty: no schema file
  std::optional<std::uint32_t> logLevel;
  std::optional<ListenAddress> listen;
};

// What the command line asks for: run with options, or exit at once with a code
// (after --help, or after a usage error whose one-line message is in `error`).
struct CommandLine {
  std::optional<HostOptions> options;
  int exitCode = 0;
  std::string helpText;
  std::string error;
};

CommandLine parseCommandLine(int argc, const char* const* argv);

// "KEY=VALUE" split at the first '='; nullopt when there is no '=' or the key is empty.
std::optional<std::pair<std::string, std::string>> parseProviderOption(const std::string& text);
// "PORT", ":PORT", "ADDR:PORT" or "[V6ADDR]:PORT"; only a port means loopback.
std::optional<ListenAddress> parseListenAddress(const std::string& text);

// The libipmitool_provider.so next to the running executable.
std::string defaultPluginPath();

}  // namespace host
}  // namespace vtr

#endif
