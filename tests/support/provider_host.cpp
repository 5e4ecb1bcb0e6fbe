#include "provider_host.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "event_blocks.h"
#include "runtime/dict.h"
#include "src/data/data_serializer.h"

namespace vtr {
namespace test {

// Like a host, the test keeps the library loaded until the process ends: exit handlers the
// library registered (the logger's) may run only then, and sanitizers run them at exit too.
ProviderLibrary::ProviderLibrary() {
  handle_ = dlopen(VTR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (handle_ == nullptr) error_ = dlerror();
}

ProviderLibrary::~ProviderLibrary() {
  if (handle_ != nullptr) dlclose(handle_);
}

void* ProviderLibrary::symbol(const char* name) const {
  return handle_ != nullptr ? dlsym(handle_, name) : nullptr;
}

ProviderHost::ProviderHost(const ProviderLibrary& library, const std::map<std::string, std::string>& options)
    : library_(library) {
  options_ = library_.function<decltype(&vtr_dict_create)>("vtr_dict_create")();
  auto addOption = library_.function<decltype(&vtr_dict_add)>("vtr_dict_add");
  for (const auto& [key, value] : options) addOption(options_, key.c_str(), value.c_str());
  typeSystem_ = library_.function<decltype(&vtr_create_type_system)>("vtr_create_type_system")();
  provider_ = library_.function<decltype(&construct_event_provider)>("construct_event_provider")(options_);
}

ProviderHost::~ProviderHost() {
  if (started_) stop();
  if (initialized_) provider_->destroy(provider_);
  library_.function<decltype(&vtr_destroy_type_system)>("vtr_destroy_type_system")(typeSystem_);
  library_.function<decltype(&vtr_dict_delete)>("vtr_dict_delete")(options_);
}

bool ProviderHost::initialize() {
  initialized_ = provider_->initialize(provider_, typeSystem_);
  return initialized_;
}

bool ProviderHost::start() {
  started_ = provider_->start(provider_);
  return started_;
}

bool ProviderHost::stop() {
  started_ = false;
  return provider_->stop(provider_);
}

int ProviderHost::progressOnce(std::vector<std::vector<uint8_t>>& events, size_t capacity) {
  std::vector<uint8_t> buffer(capacity);
  vtr_data_serializer_t serializer{typeSystem_, buffer.data(), capacity, 0};
  const int result = provider_->progress(provider_, nullptr, &serializer);
  const vtr_type_definition_t* type = eventType();
  if (type == nullptr) {
    EXPECT_EQ(serializer.used, 0u) << "events written before initialize";
    return result;
  }
  for (EventBlock& block : decodeEventBlocks(buffer.data(), serializer.used, type->size)) {
    for (auto& event : block.events) events.push_back(std::move(event));
  }
  return result;
}

std::vector<std::vector<uint8_t>> ProviderHost::collectEvents(size_t wanted, std::chrono::seconds limit) {
  std::vector<std::vector<uint8_t>> events;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (events.size() < wanted && std::chrono::steady_clock::now() < deadline) {
    if (progressOnce(events) < 0) ADD_FAILURE() << "progress failed";
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return events;
}

const vtr_type_definition_t* ProviderHost::eventType() const {
  if (!initialized_) return nullptr;
  for (unsigned i = 0; i < typeSystem_->num_schemas; ++i) {
    const vtr_schema_t* schema = typeSystem_->schemas[i];
    if (schema == nullptr || strcmp(schema->name, "ipmitool") != 0) continue;
    for (unsigned t = 0; t < schema->num_types; ++t) {
      if (schema->types[t] != nullptr && strcmp(schema->types[t]->name, "ipmitool_event") == 0)
        return schema->types[t];
    }
  }
  return nullptr;
}

const vtr_type_field_definition_t* ProviderHost::field(const std::string& name) const {
  const vtr_type_definition_t* type = eventType();
  if (type == nullptr) return nullptr;
  for (int32_t i = 0; i < type->num_fields; ++i) {
    if (type->fields[i]->field_name != nullptr && name == type->fields[i]->field_name) return type->fields[i];
  }
  return nullptr;
}

}  // namespace test
}  // namespace vtr
