#ifndef VTR_TEST_HOSTED_PROVIDER_H
#define VTR_TEST_HOSTED_PROVIDER_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "tools/event_blocks.h"
#include "tools/plugin_library.h"
#include "tools/provider_session.h"

namespace vtr {
namespace test {

using Options = std::vector<std::pair<std::string, std::string>>;

// The built library's entry point `name`, found the way a host finds it, in the same copy
// every HostedProvider drives (it stays loaded for the process); null when it lacks one.
void* exportedSymbol(const char* name);
template <typename F>
F exported(const char* name) {
  return reinterpret_cast<F>(exportedSymbol(name));
}

// The built library loaded with dlopen and driven by vtr-host's own session: constructed and
// initialised here, stopped and destroyed by the destructor.
class HostedProvider {
 public:
  explicit HostedProvider(const Options& options = {});

  const host::PluginApi& api() const { return library_.api(); }
  host::ProviderSession& session() { return session_; }
  // "ipmitool_event" as the type system laid it out.
  const vtr_type_definition_t& eventType() const;
  void start() { session_.start(); }

  struct Event {
    std::string json;         // as vtr-host prints it
    uint64_t timestampUs = 0;  // the event's own first field, the pass's time
  };
  // One progress call into a buffer of `capacity` bytes; `result` gets its return value.
  std::vector<Event> progressOnce(size_t capacity = 1 << 16, int* result = nullptr);
  // Drains until an event arrives or `limit` passes (then json is empty).
  Event nextEvent(std::chrono::seconds limit = std::chrono::seconds(60));

 private:
  host::PluginLibrary library_;
  host::ProviderSession session_;
};

}  // namespace test
}  // namespace vtr

#endif
