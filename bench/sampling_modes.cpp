// Per-sample cost of the two sampling modes against the simulated server, the modes
// interleaved (A B A B ...) so that a drift of the machine's speed hits both alike:
//   sampling-modes [--rounds 15]
// For each profile (small, two-socket) it prints, per mode, the wall time of one sample and
// the CPU the tool's processes used (RUSAGE_CHILDREN), as minimum and median, and the median
// of the single-run/default ratios taken round by round.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "collector/ipmitool_collector.h"
#include "support/sim_server.h"

namespace {

using vtr::ipmitool::CollectorConfig;
using vtr::ipmitool::IpmitoolCollector;

double childrenCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Cost {
  double wallMs;
  double toolCpuMs;
};

Cost takeSample(IpmitoolCollector& collector) {
  vtr::ipmitool::SensorSample sample;
  const double cpuBefore = childrenCpuSeconds();
  const auto started = std::chrono::steady_clock::now();
  if (!collector.getSensorsData(sample) || !vtr::ipmitool::holdsAnyValue(sample)) {
    std::fprintf(stderr, "sampling-modes: a sample failed\n");
    std::exit(1);
  }
  const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - started;
  return {wall.count(), (childrenCpuSeconds() - cpuBefore) * 1e3};
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void report(const char* what, const std::vector<double>& values) {
  std::printf("  %-26s min %8.2f  median %8.2f\n", what, *std::min_element(values.begin(), values.end()),
              median(values));
}

bool compare(const std::string& profile, int rounds) {
  vtr::test::SimServer sim(profile);
  if (!sim.running()) {
    std::fprintf(stderr, "sampling-modes: %s\n", sim.reason().c_str());
    return false;
  }
  volatile bool stop = false;
  std::unique_ptr<IpmitoolCollector> modes[2];
  for (int singleRun = 0; singleRun < 2; ++singleRun) {
    vtr::ipmitool::CollectorOptions options;
    options.includeDiscreteSensors = true;
    options.singleRunSampling = singleRun == 1;
    options.remoteBmc = sim.remoteBmc();
    modes[singleRun] = std::make_unique<IpmitoolCollector>(CollectorConfig(options), stop);
    std::vector<std::unique_ptr<vtr_type_field_info_t>> fields;
    if (!modes[singleRun]->setFieldsInfo(fields)) return false;
    IpmitoolCollector::freeFieldsInfo(fields);
  }

  std::vector<double> wall[2], tool[2], wallRatio, toolRatio;
  for (int round = 0; round < rounds; ++round) {
    Cost cost[2];
    for (int singleRun = 0; singleRun < 2; ++singleRun) {
      cost[singleRun] = takeSample(*modes[singleRun]);
      wall[singleRun].push_back(cost[singleRun].wallMs);
      tool[singleRun].push_back(cost[singleRun].toolCpuMs);
    }
    wallRatio.push_back(cost[1].wallMs / cost[0].wallMs);
    if (cost[0].toolCpuMs > 0) toolRatio.push_back(cost[1].toolCpuMs / cost[0].toolCpuMs);
  }
  std::printf("%s, %d rounds (ms per sample)\n", profile.c_str(), rounds);
  report("default: wall", wall[0]);
  report("default: tool CPU", tool[0]);
  report("single-run: wall", wall[1]);
  report("single-run: tool CPU", tool[1]);
  std::printf("  single-run/default, median of round ratios: wall %.2f, tool CPU %.2f\n", median(wallRatio),
              toolRatio.empty() ? 0.0 : median(toolRatio));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 15;
  if (argc == 3 && std::strcmp(argv[1], "--rounds") == 0) rounds = std::max(1, std::atoi(argv[2]));
  bool ok = true;
  for (const char* profile : {"small", "two-socket"}) ok = compare(profile, rounds) && ok;
  return ok ? 0 : 1;
}
