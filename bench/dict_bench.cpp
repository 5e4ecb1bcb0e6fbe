// The option dictionary at 10,000 keys: filling it from empty (growth and rehashing
// included) and looking every key up again.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "runtime/dict.h"

namespace {

constexpr int kKeys = 10000;

struct DictDeleter {
  void operator()(vtr_custom_options* dict) const { vtr_dict_delete(dict); }
};
using DictPtr = std::unique_ptr<vtr_custom_options, DictDeleter>;

const std::vector<std::string>& keys() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> made;
    for (int i = 0; i < kKeys; ++i) made.push_back("ipmitool-option-" + std::to_string(i));
    return made;
  }();
  return names;
}

DictPtr filled() {
  DictPtr dict(vtr_dict_create());
  for (const std::string& key : keys()) vtr_dict_add(dict.get(), key.c_str(), key.c_str());
  return dict;
}

void perKey(benchmark::State& state) {
  state.counters["per_key"] = benchmark::Counter(static_cast<double>(state.iterations()) * kKeys,
                                                 benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_DictAdd10000(benchmark::State& state) {
  for (auto _ : state) {
    DictPtr dict = filled();
    benchmark::DoNotOptimize(dict.get());
  }
  perKey(state);
}
BENCHMARK(BM_DictAdd10000)->Unit(benchmark::kMicrosecond);

void BM_DictGet10000(benchmark::State& state) {
  DictPtr dict = filled();
  for (auto _ : state) {
    for (const std::string& key : keys()) benchmark::DoNotOptimize(vtr_dict_get(dict.get(), key.c_str()));
  }
  perKey(state);
}
BENCHMARK(BM_DictGet10000)->Unit(benchmark::kMicrosecond);

}  // namespace
