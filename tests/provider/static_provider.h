#ifndef VTR_TEST_STATIC_PROVIDER_H
#define VTR_TEST_STATIC_PROVIDER_H

#include <map>
#include <string>

#include "provider/event_provider.h"
#include "provider/provider_state.h"
#include "runtime/dict.h"
#include "src/data/schema.h"

namespace vtr {
namespace test {

// The provider linked into the test itself, for checks that need its state: constructed with
// the given options and its own type system, destroyed at the end.
class StaticProvider {
 public:
  explicit StaticProvider(const std::map<std::string, std::string>& options = {})
      : options_(vtr_dict_create()), typeSystem_(vtr_create_type_system()) {
    for (const auto& [key, value] : options) vtr_dict_add(options_, key.c_str(), value.c_str());
    record_ = construct_event_provider(options_);
  }
  ~StaticProvider() {
    if (record_ != nullptr) {
      record_->stop(record_);
      record_->destroy(record_);
    }
    vtr_destroy_type_system(typeSystem_);
    vtr_dict_delete(options_);
  }
  StaticProvider(const StaticProvider&) = delete;
  StaticProvider& operator=(const StaticProvider&) = delete;

  vtr_event_provider_t* record() const { return record_; }
  ipmitool::provider_t& state() const { return *ipmitool::provider_from_record(record_); }
  vtr_type_system_t* typeSystem() const { return typeSystem_; }
  bool initialize() { return record_->initialize(record_, typeSystem_); }

 private:
  vtr_custom_options* options_;
  vtr_type_system_t* typeSystem_;
  vtr_event_provider_t* record_ = nullptr;
};

}  // namespace test
}  // namespace vtr

#endif
