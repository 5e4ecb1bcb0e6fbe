// Drives the built plug-in the way a host does, against the fake ipmitool, for many passes:
//   provider-soak --cycles 3 --events 50     leak check (run under valgrind): each cycle
//                                            dlopens, runs and dlcloses the library
//   provider-soak --cycles 1 --events 10000  soak: prints resident memory at the start and end
// Sampling runs at interval 0, so passes follow each other as fast as the tool answers.
#include <dlfcn.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>

#include "provider/event_provider.h"
#include "support/test_env.h"

namespace {

struct Library {
  void* handle = nullptr;
  vtr_construct_event_provider_fn construct = nullptr;
  vtr_custom_options* (*dict_create)() = nullptr;
  int (*dict_add)(vtr_custom_options*, const char*, const char*) = nullptr;
  void (*dict_delete)(vtr_custom_options*) = nullptr;
  vtr_type_system_t* (*create_type_system)() = nullptr;
  void (*destroy_type_system)(vtr_type_system_t*) = nullptr;
  void (*destroy_source_array)(vtr_source_array_t*) = nullptr;

  template <typename F>
  bool resolve(F& target, const char* name) {
    target = reinterpret_cast<F>(dlsym(handle, name));
    if (!target) std::fprintf(stderr, "provider-soak: missing symbol %s\n", name);
    return target != nullptr;
  }

  bool open(const char* path) {
    handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
      std::fprintf(stderr, "provider-soak: %s\n", dlerror());
      return false;
    }
    return resolve(construct, "construct_event_provider") && resolve(dict_create, "vtr_dict_create") &&
           resolve(dict_add, "vtr_dict_add") && resolve(dict_delete, "vtr_dict_delete") &&
           resolve(create_type_system, "vtr_create_type_system") &&
           resolve(destroy_type_system, "vtr_destroy_type_system") &&
           resolve(destroy_source_array, "vtr_destroy_source_array");
  }

  ~Library() {
    if (handle) dlclose(handle);
  }
};

long residentKilobytes() {
  long pages = 0, resident = 0;
  FILE* statm = std::fopen("/proc/self/statm", "r");
  if (!statm) return -1;
  if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = -1;
  std::fclose(statm);
  return resident < 0 ? -1 : resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// Runs one provider life: construct, initialize, `events` delivered events, stop, destroy.
bool runCycle(const char* libraryPath, unsigned long events, bool reportRss) {
  Library lib;
  if (!lib.open(libraryPath)) return false;

  vtr_custom_options* options = lib.dict_create();
  lib.dict_add(options, "ipmitool-sample-interval-sec", "0");
  lib.dict_add(options, "ipmitool-include-discrete-sensors", "true");
  vtr_event_provider_t* provider = lib.construct(options);
  vtr_type_system_t* types = lib.create_type_system();
  bool ok = provider && types && provider->initialize(provider, types);
  if (ok) {
    lib.destroy_source_array(provider->get_sources(provider));
    ok = provider->start(provider);
  }

  std::vector<uint8_t> buffer(64 * 1024);
  vtr_data_serializer_t serializer{types, buffer.data(), buffer.size(), 0};
  unsigned long delivered = 0;
  long firstRss = -1;
  while (ok && delivered < events) {
    serializer.used = 0;
    if (provider->progress(provider, nullptr, &serializer) < 0) ok = false;
    // One block at most per call: the provider holds one event.
    if (serializer.used >= VTR_EVENT_BLOCK_HEADER_SIZE) {
      vtr_event_block_header_t header;
      std::memcpy(&header, buffer.data(), sizeof header);
      delivered += header.count;
    }
    if (reportRss && firstRss < 0 && delivered > 0) firstRss = residentKilobytes();
    if (serializer.used == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (provider) {
    provider->stop(provider);
    provider->destroy(provider);
  }
  if (types) lib.destroy_type_system(types);
  lib.dict_delete(options);
  if (reportRss) std::printf("events %lu, resident first %ld kB, last %ld kB\n", delivered, firstRss, residentKilobytes());
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  unsigned long cycles = 1, events = 50;
  CLI::App app{"Drives the built plug-in as a host does, against the fake ipmitool.", "provider-soak"};
  app.add_option("--cycles", cycles, "dlopen, run and dlclose this many times");
  app.add_option("--events", events, "events taken per cycle");
  CLI11_PARSE(app, argc, argv);
  vtr::test::FakeIpmitool tool("small-server");
  for (unsigned long cycle = 0; cycle < cycles; ++cycle) {
    if (!runCycle(VTR_PROVIDER_LIBRARY, events, events >= 1000)) {
      std::fprintf(stderr, "provider-soak: cycle %lu failed\n", cycle + 1);
      return 1;
    }
  }
  std::printf("provider-soak: %lu cycle(s) of %lu events done\n", cycles, events);
  return 0;
}
