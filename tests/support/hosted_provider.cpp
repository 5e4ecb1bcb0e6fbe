#include "support/hosted_provider.h"

#include <dlfcn.h>

#include <csignal>
#include <cstring>
#include <thread>

#include "tools/event_printer.h"

namespace vtr {
namespace test {
namespace {
// Tests stop the provider through the session's destructor, never by a signal.
const volatile std::sig_atomic_t kNeverStopped = 0;
}  // namespace

void* exportedSymbol(const char* name) {
  static void* library = dlopen(VTR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  return library != nullptr ? dlsym(library, name) : nullptr;
}

HostedProvider::HostedProvider(const Options& options)
    : library_(VTR_PROVIDER_LIBRARY), session_(library_.api(), options, kNeverStopped) {}

const vtr_type_definition_t& HostedProvider::eventType() const {
  const vtr_type_system_t* types = session_.typeSystem();
  for (unsigned s = 0; s < types->num_schemas; ++s)
    for (unsigned t = 0; t < types->schemas[s]->num_types; ++t)
      if (strcmp(types->schemas[s]->types[t]->name, "ipmitool_event") == 0) return *types->schemas[s]->types[t];
  throw host::HostError("no ipmitool_event type");
}

std::vector<HostedProvider::Event> HostedProvider::progressOnce(size_t capacity, int* result) {
  std::vector<uint8_t> buffer(capacity);
  vtr_data_serializer_t serializer{session_.typeSystem(), buffer.data(), buffer.size(), 0};
  const int returned = session_.progress(serializer);
  if (result != nullptr) *result = returned;
  const host::EventPrinter printer(api(), session_.record(), session_.firstSourceId());
  std::vector<Event> events;
  for (const host::EventBlock& block : host::decodeEventBlocks(buffer.data(), serializer.used, *session_.typeSystem()))
    for (size_t i = 0; i < block.count; ++i) {
      Event event{printer.render(block, i).jsonLine, 0};
      memcpy(&event.timestampUs, block.event(i) + block.type->fields[0]->offset, sizeof event.timestampUs);
      events.push_back(event);
    }
  return events;
}

HostedProvider::Event HostedProvider::nextEvent(std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (std::chrono::steady_clock::now() < deadline) {
    if (auto events = progressOnce(); !events.empty()) return events.front();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return {};
}

}  // namespace test
}  // namespace vtr
