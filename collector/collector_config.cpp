#include "collector/collector_config.h"

#include <sstream>

#include "collector/listing_labels.h"
#include "runtime/logger.h"

namespace vtr {
namespace ipmitool {

namespace {

// Turning a label on is refused while its sensor kind is off; labels are never added.
void includeField(std::map<std::string, bool>& fields, bool kindIncluded, const std::string& label,
                  const char* kindDisabledMessage, const char* notFoundMessage) {
  if (!kindIncluded) {
    vtr_log(VTR_LOG_WARNING, kindDisabledMessage, label.c_str());
    return;
  }
  const auto it = fields.find(label);
  if (it == fields.end()) {
    vtr_log(VTR_LOG_WARNING, notFoundMessage, label.c_str());
    return;
  }
  it->second = true;
}

// Turning a label off is always allowed, whatever the kind's switch says.
void excludeField(std::map<std::string, bool>& fields, const std::string& label, const char* notFoundMessage) {
  const auto it = fields.find(label);
  if (it == fields.end()) {
    vtr_log(VTR_LOG_DEBUG, notFoundMessage, label.c_str());
    return;
  }
  it->second = false;
}

}  // namespace

CollectorConfig::CollectorConfig(const CollectorOptions& options)
    : commandTimeout(options.commandTimeout),
      useSudo(options.useSudo),
      includeDiscreteSensors(options.includeDiscreteSensors),
      includeContinuousSensors(options.includeContinuousSensors),
      includeEmptyFields(options.includeEmptyFields),
      statesAssertedAsText(false),
      singleRunSampling(options.singleRunSampling),
      cachedSampling(options.cachedSampling),
      discreteFields{{kStatesAssertedLabel, options.includeDiscreteSensors}},
      continuousFields{{kSensorReadingLabel, options.includeContinuousSensors}},
      fieldDefaultTypes{{kStatesAssertedLabel, CollectorFieldType::Uint16},
                        {kSensorReadingLabel, CollectorFieldType::Double}},
      invalidValues{"Unable to read sensor: Device Not Present", "na", "Unspecified"},
      remoteBmc(options.remoteBmc) {
  if (options.invalidSensorValues.empty()) return;
  // Pieces are taken as they stand: no trimming, an empty piece counts, a trailing comma adds nothing.
  std::istringstream pieces(options.invalidSensorValues);
  std::string piece;
  while (std::getline(pieces, piece, ',')) invalidValues.insert(piece);
}

void CollectorConfig::includeContinuousField(const std::string& label) {
  includeField(continuousFields, includeContinuousSensors, label,
               "[ipmitool collector] Continuous sensors are disabled. Skipping field: '%s'.",
               "[ipmitool collector] Field '%s' not found in continuous sensor fields. Skipping.");
}

void CollectorConfig::excludeContinuousField(const std::string& label) {
  excludeField(continuousFields, label, "[ipmitool collector] Field '%s' not found in continuous sensor fields.");
}

void CollectorConfig::includeDiscreteField(const std::string& label) {
  includeField(discreteFields, includeDiscreteSensors, label,
               "[ipmitool collector] Discrete sensors are disabled. Skipping field: '%s'.",
               "[ipmitool collector] Field '%s' not found in discrete sensor fields. Skipping.");
}

void CollectorConfig::excludeDiscreteField(const std::string& label) {
  excludeField(discreteFields, label, "[ipmitool collector] Field '%s' not found in discrete sensor fields.");
}

}  // namespace ipmitool
}  // namespace vtr
