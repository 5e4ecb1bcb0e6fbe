// The CPU side of one sampling pass over a 1,000-sensor server, the tool's run left out:
// parsing both listings, assembling the sample, converting every value into the event and
// writing the event block.
#include <benchmark/benchmark.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "collector/listing_parser.h"
#include "collector/sample_assembly.h"
#include "provider/event_provider.h"
#include "provider/provider_state.h"
#include "provider/sampling_thread.h"
#include "runtime/clock.h"
#include "runtime/dict.h"
#include "src/data/data_serializer.h"
#include "support/test_env.h"

namespace {

using vtr::ipmitool::provider_t;
using vtr::ipmitool::SensorListing;
using vtr::ipmitool::SensorSample;

// The provider initialised against the recorded 1,000-sensor listing, with one sample taken.
class LargeServer {
 public:
  LargeServer() : fake_("large-1000"), options_(vtr_dict_create()), typeSystem_(vtr_create_type_system()) {
    vtr_dict_add(options_, "ipmitool-include-discrete-sensors", "1");
    record_ = construct_event_provider(options_);
    ready_ = record_ != nullptr && record_->initialize(record_, typeSystem_) &&
             state().collector->getSensorsData(sample_) && vtr::ipmitool::holdsAnyValue(sample_);
    verbose_ = vtr::test::readFile(vtr::test::fixturePath("large-1000", "verbose.txt"));
    compact_ = vtr::test::readFile(vtr::test::fixturePath("large-1000", "compact.txt"));
    buffer_.resize(VTR_EVENT_BLOCK_HEADER_SIZE + state().event_size);
  }
  ~LargeServer() {
    if (record_ != nullptr) record_->destroy(record_);
    vtr_destroy_type_system(typeSystem_);
    vtr_dict_delete(options_);
  }

  bool ready() const { return ready_; }
  provider_t& state() const { return *vtr::ipmitool::provider_from_record(record_); }
  const SensorSample& sample() const { return sample_; }
  size_t fields() const { return state().field_count; }

  // What a pass does once the tool has answered: the listing texts cut into sensor records and
  // assembled into a sample of the schema's fields, which is then converted and written.
  int passWithoutTool() {
    std::unordered_map<std::string, std::string> states;
    state().collector->parseDiscreteStatesTable(compact_, states);
    SensorListing listing;
    parseSensorListing(state().collector->config(), verbose_, states, listing);
    const vtr::ipmitool::IpmitoolCollector& collector = *state().collector;
    SensorSample sample(collector.fields().size());
    assembleSample(collector.fields(), collector.sensorNames(), listing, sample);
    return convertAndWrite(sample);
  }

  // Converts a sample into the event and writes it as one block into a reused buffer.
  int convertAndWrite(const SensorSample& sample) {
    provider_t& provider = state();
    vtr::ipmitool::write_sample_to_event(&provider, sample, vtr_now_us());
    vtr_data_serializer_t serializer{typeSystem_, buffer_.data(), buffer_.size(), 0};
    return vtr_data_serializer_write_events(&serializer, provider.schema_id, provider.type_id, provider.event_buffer,
                                            1);
  }

 private:
  vtr::test::FakeIpmitool fake_;
  vtr_custom_options* options_;
  vtr_type_system_t* typeSystem_;
  vtr_event_provider_t* record_ = nullptr;
  bool ready_ = false;
  SensorSample sample_;
  std::string verbose_;
  std::string compact_;
  std::vector<uint8_t> buffer_;
};

void BM_ConvertAndWriteEvent1000(benchmark::State& state) {
  LargeServer server;
  if (!server.ready()) return state.SkipWithError("provider did not initialise on the large listing");
  for (auto _ : state) benchmark::DoNotOptimize(server.convertAndWrite(server.sample()));
  state.counters["fields"] = static_cast<double>(server.fields());
}

void BM_SamplingPassWithoutTool1000(benchmark::State& state) {
  LargeServer server;
  if (!server.ready()) return state.SkipWithError("provider did not initialise on the large listing");
  for (auto _ : state) benchmark::DoNotOptimize(server.passWithoutTool());
  state.counters["fields"] = static_cast<double>(server.fields());
}

BENCHMARK(BM_ConvertAndWriteEvent1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SamplingPassWithoutTool1000)->Unit(benchmark::kMillisecond);

}  // namespace
