// Verbose sensor listings of any shape, with discrete sensors included so that every branch
// of the parser runs, taken through every start-up step to the fields and then sampled as a
// later listing, as a compact table and as an SDR listing; the first byte picks whether empty fields are kept
// and whether the states are kept as text.
#include <cstdint>
#include <string>
#include <unordered_map>

#include "collector/cached_sampler.h"
#include "collector/compact_table.h"
#include "collector/listing_parser.h"
#include "collector/sample_assembly.h"
#include "collector/schema_builder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vtr::ipmitool;
  if (size == 0) return 0;
  CollectorOptions options;
  options.includeDiscreteSensors = true;
  options.includeEmptyFields = (data[0] & 1) != 0;
  options.invalidSensorValues = "N/A,,disabled";
  CollectorConfig config(options);
  config.statesAssertedAsText = (data[0] & 2) != 0;
  std::string output(reinterpret_cast<const char*>(data + 1), size - 1);
  std::unordered_map<std::string, std::string> states{{"PS1 Status", "0x0100"}, {"Temp", "0x0080"}};
  SensorListing listing;
  ListingOrder order;
  parseSensorListing(config, output, states, listing, &order);
  const SensorNames names = uniqueSensorNames(listing);
  const SensorFields fields(buildSensorFields(listing, names, order));
  SensorSample sample(fields.size());
  assembleSample(fields, names, listing, sample);
  SensorSample fromTable(fields.size());
  CompactTableSampler(order, fields).sample(config, fields, output, fromTable);
  SensorSample fromSdr(fields.size());
  CachedSampler(order, fields, listing).sample(config, fields, output, fromSdr);
  return 0;
}
