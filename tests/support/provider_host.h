#ifndef VTR_TEST_PROVIDER_HOST_H
#define VTR_TEST_PROVIDER_HOST_H

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "provider/event_provider.h"
#include "src/data/schema.h"

namespace vtr {
namespace test {

// The built provider library, loaded with dlopen as a host loads it and kept until exit.
class ProviderLibrary {
 public:
  ProviderLibrary();
  ~ProviderLibrary();
  ProviderLibrary(const ProviderLibrary&) = delete;
  ProviderLibrary& operator=(const ProviderLibrary&) = delete;

  bool loaded() const { return handle_ != nullptr; }
  const std::string& error() const { return error_; }
  // dlsym; null when the library does not export the name.
  void* symbol(const char* name) const;
  // The exported function `name`, typed like the declaration F (use decltype(&name)).
  template <typename F>
  F function(const char* name) const {
    return reinterpret_cast<F>(symbol(name));
  }

 private:
  void* handle_ = nullptr;
  std::string error_;
};

// Drives one provider of a loaded library the way a telemetry host does: options dictionary,
// its own type system (made by the library), initialize, start, progress into a buffer of its
// own, stop, destroy. The destructor stops and destroys whatever is still running.
class ProviderHost {
 public:
  ProviderHost(const ProviderLibrary& library, const std::map<std::string, std::string>& options);
  ~ProviderHost();
  ProviderHost(const ProviderHost&) = delete;
  ProviderHost& operator=(const ProviderHost&) = delete;

  // Null when construct_event_provider refused.
  vtr_event_provider_t* provider() const { return provider_; }
  bool initialize();
  bool start();
  bool stop();
  // One progress call over a fresh buffer of `capacity` bytes; returns its result and appends
  // the events it wrote.
  int progressOnce(std::vector<std::vector<uint8_t>>& events, size_t capacity = 4096);
  // Calls progress until `wanted` events arrived or `limit` passed; returns what arrived.
  std::vector<std::vector<uint8_t>> collectEvents(size_t wanted, std::chrono::seconds limit);

  // "ipmitool_event" as the type system laid it out; null before a successful initialize.
  const vtr_type_definition_t* eventType() const;
  // The field of that name, or null.
  const vtr_type_field_definition_t* field(const std::string& name) const;

 private:
  const ProviderLibrary& library_;
  vtr_custom_options* options_ = nullptr;
  vtr_type_system_t* typeSystem_ = nullptr;
  vtr_event_provider_t* provider_ = nullptr;
  bool initialized_ = false;
  bool started_ = false;
};

}  // namespace test
}  // namespace vtr

#endif
