// Verbose sensor listings of any shape, with discrete sensors included so that every branch
// of the parser runs; the first byte picks whether the states are kept as text.
#include <cstdint>
#include <string>
#include <unordered_map>

#include "collector/ipmitool_collector.h"
#include "collector/listing_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  static const volatile bool stop = false;
  vtr::ipmitool::CollectorConfig config(true, true, (data[0] & 1) != 0, "N/A,,disabled", 30, false);
  config.statesAssertedAsText = (data[0] & 2) != 0;
  vtr::ipmitool::IpmitoolCollector collector(config, stop);
  std::string output(reinterpret_cast<const char*>(data + 1), size - 1);
  std::unordered_map<std::string, std::string> states{{"PS1 Status", "0x0100"}, {"Temp", "0x0080"}};
  vtr::ipmitool::SensorListing listing;
  parseSensorListing(collector.config(), output, states, listing);
  collector.createSensorsIdsMap(listing);
  for (const auto& record : listing) collector.getSavedUniqueSensorNameFromSensorData(record);
  return 0;
}
