#ifndef VTR_HOST_PROVIDER_SESSION_H
#define VTR_HOST_PROVIDER_SESSION_H

#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/plugin_library.h"

namespace vtr {
namespace host {

// The flag a signal handler sets may be read on other threads, so it is read atomically.
inline bool stopIsRequested(const volatile std::sig_atomic_t& stopRequested) {
  return __atomic_load_n(&stopRequested, __ATOMIC_ACQUIRE) != 0;
}

// The provider's initialize returned false; its own log lines say why.
class InitializeFailed : public HostError {
 public:
  explicit InitializeFailed(const std::string& provider)
      : HostError("provider " + provider + " failed to initialize; --log-level 7 shows its reasons"),
        provider_(provider) {}
  const std::string& provider() const { return provider_; }

 private:
  std::string provider_;
};

// One provider driven through its record in the order the contract asks for: the
// constructor runs construct_event_provider and initialize, start() starts it, and the
// destructor stops and destroys it, then frees the type system and the option dictionary.
class ProviderSession {
 public:
  // Throws HostError when the provider cannot be constructed, InitializeFailed when it cannot
  // be initialised. When `stopRequested` is set during initialize, the provider is stopped
  // there and the session ends up not initialised (initialized() false), without an error.
  ProviderSession(const PluginApi& api, const std::vector<std::pair<std::string, std::string>>& options,
                  const volatile std::sig_atomic_t& stopRequested);
  ~ProviderSession();
  ProviderSession(const ProviderSession&) = delete;
  ProviderSession& operator=(const ProviderSession&) = delete;

  bool initialized() const { return initialized_; }
  vtr_event_provider_t* record() const { return provider_; }
  const char* name() const;
  // Id of the provider's first source; empty when it announces none.
  std::string firstSourceId() const;
  // The type system as pretty JSON text, written to `path`.
  void writeSchema(const std::string& path) const;
  void start();
  // One progress call; returns the provider's result (1: more events are pending).
  int progress(vtr_data_serializer_t& serializer);
  // The last sampling pass that ran to its end; none before the first, or when the plug-in
  // does not tell.
  std::optional<vtr_ipmitool_pass_t> lastPass() const;

  vtr_type_system_t* typeSystem() const { return typeSystem_.get(); }

 private:
  using Dictionary = std::unique_ptr<vtr_custom_options, void (*)(vtr_custom_options*)>;
  using TypeSystem = std::unique_ptr<vtr_type_system_t, void (*)(vtr_type_system_t*)>;

  Dictionary makeDictionary(const std::vector<std::pair<std::string, std::string>>& options) const;
  // initialize, with `stop` called from a watcher thread should a stop be requested meanwhile.
  bool initializeUnlessStopped(const volatile std::sig_atomic_t& stopRequested);

  const PluginApi& api_;
  Dictionary options_;
  TypeSystem typeSystem_;
  vtr_event_provider_t* provider_ = nullptr;
  bool initialized_ = false;
  bool started_ = false;
};

}  // namespace host
}  // namespace vtr

#endif
