#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <string>
#include <unordered_map>

#include "collector/ipmitool_collector.h"
#include "collector/listing_parser.h"

namespace {

using vtr::ipmitool::CollectorConfig;
using vtr::ipmitool::IpmitoolCollector;
using vtr::ipmitool::SensorListing;

std::string fixtureText(const std::string& fixtureCase, const std::string& file) {
  std::ifstream in(std::string(VTR_TEST_FIXTURES_DIR) + "/" + fixtureCase + "/" + file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Parsing of a verbose listing already read, discrete sensors included: the states table is
// parsed first, as on every sampling pass.
void parseListing(benchmark::State& state, const std::string& fixtureCase) {
  const std::string verbose = fixtureText(fixtureCase, "verbose.txt");
  const std::string compact = fixtureText(fixtureCase, "compact.txt");
  const volatile bool stop = false;
  vtr::ipmitool::CollectorOptions options;
  options.includeDiscreteSensors = true;
  IpmitoolCollector collector{CollectorConfig(options), stop};
  size_t sensors = 0;
  for (auto _ : state) {
    std::unordered_map<std::string, std::string> states;
    collector.parseDiscreteStatesTable(compact, states);
    SensorListing listing;
    parseSensorListing(collector.config(), verbose, states, listing);
    sensors = listing.size();
    benchmark::DoNotOptimize(listing.data());
  }
  state.counters["sensors"] = static_cast<double>(sensors);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * (verbose.size() + compact.size())));
}

void BM_ParseListingSmallServer(benchmark::State& state) { parseListing(state, "small-server"); }
void BM_ParseListingLarge1000(benchmark::State& state) { parseListing(state, "large-1000"); }

BENCHMARK(BM_ParseListingSmallServer)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ParseListingLarge1000)->Unit(benchmark::kMillisecond);

}  // namespace
