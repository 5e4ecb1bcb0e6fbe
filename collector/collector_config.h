#ifndef VTR_COLLECTOR_CONFIG_H
#define VTR_COLLECTOR_CONFIG_H

#include <map>
#include <string>
#include <unordered_set>

#include "collector/collector_types.h"
#include "collector/remote_bmc.h"

namespace vtr {
namespace ipmitool {

// What the provider's options say about collecting, member by member; the defaults are the
// options' own.
struct CollectorOptions {
  bool includeDiscreteSensors = false;
  bool includeContinuousSensors = true;
  unsigned int commandTimeout = 30;
  bool useSudo = false;
  bool includeEmptyFields = false;
  // Comma-separated texts that also mean "no reading".
  std::string invalidSensorValues;
  bool singleRunSampling = false;
  bool cachedSampling = false;
  RemoteBmc remoteBmc;
};

// What the collector reads and publishes; a copy lives in the collector.
class CollectorConfig {
 public:
  explicit CollectorConfig(const CollectorOptions& options);
  CollectorConfig(const CollectorConfig& other) = default;

  void includeContinuousField(const std::string& label);
  void excludeContinuousField(const std::string& label);
  void includeDiscreteField(const std::string& label);
  void excludeDiscreteField(const std::string& label);

  // Set by the constructor from the options.
  unsigned int commandTimeout;
  bool useSudo;
  bool includeDiscreteSensors;
  bool includeContinuousSensors;
  bool includeEmptyFields;
  bool statesAssertedAsText;
  // Samples from one run of the compact table instead of the verbose listing and the states table.
  bool singleRunSampling;
  // Samples through a private SDR cache (before single-run sampling when both are set).
  bool cachedSampling;
  std::map<std::string, bool> discreteFields;
  std::map<std::string, bool> continuousFields;
  std::map<std::string, CollectorFieldType> fieldDefaultTypes;
  std::unordered_set<std::string> invalidValues;
  RemoteBmc remoteBmc;
};

}  // namespace ipmitool
}  // namespace vtr

#endif
