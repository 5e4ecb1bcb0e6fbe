#include "tools/provider_session.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>

namespace vtr {
namespace host {

namespace {

constexpr std::chrono::milliseconds kStopWatchPeriod{50};

}  // namespace

ProviderSession::ProviderSession(const PluginApi& api,
                                 const std::vector<std::pair<std::string, std::string>>& options,
                                 const volatile std::sig_atomic_t& stopRequested)
    : api_(api),
      options_(makeDictionary(options)),
      typeSystem_(api.create_type_system(), api.destroy_type_system) {
  if (!typeSystem_) throw HostError("plug-in could not create a type system");
  provider_ = api_.construct_event_provider(options_.get());
  if (!provider_) throw HostError("construct_event_provider returned no provider");
  if (!provider_->initialize || !provider_->start || !provider_->progress || !provider_->stop ||
      !provider_->destroy) {
    throw HostError(std::string("provider ") + name() + " lacks a lifecycle callback");
  }
  // A failed initialize has already destroyed the provider.
  if (!initializeUnlessStopped(stopRequested)) {
    if (stopIsRequested(stopRequested)) return;
    throw InitializeFailed(name());
  }
  initialized_ = true;
}

bool ProviderSession::initializeUnlessStopped(const volatile std::sig_atomic_t& stopRequested) {
  std::atomic<bool> finished{false};
  std::thread watcher([&] {
    while (!finished) {
      if (stopIsRequested(stopRequested)) {
        provider_->stop(provider_);
        return;
      }
      std::this_thread::sleep_for(kStopWatchPeriod);
    }
  });
  const bool initialized = provider_->initialize(provider_, typeSystem_.get());
  finished = true;
  watcher.join();
  return initialized;
}

ProviderSession::~ProviderSession() {
  if (started_) provider_->stop(provider_);
  if (initialized_) provider_->destroy(provider_);
}

ProviderSession::Dictionary ProviderSession::makeDictionary(
    const std::vector<std::pair<std::string, std::string>>& options) const {
  Dictionary dictionary(api_.dict_create(), api_.dict_delete);
  if (!dictionary) throw HostError("plug-in could not create an option dictionary");
  for (const auto& [key, value] : options) {
    if (api_.dict_add(dictionary.get(), key.c_str(), value.c_str()) == 0) {
      throw HostError("plug-in refused the option " + key);
    }
  }
  return dictionary;
}

const char* ProviderSession::name() const { return provider_->name ? provider_->name : "(unnamed)"; }

std::string ProviderSession::firstSourceId() const {
  if (!provider_->get_sources) return "";
  vtr_source_array_t* sources = provider_->get_sources(provider_);
  if (!sources) return "";
  std::string id = sources->count > 0 && sources->sources[0] ? sources->sources[0]->id : "";
  api_.destroy_source_array(sources);
  return id;
}

void ProviderSession::writeSchema(const std::string& path) const {
  if (!api_.type_system_jsonify || !api_.json_serialize_to_string_pretty) {
    throw HostError("plug-in cannot write its type system as JSON (--schema-out)");
  }
  JSON_Value* json = api_.type_system_jsonify(typeSystem_.get());
  char* text = json ? api_.json_serialize_to_string_pretty(json) : nullptr;
  api_.json_value_free(json);
  if (!text) throw HostError("plug-in could not serialise its type system");
  std::ofstream file(path);
  file << text << '\n';
  api_.json_free_serialized_string(text);
  if (!file.flush()) throw HostError("cannot write " + path);
}

void ProviderSession::start() {
  if (!provider_->start(provider_)) throw HostError(std::string("provider ") + name() + " failed to start");
  started_ = true;
}

int ProviderSession::progress(vtr_data_serializer_t& serializer) {
  return provider_->progress(provider_, nullptr, &serializer);
}

std::optional<vtr_ipmitool_pass_t> ProviderSession::lastPass() const {
  vtr_ipmitool_pass_t pass{};
  if (!api_.last_pass || api_.last_pass(provider_, &pass) != 0) return std::nullopt;
  return pass;
}

}  // namespace host
}  // namespace vtr
