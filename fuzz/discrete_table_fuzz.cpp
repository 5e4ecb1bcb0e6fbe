// The compact "ipmitool sensor" table of any shape, read once as at start-up and once after.
#include <cstdint>
#include <string>
#include <unordered_map>

#include "collector/ipmitool_collector.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const volatile bool stop = false;
  vtr::ipmitool::CollectorOptions options;
  options.includeDiscreteSensors = true;
  options.includeEmptyFields = size % 2 == 0;
  vtr::ipmitool::IpmitoolCollector collector(vtr::ipmitool::CollectorConfig(options), stop);
  std::string output(reinterpret_cast<const char*>(data), size);
  std::unordered_map<std::string, std::string> states;
  collector.parseDiscreteStatesTable(output, states);
  std::unordered_map<std::string, std::string> again;
  collector.parseDiscreteStatesTable(output, again);
  return 0;
}
