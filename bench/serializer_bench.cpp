#include <benchmark/benchmark.h>

#include <vector>

#include "src/data/data_serializer.h"

namespace {

constexpr uint64_t kFields = 1000;
constexpr uint64_t kEventSize = kFields * sizeof(double);
constexpr uint64_t kBufferSize = 64ull << 20;

// One provider-sized event (1,000 double fields) written block after block into a large host
// buffer; the buffer starts over when it is full, as a host draining it would.
void BM_WriteOneWideEvent(benchmark::State& state) {
  vtr_type_definition_t type{};
  type.size = kEventSize;
  vtr_schema_t schema{};
  schema.types[0] = &type;
  vtr_type_system_t typeSystem{};
  typeSystem.schemas[0] = &schema;
  std::vector<uint8_t> buffer(kBufferSize);
  std::vector<uint8_t> event(kEventSize, 0x42);
  vtr_data_serializer_t serializer{&typeSystem, buffer.data(), kBufferSize, 0};

  for (auto _ : state) {
    if (vtr_data_serializer_write_events_ts(&serializer, 0, 0, event.data(), 1, 1) == 0) {
      serializer.used = 0;
      vtr_data_serializer_write_events_ts(&serializer, 0, 0, event.data(), 1, 1);
    }
    benchmark::DoNotOptimize(serializer.used);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kEventSize));
}
BENCHMARK(BM_WriteOneWideEvent);

}  // namespace
