// Writing and re-reading a large type system: 50 schemas of 20 types of 30 fields each.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "src/data/owners.h"
#include "src/data/type_system.h"

namespace {

constexpr int kSchemas = 50;
constexpr int kTypesPerSchema = 20;
constexpr int kFieldsPerType = 30;

vtr::data::TypeSystemPtr large_type_system() {
  static const char* const kFieldTypes[] = {"uint64_t", "double", "uint16_t", "int32_t", "timestamp"};
  vtr::data::TypeSystemPtr type_system(vtr_create_type_system());
  for (int s = 0; s < kSchemas; ++s) {
    vtr_schema_t* schema =
        vtr_type_system_add_schema(type_system.get(), ("provider_" + std::to_string(s)).c_str(), 1, nullptr);
    for (int t = 0; t < kTypesPerSchema; ++t) {
      std::vector<std::string> names;
      std::vector<vtr_type_field_info_t> fields;
      for (int f = 0; f < kFieldsPerType; ++f) names.push_back("field_" + std::to_string(f));
      for (int f = 0; f < kFieldsPerType; ++f)
        fields.push_back({names[f].data(), names[f].data(), const_cast<char*>(kFieldTypes[f % 5]), 0, 1});
      vtr_schema_add_type(schema, ("type_" + std::to_string(t)).c_str(), fields.data(), fields.size(), nullptr);
    }
  }
  vtr_type_system_update_md5_hashes(type_system.get());
  return type_system;
}

void report_per_schema(benchmark::State& state) {
  state.counters["per_schema"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kSchemas,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_SerializeTypeSystem(benchmark::State& state) {
  vtr::data::TypeSystemPtr type_system = large_type_system();
  for (auto _ : state) {
    vtr::data::JsonTextPtr text(vtr_type_system_serialize(type_system.get(), true));
    benchmark::DoNotOptimize(text.get());
  }
  report_per_schema(state);
}
BENCHMARK(BM_SerializeTypeSystem)->Unit(benchmark::kMillisecond);

void BM_DeserializeTypeSystem(benchmark::State& state) {
  vtr::data::TypeSystemPtr type_system = large_type_system();
  vtr::data::JsonTextPtr text(vtr_type_system_serialize(type_system.get(), true));
  for (auto _ : state) {
    vtr::data::TypeSystemPtr read(vtr_type_system_deserialize(text.get()));
    if (!read) state.SkipWithError("type system could not be read back");
  }
  report_per_schema(state);
}
BENCHMARK(BM_DeserializeTypeSystem)->Unit(benchmark::kMillisecond);

}  // namespace
