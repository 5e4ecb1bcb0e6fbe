#include "tools/command_line.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <climits>
#include <filesystem>

#include "provider/provider_options.h"

namespace vtr {
namespace host {

namespace {

constexpr const char* kLoopback = "127.0.0.1";
constexpr const char* kPluginFileName = "libipmitool_provider.so";

// The provider options that vtr-host has a shorthand for. Each adds its KEY=VALUE after those
// of --option, so it wins over an --option for the same key.
std::vector<const ipmitool::ProviderOption*> shorthandOptions() {
  std::vector<const ipmitool::ProviderOption*> options;
  for (const ipmitool::ProviderOption& option : ipmitool::kProviderOptions)
    if (option.hostFlag != nullptr) options.push_back(&option);
  return options;
}

// Every provider option with its default and what it does, for the end of --help.
std::string providerOptionsHelp() {
  std::string help = "Provider options (--option KEY=VALUE; also read from the environment as VTR_ plus the key in "
                     "upper case with '-' turned into '_'):\n";
  for (const ipmitool::ProviderOption& option : ipmitool::kProviderOptions) {
    const std::string defaultValue = ipmitool::defaultText(option);
    help += "  " + std::string(option.key) + " (default " + (defaultValue.empty() ? "empty" : defaultValue) +
            "): " + option.description + "\n";
  }
  return help + "See vtr-host(1) for more.";
}

std::optional<int> parsePort(const std::string& text) {
  if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  int port = std::stoi(text);
  if (port > 65535) return std::nullopt;
  return port;
}

std::string stripBrackets(const std::string& host) {
  if (host.size() >= 2 && host.front() == '[' && host.back() == ']') return host.substr(1, host.size() - 2);
  return host;
}

}  // namespace

std::optional<std::pair<std::string, std::string>> parseProviderOption(const std::string& text) {
  std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) return std::nullopt;
  return std::make_pair(text.substr(0, equals), text.substr(equals + 1));
}

std::optional<ListenAddress> parseListenAddress(const std::string& text) {
  std::size_t colon = text.rfind(':');
  std::string host = colon == std::string::npos ? "" : stripBrackets(text.substr(0, colon));
  std::optional<int> port = parsePort(colon == std::string::npos ? text : text.substr(colon + 1));
  if (!port) return std::nullopt;
  return ListenAddress{host.empty() ? kLoopback : host, *port};
}

std::string defaultPluginPath() {
  char path[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
  if (length <= 0) return kPluginFileName;
  std::string executable(path, static_cast<std::size_t>(length));
  std::size_t slash = executable.rfind('/');
  const std::string directory = executable.substr(0, slash + 1);
  // In the build tree the library sits next to the executable; installed, it is in the
  // providers directory under the same prefix.
  const std::string beside = directory + kPluginFileName;
  if (access(beside.c_str(), F_OK) == 0) return beside;
  return std::filesystem::path(directory + VTR_INSTALLED_PLUGIN_PATH).lexically_normal().string();
}

CommandLine parseCommandLine(int argc, const char* const* argv) {
  HostOptions options;
  options.pluginPath = defaultPluginPath();
  std::vector<std::string> optionTexts;
  std::string listenText;
  std::uint32_t logLevel = 0;

  CLI::App app{"Runs an event-provider plug-in and prints every event as one JSON line.", "vtr-host"};
  app.add_option("--plugin", options.pluginPath, "Provider library to load")->capture_default_str();
  app.add_option("--option", optionTexts, "Provider option KEY=VALUE (repeatable)")->type_name("KEY=VALUE");
  app.add_option("--samples", options.samples, "Stop after this many events (0: no limit)");
  app.add_option("--duration", options.durationSeconds, "Stop after this many seconds (0: no limit)")
      ->check(CLI::NonNegativeNumber);
  app.add_option("--schema-out", options.schemaOut, "Write the type system's JSON here after initialize");
  CLI::Option* logLevelOption = app.add_option("--log-level", logLevel, "Plug-in log level (3 error ... 7 debug)");
  CLI::Option* listenOption =
      app.add_option("--listen", listenText, "Serve Prometheus /metrics on [ADDR:]PORT (loopback by default)");
  const std::vector<const ipmitool::ProviderOption*> shorthands = shorthandOptions();
  std::vector<std::string> shorthandValues(shorthands.size());
  std::vector<CLI::Option*> shorthandFlags;
  for (std::size_t i = 0; i < shorthands.size(); ++i) {
    const std::string help = std::string("Shorthand for --option ") + shorthands[i]->key + ": " +
                             shorthands[i]->description;
    shorthandFlags.push_back(app.add_option(shorthands[i]->hostFlag, shorthandValues[i], help)->group("Remote BMC"));
  }
  app.footer(providerOptionsHelp());

  CommandLine result;
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    result.helpText = app.help();
    return result;
  } catch (const CLI::ParseError& error) {
    result.exitCode = 2;
    result.error = error.what();
    return result;
  }

  for (const std::string& text : optionTexts) {
    std::optional<std::pair<std::string, std::string>> pair = parseProviderOption(text);
    if (!pair) {
      result.exitCode = 2;
      result.error = "--option expects KEY=VALUE, got '" + text + "'";
      return result;
    }
    options.providerOptions.push_back(*pair);
  }
  for (std::size_t i = 0; i < shorthands.size(); ++i)
    if (*shorthandFlags[i]) options.providerOptions.emplace_back(shorthands[i]->key, shorthandValues[i]);
  if (*listenOption) {
    options.listen = parseListenAddress(listenText);
    if (!options.listen) {
      result.exitCode = 2;
      result.error = "--listen expects [ADDR:]PORT, got '" + listenText + "'";
      return result;
    }
  }
  if (*logLevelOption) options.logLevel = logLevel;
  result.options = std::move(options);
  return result;
}

}  // namespace host
}  // namespace vtr
